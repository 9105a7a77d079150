// The shell's state changes that need no GL: launch options and the live
// record a shot stores.
#include "app/app_state.h"
#include "model/seed.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(LaunchOptions, SeedTypeDistSamplesAndDeepShapeTheRun) {
  AppState s;
  s.params.exposure = 1.7;  // a viewing choice that survives a re-seed
  LaunchOptions o;
  o.seed = "abc";
  o.type = "menger";
  o.samples = 12;
  o.deep = true;
  o.dist = 1e-13;  // below the floor
  applyLaunchOptions(s, o);

  EXPECT_TRUE(s.launchedWithOptions);
  EXPECT_EQ(targetSampleCount(s), 12);
  EXPECT_EQ(s.settings.deep, 2);
  EXPECT_TRUE(s.deepForced);
  FractalParams expected = generateFromSeed("abc", "menger", &s.params);
  EXPECT_EQ(s.params.seed, "abc");
  EXPECT_EQ(s.params.type, "menger");
  EXPECT_EQ(s.params.exposure, 1.7);
  EXPECT_EQ(s.params.iter, expected.iter);
  EXPECT_EQ(s.camera.logDist, std::log(5e-12));
  EXPECT_EQ(s.camera.goalLogDist, s.camera.logDist);  // nothing glides afterwards
  EXPECT_FALSE(cameraUpdate(s.camera, 1.0 / 60));
  ASSERT_EQ(s.history.recent.size(), 1u);
  EXPECT_EQ(s.history.recent[0].seed, "abc");
  EXPECT_EQ(s.history.undo.size(), 1u);
}

TEST(LaunchOptions, NothingGivenKeepsTheRecordAndSettingsTarget) {
  AppState s;
  s.settings.samples = 64;
  FractalParams before = s.params;
  applyLaunchOptions(s, LaunchOptions{});
  EXPECT_TRUE(s.launchedWithOptions);
  EXPECT_EQ(s.params, before);
  EXPECT_EQ(targetSampleCount(s), 64);
  EXPECT_EQ(s.settings.deep, 0);
}

TEST(LiveParams, UntouchedCameraGivesBackTheRecordExactlyAndAMovedOneItsPose) {
  AppState s;
  for (double d : {3.4, 0.1, 2.7182818284590451, 1e-9}) {
    s.params.dist = d;
    setCameraFromParams(s.camera, s.params);
    EXPECT_EQ(liveParams(s), s.params) << d;
  }
  s.camera.goalYaw += 90;
  s.camera.goalLogDist = std::log(0.5);
  cameraUpdate(s.camera, 100.0);
  FractalParams live = liveParams(s);
  EXPECT_EQ(live.yaw, s.camera.yaw);
  EXPECT_NEAR(live.dist, 0.5, 1e-12);
}
