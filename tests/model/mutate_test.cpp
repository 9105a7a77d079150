#include "model/mutate.h"
#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void expectInRanges(const FractalParams& p) {
  const FractalType& row = fractalTypes()[typeIndex(p.type)];
  if (row.flags & kFlagPower) {
    ASSERT_GE(p.power, 2);
    ASSERT_LE(p.power, 16);
  }
  ASSERT_GE(p.iter, 1);
  ASSERT_LE(p.iter, row.iterMax);
  ASSERT_EQ(p.iter, std::floor(p.iter));
  if (row.flags & kFlagScale) {
    ASSERT_GE(p.scale, row.scaleMin);
    ASSERT_LE(p.scale, row.scaleMax);
    if (row.scaleMin < 0) {
      ASSERT_GE(std::fabs(p.scale), 1.1) << "degenerate fold scale";
    }
  }
  if (row.flags & (kFlagJulia | kFlagJuliaW)) {
    for (double c : {p.jx, p.jy, p.jz, p.jw}) {
      ASSERT_GE(c, row.cMin);
      ASSERT_LE(c, row.cMax);
    }
  }
  for (double o : {p.ox, p.oy, p.oz}) ASSERT_TRUE(o >= 0 && o <= 2);
  ASSERT_TRUE(p.colShift >= 0 && p.colShift <= 1 && p.colScale >= 0.2 && p.colScale <= 4);
  ASSERT_TRUE(p.lightYaw >= 0 && p.lightYaw < 360 && p.lightPitch >= -10 && p.lightPitch <= 90);
  ASSERT_TRUE(p.jmode >= 0 && p.jmode <= 2);
  ASSERT_LE(p.slots.size(), 4u);
  for (const FormulaSlot& s : p.slots) {
    ASSERT_GE(s.f, 0);
    ASSERT_LE(s.f, 5);
    ASSERT_GE(s.k, hybridFormulas()[s.f].kMin);
    ASSERT_LE(s.k, hybridFormulas()[s.f].kMax);
    if (s.f == 2) {
      ASSERT_GE(std::fabs(s.k), 1.1) << "degenerate box link";
    }
  }
}

bool hasSuffix(const std::string& s, const std::string& stem) {
  return s.size() == stem.size() + 5 && s.compare(0, stem.size(), stem) == 0 &&
         s.compare(stem.size(), 2, "·") == 0;
}

}  // namespace

TEST(Mutate, DeterministicWithAFixedEngine) {
  const FractalParams p = generateFromSeed("мир", "hybrid");
  std::mt19937 a(42), b(42), c(43);
  const FractalParams ma = mutate(p, 0.6, a);
  EXPECT_EQ(ma, mutate(p, 0.6, b));
  EXPECT_NE(ma, mutate(p, 0.6, c));
  EXPECT_TRUE(hasSuffix(ma.seed, "мир")) << ma.seed;
  // A mutant of a mutant replaces the suffix instead of growing the name.
  EXPECT_TRUE(hasSuffix(mutate(ma, 0.6, a).seed, "мир"));

  std::mt19937 r(1);
  for (int i = 0; i < 1000; ++i) {
    const double u = randomUnit(r);
    ASSERT_GE(u, 0.0);
    ASSERT_LT(u, 1.0);
  }
}

TEST(Mutate, OnlyFlaggedShapeFieldsChange) {
  std::mt19937 rng(7);
  for (int i = 0; i < 300; ++i) {
    const FractalParams menger = generateFromSeed("m" + std::to_string(i), "menger");
    const FractalParams m = mutate(menger, 1.0, rng);
    ASSERT_EQ(m.power, menger.power);
    ASSERT_EQ(m.jx, menger.jx);
    ASSERT_EQ(m.slots, menger.slots);
    ASSERT_EQ(m.jmode, menger.jmode);
    ASSERT_EQ(m.warp, menger.warp);
    // Viewing choices and the pose are the user's.
    ASSERT_EQ(m.exposure, menger.exposure);
    ASSERT_EQ(m.yaw, menger.yaw);

    const FractalParams bulb = generateFromSeed("b" + std::to_string(i), "mandelbulb");
    const FractalParams mb = mutate(bulb, 1.0, rng);
    ASSERT_EQ(mb.scale, bulb.scale);
    ASSERT_EQ(mb.rx, bulb.rx);
    ASSERT_EQ(mb.jx, bulb.jx);
  }
}

