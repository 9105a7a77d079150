// Dive mode: the state machine over simulated frames (retarget pacing,
// failures, depth floors, surfacing to the seed's own framing) and the search
// for the deepest point in the box round the centre.
#include "nav/dive.h"

#include "model/seed.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// The dive with a stand-in caller: the search finds `point` when findsPoint,
// and a new seed's record sits at distance 2.5.
struct DiveRun {
  DiveState dive;
  Camera camera;
  FractalParams record;
  DiveContext ctx;
  RandomEngine rng{5};
  std::vector<double> searches;    // times a search was asked for
  bool findsPoint = false;
  double point[3] = {0.1, 0.2, 0.3};
  int newSeeds = 0;

  explicit DiveRun(double dist = 3.4) {
    record.dist = dist;
    setCameraFromParams(camera, record);
    setDive(dive, camera, record, true);
    ctx.dt = 1.0 / 50;
    ctx.sequence = 1;
  }
  void step() {
    const DiveWants want = diveStep(dive, camera, ctx, rng);
    if (want.search) {
      searches.push_back(ctx.now);
      diveAim(dive, camera, ctx, findsPoint ? point : nullptr);
    }
    if (want.newSeed) {
      ++newSeeds;
      diveSurfaceAt(dive, 2.5);
    }
  }
  // Frames until the dive turns to surfacing, at most `limit` seconds.
  void framesUntilSurfacing(double limit) {
    while (dive.descending && ctx.now < limit) {
      ctx.now += ctx.dt;
      step();
    }
  }
};

}  // namespace

TEST(Dive, SwitchingOnAndTheExclusionWithFlight) {
  Camera c;
  DiveState d;
  FractalParams p = generateFromSeed("amber_fox_07", "menger");
  p.dist = 0.01;  // zoomed in since: the surface is still the seed's own framing
  setFlying(c, true);
  c.flightKeys.forward = true;
  setDive(d, c, p, true);
  EXPECT_TRUE(d.on && d.descending);
  EXPECT_FALSE(c.flying);
  EXPECT_FALSE(c.flightKeys.any());
  EXPECT_EQ(d.surfaceLogDist, std::log(generateFromSeed("amber_fox_07", "menger").dist));
  setFlight(c, d, true);
  EXPECT_FALSE(d.on);
  EXPECT_TRUE(c.flying);
}

TEST(Dive, RetargetsAtMostEveryPointNineSecondsAndSevenFailuresSurface) {
  DiveRun run;
  run.ctx.sequence = 0;  // nothing traced yet: no search
  for (int i = 0; i < 100; ++i) run.ctx.now += run.ctx.dt, run.step();
  EXPECT_TRUE(run.searches.empty());
  EXPECT_LT(run.camera.goalLogDist, std::log(3.4));

  run.ctx.sequence = 7;
  run.framesUntilSurfacing(60);
  ASSERT_FALSE(run.dive.descending);
  ASSERT_EQ(run.searches.size(), 7u);
  for (size_t i = 1; i < run.searches.size(); ++i) EXPECT_GT(run.searches[i] - run.searches[i - 1], 0.9);
  EXPECT_EQ(run.dive.failedRetargets, 7);

  // A found point resets the count and becomes the rotation centre.
  DiveRun found;
  found.findsPoint = true;
  found.framesUntilSurfacing(20);
  EXPECT_TRUE(found.dive.descending);
  EXPECT_EQ(found.dive.failedRetargets, 0);
  EXPECT_EQ(found.camera.goalTarget[1], 0.2);
}

// Single precision turns at 4e-5, the deep path at 2e-10.
TEST(Dive, TurnsAtTheFloorOfItsPrecision) {
  for (const auto& [deepAllowed, floor] : {std::pair{false, 4e-5}, std::pair{true, 2e-10}}) {
    DiveRun run(5e-5);
    run.ctx.sequence = 0;
    run.ctx.deepAllowed = deepAllowed;
    run.ctx.speed = 2;
    run.framesUntilSurfacing(60);
    EXPECT_FALSE(run.dive.descending) << floor;
    EXPECT_LT(std::exp(run.camera.goalLogDist), floor) << floor;
    EXPECT_GT(std::exp(run.camera.goalLogDist), 0.95 * floor) << floor;
  }
}

