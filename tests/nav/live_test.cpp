// Live morph: an exact copy at amount zero, the shape's drift fading in
// close-ups while the palette and light keep their rate, and the clock's clamp.
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

TEST(LiveMorph, CloseUpsStopSwimmingButThePaletteKeepsItsRate) {
  const FractalParams base = withSlots("mandelbulb");
  EXPECT_EQ(liveMorph(base, 123.456, 0, 1), base);
  EXPECT_NE(liveMorph(base, 0.5, 0.001, 1), base);

  // At half the type's framing distance the shape moves half as far.
  const double t = 17.3, amount = 0.8;
  const FractalParams full = liveMorph(base, t, amount, 1);
  EXPECT_EQ(liveStrength(base, 50), 1);
  EXPECT_NEAR(liveStrength(base, 1.7), 0.5, 1e-13);
  const FractalParams half = liveMorph(base, t, amount, liveStrength(base, 1.7));
  EXPECT_NE(full.power, base.power);
  EXPECT_NEAR(half.power - base.power, (full.power - base.power) / 2, 1e-13);
  EXPECT_NEAR(half.rx - base.rx, (full.rx - base.rx) / 2, 1e-13);
  EXPECT_NEAR(half.slots[0].k - 8, (full.slots[0].k - 8) / 2, 1e-13);
  EXPECT_NE(full.colShift, base.colShift);
  EXPECT_EQ(half.colShift, full.colShift);
  EXPECT_EQ(half.lightYaw, full.lightYaw);
}

TEST(LiveMorph, TheClockAdvancesAtMostATenthOfASecondTimesTheSpeed) {
  LiveState l;
  l.speed = 2.5;
  liveAdvance(l, 7.0);  // a long pause
  EXPECT_NEAR(l.clock, 0.25, 1e-13);
  l.amount = 1.2;
  const FractalParams base = withSlots("qjulia");
  EXPECT_EQ(liveFrame(l, base, 1.7), liveMorph(base, l.clock, 1.2, 0.5));
}
