// Mutants and offspring: deterministic, named, and always inside the ranges.
#include "model/mutate.h"
#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void expectInRanges(const FractalParams& p) {
  const FractalType& row = fractalTypes()[typeIndex(p.type)];
  if (row.flags & kFlagPower) { ASSERT_TRUE(p.power >= 2 && p.power <= 16); }
  ASSERT_TRUE(p.iter >= 1 && p.iter <= row.iterMax && p.iter == std::floor(p.iter));
  if (row.flags & kFlagScale) {
    ASSERT_TRUE(p.scale >= row.scaleMin && p.scale <= row.scaleMax);
    if (row.scaleMin < 0) { ASSERT_GE(std::fabs(p.scale), 1.1) << "degenerate fold scale"; }
  }
  if (row.flags & (kFlagJulia | kFlagJuliaW)) {
    for (double c : {p.jx, p.jy, p.jz, p.jw}) ASSERT_TRUE(c >= row.cMin && c <= row.cMax);
  }
  for (double o : {p.ox, p.oy, p.oz}) ASSERT_TRUE(o >= 0 && o <= 2);
  ASSERT_TRUE(p.colShift >= 0 && p.colShift <= 1 && p.colScale >= 0.2 && p.colScale <= 4);
  ASSERT_TRUE(p.lightYaw >= 0 && p.lightYaw < 360 && p.lightPitch >= -10 && p.lightPitch <= 90);
  ASSERT_TRUE(p.jmode >= 0 && p.jmode <= 2);
  ASSERT_LE(p.slots.size(), 4u);
  for (const FormulaSlot& s : p.slots) {
    ASSERT_TRUE(s.f >= 0 && s.f <= 5);
    ASSERT_TRUE(s.k >= hybridFormulas()[s.f].kMin && s.k <= hybridFormulas()[s.f].kMax);
    if (s.f == 2) { ASSERT_GE(std::fabs(s.k), 1.1) << "degenerate box link"; }
  }
}

bool hasSuffix(const std::string& s, const std::string& stem) {
  return s.size() == stem.size() + 5 && s.compare(0, stem.size(), stem) == 0 &&
         s.compare(stem.size(), 2, "·") == 0;
}

}  // namespace

TEST(Mutate, DeterministicNamedAndLimitedToTheTypesFields) {
  const FractalParams p = generateFromSeed("мир", "hybrid");
  std::mt19937 a(42), b(42), c(43);
  const FractalParams ma = mutate(p, 0.6, a);
  EXPECT_EQ(ma, mutate(p, 0.6, b));
  EXPECT_NE(ma, mutate(p, 0.6, c));
  // A mutant of a mutant replaces the suffix instead of growing the name.
  EXPECT_TRUE(hasSuffix(ma.seed, "мир") && hasSuffix(mutate(ma, 0.6, a).seed, "мир")) << ma.seed;
  for (int i = 0; i < 50; ++i) {
    const FractalParams menger = generateFromSeed("m" + std::to_string(i), "menger");
    const FractalParams m = mutate(menger, 1.0, a);
    ASSERT_TRUE(m.power == menger.power && m.jx == menger.jx && m.slots == menger.slots &&
                m.jmode == menger.jmode && m.warp == menger.warp);
    ASSERT_TRUE(m.exposure == menger.exposure && m.yaw == menger.yaw);  // the user's choices
  }
}

TEST(Mutate, StaysInRangeAndStrengthScalesTheMoves) {
  std::mt19937 rng(2024);
  double small = 0, bold = 0;
  for (int i = 0; i < 2000; ++i) {
    const FractalType& t = fractalTypes()[i % fractalTypes().size()];
    const FractalParams base = generateFromSeed("r" + std::to_string(i), t.key);
    const FractalParams gentle = mutate(base, 0.0, rng);
    ASSERT_NO_FATAL_FAILURE(expectInRanges(gentle)) << t.key;
    // Repeated bold mutation drifts far; it must still never leave the ranges.
    FractalParams p = base;
    for (int k = 0; k < 5; ++k) {
      p = mutate(p, 1.0, rng);
      ASSERT_NO_FATAL_FAILURE(expectInRanges(p)) << t.key;
    }
    if (t.key == "mandelbulb") {
      small += std::fabs(gentle.power - base.power);
      bold += std::fabs(mutate(base, 1.0, rng).power - base.power);
    }
  }
  EXPECT_GT(bold, small * 5);
}

TEST(Crossbreed, SameTypeMixesDifferentTypesTakeOneWholeShape) {
  const FractalParams a = generateFromSeed("w4", "mandelbox");
  const FractalParams b = generateFromSeed("🙂", "mandelbox");
  std::mt19937 rng(11);
  bool sawBlend = false;
  for (int i = 0; i < 200; ++i) {
    const FractalParams c = crossbreed(a, b, rng);
    ASSERT_EQ(c.seed, "w4×🙂");
    ASSERT_NO_FATAL_FAILURE(expectInRanges(c));
    ASSERT_TRUE(c.warp >= std::min(a.warp, b.warp) - 1e-9 && c.warp <= std::max(a.warp, b.warp) + 1e-9);
    // Parents of opposite scale sign: a blend through zero is never made.
    ASSERT_TRUE(c.scale == a.scale || c.scale == b.scale);
    ASSERT_EQ(c.dist, framingDistance(c));
    sawBlend |= c.warp != a.warp && c.warp != b.warp;
  }
  EXPECT_TRUE(sawBlend);

  FractalParams k = generateFromSeed("x", "kifs"), h = generateFromSeed("мир", "hybrid");
  k.exposure = 1.4;
  int fromK = 0;
  for (int i = 0; i < 100; ++i) {
    const FractalParams c = crossbreed(k, h, rng);
    const FractalParams& src = c.type == k.type ? k : h;
    ASSERT_TRUE(c.scale == src.scale && c.ox == src.ox && c.rz == src.rz && c.slots == src.slots &&
                c.iter == src.iter);
    ASSERT_EQ(c.exposure, 1.4);
    fromK += c.type == k.type;
  }
  EXPECT_TRUE(fromK > 20 && fromK < 80);
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
