// Live mode: the morphed copy of the current record, a sum of slow sines of a clock.
#include "nav/live.h"

#include "model/tables.h"

#include <algorithm>
#include <cmath>

FractalParams liveMorph(const FractalParams& base, double t, double amount, double strength) {
  FractalParams p = base;
  const double a = amount * strength;
  p.power += std::sin(0.23 * t) * 0.9 * a;
  p.jx += std::sin(0.17 * t) * 0.12 * a;
  p.jy += std::sin(0.13 * t + 1.3) * 0.12 * a;
  p.jz += std::sin(0.19 * t + 2.1) * 0.12 * a;
  p.jw += std::sin(0.11 * t + 0.7) * 0.1 * a;
  const bool box = base.type.find("box") != std::string::npos;
  const bool apollonian = base.type.find("apollonian") != std::string::npos;
  const double k = box ? 0.08 : apollonian ? 0.03 : 0.04;
  p.scale += std::sin(0.21 * t) * k * a;
  p.rx += std::sin(0.09 * t) * 9 * a;
  p.ry += std::sin(0.07 * t + 1.0) * 9 * a;
  p.rz += std::sin(0.08 * t + 2.0) * 9 * a;
  p.ox += std::sin(0.15 * t) * 0.05 * a;
  p.oy += std::sin(0.12 * t + 1.0) * 0.05 * a;
  for (size_t i = 0; i < p.slots.size(); ++i) {
    const double m = (p.slots[i].f == 0 || p.slots[i].f == 1) ? 0.9 : 0.05;  // bulb powers swing wider
    p.slots[i].k += std::sin((0.05 * double(i) + 0.23) * t + double(i)) * m * a;
  }
  // Palette and light move steadily even in close-ups.
  p.colShift = base.colShift + 0.015 * t * amount;
  p.lightYaw = base.lightYaw + 5.0 * t * amount;
  return p;
}

void liveAdvance(LiveState& l, double frameDt) {
  l.clock += std::clamp(frameDt, 0.0001, 0.1) * l.speed;
}

double liveStrength(const FractalParams& current, double cameraDist) {
  const double framing = fractalTypes()[size_t(typeIndex(current.type))].camDist;
  return framing > 0 ? std::min(cameraDist / framing, 1.0) : 1.0;
}

FractalParams liveFrame(const LiveState& l, const FractalParams& current, double cameraDist) {
  return liveMorph(current, l.clock, l.amount, liveStrength(current, cameraDist));
}
