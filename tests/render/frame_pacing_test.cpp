// The frame driver's pacing against a simulated clock and GPU: each frame
// asks the pacing rules for a render size and rows, the cost model says what
// tracing them takes, and the clock moves by that plus the composite. No GL,
// so the figures do not depend on the machine the tests run on.
#include "render/frame_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

enum class Motion { Still, Orbit, Dive, Live };

// A GPU: what one pixel of a sample costs at the starting quality of a
// 1600×950 window. Rows in the lowest `skyShare` of the picture are empty
// sky and cost `skyCost` of a row through the fractal. A dearer quality
// costs more, though less than the ratio of the budgets (most rays stop
// long before the last step), so the driver's scaled guess is on the safe side.
struct Gpu {
  double pixelMs;
  double postMs = 0.2;
  double skyShare = 0.3, skyCost = 0.25;
  double baseQuality = 0;

  double traceMs(int w, int h, int cursor, int rows, double quality) const {
    const double q = std::sqrt(quality / baseQuality);
    const int sky = int(h * skyShare);
    const int skyRows = std::clamp(sky - cursor, 0, rows);
    return pixelMs * q * w * (skyRows * skyCost + (rows - skyRows));
  }
};

struct SimRun {
  std::vector<double> frameMs;   // every frame
  std::vector<double> movingScale;  // the render size over the window's, per moving frame
  int samples = 0, wholeSamples = 0, restarts = 0;
  int lastW = 0, lastH = 0;
  double longest(size_t from = 0) const {
    return frameMs.size() > from ? *std::max_element(frameMs.begin() + long(from), frameMs.end()) : 0;
  }
  double median(size_t from = 0) const {
    std::vector<double> v(frameMs.begin() + long(std::min(from, frameMs.size())), frameMs.end());
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
  }
  double wholeShare() const { return samples ? double(wholeSamples) / samples : 0; }
};

// Drives `frames` frames of a w×h window: `moving` frames first (in the
// given motion), then still ones. A dive deepens every frame, so iterations
// and the step budget grow; live mode and an orbit keep them.
SimRun simulate(const Gpu& gpuIn, Motion motion, int w, int h, int movingFrames, int stillFrames,
             double vsyncMs = 0) {
  Gpu gpu = gpuIn;
  FramePacing f;
  int steps = 320, iterations = 7;
  gpu.baseQuality = qualityCost(steps, iterations, false, true, false);
  double now = 0, movingUntil = 0, lastFrame = -1;
  int renderW = 0, renderH = 0, cursor = 0;
  double dt = 1.0 / 60;
  SimRun run;
  int sampleRows = 0;
  for (int frame = 0; frame < movingFrames + stillFrames; ++frame) {
    const bool input = frame < movingFrames && motion != Motion::Still;
    if (input) movingUntil = now + 0.22;
    const bool moving = now < movingUntil;
    if (input && motion == Motion::Dive) {
      // About twelve budget changes a second at 60 frames a second.
      if (frame % 5 == 0) steps = std::min(720, steps + 8);
      if (frame % 60 == 59) {
        ++iterations;
        cursor = 0;  // a changed iteration count starts the picture over
        sampleRows = 0;
        paceRestartSample(f);
      }
    }
    paceQuality(f, qualityCost(steps, iterations, false, moving, false));
    PaceInput in;
    in.dt = dt;
    in.moving = moving;
    in.accW = w;
    in.accH = h;
    in.renderW = renderW;
    in.renderH = renderH;
    in.cursor = cursor;
    in.bandMs = bandBudgetMs(kBandMs, gpu.postMs, false);
    in.bandingMs = kBandingMs;
    in.growth = bandGrowth(false);
    const PacePlan plan = pacePlan(f, in);
    if (plan.sizeChanged) {
      renderW = plan.w, renderH = plan.h;
      cursor = 0;
      if (sampleRows > 0) ++run.restarts;
      sampleRows = 0;
    }
    const double q = qualityCost(steps, iterations, false, moving, false);
    const double ms = gpu.traceMs(plan.w, plan.h, cursor, plan.rows, q);
    const bool completes = cursor + plan.rows >= plan.h;
    paceMeasured(f, ms, plan.rows, plan.w, plan.h, completes, kBandingMs);
    sampleRows += plan.rows;
    cursor = completes ? 0 : cursor + plan.rows;
    if (completes) {
      ++run.samples;
      run.wholeSamples += sampleRows == plan.rows;
      sampleRows = 0;
    }
    f.completedMoving = completes && moving;
    const double frameMs = std::max(ms + gpu.postMs, vsyncMs);
    now += frameMs / 1000;
    dt = lastFrame < 0 ? 1.0 / 60 : std::clamp(now - lastFrame, 0.0001, 0.1);
    lastFrame = now;
    run.frameMs.push_back(frameMs);
    if (moving) run.movingScale.push_back(double(plan.w) / w);
    run.lastW = plan.w, run.lastH = plan.h;
  }
  return run;
}

double mean(const std::vector<double>& v) {
  double s = 0;
  for (double x : v) s += x;
  return v.empty() ? 0 : s / v.size();
}

const double kFastPixelMs = 0.1 / (1600.0 * 950.0);   // 0.1 ms a sample
const double kMidPixelMs = 30.0 / (1600.0 * 950.0);   // 30 ms a sample
const double kSoftPixelMs = 2500.0 / (1600.0 * 950.0);  // a software renderer: 2.5 s a sample

}  // namespace

