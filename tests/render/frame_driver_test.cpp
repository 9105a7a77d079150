// The frame driver's and the photo render's paths on small images: bands,
// adaptive resolution, when a picture counts as final, and tiles.
#include "gl_fixture.h"

#include "model/seed.h"
#include "platform/platform.h"
#include "render/gl.h"

#include <cmath>

namespace {

// Accumulates `samples` samples from a reset with a fixed sequence base, so
// two runs draw the same jittered samples; returns the accumulation.
std::vector<float> driveStill(Renderer& r, const FrameInput& still, int samples, int* frames) {
  FrameInput in = still;
  const int w = in.width, h = in.height;
  in.targetSamples = samples;
  in.now = r.lastFrameTime + 100;
  resetAccumulation(r);
  r.sequence = 40;
  r.pacing.banding = false;
  int n = 0;
  for (; n < 400 && renderStatus(r).samples < samples; ++n) {
    renderFrame(r, in);
    in.now += 1;
  }
  if (frames) *frames = n;
  return readFloatTarget(r.accumA, w, h);
}

}  // namespace

// With a tiny time budget every sample after the first (which measures the
// cost) is drawn in bands of 8 rows; the bands must tile the image exactly
// and add up to the same picture as whole samples.
TEST_F(RenderGl, BandedSamplesEqualWholeSamples) {
  Renderer& r = *renderer;
  const FractalParams p = generateFromSeed("classic", "mandelbox");
  RenderQuality s;
  s.prepass = false;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  const int w = 40, h = 30, samples = 3;
  int wholeFrames = 0, bandedFrames = 0;
  // Whole samples, however long the first one (with its shader build) takes;
  // the first grows from the probe rows, never by the wall clock.
  r.bandMs = 1e-9;
  r.bandingMs = 1e12;
  const FrameInput in = stillFrame(p, s, w, h, platform::defaultFramebuffer(window));
  const std::vector<float> whole = driveStill(r, in, samples, &wholeFrames);
  r.bandingMs = 0;
  const std::vector<float> banded = driveStill(r, in, samples, &bandedFrames);
  // A new program's first sample is probed in growing bands (8, 16, the rest).
  EXPECT_EQ(wholeFrames, samples + 2);
  // The cost model survives the reset: every banded sample is 8, 8, 8, 6 rows.
  EXPECT_EQ(bandedFrames, samples * ((h + 7) / 8));
  const ImageDiff d = compareImages("banded", banded, whole, w, h, 1e-4f);
  EXPECT_EQ(d.differing, 0) << d;
  for (size_t i = 3; i < whole.size(); i += 4) ASSERT_EQ(banded[i], whole[i]) << "depth of pixel " << i / 4;
}

// Close up, the detail follows the zoom: a sponge 1e-6 from its corner is
// drawn with the depth's iteration count and step budget, in a frame (what a
// shot reads) and in a photo alike: the same picture as the record given
// that count and budget with the growth off. With the setting off the
// record's own count stands, and the coarse sponge shows another picture.
TEST_F(RenderGl, DetailFollowsTheZoom) {
  Renderer& r = *renderer;
  FractalParams p = defaultsForType("menger");
  p.tx = p.ty = p.tz = 1;
  p.dist = 1e-6;
  RenderQuality grows;
  ASSERT_TRUE(grows.autoIter);  // the default
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  const int w = 48, h = 32;
  const uint32_t fbo = platform::defaultFramebuffer(window);
  const std::vector<float> deep = driveStill(r, stillFrame(p, grows, w, h, fbo), 1, nullptr);
  const int iter = renderStatus(r).iterations;
  const double depth = std::log2(4.2 / 1e-6);  // the sponge's reference distance is 4.2
  EXPECT_EQ(iter, int(std::floor(p.iter + 0.65 * depth + 0.5)));
  EXPECT_GT(iter, 20);

  FractalParams q = p;
  q.iter = iter;
  RenderQuality fixed;
  fixed.autoIter = false;
  fixed.maxSteps = grows.maxSteps + 400;  // the frame's growth is capped at 400 steps
  const std::vector<float> given = driveStill(r, stillFrame(q, fixed, w, h, fbo), 1, nullptr);
  EXPECT_EQ(renderStatus(r).iterations, iter);
  const ImageDiff same = compareImages("detail_given", given, deep, w, h, 1e-5f);
  EXPECT_EQ(same.differing, 0) << same;

  RenderQuality off;
  off.autoIter = false;
  const std::vector<float> coarse = driveStill(r, stillFrame(p, off, w, h, fbo), 1, nullptr);
  EXPECT_EQ(renderStatus(r).iterations, int(std::floor(p.iter + 0.5)));
  const ImageDiff other = compareImages("detail_coarse", coarse, deep, w, h, 0.02f);
  EXPECT_GT(other.differing, w * h / 20) << other;

  // The photo's budget grows without the frame's cap.
  std::vector<uint8_t> photoGrows, photoGiven;
  ASSERT_TRUE(renderPhoto(r, w, h, 1, stillFrame(p, grows, w, h, fbo), photoGrows, nullptr));
  fixed.maxSteps = grows.maxSteps + int(24 * depth);
  ASSERT_TRUE(renderPhoto(r, w, h, 1, stillFrame(q, fixed, w, h, fbo), photoGiven, nullptr));
  EXPECT_EQ(photoGrows, photoGiven);
}

