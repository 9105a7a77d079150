// Records from seeds: exact goldens, what carries across types, invariants.
#include "model/seed.h"
#include "model/tables.h"

#include <gtest/gtest.h>

namespace {

struct Golden {
  const char* seed;
  const char* type;
  void (*expect)(FractalParams&);
};

}  // namespace

// Exact records worked out independently of this code for a spread of types,
// seeds (ASCII, Cyrillic, emoji) and branches (fractional power, warp, irid,
// both metal branches, gated rotations, a three-link chain). The whole record
// is compared, so a drifted constant or a misread byte anywhere shows up.
TEST(Seed, GoldenRecords) {
  const Golden goldens[] = {
      {"classic", "mandelbulb", [](FractalParams& p) { p.power = 12.025; p.palette = "gold"; p.colShift = 0.851; p.colScale = 1.472; p.lightYaw = 88.0; p.lightPitch = 27.0; p.metal = 0.596; p.glow = 0.061; p.yaw = 14.0; p.pitch = 10.0; p.dist = 3.637; }},
      {"a", "menger", [](FractalParams& p) { p.scale = 2.846; p.ox = 0.996; p.oy = 1.044; p.oz = 0.918; p.palette = "acid"; p.colShift = 0.8160000000000001; p.colScale = 0.885; p.lightYaw = 155.0; p.lightPitch = 21.0; p.metal = 0.79; p.glow = 0.081; p.yaw = 353.0; p.pitch = 31.0; p.dist = 4.801; }},
      {"мир", "hybrid", [](FractalParams& p) { p.jx = 0.257; p.jy = -0.316; p.jz = -0.088; p.oy = 0.008; p.oz = 0.092; p.rx = 4.0; p.ry = 1.0; p.rz = -10.0; p.slots = {{2, -2.488}, {0, 7.0}, {0, 8.0}}; p.palette = "plasma"; p.colShift = 0.17300000000000001; p.colScale = 1.597; p.lightYaw = 267.0; p.lightPitch = 68.0; p.metal = 0.097; p.glow = 0.061; p.yaw = 256.0; p.pitch = 34.0; p.dist = 4.514; }},
      {"🙂", "juliabox", [](FractalParams& p) { p.scale = 2.994; p.jx = 0.581; p.jy = -0.252; p.jz = -0.08700000000000001; p.palette = "ice"; p.colShift = 0.937; p.colScale = 1.403; p.lightYaw = 234.0; p.lightPitch = 38.0; p.metal = 0.755; p.glow = 0.226; p.yaw = 82.0; p.pitch = 32.0; p.dist = 13.908; }},
      {"x", "kifs", [](FractalParams& p) { p.scale = 1.688; p.ox = 1.061; p.oy = 0.073; p.oz = 0.14100000000000001; p.rx = -2.0; p.ry = -7.0; p.rz = -5.0; p.palette = "plasma"; p.colShift = 0.729; p.colScale = 1.42; p.lightYaw = 353.0; p.lightPitch = 27.0; p.metal = 0.896; p.glow = 0.28200000000000003; p.yaw = 251.0; p.pitch = 44.0; p.dist = 3.928; }},
      {"q", "qjulia", [](FractalParams& p) { p.jx = -0.245; p.jy = -0.11800000000000001; p.jz = -0.195; p.jw = -0.547; p.palette = "sunset"; p.colShift = 0.5730000000000001; p.colScale = 1.157; p.lightYaw = 51.0; p.lightPitch = 60.0; p.metal = 0.299; p.glow = 0.182; p.yaw = 267.0; p.pitch = 28.0; p.dist = 3.747; }},
      {"w4", "mandelbox", [](FractalParams& p) { p.scale = -1.788; p.warp = 0.232; p.palette = "aurora"; p.colShift = 0.184; p.colScale = 1.567; p.lightYaw = 14.0; p.lightPitch = 42.0; p.metal = 0.155; p.irid = 0.553; p.glow = 0.194; p.yaw = 299.0; p.pitch = 44.0; p.dist = 11.074; }},
      {"w63", "sierpinski", [](FractalParams& p) { p.scale = 1.857; p.ox = 1.04; p.oy = 0.966; p.oz = 1.049; p.rx = -1.0; p.ry = 2.0; p.rz = -1.0; p.palette = "acid"; p.colShift = 0.078; p.colScale = 0.963; p.lightYaw = 44.0; p.lightPitch = 36.0; p.metal = 0.165; p.irid = 0.741; p.glow = 0.155; p.yaw = 48.0; p.pitch = 43.0; p.dist = 4.722; }},
      {"w4", "apollonian", [](FractalParams& p) { p.scale = 1.133; p.warp = 0.232; p.palette = "aurora"; p.colShift = 0.184; p.colScale = 1.567; p.lightYaw = 14.0; p.lightPitch = 42.0; p.metal = 0.155; p.irid = 0.553; p.glow = 0.194; p.yaw = 299.0; p.pitch = 44.0; p.dist = 2.593; }},
  };
  for (const Golden& g : goldens) {
    FractalParams want = defaultsForType(g.type);
    want.seed = g.seed;
    g.expect(want);
    want.focus = want.dist;
    const FractalParams got = generateFromSeed(g.seed, g.type);
    EXPECT_EQ(got, want) << g.seed << " / " << g.type;
  }
}

TEST(Seed, DeterministicAndSharedAcrossTypes) {
  EXPECT_EQ(generateFromSeed("a", "menger"), generateFromSeed("a", "menger"));
  const FractalParams m = generateFromSeed("a", "menger");
  const FractalParams b = generateFromSeed("a", "mandelbulb");
  EXPECT_EQ(m.palette, b.palette);
  for (auto f : {&FractalParams::colShift, &FractalParams::colScale, &FractalParams::lightYaw,
                 &FractalParams::lightPitch, &FractalParams::yaw, &FractalParams::pitch})
    EXPECT_EQ(m.*f, b.*f);
  // An unknown type resolves to the first row, like every other lookup.
  EXPECT_EQ(generateFromSeed("a", "Menger"), b);
}

TEST(Seed, BaseRecordLendsOnlyViewingChoices) {
  FractalParams base = defaultsForType("kifs");
  base.exposure = 1.7, base.bloom = 0.9, base.vignette = 0.05;
  base.fov = 70, base.aperture = 0.02, base.autoFocus = false;
  base.light = 3, base.fog = 0.9, base.palette = "custom", base.iter = 2;
  FractalParams want = generateFromSeed("w4", "mandelbox");
  want.exposure = 1.7, want.bloom = 0.9, want.vignette = 0.05;
  want.fov = 70, want.aperture = 0.02, want.autoFocus = false;
  EXPECT_EQ(generateFromSeed("w4", "mandelbox", &base), want);
}

TEST(Seed, InvariantsOverManySeeds) {
  for (int i = 0; i < 300; ++i) {
    const std::string seed = "inv" + std::to_string(i);
    for (const FractalType& t : fractalTypes()) {
      const FractalParams p = generateFromSeed(seed, t.key);
      ASSERT_TRUE(p.palette != "custom" && p.dist == p.focus) << seed;
      ASSERT_TRUE(p.warp == 0 || (p.warp >= 0.1 && p.warp <= 0.5));
      if (t.key == "menger" || t.key == "sierpinski" || t.key == "kifs") { ASSERT_EQ(p.warp, 0); }
      if (t.key == "hybrid") {  // a chain never opens with a Menger or tetrahedron fold
        ASSERT_TRUE(p.slots.size() >= 2 && p.slots.size() <= 3 && p.slots[0].f <= 3) << seed;
      }
    }
  }
}
