// The camera's goal and shown values, their easing, automatic rotation and free flight.
#include "nav/camera.h"

#include <cmath>

namespace {

constexpr double kDegToRad = 3.14159265358979323846 / 180.0;

// Eases `shown` towards `goal`; lands exactly once within `threshold`.
bool ease(double& shown, double goal, double threshold, double k) {
  if (std::fabs(goal - shown) > threshold) {
    shown += (goal - shown) * k;
    return true;
  }
  shown = goal;
  return false;
}

void flightStep(Camera& c, double dt) {
  double right[3], up[3], forward[3];
  cameraBasis(c.goalYaw, c.goalPitch, right, up, forward);
  double move[3] = {0, 0, 0};
  const FlightKeys& k = c.flightKeys;
  double f = (k.forward ? 1 : 0) - (k.back ? 1 : 0);
  double r = (k.right ? 1 : 0) - (k.left ? 1 : 0);
  for (int i = 0; i < 3; ++i) move[i] = f * forward[i] + r * right[i];
  // Climbing is along the world's Y, whatever the view's tilt.
  move[1] += (k.climb ? 1 : 0) - (k.sink ? 1 : 0);
  // Not normalised: a diagonal is faster than one key, as it has always been.
  double multiplier = k.fast ? 4 : 1;
  double step = std::exp(c.goalLogDist) * c.flightSpeed * multiplier * dt;
  for (int i = 0; i < 3; ++i) c.goalTarget[i] += step * move[i];
}

}  // namespace

void setCameraFromParams(Camera& c, const FractalParams& p) {
  c.goalTarget[0] = c.target[0] = p.tx;
  c.goalTarget[1] = c.target[1] = p.ty;
  c.goalTarget[2] = c.target[2] = p.tz;
  c.goalYaw = c.yaw = p.yaw;
  c.goalPitch = c.pitch = p.pitch;
  c.goalLogDist = c.logDist = std::log(std::fmax(p.dist, kMinCameraDist));
}

void cameraIntoParams(const Camera& c, FractalParams& p) {
  p.tx = c.target[0];
  p.ty = c.target[1];
  p.tz = c.target[2];
  p.yaw = c.yaw;
  p.pitch = c.pitch;
  p.dist = std::exp(c.logDist);
}

void snapCamera(Camera& c) {
  for (int i = 0; i < 3; ++i) c.goalTarget[i] = c.target[i];
  c.goalYaw = c.yaw;
  c.goalPitch = c.pitch;
  c.goalLogDist = c.logDist;
}

void setFlying(Camera& c, bool on) {
  c.flying = on;
  if (!on) c.flightKeys = {};
}

void cameraBasis(double yawDeg, double pitchDeg, double right[3], double up[3], double forward[3]) {
  double y = yawDeg * kDegToRad, p = pitchDeg * kDegToRad;
  // d points from the target to the eye; the view looks back along it.
  double d[3] = {std::cos(p) * std::sin(y), std::sin(p), std::cos(p) * std::cos(y)};
  for (int i = 0; i < 3; ++i) forward[i] = -d[i];
  // right = normalize(cross(forward, world up))
  double rx = -forward[2], rz = forward[0];
  double len = std::sqrt(rx * rx + rz * rz);
  if (len < 1e-300) rx = 1, rz = 0, len = 1;  // looking straight up or down
  right[0] = rx / len;
  right[1] = 0;
  right[2] = rz / len;
  // up = cross(right, forward)
  up[0] = right[1] * forward[2] - right[2] * forward[1];
  up[1] = right[2] * forward[0] - right[0] * forward[2];
  up[2] = right[0] * forward[1] - right[1] * forward[0];
}

CameraPose cameraPose(const Camera& c) {
  CameraPose pose{};
  cameraBasis(c.yaw, c.pitch, pose.right, pose.up, pose.forward);
  pose.distance = std::exp(c.logDist);
  for (int i = 0; i < 3; ++i) pose.eye[i] = c.target[i] - pose.distance * pose.forward[i];
  return pose;
}

double cameraDistance(const Camera& c) { return std::exp(c.logDist); }

double wrapDegreesNear(double angle, double ref) {
  return std::fmod(std::fmod(angle - ref, 360.0) + 540.0, 360.0) + ref - 180.0;
}

double tanHalfFov(double fovDegrees) { return std::tan(fovDegrees * 3.14159265358979323846 / 360.0); }

bool cameraUpdate(Camera& c, double dt) {
  if (c.rotationSpeed != 0 && !c.flying) c.goalYaw += c.rotationSpeed * dt;
  if (c.flying && c.flightKeys.any()) flightStep(c, dt);

  double k = 1 - std::exp(-14 * dt);
  bool moved = false;
  double targetThreshold = std::exp(c.logDist) * 0.000002;
  for (int i = 0; i < 3; ++i) moved |= ease(c.target[i], c.goalTarget[i], targetThreshold, k);
  moved |= ease(c.yaw, c.goalYaw, 0.0002, k);
  moved |= ease(c.pitch, c.goalPitch, 0.0002, k);
  moved |= ease(c.logDist, c.goalLogDist, 0.000002, k);
  return moved;
}