// Moving frames with a slow (banded) sample shrink the render size; both
// sides shrink by the same factor, so the picture keeps the window's shape.
TEST_F(RenderGl, AdaptiveResolutionKeepsTheWindowsAspect) {
  Renderer& r = *renderer;
  const FractalParams p = defaultsForType("menger");
  RenderQuality s;
  s.adaptive = true;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  const int w = 120, h = 40;
  FrameInput in = stillFrame(p, s, w, h, platform::defaultFramebuffer(window));
  in.now = r.lastFrameTime + 100;
  r.bandingMs = 0;
  in.cameraMoving = true;
  for (int i = 0; i < 8; ++i, in.now += 0.01) renderFrame(r, in);
  const RenderStatus moving = renderStatus(r);
  in.cameraMoving = false;
  in.now += 1;
  renderFrame(r, in);
  const RenderStatus still = renderStatus(r);
  r.pacing.scale = 1;
  EXPECT_LT(moving.renderWidth, w * 3 / 4);
  EXPECT_GT(moving.renderWidth, 0);
  EXPECT_NEAR(double(moving.renderWidth) / moving.renderHeight, double(w) / h, 0.1)
      << moving.renderWidth << "×" << moving.renderHeight;
  EXPECT_EQ(still.renderWidth, w);
  EXPECT_EQ(still.renderHeight, h);
}

// A shot may take the picture only when it is final: every sample drawn
// with the view at rest. Samples finished while moving are fast ones and do
// not count, even when they reach the target.
TEST_F(RenderGl, PictureIsFinalOnlyOnceTheViewRests) {
  Renderer& r = *renderer;
  const FractalParams p = defaultsForType("sierpinski");
  RenderQuality s;
  s.adaptive = false;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  FrameInput in = stillFrame(p, s, 32, 24, platform::defaultFramebuffer(window));
  // Bands sized from the wall clock would make the frame count depend on the
  // machine's load; with unlimited budgets only the probe rows band.
  r.bandMs = r.bandingMs = 1e12;
  in.now = r.lastFrameTime + 100;
  in.targetSamples = 2;
  in.cameraMoving = true;
  renderFrame(r, in);
  EXPECT_FALSE(renderStatus(r).converged);
  // The camera stopped; the picture still counts as moving for a moment.
  in.cameraMoving = false;
  for (int i = 0; i < 3; ++i) {
    in.now += 0.01;
    renderFrame(r, in);
    EXPECT_FALSE(renderStatus(r).converged) << "frame " << i << " after the camera stopped";
  }
  EXPECT_TRUE(renderStatus(r).done);  // the fast samples reached the target...
  in.now += 1;
  EXPECT_TRUE(renderFrame(r, in));   // ...but the still picture starts over
  EXPECT_EQ(renderStatus(r).samples, 1);
  EXPECT_FALSE(renderStatus(r).converged);
  in.now += 1;
  renderFrame(r, in);
  EXPECT_TRUE(renderStatus(r).converged);
  in.now += 1;
  EXPECT_FALSE(renderFrame(r, in));
  EXPECT_TRUE(renderStatus(r).converged);
}

// A photo cut into 3 × 2 tiles equals the same photo drawn as one tile, so
// no tile is left out; more samples smooth it (a photo that redrew its first
// sample each time would not change).
TEST_F(RenderGl, TiledPhotoEqualsOneTile) {
  Renderer& r = *renderer;
  const FractalParams p = generateFromSeed("classic", "kifs");
  RenderQuality s;
  const FrameInput in = stillFrame(p, s, 64, 48, platform::defaultFramebuffer(window));
  const int w = 40, h = 28, side = 16;
  std::vector<uint8_t> tiled, whole, single;
  r.photoTile = side;
  ASSERT_TRUE(renderPhoto(r, w, h, 2, in, tiled, nullptr));
  r.photoTile = kPhotoTile;
  ASSERT_TRUE(renderPhoto(r, w, h, 2, in, whole, nullptr));
  ASSERT_TRUE(renderPhoto(r, w, h, 1, in, single, nullptr));
  ASSERT_EQ(tiled.size(), size_t(w) * h * 4);
  int differing = 0;
  for (size_t i = 0; i < whole.size(); ++i) differing += std::abs(tiled[i] - whole[i]) > 2;
  EXPECT_EQ(differing, 0);
  int smoothed = 0;
  for (size_t i = 0; i < whole.size(); ++i) smoothed += std::abs(single[i] - whole[i]) > 2;
  EXPECT_GT(smoothed, w * h / 50);
}