TEST(Mutate, StaysInRangeAndStrengthScalesTheMoves) {
  std::mt19937 rng(2024);
  double small = 0, bold = 0;
  for (int i = 0; i < 2000; ++i) {
    const FractalType& t = fractalTypes()[i % fractalTypes().size()];
    FractalParams p = generateFromSeed("r" + std::to_string(i), t.key);
    const FractalParams gentle = mutate(p, 0.0, rng);
    ASSERT_NO_FATAL_FAILURE(expectInRanges(gentle)) << t.key;
    // Repeated bold mutation drifts far; it must still never leave the ranges.
    for (int k = 0; k < 5; ++k) {
      p = mutate(p, 1.0, rng);
      ASSERT_NO_FATAL_FAILURE(expectInRanges(p)) << t.key;
    }
    if (t.key == "mandelbulb") {
      const FractalParams base = generateFromSeed("r" + std::to_string(i), t.key);
      small += std::fabs(gentle.power - base.power);
      bold += std::fabs(mutate(base, 1.0, rng).power - base.power);
    }
  }
  EXPECT_GT(bold, small * 5);
}

TEST(Mutate, CameraFollowsALargeChangeOfExtent) {
  FractalParams p = defaultsForType("mandelbox");
  p.scale = 3.5;  // radius (9/2.5)*1.75 = 6.3: framing 11.97
  p.dist = 5;
  std::mt19937 rng(3);
  for (int i = 0; i < 200; ++i) {
    const FractalParams m = mutate(p, 1.0, rng);
    const double ratio = framingDistance(m) / framingDistance(p);
    if (ratio > 0.8 && ratio < 1.25) {
      ASSERT_EQ(m.dist, p.dist);
    } else {
      ASSERT_DOUBLE_EQ(m.dist, p.dist * ratio);
    }
  }
}

TEST(Crossbreed, SameTypeMixesFieldByField) {
  const FractalParams a = generateFromSeed("w4", "mandelbox");
  const FractalParams b = generateFromSeed("🙂", "mandelbox");
  std::mt19937 rng(11);
  bool sawA = false, sawB = false, sawBlend = false;
  for (int i = 0; i < 200; ++i) {
    const FractalParams c = crossbreed(a, b, rng);
    ASSERT_EQ(c.type, "mandelbox");
    ASSERT_EQ(c.seed, "w4×🙂");
    ASSERT_NO_FATAL_FAILURE(expectInRanges(c));
    for (auto f : {&FractalParams::warp, &FractalParams::colScale, &FractalParams::glow}) {
      ASSERT_GE(c.*f, std::min(a.*f, b.*f) - 1e-9);
      ASSERT_LE(c.*f, std::max(a.*f, b.*f) + 1e-9);
    }
    // Parents of opposite scale sign: a blend through zero is never made.
    ASSERT_TRUE(c.scale == a.scale || c.scale == b.scale);
    ASSERT_TRUE(c.palette == a.palette || c.palette == b.palette);
    sawA |= c.warp == a.warp;
    sawB |= c.warp == b.warp;
    sawBlend |= c.warp != a.warp && c.warp != b.warp;
    ASSERT_EQ(c.dist, framingDistance(c));
    ASSERT_EQ(c.exposure, a.exposure);
  }
  EXPECT_TRUE(sawA && sawB && sawBlend);
}

TEST(Crossbreed, DifferentTypesTakeOneWholeShape) {
  FractalParams a = generateFromSeed("x", "kifs");
  a.exposure = 1.4;
  FractalParams b = generateFromSeed("мир", "hybrid");
  b.exposure = 0.6;
  std::mt19937 rng(5);
  int fromA = 0, fromB = 0;
  for (int i = 0; i < 100; ++i) {
    const FractalParams c = crossbreed(a, b, rng);
    const FractalParams& src = c.type == a.type ? a : b;
    ASSERT_EQ(c.scale, src.scale);
    ASSERT_EQ(c.ox, src.ox);
    ASSERT_EQ(c.rz, src.rz);
    ASSERT_EQ(c.slots, src.slots);
    ASSERT_EQ(c.iter, src.iter);
    ASSERT_EQ(c.exposure, 1.4);
    ASSERT_EQ(c.seed, offspringName(a.seed, b.seed));
    (c.type == a.type ? fromA : fromB)++;
  }
  EXPECT_GT(fromA, 20);
  EXPECT_GT(fromB, 20);
}

TEST(Crossbreed, OutOfRangeParentsGiveAnInRangeChild) {
  FractalParams a = defaultsForType("hybrid");
  a.power = 40, a.iter = 500, a.jx = 9, a.jmode = 7;
  a.slots = {{0, 99}, {2, -0.5}, {3, 2}, {4, 2}, {5, 2}};
  FractalParams box = defaultsForType("juliabox");
  box.scale = 1.0, box.jx = -7, box.iter = 0;
  std::mt19937 rng(9);
  EXPECT_NO_FATAL_FAILURE(expectInRanges(crossbreed(a, a, rng)));
  EXPECT_NO_FATAL_FAILURE(expectInRanges(crossbreed(box, box, rng)));
  EXPECT_NO_FATAL_FAILURE(expectInRanges(mutate(box, 0, rng)));
}