TEST(Dive, FindsTheDeepestPointNearTheCentre) {
  Camera c;
  FractalParams p;
  setCameraFromParams(c, p);
  const PictureFrame f = pictureFrame(c, 50, 200, 100, 0, 100);
  // R = 6 round (100, 49): the trace's middle row seen from the top.
  DepthImage img = emptyImage(200, 100);
  auto set = [&](int x, int y, float d) { img.depth[size_t(y) * 200 + x] = d; };
  set(100, 49, 1.0f);
  set(103, 49, 1.5f);   // r/R = 0.5: score 1.05
  set(100, 43, 2.0f);   // on the rim: score 0.8
  set(105, 44, 5.0f);   // outside the circle
  double point[3], expected[3];
  ASSERT_TRUE(findDeepestPoint(f, img.reader(), 3.4, point));
  unproject(f, 103.5, 49.5, 1.5, expected);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(point[i], expected[i], 1e-12);

  ASSERT_TRUE(findDeepestPoint(f, img.reader(), 1.2, point));  // only 1.0 is shallow enough
  unproject(f, 100.5, 49.5, 1.0, expected);
  EXPECT_NEAR(point[0], expected[0], 1e-12);
  ASSERT_TRUE(findDeepestPoint(f, img.reader(), 0.5, point));  // none: the nearest
  EXPECT_NEAR(point[0], expected[0], 1e-12);

  // The panel's shift moves the box with the centre of the free part.
  const PictureFrame shifted = pictureFrame(c, 50, 200, 100, 40, 200);
  EXPECT_FALSE(findDeepestPoint(shifted, img.reader(), 3.4, point));
  EXPECT_EQ(img.lastBox[0], 74);
  DepthImage sky = emptyImage(200, 100);
  EXPECT_FALSE(findDeepestPoint(f, sky.reader(), 3.4, point));
}

// Several cycles with a search that finds a cavity at first and then nothing:
// each descent after surfacing starts from the seed's centre with its count
// of failed searches cleared, so every cycle takes seven failures to turn.
// A new seed ends its step on the surface, then surfaces at its own framing.
TEST(Dive, EveryDescentAfterSurfacingStartsClean) {
  DiveRun run;
  auto step = [&] {
    run.ctx.now += run.ctx.dt;
    run.step();
  };
  auto land = [&] {  // bounded, so a dive that never turns down fails instead of hanging
    for (int i = 0; i < 100000 && !run.dive.descending; ++i) step();
    return run.dive.descending;
  };
  const double surface = run.dive.surfaceLogDist;
  run.findsPoint = true;
  run.point[0] = 0.4;
  for (double until = run.ctx.now + 3; run.ctx.now < until;) step();
  ASSERT_EQ(run.camera.goalTarget[0], 0.4);
  run.findsPoint = false;
  size_t searched = run.searches.size();
  for (int cycle = 0; cycle < 3; ++cycle) {
    run.framesUntilSurfacing(run.ctx.now + 60);
    ASSERT_FALSE(run.dive.descending) << "cycle " << cycle;
    EXPECT_EQ(run.searches.size() - searched, 7u) << "cycle " << cycle;
    searched = run.searches.size();  // the step that lands may search already
    ASSERT_TRUE(land()) << "cycle " << cycle;
    EXPECT_NEAR(run.camera.goalLogDist, surface - 0.35 * run.ctx.dt, 1e-12) << "cycle " << cycle;
    EXPECT_EQ(run.camera.goalTarget[0], 0) << "cycle " << cycle;
    EXPECT_GE(run.camera.goalPitch, -15);
    EXPECT_LE(run.camera.goalPitch, 44);
  }
  run.dive.newSeedAfterSurfacing = true;
  run.dive.descending = false;
  ASSERT_TRUE(land());
  EXPECT_EQ(run.camera.goalLogDist, surface);
  EXPECT_EQ(run.newSeeds, 1);
  EXPECT_EQ(run.dive.surfaceLogDist, std::log(2.5));
}
