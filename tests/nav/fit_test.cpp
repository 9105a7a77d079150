// Fit to frame: the silhouette measured on every fourth texel of the free
// part of the picture and the distance corrections it leads to.
#include "nav/fit.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// A filled rectangle of columns [x0, x1) and rows [y0, y1) from the top.
DepthImage rectangle(int w, int h, int x0, int y0, int x1, int y1) {
  DepthImage img = emptyImage(w, h);
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) img.depth[size_t(y) * w + x] = 2.5f;
  return img;
}

PictureFrame frame(int w, int h) {
  PictureFrame f;
  f.width = w, f.height = h;
  return f;
}

}  // namespace

TEST(Fit, MeasuresEveryFourthTexelFromTheBottomRow) {
  // Rows 400..100 from the top of a 400-high picture are 0..299 from the
  // bottom; the grid sees 0, 4, … 296 of those.
  DepthImage img = rectangle(400, 400, 21, 101, 300, 400);
  const Silhouette s = measureSilhouette(img.depth, 400, 400, 400);
  EXPECT_EQ(s.minX, 24);
  EXPECT_EQ(s.maxX, 296);
  EXPECT_EQ(s.minY, 0);
  EXPECT_EQ(s.maxY, 296);
  EXPECT_EQ(s.count, 69 * 75);
  img.depth.assign(img.depth.size(), 0.0f);  // zero depth is no hit
  EXPECT_EQ(measureSilhouette(img.depth, 400, 400, 400).count, 0);
}

TEST(Fit, CorrectionsAndTheCountdown) {
  Camera c;
  const double start = c.goalLogDist;
  // Nothing in view: doubled each step, four times at most.
  DepthImage sky = emptyImage(200, 100);
  int countdown = kFitSteps;
  while (fitStep(countdown, c, frame(200, 100), sky.reader())) {}
  EXPECT_EQ(sky.reads, 4);
  EXPECT_EQ(countdown, 0);
  EXPECT_NEAR(c.goalLogDist - start, 4 * std::log(2.0), 1e-12);

  // Touching the border: ×1.5, and the fit goes on.
  c = Camera{};
  DepthImage big = rectangle(400, 400, 0, 40, 300, 360);
  countdown = kFitSteps;
  fitStep(countdown, c, frame(400, 400), big.reader());
  EXPECT_EQ(countdown, 3);
  EXPECT_NEAR(c.goalLogDist - start, std::log(1.5), 1e-12);

  // 60 %: left alone, done.
  c = Camera{};
  DepthImage sixty = rectangle(400, 400, 80, 80, 321, 321);  // grid 80..320: 240/400
  countdown = kFitSteps;
  fitStep(countdown, c, frame(400, 400), sixty.reader());
  EXPECT_EQ(countdown, 0);
  EXPECT_EQ(c.goalLogDist, start);
}

TEST(Fit, ThePanelsColumnsNeverCount) {
  // A 300×200 render under a window 400 high with the image shifted by 100
  // window pixels: the panel covers the right 100 render columns.
  PictureFrame f = frame(300, 200);
  f.shiftUv = 2 * 100.0 / 400;
  DepthImage hidden = rectangle(300, 200, 220, 60, 280, 140);
  Camera c;
  int countdown = kFitSteps;
  fitStep(countdown, c, f, hidden.reader());
  EXPECT_NEAR(c.goalLogDist - Camera{}.goalLogDist, std::log(2.0), 1e-12) << "as good as absent";
  // Reaching under the panel's edge touches the border of the free part.
  DepthImage under = rectangle(300, 200, 100, 60, 280, 140);
  c = Camera{};
  fitStep(countdown, c, f, under.reader());
  EXPECT_NEAR(c.goalLogDist - Camera{}.goalLogDist, std::log(1.5), 1e-12);
}
