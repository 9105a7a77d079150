// Arithmetic of the frame driver and photo render, and the GL-free shader
// text rules: no context needed.
#include "model/params.h"
#include "model/tables.h"
#include "render/frame_math.h"
#include "render/shader_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

TEST(FrameMath, AccumulationSizeCapsAutomaticScale) {
  int w = 0, h = 0;
  accumulationSize(3840, 2160, 0, w, h);  // 8.3 Mpx: down to about 2.4 (sides rounded), shape kept
  EXPECT_NEAR(double(w) * h, 2.4e6, 0.001 * 2.4e6);
  EXPECT_NEAR(double(w) / h, 3840.0 / 2160, 0.002);
  accumulationSize(1600, 950, 0.5, w, h);  // a fixed scale wins
  EXPECT_EQ(w, 800);
  EXPECT_EQ(h, 475);
  accumulationSize(1, 1, 0.01, w, h);  // never below one pixel
  EXPECT_EQ(w, 1);
  EXPECT_EQ(h, 1);
}

TEST(FrameMath, PhotoTilesCoverAnEightKPictureOnce) {
  const int w = 7680, h = 4320;
  const std::vector<Tile> tiles = photoTiles(w, h);
  std::vector<uint8_t> cover(size_t(w) * h, 0);
  for (const Tile& t : tiles) {
    ASSERT_TRUE(t.w > 0 && t.h > 0 && t.w <= kPhotoTile && t.h <= kPhotoTile);
    for (int y = t.y; y < t.y + t.h; ++y)
      for (int x = t.x; x < t.x + t.w; ++x) ++cover[size_t(y) * w + x];
  }
  EXPECT_EQ(std::count(cover.begin(), cover.end(), 1), ptrdiff_t(cover.size()));
}

// The one depth rule of frames, shots, photos and film frames: with the
// setting on the detail grows wherever the camera is closer than the type's
// reference distance; with it off only in the dive. The extremes stay bounded.
TEST(FrameMath, DepthDetailFollowsTheSettingWithinItsLimits) {
  FractalParams p = defaultsForType("mandelbulb");  // camDist 3.4
  p.iter = 10;
  RenderQuality s;
  s.maxSteps = 320;
  const double close = 3.4 / 1024;
  DepthDetail d = depthDetail(p, s, false, close, false);
  EXPECT_GT(d.iterations, 10);
  EXPECT_GT(d.maxSteps, 320);
  EXPECT_EQ(depthDetail(p, s, false, 3.4 * 2, false).iterations, 10);  // farther: the record's
  s.autoIter = false;
  d = depthDetail(p, s, false, close, true);
  EXPECT_EQ(d.iterations, 10);
  EXPECT_EQ(d.maxSteps, 320);
  EXPECT_EQ(depthDetail(p, s, true, close, true).iterations, depthDetail(p, RenderQuality{}, false, close, true).iterations);

  // A camera at the surface itself, and the largest budgets: finite and capped.
  p.iter = 395;
  EXPECT_EQ(frameIterations(p, true, 0), 400);
  EXPECT_EQ(frameStepBudget(1900, true, 30), 2000);
  EXPECT_EQ(photoStepBudget(320, true, 100), 2000);
}

TEST(FrameMath, PrecisionChoiceWithHysteresis) {
  EXPECT_FALSE(chooseDeep(0, true, 0.0003, false));
  EXPECT_TRUE(chooseDeep(0, true, 0.00019, false));
  EXPECT_TRUE(chooseDeep(0, true, 0.0003, true));   // stays on until 0.0004
  EXPECT_FALSE(chooseDeep(0, true, 0.00041, true));
  EXPECT_FALSE(chooseDeep(0, false, 1e-9, false));  // not eligible
  EXPECT_TRUE(chooseDeep(2, true, 10, false));
  EXPECT_FALSE(chooseDeep(2, false, 10, true));
  EXPECT_FALSE(chooseDeep(1, true, 1e-9, true));
}

// The sun's direction follows the record's yaw; an animated palette never
// shows a hard seam: every texel stays next to a neighbour of the still
// palette (the far ends of the stop list differ).
TEST(FrameMath, LightingAndPaletteFromRecord) {
  FractalParams p;
  p.lightYaw = 90;
  p.lightPitch = 0;
  const Lighting l = lightingFromParams(p);
  EXPECT_NEAR(l.lightDir[0], 1, 1e-6);
  EXPECT_NEAR(l.lightDir[1], 0, 1e-6);
  EXPECT_NEAR(l.lightDir[2], 0, 1e-6);

  p.palette = "custom";
  p.customA = "#000000";
  p.customB = "#808080";
  p.customC = "#ffffff";
  const std::array<uint8_t, 1024> still = paletteTexels(paletteStops(p));
  EXPECT_EQ(rotatedPalette(still, 0), still);
  EXPECT_EQ(rotatedPalette(still, 2), still);  // a whole mirrored cycle
  EXPECT_EQ(rotatedPalette(still, -0.5), rotatedPalette(still, 1.5));
  for (double phase : {0.1, 0.5, 0.99, 1.3, 7.77}) {
    const std::array<uint8_t, 1024> moved = rotatedPalette(still, phase);
    for (int i = 0; i + 1 < 256; ++i)
      ASSERT_LE(std::abs(moved[i * 4] - moved[(i + 1) * 4]), 4) << phase << " at " << i;
  }
  EXPECT_EQ(rotatedPalette(still, 1)[0], 255);  // one length on: the far end first
}

// The status line's speed: the first sample is timed from its own start
// (the clock's epoch is no time at all), later samples from the previous
// completion, and a sample after a pause again from its own start.
TEST(FrameMath, SampleRateFromTheFirstSample) {
  EXPECT_DOUBLE_EQ(sampleRate(0, -1, 700.0, 700.5), 2.0);
  EXPECT_DOUBLE_EQ(sampleRate(2.0, 700.5, 700.52, 700.75), 0.8 * 2.0 + 0.2 * 4.0);
  EXPECT_DOUBLE_EQ(sampleRate(4.0, 700.5, 710.5, 711.0), 0.8 * 4.0 + 0.2 * 2.0);
  EXPECT_DOUBLE_EQ(sampleRate(0, -1, 5.0, 5.0), 10000.0);  // no division by zero
}

TEST(ShaderText, VersionSwapTouchesOnlyTheFirstVersionLine) {
  EXPECT_EQ(swapGlslVersion("#version 300 es\n#version 300 es\n"),
            "#version 430 core\n#version 300 es\n");
  EXPECT_EQ(swapGlslVersion("#version 300"), "#version 300");  // too short to hold the line
  EXPECT_EQ(swapGlslVersion("// x\n#version 300 es"), "// x\n#version 430 core");
}

TEST(ShaderText, DoublePrecisionEligibility) {
  FractalParams p = defaultsForType("mandelbulb");
  EXPECT_TRUE(canUseDoublePrecision(p));
  p.power = 8.0002;
  EXPECT_FALSE(canUseDoublePrecision(p));

  FractalParams h = defaultsForType("hybrid");
  h.slots = {{0, 7.5}, {2, 2.0}};
  EXPECT_FALSE(canUseDoublePrecision(h));
  h.slots = {{2, 7.5}, {4, 3.0}};  // fold links may use any coefficient
  EXPECT_TRUE(canUseDoublePrecision(h));

  FractalParams box = defaultsForType("mandelbox");
  box.power = 3;  // the power means nothing to a box
  EXPECT_TRUE(canUseDoublePrecision(box));
}
