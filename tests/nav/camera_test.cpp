// Camera update: smoothing, snapping thresholds, automatic rotation, flight
// and the basis shared with the renderer's rays.
#include "nav/camera.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

Camera restingAt(double yaw, double pitch, double dist) {
  FractalParams p;
  p.yaw = yaw;
  p.pitch = pitch;
  p.dist = dist;
  Camera c;
  setCameraFromParams(c, p);
  return c;
}

double dot(const double a[3], const double b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace

TEST(CameraUpdate, AtRestReportsNoMotionAndChangesNothing) {
  Camera c = restingAt(35, 22, 3.4);
  Camera before = c;
  EXPECT_FALSE(cameraUpdate(c, 1.0 / 60));
  EXPECT_EQ(c.yaw, before.yaw);
  EXPECT_EQ(c.logDist, before.logDist);
  EXPECT_EQ(c.target[0], before.target[0]);
}

TEST(CameraUpdate, SmoothingConvergesAndThenSnapsExactlyOntoTheGoal) {
  Camera c = restingAt(35, 22, 3.4);
  c.goalYaw = 80;
  c.goalPitch = -10;
  c.goalLogDist = std::log(0.5);
  c.goalTarget[1] = 0.25;

  // One 60 Hz frame covers k = 1 − e^(−14/60) of the way.
  ASSERT_TRUE(cameraUpdate(c, 1.0 / 60));
  double k = 1 - std::exp(-14.0 / 60);
  EXPECT_NEAR(c.yaw, 35 + 45 * k, 1e-12);

  int frames = 1;
  while (cameraUpdate(c, 1.0 / 60)) ASSERT_LT(++frames, 2000);
  EXPECT_GT(frames, 30);  // it glides, it does not jump
  EXPECT_EQ(c.yaw, 80);
  EXPECT_EQ(c.pitch, -10);
  EXPECT_EQ(c.logDist, std::log(0.5));
  EXPECT_EQ(c.target[1], 0.25);
  EXPECT_FALSE(cameraUpdate(c, 1.0 / 60));
}

TEST(CameraUpdate, ThresholdsSnapSmallDifferences) {
  // Angles: 0.0002° is close enough.
  Camera c = restingAt(35, 22, 3.4);
  c.goalYaw = 35.00019;
  EXPECT_FALSE(cameraUpdate(c, 0.01));
  EXPECT_EQ(c.yaw, 35.00019);
  c.goalYaw = 35.0005;
  EXPECT_TRUE(cameraUpdate(c, 0.01));
  EXPECT_LT(c.yaw, 35.0005);

  // The target threshold scales with the distance: 2e-6 of it.
  Camera deep = restingAt(35, 22, 1e-6);
  deep.goalTarget[0] = 1.5e-12;
  EXPECT_FALSE(cameraUpdate(deep, 0.01));
  EXPECT_EQ(deep.target[0], 1.5e-12);
  deep.goalTarget[0] = 5e-12;
  EXPECT_TRUE(cameraUpdate(deep, 0.01));

  // Log-distance alone still reports motion.
  Camera zoom = restingAt(35, 22, 3.4);
  zoom.goalLogDist += 0.01;
  EXPECT_TRUE(cameraUpdate(zoom, 0.01));
  zoom.goalLogDist = zoom.logDist + 0.0000015;
  EXPECT_FALSE(cameraUpdate(zoom, 0.01));
  EXPECT_EQ(zoom.logDist, zoom.goalLogDist);
}

TEST(CameraUpdate, HugeFrameTimeLandsOnTheGoalInOneFrame) {
  Camera c = restingAt(35, 22, 3.4);
  c.goalYaw = 200;
  c.goalLogDist = -5;
  c.goalTarget[2] = -3;
  EXPECT_TRUE(cameraUpdate(c, 10.0));
  EXPECT_EQ(c.yaw, 200);
  EXPECT_EQ(c.logDist, -5);
  EXPECT_EQ(c.target[2], -3);
  EXPECT_FALSE(cameraUpdate(c, 1.0 / 60));
}

TEST(CameraUpdate, AutomaticRotationTurnsTheGoalUnlessFlying) {
  Camera c = restingAt(0, 22, 3.4);
  c.rotationSpeed = 12;
  EXPECT_TRUE(cameraUpdate(c, 0.5));
  EXPECT_DOUBLE_EQ(c.goalYaw, 6);

  setFlying(c, true);
  snapCamera(c);
  double yaw = c.goalYaw;
  EXPECT_FALSE(cameraUpdate(c, 0.5));
  EXPECT_EQ(c.goalYaw, yaw);
}

TEST(CameraFlight, KeysMoveTheGoalTargetScaledByDistanceAndSpeed) {
  auto flownBy = [](std::set<int32_t> keys, double dist = 2.0) {
    Camera c = restingAt(30, 10, dist);
    setFlying(c, true);
    c.flightSpeed = 0.5;
    c.heldKeys = keys;
    cameraUpdate(c, 0.1);
    return std::array<double, 3>{c.goalTarget[0], c.goalTarget[1], c.goalTarget[2]};
  };
  auto length = [](std::array<double, 3> v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); };

  double right[3], up[3], forward[3];
  cameraBasis(30, 10, right, up, forward);
  auto w = flownBy({'w'});
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(w[i], 2.0 * 0.5 * 0.1 * forward[i], 1e-15);

  EXPECT_EQ(flownBy({'w', kFlyKeyUp}), w);  // twins count once
  EXPECT_NEAR(length(flownBy({'w', 'd'})), std::sqrt(2.0) * length(w), 1e-15);
  EXPECT_NEAR(length(flownBy({'w', kFlyKeyShift})), 4 * length(w), 1e-15);
  EXPECT_NEAR(length(flownBy({'w'}, 2e-6)), 1e-6 * length(w), 1e-18);
  auto s = flownBy({'s'});
  EXPECT_NEAR(s[0], -w[0], 1e-15);
  // E climbs along the world Y, not the view's up.
  auto e = flownBy({'e'});
  EXPECT_DOUBLE_EQ(e[1], 2.0 * 0.5 * 0.1);
  EXPECT_EQ(e[0], 0);
  EXPECT_EQ(flownBy({'w', 's', 'a', 'd', 'q', 'e'}), (std::array<double, 3>{0, 0, 0}));

  Camera c = restingAt(0, 0, 1);
  c.heldKeys = {'w'};
  setFlying(c, false);
  EXPECT_TRUE(c.heldKeys.empty());
}