// A fast GPU: whatever moves, every sample is whole and the picture keeps
// the window's size. Only the first sample of a program, whose cost nobody
// knows yet, is looked at in bands.
TEST(FramePacing, FastGpuKeepsFullSizeAndWholeSamples) {
  for (Motion m : {Motion::Orbit, Motion::Dive, Motion::Live}) {
    const SimRun run = simulate(Gpu{kFastPixelMs}, m, 1600, 950, 300, 0, 1000.0 / 60);
    EXPECT_DOUBLE_EQ(mean(run.movingScale), 1) << int(m);
    EXPECT_EQ(run.lastW, 1600);
    EXPECT_GE(run.samples, 299) << int(m);
    EXPECT_GE(run.wholeSamples, run.samples - 1) << int(m);
    EXPECT_EQ(run.restarts, 0) << int(m);
  }
}

// A mid-range GPU at 30 ms a sample (every row alike): moving frames hold
// 30 frames a second and more by lowering the scale; once still, the
// picture goes back to the window's size and whole samples.
TEST(FramePacing, MidGpuTradesSizeForRateWhileMoving) {
  Gpu mid{kMidPixelMs};
  mid.skyShare = 0;
  for (Motion m : {Motion::Orbit, Motion::Dive, Motion::Live}) {
    SimRun run = simulate(mid, m, 1600, 950, 300, 60);
    // Past the first second of settling, moving frames stay under 33 ms.
    std::vector<double> moving(run.frameMs.begin() + 60, run.frameMs.begin() + 300);
    std::sort(moving.begin(), moving.end());
    EXPECT_LT(moving[moving.size() * 95 / 100], 1000.0 / 30) << int(m);
    EXPECT_LT(mean(run.movingScale), 1) << int(m);
    EXPECT_GT(mean(run.movingScale), 0.5) << int(m);
    EXPECT_EQ(run.lastW, 1600);
    EXPECT_EQ(run.lastH, 950);
  }
  // Still frames: whole samples only.
  const SimRun still = simulate(mid, Motion::Still, 1600, 950, 0, 60);
  EXPECT_EQ(still.wholeSamples, still.samples - 1);
  EXPECT_LT(still.longest(5), 80);
}

// A software renderer at seconds a sample: no frame holds the loop much
// beyond the band budget, moving or still, whatever the dive does to the
// budget; the sky rows under the fractal never let a band run away.
TEST(FramePacing, SoftwareRendererKeepsTheFrameCeiling) {
  for (Motion m : {Motion::Still, Motion::Orbit, Motion::Dive, Motion::Live}) {
    const SimRun run = simulate(Gpu{kSoftPixelMs}, m, 1600, 950, 200, 100);
    EXPECT_LT(run.longest(), 4 * kBandMs) << int(m);
    EXPECT_LT(run.median(), 2 * kBandMs) << int(m);
    EXPECT_GT(run.samples, 0) << int(m);
  }
  // Sky that costs almost nothing under a dear fractal: still bounded.
  Gpu skyHeavy{kSoftPixelMs};
  skyHeavy.skyShare = 0.6;
  skyHeavy.skyCost = 0.02;
  EXPECT_LT(simulate(skyHeavy, Motion::Still, 1600, 950, 0, 100).longest(), 300);
}

// The step-budget and iteration changes of a dive never restart a sample
// half drawn or shrink the picture where the cost allows whole samples: a
// small window on the software renderer (a 128×72 sample costs about 15 ms).
TEST(FramePacing, DiveBudgetChangesKeepWholeSamples) {
  const SimRun run = simulate(Gpu{kSoftPixelMs}, Motion::Dive, 128, 72, 300, 0);
  EXPECT_EQ(run.restarts, 0);
  EXPECT_GE(run.wholeSamples, run.samples - 1);
  EXPECT_GE(run.samples, 295);
  EXPECT_DOUBLE_EQ(mean(std::vector<double>(run.movingScale.begin() + 10, run.movingScale.end())), 1);
}

// What the simulations do not reach: a band over cheap rows cannot lower a
// whole sample's estimate, though the next whole sample sets it; a new
// program probes again; unattended frames composite only the final picture
// and four times a second, and their bands are not cut short.
TEST(FramePacing, RulesForChangesAndUnattendedRuns) {
  FramePacing f;
  paceQuality(f, 100);
  paceMeasured(f, 1.0, 50, 100, 50, true, 80);  // a whole sample in 1 ms
  paceQuality(f, 100 * 160);                    // 160 ms: banded
  EXPECT_LT(paceRows(f, 0, 100, 50, 35, 80, 2), 50);
  const double before = f.pixelMs;
  paceMeasured(f, 0.01, 10, 100, 50, false, 80);
  EXPECT_EQ(f.pixelMs, before);
  EXPECT_TRUE(f.banding);
  paceMeasured(f, 0.04, 40, 100, 50, true, 80);
  EXPECT_NEAR(f.pixelMs, 0.05 / 5000, 1e-12);
  EXPECT_FALSE(f.banding);
  paceForget(f);
  EXPECT_EQ(paceRows(f, 0, 100, 50, 35, 80, 2), kProbeRows);

  EXPECT_TRUE(wantsPost(false, false, 0));
  EXPECT_FALSE(wantsPost(true, false, 0.1));
  EXPECT_TRUE(wantsPost(true, false, 0.3));
  EXPECT_TRUE(wantsPost(true, true, 0));
  EXPECT_GT(bandBudgetMs(kBandMs, 0, true), 10 * kBandMs);
}
