// Camera update: smoothing that lands exactly, automatic rotation,
// flight, and the basis shared with the renderer's rays.
#include "nav/camera.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

TEST(CameraUpdate, GlidesThenLandsExactly) {
  Camera c = cameraAt(35, 22, 3.4);
  EXPECT_FALSE(cameraUpdate(c, 1.0 / 60));
  c.goalYaw = 80, c.goalPitch = -10, c.goalLogDist = std::log(0.5), c.goalTarget[1] = 0.25;
  ASSERT_TRUE(cameraUpdate(c, 1.0 / 60));
  EXPECT_GT(c.yaw, 35);
  EXPECT_LT(c.yaw, 80);
  int frames = 1;
  while (cameraUpdate(c, 1.0 / 60)) ASSERT_LT(++frames, 2000);
  EXPECT_GT(frames, 30);
  EXPECT_EQ(c.yaw, 80);
  EXPECT_EQ(c.logDist, std::log(0.5));
  EXPECT_EQ(c.target[1], 0.25);

  // Deep in, the snapping scales with the distance: 5e-12 is still a move.
  c = cameraAt(35, 22, 1e-6);
  c.goalTarget[0] = 5e-12;
  EXPECT_TRUE(cameraUpdate(c, 0.01));

  // A frame so long that k is 1 lands on the goal at once.
  c = cameraAt(35, 22, 3.4);
  c.goalYaw = 200, c.goalLogDist = -5, c.goalTarget[2] = -3;
  EXPECT_TRUE(cameraUpdate(c, 10.0));
  EXPECT_EQ(c.yaw, 200);
  EXPECT_FALSE(cameraUpdate(c, 1.0 / 60));
}

TEST(CameraUpdate, RotationAndFlight) {
  Camera c = cameraAt(0, 22, 3.4);
  c.rotationSpeed = 12;
  EXPECT_TRUE(cameraUpdate(c, 0.5));
  EXPECT_DOUBLE_EQ(c.goalYaw, 6);
  setFlying(c, true);
  snapCamera(c);
  EXPECT_FALSE(cameraUpdate(c, 0.5)) << "no rotation while flying";

  auto flownBy = [](FlightKeys keys, double dist = 2.0) {
    Camera f = cameraAt(30, 10, dist);
    setFlying(f, true);
    f.flightSpeed = 0.5;
    f.flightKeys = keys;
    cameraUpdate(f, 0.1);
    return std::array<double, 3>{f.goalTarget[0], f.goalTarget[1], f.goalTarget[2]};
  };
  auto length = [](std::array<double, 3> v) { return std::hypot(v[0], v[1], v[2]); };
  double right[3], up[3], forward[3];
  cameraBasis(30, 10, right, up, forward);
  auto w = flownBy({.forward = true});
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(w[i], length(w) * forward[i], 1e-15);  // along the view
  EXPECT_NEAR(length(flownBy({.forward = true, .right = true})), std::sqrt(2.0) * length(w), 1e-15);
  EXPECT_NEAR(length(flownBy({.forward = true, .fast = true})), 4 * length(w), 1e-15);
  EXPECT_NEAR(length(flownBy({.forward = true}, 2e-6)), 1e-6 * length(w), 1e-18);
  auto e = flownBy({.climb = true});  // climbing is along the world Y
  EXPECT_EQ(e[0], 0);
  EXPECT_NEAR(e[1], length(w), 1e-15);
  EXPECT_EQ(e[2], 0);

  c.flightKeys.forward = true;
  setFlying(c, false);
  EXPECT_FALSE(c.flightKeys.any());
}

TEST(CameraPose, BasisRecordAndYawWrap) {
  // yaw 0, pitch 0: the eye sits on +Z and looks down −Z, as the rays expect.
  CameraPose pose = cameraPose(cameraAt(0, 0, 2));
  EXPECT_NEAR(pose.eye[2], 2, 1e-15);
  EXPECT_NEAR(pose.forward[2], -1, 1e-15);
  EXPECT_NEAR(pose.right[0], 1, 1e-15);
  EXPECT_NEAR(pose.up[1], 1, 1e-15);

  FractalParams p;
  p.yaw = 400, p.dist = 1e-14;
  Camera c;
  setCameraFromParams(c, p);
  EXPECT_EQ(c.logDist, std::log(5e-12));  // floored
  cameraIntoParams(c, p);
  EXPECT_EQ(p.yaw, 400);

  EXPECT_DOUBLE_EQ(wrapDegreesNear(400, 35), 40);
  EXPECT_DOUBLE_EQ(wrapDegreesNear(-330, 0), 30);
  EXPECT_DOUBLE_EQ(wrapDegreesNear(215, 35), -145);  // half-open: ref + 180 wraps down
}
