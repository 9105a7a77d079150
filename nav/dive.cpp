// Dive mode: sinking, re-aiming at the deepest cavity, surfacing and starting again.
#include "nav/dive.h"

#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"

#include <algorithm>
#include <cmath>

namespace {

// Returns whether the step ends here: still rising, or a new seed is wanted.
bool surface(DiveState& d, Camera& c, const DiveContext& ctx, RandomEngine& rng, DiveWants& want) {
  c.goalLogDist += 1.4 * ctx.dt;
  c.goalYaw += 12 * ctx.dt;
  if (c.goalLogDist < d.surfaceLogDist) return true;
  // Landing exactly on the seed's own framing keeps repeated cycles from drifting outward.
  c.goalLogDist = d.surfaceLogDist;
  d.descending = true;
  d.failedRetargets = 0;
  if (d.newSeedAfterSurfacing) {
    want.newSeed = true;
    want.randomType = d.randomType;
    return true;
  }
  // A fresh approach from another side: 40–139° further round, 15° below to 44° above.
  c.goalTarget[0] = c.goalTarget[1] = c.goalTarget[2] = 0;
  c.goalYaw += double(rng() % 100) + 40;
  c.goalPitch = double(rng() % 60) - 15;
  return false;
}

void turnBackIfDone(DiveState& d, const Camera& c, const DiveContext& ctx) {
  const double floor = ctx.deepAllowed ? kDiveFloorDouble : kDiveFloorFloat;
  if (std::exp(c.goalLogDist) < floor) {
    d.descending = false;
    d.turnedBack = ctx.deepAllowed ? DiveState::TurnBack::FloorDouble : DiveState::TurnBack::FloorFloat;
  } else if (d.failedRetargets > kMaxFailedRetargets) {
    d.descending = false;
    d.turnedBack = DiveState::TurnBack::NoDeeperPoint;
  }
}

// A search is due at most every kRetargetInterval, once something is traced;
// the step then ends in diveAim, after the caller's search.
void descend(DiveState& d, Camera& c, const DiveContext& ctx, DiveWants& want) {
  c.goalLogDist -= ctx.speed * ctx.dt;
  c.goalYaw += 2.5 * ctx.dt;
  if (ctx.now - d.lastRetargetTime > kRetargetInterval && ctx.sequence != 0) {
    d.lastRetargetTime = ctx.now;
    want.search = true;
    want.searchDepth = std::exp(c.goalLogDist);
    return;
  }
  turnBackIfDone(d, c, ctx);
}

// The best texel of the search box, or false when none hit.
struct Candidate {
  int x = -1, y = -1;
  float depth = 0;
  double score = -1;
};

}  // namespace

void setDive(DiveState& d, Camera& c, const FractalParams& current, bool on) {
  if (!on) {
    d.on = false;
    return;
  }
  setFlying(c, false);
  d.on = true;
  d.descending = true;
  d.failedRetargets = 0;
  d.lastRetargetTime = 0;
  const FractalParams own = generateFromSeed(current.seed, current.type);
  d.surfaceLogDist = std::log(std::max(own.dist, kMinCameraDist));
}

void setFlight(Camera& c, DiveState& d, bool on) {
  if (on) d.on = false;
  setFlying(c, on);
}

DiveWants diveStep(DiveState& d, Camera& c, const DiveContext& ctx, RandomEngine& rng) {
  DiveWants want;
  if (!d.on) return want;
  // A fresh approach from another side starts sinking in the same step.
  if (!d.descending && surface(d, c, ctx, rng, want)) return want;
  descend(d, c, ctx, want);
  return want;
}

void diveAim(DiveState& d, Camera& c, const DiveContext& ctx, const double* point) {
  const CameraPose pose = cameraPose(c);
  if (point && centreOn(c, pose.eye, point))
    d.failedRetargets = 0;
  else
    ++d.failedRetargets;
  turnBackIfDone(d, c, ctx);
}

void diveSurfaceAt(DiveState& d, double recordDist) {
  d.surfaceLogDist = std::log(std::max(recordDist, kMinCameraDist));
}

bool findDeepestPoint(const PictureFrame& f, const DepthReader& read, double maxDepth,
                      double point[3]) {
  if (f.width < 1 || f.height < 1 || !read) return false;
  const int radius = std::max(4, int(std::lround(0.06 * std::min(f.width, f.height))));
  int cx = 0, cy = 0;
  centreTexel(f, cx, cy);
  const int x0 = std::max(0, cx - radius), y0 = std::max(0, cy - radius);
  const int w = std::min(2 * radius + 1, f.width - x0), h = std::min(2 * radius + 1, f.height - y0);
  std::vector<float> depth;
  if (w <= 0 || h <= 0 || !read(x0, y0, w, h, depth) || depth.size() < size_t(w) * size_t(h))
    return false;
  Candidate best, nearest;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const float d = depth[size_t(y) * size_t(w) + size_t(x)];
      const double r = std::hypot(double(x0 + x - cx), double(y0 + y - cy)) / radius;
      if (!isHit(d) || r > 1) continue;
      if (nearest.x < 0 || d < nearest.depth) nearest = {x0 + x, y0 + y, d, 0};
      const double score = (1 - 0.6 * r) * d;  // deep wins, near the centre preferred
      if (d <= maxDepth && score > best.score) best = {x0 + x, y0 + y, d, score};
    }
  }
  const Candidate& pick = best.x >= 0 ? best : nearest;
  if (pick.x < 0) return false;
  unproject(f, pick.x + 0.5, pick.y + 0.5, pick.depth, point);
  return true;
}

FractalParams randomDiveRecord(RandomEngine& rng) {
  const size_t rows = std::min<size_t>(10, fractalTypes().size());
  const std::string type = fractalTypes()[rng() % rows].key;
  return generateFromSeed(randomSeedName(rng), type);
}
