// The record's field table: its rows must agree with each other and with
// the type table, or a slider, a preset and a mutant would disagree.
#include "model/fields.h"
#include "model/ranges.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(Fields, SlidersLieInsideHardRangesAndHoldEveryTypesStart) {
  for (const FractalType& t : fractalTypes()) {
    const FractalParams start = defaultsForType(t.key);
    for (const NumberField& f : numberFields()) {
      if (!f.label) continue;
      double lo, hi;
      sliderEnds(f, t, lo, hi);
      // A slider past the hard range would write presets that read back changed.
      EXPECT_TRUE(lo >= f.lo && hi <= f.hi && lo < hi) << t.key << " " << f.key;
      if (t.flags & f.types) {
        EXPECT_TRUE(start.*f.field >= lo && start.*f.field <= hi) << t.key << " " << f.key;
      }
    }
  }
}

TEST(Fields, KeysAndDrawOrderAreUniqueAndLookupsFindTheirRow) {
  std::set<std::string> keys;
  std::set<int> orders;
  for (const NumberField& f : numberFields()) {
    EXPECT_TRUE(keys.insert(f.key).second) << f.key;
    EXPECT_EQ(findField(f.key), &f);
    EXPECT_EQ(findField(f.field), &f);
    if (f.mutation.order) {
      EXPECT_TRUE(orders.insert(f.mutation.order).second) << f.key;
      // Only fields shown on a slider move: the user must be able to see it.
      EXPECT_TRUE(f.label) << f.key;
    }
  }
  EXPECT_EQ(findField("nope"), nullptr);
  // The camera's numbers come last: a preset writes them together under "cam".
  bool camera = false;
  for (const NumberField& f : numberFields()) {
    EXPECT_FALSE(camera && f.group != FieldGroup::Camera) << f.key;
    camera = f.group == FieldGroup::Camera;
  }
}

TEST(Fields, MakingSafeHoldsEveryFieldToItsHardRange) {
  FractalParams high = defaultsForType("kifs"), low = high;
  for (const NumberField& f : numberFields()) {
    high.*f.field = 1e300;
    low.*f.field = -1e300;
  }
  makeParamsSafe(high);
  makeParamsSafe(low);
  for (const NumberField& f : numberFields()) {
    const double top = f.field == &FractalParams::iter ? fractalTypes()[typeIndex("kifs")].iterMax : f.hi;
    EXPECT_EQ(high.*f.field, top) << f.key;
    EXPECT_EQ(low.*f.field, f.lo) << f.key;
  }
}
