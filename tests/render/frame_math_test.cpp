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
  accumulationSize(1600, 950, 0, w, h);  // under 2.4 Mpx: full size
  EXPECT_EQ(w, 1600);
  EXPECT_EQ(h, 950);
  accumulationSize(1600, 950, 0.5, w, h);  // a fixed scale wins
  EXPECT_EQ(w, 800);
  EXPECT_EQ(h, 475);
  accumulationSize(1, 1, 0.01, w, h);  // never below one pixel
  EXPECT_EQ(w, 1);
  EXPECT_EQ(h, 1);
}

TEST(FrameMath, QuarterSizedTargets) {
  EXPECT_EQ(prepassSide(1), 1);
  EXPECT_EQ(bloomSide(1), 1);
  EXPECT_EQ(bloomSide(1600), 400);
  EXPECT_EQ(bloomSide(1601), 401);
}

TEST(FrameMath, BandsCostTheBandBudget) {
  EXPECT_NEAR(bandRows(0.2, 1000) * 0.2, kBandMs, 0.2);
  EXPECT_TRUE(needsBanding(0.2, 1000));
  EXPECT_EQ(bandRows(10, 1000), 8);       // at least 8 rows
  EXPECT_EQ(bandRows(0.001, 1000), 1000); // never more than the image
  EXPECT_EQ(bandRows(0, 50), 50);         // a zero timing does not divide by zero
  EXPECT_FALSE(needsBanding(kBandingMs / 1000, 1000)); // exactly the limit is still one piece
}

TEST(FrameMath, PhotoTilesFromBottomLeft) {
  // Every pixel in exactly one tile, rows walked from the bottom-left.
  const int w = 7680, h = 4320;
  const std::vector<Tile> t8k = photoTiles(w, h);
  std::vector<uint8_t> cover(size_t(w) * h, 0);
  for (size_t i = 0; i < t8k.size(); ++i) {
    const Tile& t = t8k[i];
    ASSERT_TRUE(t.w > 0 && t.h > 0 && t.w <= kPhotoTile && t.h <= kPhotoTile) << i;
    if (i > 0) EXPECT_TRUE(t.y > t8k[i - 1].y || (t.y == t8k[i - 1].y && t.x > t8k[i - 1].x)) << i;
    for (int y = t.y; y < t.y + t.h; ++y)
      for (int x = t.x; x < t.x + t.w; ++x) ++cover[size_t(y) * w + x];
  }
  EXPECT_EQ(t8k.front().x, 0);
  EXPECT_EQ(t8k.front().y, 0);
  EXPECT_EQ(std::count(cover.begin(), cover.end(), 1), ptrdiff_t(cover.size()));

  const std::vector<Tile> small = photoTiles(100, 100);
  ASSERT_EQ(small.size(), 1u);
  EXPECT_EQ(small[0].w, 100);
}

TEST(FrameMath, HaltonJitter) {
  EXPECT_DOUBLE_EQ(radicalInverse(1, 2), 0.5);
  EXPECT_DOUBLE_EQ(radicalInverse(2, 2), 0.25);
  EXPECT_DOUBLE_EQ(radicalInverse(3, 2), 0.75);
  EXPECT_NEAR(radicalInverse(1, 3), 1.0 / 3, 1e-15);
  EXPECT_NEAR(radicalInverse(5, 3), 7.0 / 9, 1e-15);  // 5 = 12 in base 3

  float j[2];
  sampleJitter(0, 123, 0, j);  // the first still sample is unjittered
  EXPECT_EQ(j[0], 0);
  EXPECT_EQ(j[1], 0);
  sampleJitter(0, 0, 0.55, j);  // ...but not with a history trail: index 1
  EXPECT_FLOAT_EQ(j[0], 0.0f);
  EXPECT_FLOAT_EQ(j[1], float(1.0 / 3 - 0.5));
  sampleJitter(1, 1, 0, j);  // index ((1 + 1) mod 4096) + 1 = 3
  EXPECT_FLOAT_EQ(j[0], 0.25f);
  EXPECT_FLOAT_EQ(j[1], float(1.0 / 9 - 0.5));
  float wrapped[2];
  sampleJitter(4096 + 1, 1, 0, wrapped);  // the index wraps at 4096
  EXPECT_EQ(wrapped[0], j[0]);
  EXPECT_EQ(wrapped[1], j[1]);
}