TEST(CameraBasis, FollowsTheSharedConvention) {
  // yaw 0, pitch 0: the eye sits on +Z and looks down −Z.
  Camera c = restingAt(0, 0, 2);
  CameraPose pose = cameraPose(c);
  EXPECT_NEAR(pose.eye[2], 2, 1e-15);
  EXPECT_NEAR(pose.forward[2], -1, 1e-15);
  EXPECT_NEAR(pose.right[0], 1, 1e-15);
  EXPECT_NEAR(pose.up[1], 1, 1e-15);

  // Any pose: orthonormal, right-handed as the rays expect, eye at distance.
  c = restingAt(-127, 63, 0.03);
  c.target[0] = 1;
  pose = cameraPose(c);
  EXPECT_NEAR(dot(pose.right, pose.forward), 0, 1e-12);
  EXPECT_NEAR(dot(pose.up, pose.forward), 0, 1e-12);
  EXPECT_NEAR(dot(pose.right, pose.right), 1, 1e-12);
  EXPECT_NEAR(dot(pose.up, pose.up), 1, 1e-12);
  EXPECT_GT(pose.up[1], 0);
  double back[3] = {pose.eye[0] - 1, pose.eye[1], pose.eye[2]};
  EXPECT_NEAR(std::sqrt(dot(back, back)), 0.03, 1e-12);
}

TEST(CameraPoseRecord, RoundTripsThroughTheRecordAndWrapsYaw) {
  FractalParams p;
  p.tx = 0.1, p.ty = -0.2, p.tz = 0.3, p.yaw = 400, p.pitch = -12, p.dist = 1e-14;
  Camera c;
  setCameraFromParams(c, p);
  EXPECT_EQ(c.logDist, std::log(5e-12));  // floored
  FractalParams back;
  cameraIntoParams(c, back);
  EXPECT_EQ(back.tx, 0.1);
  EXPECT_EQ(back.yaw, 400);
  EXPECT_NEAR(back.dist, 5e-12, 1e-26);

  EXPECT_DOUBLE_EQ(wrapDegreesNear(400, 35), 40);
  EXPECT_DOUBLE_EQ(wrapDegreesNear(-330, 0), 30);
  EXPECT_DOUBLE_EQ(wrapDegreesNear(215, 35), -145);  // half-open: ref + 180 wraps down
  EXPECT_DOUBLE_EQ(wrapDegreesNear(-145, 35), -145);
}
