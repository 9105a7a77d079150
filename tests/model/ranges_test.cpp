// Hard value ranges: what would draw nothing stays out, bad records are mended.
#include "model/ranges.h"
#include "model/seed.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <string>

TEST(Ranges, KeysAreUniqueAndUnusableValuesStayOutside) {
  std::set<std::string> keys;
  for (const ValueRange& r : valueRanges()) {
    EXPECT_TRUE(keys.insert(r.key).second) << r.key;
    EXPECT_LT(r.lo, r.hi) << r.key;
  }
  EXPECT_EQ(findRange("nope"), nullptr);
  // What would draw nothing or hang stays outside.
  EXPECT_GT(findRange("fov")->lo, 0);
  EXPECT_LT(findRange("fov")->hi, 180);
  EXPECT_GT(findRange("dist")->lo, 0);
  EXPECT_GE(findRange("samples")->lo, 1);
  EXPECT_LE(findRange("maxSteps")->hi, 2000);
  EXPECT_GT(findRange("power")->lo, 0);
}

TEST(Ranges, SafeValueKeepsInsideBitsAndMendsTheRest) {
  const ValueRange& fov = *findRange("fov");
  const double inside = std::nextafter(50.0, 51.0);
  const double back = safeValue(inside, fov, 50);
  EXPECT_EQ(std::memcmp(&back, &inside, sizeof inside), 0);
  EXPECT_EQ(safeValue(180, fov, 50), fov.hi);
  EXPECT_EQ(safeValue(-1e300, fov, 50), fov.lo);
  EXPECT_EQ(safeValue(std::numeric_limits<double>::quiet_NaN(), fov, 50), 50);
  EXPECT_EQ(safeValue(-std::numeric_limits<double>::infinity(), fov, 50), 50);
  EXPECT_EQ(safeValue(std::numeric_limits<double>::infinity(), fov, 1e9), fov.hi);  // fallback clamped too
  const ValueRange& samples = *findRange("samples");
  EXPECT_EQ(safeValue(64.9, samples, 256), 64);
  EXPECT_EQ(safeValue(-5, samples, 256), 1);
  EXPECT_TRUE(inRange(64, samples));
  EXPECT_FALSE(inRange(64.5, samples));
  EXPECT_FALSE(inRange(std::numeric_limits<double>::quiet_NaN(), fov));
}

TEST(Ranges, RecordsComeOutSafeAndValidOnesUnchanged) {
  // Whatever the seed generator makes is inside: safety never changes a real fractal.
  for (const FractalType& t : fractalTypes())
    for (const char* seed : {"classic", "abc", "губка", "x9"}) {
      FractalParams p = generateFromSeed(seed, t.key, nullptr);
      FractalParams safe = p;
      makeParamsSafe(safe);
      EXPECT_EQ(safe, p) << t.key << " " << seed;
    }

  FractalParams bad = defaultsForType("menger");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Finite values outside are the field table's test; here what has no
  // number to clamp to, and the lists.
  bad.yaw = std::numeric_limits<double>::infinity();
  bad.glow = nan;
  bad.jmode = 7;
  bad.slots = {{9, 1e9}, {0, -3}, {-4, nan}};
  makeParamsSafe(bad);
  const FractalParams start = defaultsForType("menger");
  EXPECT_EQ(bad.yaw, start.yaw);
  EXPECT_EQ(bad.glow, start.glow);
  EXPECT_EQ(bad.jmode, 2);
  ASSERT_EQ(bad.slots.size(), 3u);
  EXPECT_EQ(bad.slots[0], (FormulaSlot{5, 32}));
  EXPECT_EQ(bad.slots[1], (FormulaSlot{0, 1}));  // a bulb link's power stays at least 1
  EXPECT_EQ(bad.slots[2], (FormulaSlot{0, 8}));
}