TEST(FrameMath, IterationsAndStepBudgetGrowWithDepth) {
  FractalParams p = defaultsForType("mandelbulb");  // camDist 3.4, growth 0.5
  p.iter = 10.5;
  EXPECT_EQ(frameIterations(p, false, 1e-9), 11);  // half rounds up
  EXPECT_EQ(frameIterations(p, true, 3.4), 11);
  EXPECT_EQ(frameIterations(p, true, 3.4 / 1024), 16);  // 10 doublings
  EXPECT_EQ(frameIterations(p, true, 10), 11);          // depth never negative
  EXPECT_EQ(frameIterations(p, true, 0), 31);           // distance floored at 1e-12
  p.iter = 395;
  EXPECT_EQ(frameIterations(p, true, 3.4 / 1024), 400);  // capped

  EXPECT_DOUBLE_EQ(diveDepth(3.4, 3.4 / 8), 3);
  EXPECT_EQ(frameStepBudget(320, false, 30), 320);
  EXPECT_EQ(frameStepBudget(320, true, 3), 392);
  EXPECT_EQ(frameStepBudget(320, true, 30), 720);    // dive addition capped at 400
  EXPECT_EQ(frameStepBudget(1900, true, 30), 2000);
  EXPECT_EQ(photoStepBudget(320, true, 30), 1040);   // the photo has no 400 cap
  EXPECT_EQ(photoStepBudget(320, true, 100), 2000);
  EXPECT_EQ(photoStepBudget(320, false, 100), 320);
}

