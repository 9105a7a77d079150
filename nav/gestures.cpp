// The mouse's orbit, pan and wheel as changes of the camera's goal values.
#include "nav/gestures.h"

#include <algorithm>
#include <cmath>

void orbitDrag(Camera& c, double dx, double dy) {
  double right[3], up[3], forward[3];
  cameraBasis(c.goalYaw, c.goalPitch, right, up, forward);
  const double dist = std::exp(c.goalLogDist);
  double eye[3];
  for (int i = 0; i < 3; ++i) eye[i] = c.goalTarget[i] - dist * forward[i];
  c.goalYaw -= dx * kOrbitDegPerPx;
  c.goalPitch = std::clamp(c.goalPitch + dy * kOrbitDegPerPx, -kPitchLimit, kPitchLimit);
  if (!c.flying) return;
  // Mouse look: the head turns, the body stays.
  cameraBasis(c.goalYaw, c.goalPitch, right, up, forward);
  for (int i = 0; i < 3; ++i) c.goalTarget[i] = eye[i] + dist * forward[i];
}

void panDrag(Camera& c, double dx, double dy, double fovDegrees, double heightPx) {
  if (!(heightPx > 0)) return;
  double right[3], up[3], forward[3];
  cameraBasis(c.goalYaw, c.goalPitch, right, up, forward);
  const double perPx = 2 * tanHalfFov(fovDegrees) * std::exp(c.goalLogDist) / heightPx;
  for (int i = 0; i < 3; ++i) c.goalTarget[i] += (-dx * right[i] + dy * up[i]) * perPx;
}

void wheelStep(Camera& c, double notches, const Pick* under) {
  if (c.flying) {
    c.flightSpeed = std::clamp(c.flightSpeed * std::exp(kWheelStep * notches), kMinFlightSpeed,
                               kMaxFlightSpeed);
    return;
  }
  const double next = std::clamp(c.goalLogDist - kWheelStep * notches, kMinLogDist, kMaxLogDist);
  if (notches > 0 && under && under->hit) {
    // Scaling the eye-to-target distance by s about the point P keeps P on the
    // same ray from the eye, so it stays under the cursor.
    const double keep = std::exp(next - c.goalLogDist);
    for (int i = 0; i < 3; ++i) c.goalTarget[i] += (1 - keep) * (under->point[i] - c.goalTarget[i]);
  }
  c.goalLogDist = next;
}
