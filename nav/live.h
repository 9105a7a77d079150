// Live mode: a pure display effect. Each frame a morphed copy of the current
// record, a fixed sum of slow sines of a clock, goes to the renderer; the
// stored record (presets, history, mutation) never changes. The same clock
// value always gives the same shape.
#pragma once

#include "model/params.h"

struct LiveState {
  bool on = false;
  double clock = 0;                // scaled seconds; advanced only while on, never reset
  double amount = 0.5;             // 0..1.5
  double speed = 1;                // 0.1..4
};

// The morphed copy. Shape terms scale with amount × strength; the palette
// scroll and the light's circling use the amount alone.
FractalParams liveMorph(const FractalParams& base, double t, double amount, double strength);

// Advances the clock by the frame time, clamped to [0.0001, 0.1] s, times the speed.
void liveAdvance(LiveState& l, double frameDt);
// min(camera distance / the type's default framing distance, 1): close-ups do not swim.
double liveStrength(const FractalParams& current, double cameraDist);
// What the renderer receives while live mode is on.
FractalParams liveFrame(const LiveState& l, const FractalParams& current, double cameraDist);
