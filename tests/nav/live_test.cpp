// Live morph: the tabled drift, its fading in close-ups, the steady palette
// and light, and the clock's clamp.
#include "nav/live.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

FractalParams withSlots(const std::string& type) {
  FractalParams p;
  p.type = type;
  p.slots = {{0, 8}, {1, 6}, {2, -2}};
  p.colShift = 0.3, p.lightYaw = 40, p.oz = 0.7;
  return p;
}

}  // namespace

TEST(LiveMorph, AmountZeroIsAnExactCopyAndTheTableHolds) {
  const FractalParams base = withSlots("mandelbulb");
  EXPECT_EQ(liveMorph(base, 123.456, 0, 1), base);
  EXPECT_NE(liveMorph(base, 0.5, 0.001, 1), base);
}

TEST(LiveMorph, TermsScaleAndCloseUpsStopSwimming) {
  const FractalParams base = withSlots("mandelbulb");
  const double t = 17.3, amount = 0.8;
  const FractalParams full = liveMorph(base, t, amount, 1);
  EXPECT_NEAR(full.power - base.power, std::sin(0.23 * t) * 0.9 * amount, 1e-13);
  EXPECT_NEAR(full.jz - base.jz, std::sin(0.19 * t + 2.1) * 0.12 * amount, 1e-13);
  EXPECT_NEAR(full.scale - base.scale, std::sin(0.21 * t) * 0.04 * amount, 1e-13);
  EXPECT_NEAR(full.ry - base.ry, std::sin(0.07 * t + 1.0) * 9 * amount, 1e-13);
  EXPECT_NEAR(full.slots[1].k - 6, std::sin(0.28 * t + 1) * 0.9 * amount, 1e-13);
  EXPECT_NEAR(full.slots[2].k + 2, std::sin(0.33 * t + 2) * 0.05 * amount, 1e-13);
  EXPECT_EQ(full.oz, base.oz);
  EXPECT_NEAR(full.colShift, 0.3 + 0.015 * t * amount, 1e-13);
  EXPECT_NEAR(full.lightYaw, 40 + 5 * t * amount, 1e-13);
  EXPECT_NEAR(liveMorph(withSlots("juliabox"), t, amount, 1).scale - base.scale,
                   std::sin(0.21 * t) * 0.08 * amount, 1e-13);
  EXPECT_NEAR(liveMorph(withSlots("apollonian"), t, amount, 1).scale - base.scale,
                   std::sin(0.21 * t) * 0.03 * amount, 1e-13);

  // At half the type's framing distance the shape moves half as far, while
  // the palette and the light keep their rate.
  EXPECT_EQ(liveStrength(base, 3.4), 1);
  EXPECT_EQ(liveStrength(base, 50), 1);
  EXPECT_NEAR(liveStrength(base, 1.7), 0.5, 1e-13);
  const FractalParams half = liveMorph(base, t, amount, liveStrength(base, 1.7));
  EXPECT_NEAR(half.power - base.power, (full.power - base.power) / 2, 1e-13);
  EXPECT_NEAR(half.rx - base.rx, (full.rx - base.rx) / 2, 1e-13);
  EXPECT_NEAR(half.slots[0].k - 8, (full.slots[0].k - 8) / 2, 1e-13);
  EXPECT_EQ(half.colShift, full.colShift);
  EXPECT_EQ(half.lightYaw, full.lightYaw);
}

TEST(LiveMorph, TheClockAdvancesAtMostATenthOfASecondTimesTheSpeed) {
  LiveState l;
  l.speed = 2.5;
  liveAdvance(l, 7.0);  // a long pause
  EXPECT_NEAR(l.clock, 0.25, 1e-13);
  liveAdvance(l, 0.0);
  EXPECT_NEAR(l.clock, 0.25 + 0.00025, 1e-13);
  l.amount = 1.2;
  const FractalParams base = withSlots("qjulia");
  EXPECT_EQ(liveFrame(l, base, 1.7), liveMorph(base, l.clock, 1.2, 0.5));
}
