// Mouse gestures on the camera: orbit (and mouse look in flight), pan, and
// the wheel's zoom towards the cursor, flight speed and clamps.
#include "nav/gestures.h"
#include "nav/dive.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The goal camera's eye.
void goalEye(const Camera& c, double eye[3]) {
  double r[3], u[3], f[3];
  cameraBasis(c.goalYaw, c.goalPitch, r, u, f);
  for (int i = 0; i < 3; ++i) eye[i] = c.goalTarget[i] - std::exp(c.goalLogDist) * f[i];
}

}  // namespace

TEST(Gestures, OrbitTurnsByDegreesPerPixelAndFlightKeepsTheEye) {
  Camera c = cameraAt(35, 22, 3.4, 0.1, -0.2, 0.3);
  orbitDrag(c, 10, -20);
  EXPECT_LT(c.goalYaw, 35);
  EXPECT_LT(c.goalPitch, 22);
  EXPECT_EQ(c.goalTarget[0], 0.1) << "orbiting turns round the target";
  orbitDrag(c, 0, 1000);
  EXPECT_EQ(c.goalPitch, 89.5);
  orbitDrag(c, 0, -5000);
  EXPECT_EQ(c.goalPitch, -89.5);

  DiveState dive;
  c = cameraAt(35, 22, 3.4, 0.1, -0.2, 0.3);
  setFlight(c, dive, true);
  double before[3], after[3];
  goalEye(c, before);
  orbitDrag(c, 37, 11);
  goalEye(c, after);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(after[i], before[i], 1e-12);
  EXPECT_NE(c.goalTarget[0], 0.1) << "mouse look moves the target";
}

TEST(Gestures, PanFollowsTheCursor) {
  Camera c = cameraAt(0, 0, 2, 0.1, -0.2, 0.3);  // right = +X, up = +Y
  const double perPx = 2 * std::tan(25 * 3.14159265358979323846 / 180) * 2 / 400;
  panDrag(c, 10, 4, 50, 400);  // the surface moves with the cursor: a pixel at the target's depth
  EXPECT_NEAR(c.goalTarget[0], 0.1 - 10 * perPx, 1e-15);
  EXPECT_NEAR(c.goalTarget[1], -0.2 + 4 * perPx, 1e-15);
  EXPECT_NEAR(c.goalTarget[2], 0.3, 1e-15);
  panDrag(c, 10, 4, 50, 0);  // no picture height yet: nothing moves
  EXPECT_NEAR(c.goalTarget[0], 0.1 - 10 * perPx, 1e-15);
}

TEST(Gestures, WheelZoomsTowardsTheCursorWithinTheClamp) {
  Camera c = cameraAt(35, 22, 3.4, 0.1, -0.2, 0.3);
  const double start = c.goalLogDist;
  wheelStep(c, 2, nullptr);
  wheelStep(c, -3, nullptr);
  EXPECT_NEAR(c.goalLogDist, start + kWheelStep, 1e-15);  // notches add up either way
  wheelStep(c, 1000, nullptr);
  EXPECT_EQ(c.goalLogDist, kMinLogDist);
  wheelStep(c, -1000, nullptr);
  EXPECT_EQ(c.goalLogDist, kMaxLogDist);

  // Zooming in towards a surface point keeps it on the same ray from the eye,
  // so it stays under the cursor.
  c = cameraAt(35, 22, 3.4, 0.1, -0.2, 0.3);
  Pick under;
  under.hit = true;
  under.point[0] = 0.9, under.point[1] = 0.5, under.point[2] = -0.2;
  double eye[3], toPoint[3], eye2[3], toPoint2[3];
  goalEye(c, eye);
  wheelStep(c, 3, &under);
  goalEye(c, eye2);
  for (int i = 0; i < 3; ++i) toPoint[i] = under.point[i] - eye[i], toPoint2[i] = under.point[i] - eye2[i];
  const double k = std::exp(-3 * kWheelStep);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(toPoint2[i], k * toPoint[i], 1e-12);
  // Zooming out, or into the sky, leaves the target alone.
  const double tx = c.goalTarget[0];
  wheelStep(c, -1, &under);
  under.hit = false;
  wheelStep(c, 1, &under);
  EXPECT_EQ(c.goalTarget[0], tx);

  // Flying, the wheel sets the flight speed instead.
  c.flying = true;
  const double logDist = c.goalLogDist;
  wheelStep(c, 2, nullptr);
  EXPECT_NEAR(c.flightSpeed, std::exp(2 * kWheelStep), 1e-15);
  EXPECT_EQ(c.goalLogDist, logDist);
  wheelStep(c, 100, nullptr);
  EXPECT_EQ(c.flightSpeed, 20);
  wheelStep(c, -100, nullptr);
  EXPECT_EQ(c.flightSpeed, 0.02);
}