// The one depth rule of frames, shots, photos and film frames: with the
// setting on the detail grows wherever the camera is closer than the type's
// reference distance; with it off only in the dive.
TEST(FrameMath, DepthDetailFollowsTheSetting) {
  FractalParams p = defaultsForType("mandelbulb");  // camDist 3.4, growth 0.5
  p.iter = 10;
  RenderQuality s;
  s.maxSteps = 320;
  const double close = 3.4 / 1024;  // 10 doublings
  DepthDetail d = depthDetail(p, s, false, close, false);
  EXPECT_EQ(d.iterations, 15);
  EXPECT_EQ(d.maxSteps, 560);
  EXPECT_EQ(depthDetail(p, s, false, 3.4 * 2, false).iterations, 10);  // farther: the record's
  s.autoIter = false;
  d = depthDetail(p, s, false, close, true);
  EXPECT_EQ(d.iterations, 10);
  EXPECT_EQ(d.maxSteps, 320);
  d = depthDetail(p, s, true, close, true);  // the dive grows it regardless
  EXPECT_EQ(d.iterations, 15);
  EXPECT_EQ(d.maxSteps, 560);
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

TEST(FrameMath, ShiftEasingAndAdaptiveScale) {
  EXPECT_EQ(easeShift(185.6, 186, 0.016), 186);  // within half a pixel: snap
  const double eased = easeShift(0, 186, 0.016);
  EXPECT_GT(eased, 0);
  EXPECT_LT(eased, 186);

  EXPECT_EQ(adaptScale(1, false, true, true, 0.5), 1);  // still: untouched
  EXPECT_LT(adaptScale(1, true, true, false, 0.02), 1);     // a banded sample: smaller
  EXPECT_LT(adaptScale(0.5, true, false, true, 0.03), 0.5);  // below 40 fps: smaller
  EXPECT_GT(adaptScale(0.5, true, false, true, 0.01), 0.5);  // above 55 fps: larger
  EXPECT_EQ(adaptScale(0.5, true, false, true, 0.02), 0.5);  // 40..55 fps: keep
  EXPECT_EQ(adaptScale(0.26, true, true, true, 0.05), 0.25);
  EXPECT_EQ(adaptScale(0.99, true, false, true, 0.001), 1);
  EXPECT_NEAR(resolutionFactor(0.62, true, true), 0.6, 1e-12);
  EXPECT_EQ(resolutionFactor(0.62, false, true), 1);
  EXPECT_EQ(resolutionFactor(0.62, true, false), 1);
}

TEST(FrameMath, LightingAndPaletteFromRecord) {
  FractalParams p;
  p.bgTop = "#808080";
  p.glowColor = "#ff0000";
  p.lightYaw = 90;
  p.lightPitch = 0;
  const Lighting l = lightingFromParams(p);
  EXPECT_NEAR(l.bgTop[0], std::pow(128 / 255.0, 2.2), 1e-5);  // colours go linear
  EXPECT_FLOAT_EQ(l.glowCol[0], 1);
  EXPECT_FLOAT_EQ(l.glowCol[1], 0);
  EXPECT_NEAR(l.lightDir[0], 1, 1e-6);
  EXPECT_NEAR(l.lightDir[1], 0, 1e-6);
  EXPECT_NEAR(l.lightDir[2], 0, 1e-6);

  // An animated palette never shows a hard seam: every texel stays next to a
  // neighbour of the still palette (the far ends of the stop list differ).
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
// (there is no previous one; the clock's epoch is no time at all), later
// samples from the previous completion, and a sample after a pause again
// from its own start.
TEST(FrameMath, SampleRateFromTheFirstSample) {
  // The first sample: began at 700 s, took half a second.
  EXPECT_DOUBLE_EQ(sampleRate(0, -1, 700.0, 700.5), 2.0);
  // Back to back: the interval since the last completion, smoothed 0.8/0.2.
  EXPECT_DOUBLE_EQ(sampleRate(2.0, 700.5, 700.52, 700.75), 0.8 * 2.0 + 0.2 * 4.0);
  // After ten idle seconds the idle time is no rendering time.
  EXPECT_DOUBLE_EQ(sampleRate(4.0, 700.5, 710.5, 711.0), 0.8 * 4.0 + 0.2 * 2.0);
  // A sample done within one instant does not divide by zero.
  EXPECT_DOUBLE_EQ(sampleRate(0, -1, 5.0, 5.0), 10000.0);
}

TEST(ShaderText, VersionSwap) {
  EXPECT_EQ(swapGlslVersion("#version 300 es\nvoid main(){}"), "#version 430 core\nvoid main(){}");
  EXPECT_EQ(swapGlslVersion("#version 430 core\n"), "#version 430 core\n");
  EXPECT_EQ(swapGlslVersion("#version 300 es\n#version 300 es\n"),
            "#version 430 core\n#version 300 es\n");
  EXPECT_EQ(swapGlslVersion("#version 300"), "#version 300");  // too short to hold the line
  EXPECT_EQ(swapGlslVersion("// x\n#version 300 es"), "// x\n#version 430 core");
}

TEST(ShaderText, ComposedHeadersAndBodies) {
  // The no-hit depths reach the shaders as float literals: "10000" would be
  // an int, which GLSL does not mix with floats.
  const std::string depths = "#define NO_HIT 10000.0\n#define HIT_LIMIT 9000.0\n";
  const std::string box = composeFractalSource("juliabox", Pass::Trace);
  EXPECT_EQ(box.rfind("#version 430 core\n#define DE_BOX 1\n#define JULIA 1\n" + depths + "precision highp float;", 0),
            0u);
  const std::string bulb = composeFractalSource("mandelbulb", Pass::Prepass);
  EXPECT_EQ(bulb.rfind("#version 430 core\n#define DE_BULB 1\n" + depths + "precision highp float;", 0), 0u);
  EXPECT_EQ(composeFractalSource("burningbulb", Pass::Deep).rfind(
                "#version 430 core\n#define DE_BULB 1\n#define BURNING 1\n" + depths, 0),
            0u);
  // Exactly one version line per text: the pieces carry none.
  for (Pass pass : {Pass::Trace, Pass::Deep, Pass::Prepass, Pass::Volume}) {
    const std::string s = composeFractalSource("hybrid", pass);
    EXPECT_EQ(s.find("#version", 1), std::string::npos) << passName(pass);
  }
  EXPECT_NE(composeFractalSource("menger", Pass::Volume), composeFractalSource("menger", Pass::Trace));
  EXPECT_EQ(fullscreenVertexSource().rfind("#version 430 core", 0), 0u);
}

TEST(ShaderText, DoublePrecisionEligibility) {
  FractalParams p = defaultsForType("mandelbulb");
  EXPECT_TRUE(canUseDoublePrecision(p));
  p.power = 8.0002;
  EXPECT_FALSE(canUseDoublePrecision(p));
  p.type = "juliabulb";
  p.power = 8.00005;
  EXPECT_TRUE(canUseDoublePrecision(p));

  FractalParams h = defaultsForType("hybrid");
  h.slots = {{0, 7.5}, {2, 2.0}};
  EXPECT_FALSE(canUseDoublePrecision(h));
  h.slots[0].k = 8.00005;
  EXPECT_TRUE(canUseDoublePrecision(h));
  h.slots = {{2, 7.5}, {4, 3.0}};  // fold links may use any coefficient
  EXPECT_TRUE(canUseDoublePrecision(h));

  FractalParams box = defaultsForType("mandelbox");
  box.power = 3;  // the power means nothing to a box
  EXPECT_TRUE(canUseDoublePrecision(box));
}
