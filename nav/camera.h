// The camera: goal values set by input, shown values that ease towards them
// once per frame, automatic rotation and free flight. The distance is kept as
// a natural logarithm so that zoom steps and smoothing are uniform at every
// depth. Angles are degrees.
#pragma once

#include "model/params.h"

// The flight's controls as the user holds them; the shell decides which keys
// hold which.
struct FlightKeys {
  bool forward = false, back = false, left = false, right = false;
  bool climb = false, sink = false;  // along the world's Y
  bool fast = false;                 // four times the step
  bool any() const { return forward || back || left || right || climb || sink || fast; }
};

struct Camera {
  double goalTarget[3] = {0, 0, 0};
  double goalYaw = 35, goalPitch = 22;
  double goalLogDist = 1.2237754316221157;  // ln 3.4
  double target[3] = {0, 0, 0};             // shown values: what the renderer uses
  double yaw = 35, pitch = 22;
  double logDist = 1.2237754316221157;
  bool flying = false;
  double rotationSpeed = 0;  // degrees per second of automatic yaw; 0 = off
  double flightSpeed = 1;    // multiplier of the flight step, [0.02, 20]
  FlightKeys flightKeys;      // held only while flying
};

// Eye position and the orthonormal basis the rays are built from.
struct CameraPose {
  double eye[3];
  double right[3], up[3], forward[3];
  double distance;  // eye to target
};

inline constexpr double kMinCameraDist = 5e-12;

// Goal and shown both take the record's pose: a jump, no gliding.
void setCameraFromParams(Camera& c, const FractalParams& p);
// The record's camera fields from the shown camera (what a snapshot stores).
void cameraIntoParams(const Camera& c, FractalParams& p);
// Goal = shown: whatever was under way stops where it is.
void snapCamera(Camera& c);
// Switching flight off forgets held keys, so none stays stuck next time.
void setFlying(Camera& c, bool on);

// Basis for a yaw and pitch: right, up and forward (unit vectors).
void cameraBasis(double yawDeg, double pitchDeg, double right[3], double up[3], double forward[3]);
// The pose from the shown values.
CameraPose cameraPose(const Camera& c);
double cameraDistance(const Camera& c);
// `angle` moved by whole turns into [ref − 180, ref + 180).
double wrapDegreesNear(double angle, double ref);
// tan(fov° · π/360): how far the rays spread per unit of view height; the
// renderer's camera, picking and panning all use this one.
double tanHalfFov(double fovDegrees);

// One frame: automatic rotation (not while flying), flight movement, then
// smoothing of the shown values towards the goal. Returns whether the shown
// camera moved.
bool cameraUpdate(Camera& c, double dt);
