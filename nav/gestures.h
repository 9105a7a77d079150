// Camera gestures: the mouse's orbit, pan and wheel as goal-value changes.
// The camera update then glides the shown camera after them.
#pragma once

#include "nav/camera.h"
#include "nav/picture.h"

inline constexpr double kOrbitDegPerPx = 0.3;
inline constexpr double kPitchLimit = 89.5;
inline constexpr double kWheelStep = 0.13;                     // log-distance per notch
inline constexpr double kMinLogDist = -26.021583203494448;     // ln 5e-12
inline constexpr double kMaxLogDist = 5.991464547107982;       // ln 400
inline constexpr double kMinFlightSpeed = 0.02, kMaxFlightSpeed = 20;

// Left drag by (dx, dy) client pixels: yaw −= 0.3·dx, pitch += 0.3·dy within
// ±89.5°. While flying the eye stays put and only the view turns.
void orbitDrag(Camera& c, double dx, double dy);

// Pan drag: the target moves along the view's right and up by (−dx, dy)
// times 2·tan(fov/2)·distance / heightPx, so the picture follows the cursor
// when `heightPx` is the height the pixels were measured in.
void panDrag(Camera& c, double dx, double dy, double fovDegrees, double heightPx);

// One wheel event of `notches` (positive = towards the picture), outside the panel:
// - flying: flight speed ×exp(0.13·notches) within [0.02, 20];
// - otherwise the goal log-distance −= 0.13·notches within [ln 5e-12, ln 400];
//   zooming in with `under` a hit also moves the target towards that point so
//   it stays under the cursor.
// The caller stops the dive first.
void wheelStep(Camera& c, double notches, const Pick* under);
