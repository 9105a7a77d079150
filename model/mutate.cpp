// Mutation and crossbreeding of fractal records.
//
// Index
//   [SECTION] Ranges      the slider ranges a result must stay in
//   [SECTION] Draws       uniform and signed draws from raw engine outputs
//   [SECTION] Mutation    mutate() and its per-group helpers
//   [SECTION] Crossing    crossbreed() and its helpers
#include "model/mutate.h"

#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

// [SECTION] Ranges

// One numeric field with fixed bounds. `span` is how far a bold mutation
// (strength 1) may move it; `quantum` is what results are rounded to, so that
// presets stay readable; `wraps` marks angles that go round instead of clamping.
struct Knob {
  double FractalParams::*field;
  uint32_t flag;  // the type flag that lets the field change
  double lo, hi;
  double span;
  double quantum;
  bool wraps;
};

// Shape fields whose bounds do not depend on the type. Rotations per iteration
// beyond a few tens of degrees shred every formula, hence the modest span.
const Knob kShapeKnobs[] = {
    {&FractalParams::power, kFlagPower, 2, 16, 3, 0.001, false},
    {&FractalParams::ox, kFlagFold, 0, 2, 0.25, 0.001, false},
    {&FractalParams::oy, kFlagFold, 0, 2, 0.25, 0.001, false},
    {&FractalParams::oz, kFlagFold, 0, 2, 0.25, 0.001, false},
    {&FractalParams::rx, kFlagRotation, -180, 180, 20, 0.001, false},
    {&FractalParams::ry, kFlagRotation, -180, 180, 20, 0.001, false},
    {&FractalParams::rz, kFlagRotation, -180, 180, 20, 0.001, false},
};

// Colour and light: every type has them, and they change gently.
const Knob kLookKnobs[] = {
    {&FractalParams::colShift, kFlagAlways, 0, 1, 0.25, 0.001, false},
    {&FractalParams::colScale, kFlagAlways, 0.2, 4, 0.4, 0.001, false},
    {&FractalParams::lightYaw, kFlagAlways, 0, 360, 60, 1, true},
    {&FractalParams::lightPitch, kFlagAlways, -10, 90, 20, 1, false},
    {&FractalParams::glow, kFlagAlways, 0, 1, 0.08, 0.001, false},
    {&FractalParams::metal, kFlagAlways, 0, 1, 0.12, 0.001, false},
};

// Look fields that crossbreeding blends between the parents.
double FractalParams::*const kBlendedLook[] = {
    &FractalParams::colShift, &FractalParams::colScale, &FractalParams::lightPitch,
    &FractalParams::light,    &FractalParams::ambient,  &FractalParams::spec,
    &FractalParams::shadowSoft, &FractalParams::metal,  &FractalParams::irid,
    &FractalParams::glow,     &FractalParams::fog,
};

// A fold scale (box type or box link) near ±1 gives an empty or degenerate
// solid, so when the range straddles zero the scale keeps its sign and stays
// at least this far from zero.
constexpr double kFoldScaleFloor = 1.1;

double roundTo(double v, double quantum) { return std::floor(v / quantum + 0.5) * quantum; }

double fitKnob(double v, const Knob& k) {
  v = roundTo(v, k.quantum);
  if (k.wraps) {
    v = std::fmod(v - k.lo, k.hi - k.lo);
    return (v < 0 ? v + (k.hi - k.lo) : v) + k.lo;
  }
  return std::clamp(v, k.lo, k.hi);
}

// The part of [lo, hi] on the side of zero that `current` is on.
void signedScaleRange(double current, double& lo, double& hi) {
  if (lo >= 0 || hi <= 0) return;
  if (current < 0) hi = -kFoldScaleFloor;
  else lo = kFoldScaleFloor;
}

double fitScale(double v, double current, double lo, double hi) {
  signedScaleRange(current, lo, hi);
  return std::clamp(roundTo(v, 0.001), lo, hi);
}

// Brings a scale into its range without rounding it (for values that were not moved).
double clampScale(double v, double lo, double hi) {
  signedScaleRange(v, lo, hi);
  return std::clamp(v, lo, hi);
}

const FractalType& typeRow(const FractalParams& p) { return fractalTypes()[typeIndex(p.type)]; }

// Records read from files may hold anything; results are brought into the
// slider ranges. Only fields the type uses are touched.
void clampShape(FractalParams& c) {
  const FractalType& row = typeRow(c);
  for (const Knob& k : kShapeKnobs)
    if (row.flags & k.flag) c.*k.field = std::clamp(c.*k.field, k.lo, k.hi);
  if (row.flags & kFlagScale) c.scale = clampScale(c.scale, row.scaleMin, row.scaleMax);
  if (row.flags & kFlagJulia)
    for (double* v : {&c.jx, &c.jy, &c.jz}) *v = std::clamp(*v, row.cMin, row.cMax);
  if (row.flags & kFlagJuliaW) c.jw = std::clamp(c.jw, row.cMin, row.cMax);
  c.iter = std::clamp(c.iter, 1.0, static_cast<double>(row.iterMax));
  if (row.flags & kFlagJMode) c.jmode = std::clamp(c.jmode, 0, 2);
  if (!(row.flags & kFlagSlots)) return;
  if (c.slots.size() > 4) c.slots.resize(4);
  for (FormulaSlot& s : c.slots) {
    s.f = std::clamp(s.f, 0, 5);
    s.k = clampScale(s.k, hybridFormulas()[s.f].kMin, hybridFormulas()[s.f].kMax);
  }
}

// [SECTION] Draws

// Symmetric around zero, most draws small: the difference of two uniforms.
double signedDraw(std::mt19937& rng) { return randomUnit(rng) - randomUnit(rng); }

int pickIndex(std::mt19937& rng, int count) {
  return std::min(static_cast<int>(randomUnit(rng) * count), count - 1);
}

// One parent's value, or the other's, or a blend between them (a third each).
// Picks are exact; only a blend is rounded, to keep presets readable.
double blendDraw(double a, double b, std::mt19937& rng) {
  const double r = randomUnit(rng);
  if (r < 1.0 / 3) return a;
  if (r < 2.0 / 3) return b;
  return roundTo(a + (b - a) * randomUnit(rng), 0.001);
}

}  // namespace

double randomUnit(std::mt19937& rng) {
  const uint32_t hi = rng() >> 5;  // 27 bits
  const uint32_t lo = rng() >> 6;  // 26 bits
  return (hi * 67108864.0 + lo) * (1.0 / 9007199254740992.0);
}

namespace {

// [SECTION] Mutation

// How far a move may go at this strength, as a share of a knob's span.
double reach(double strength) { return 0.05 + 0.95 * std::clamp(strength, 0.0, 1.0); }

void nudgeKnobs(FractalParams& p, const Knob* knobs, size_t count, uint32_t flags, double amount,
                std::mt19937& rng) {
  for (size_t i = 0; i < count; ++i) {
    const Knob& k = knobs[i];
    if (!(flags & k.flag)) continue;
    p.*k.field = fitKnob(p.*k.field + k.span * amount * signedDraw(rng), k);
  }
}

void nudgeTypeRanges(FractalParams& p, const FractalType& row, double amount, std::mt19937& rng) {
  if (row.flags & kFlagScale) {
    const double span = 0.15 * (row.scaleMax - row.scaleMin);
    p.scale = fitScale(p.scale + span * amount * signedDraw(rng), p.scale, row.scaleMin,
                       row.scaleMax);
  }
  const double cSpan = 0.08 * (row.cMax - row.cMin);
  auto nudgeC = [&](double& c) {
    c = std::clamp(roundTo(c + cSpan * amount * signedDraw(rng), 0.001), row.cMin, row.cMax);
  };
  if (row.flags & kFlagJulia) {
    nudgeC(p.jx);
    nudgeC(p.jy);
    nudgeC(p.jz);
  }
  if (row.flags & kFlagJuliaW) nudgeC(p.jw);
}

// A fresh link the way the generator would draw one. The chain never opens
// with a Menger or tetrahedron fold.
FormulaSlot freshSlot(bool first, std::mt19937& rng) {
  const int f = pickIndex(rng, first ? 4 : 6);
  const HybridFormula& row = hybridFormulas()[f];
  double k = row.genMin + (row.genMax - row.genMin) * randomUnit(rng);
  if (f < 2) k = std::floor(k + 0.5);
  return {f, roundTo(k, 0.001)};
}

void nudgeSlot(FormulaSlot& s, bool first, double strength, double amount, std::mt19937& rng) {
  if (randomUnit(rng) < 0.15 * strength) {
    s = freshSlot(first, rng);
    return;
  }
  const int f = std::clamp(s.f, 0, 5);
  const HybridFormula& row = hybridFormulas()[f];
  const double span = 0.15 * (row.kMax - row.kMin);
  s.k = fitScale(s.k + span * amount * signedDraw(rng), s.k, row.kMin, row.kMax);
}

void nudgeChain(FractalParams& p, double strength, double amount, std::mt19937& rng) {
  for (size_t i = 0; i < p.slots.size(); ++i) nudgeSlot(p.slots[i], i == 0, strength, amount, rng);
  // Rarely the chain grows or shrinks by a link, within 2..4 links.
  if (randomUnit(rng) < 0.1 * strength) {
    if (p.slots.size() < 4 && (p.slots.size() < 2 || randomUnit(rng) < 0.5))
      p.slots.push_back(freshSlot(p.slots.empty(), rng));
    else if (p.slots.size() > 2)
      p.slots.pop_back();
  }
}

void nudgeDiscrete(FractalParams& p, const FractalType& row, double strength, std::mt19937& rng) {
  if (randomUnit(rng) < 0.3 * strength) {
    const double step = randomUnit(rng) < 0.5 ? -1 : 1;
    p.iter = std::clamp(std::floor(p.iter + 0.5) + step, 1.0, static_cast<double>(row.iterMax));
  }
  if ((row.flags & kFlagJMode) && randomUnit(rng) < 0.1 * strength)
    p.jmode = (std::clamp(p.jmode, 0, 2) + 1 + pickIndex(rng, 2)) % 3;
}

// The camera keeps its pose; only when the shape's extent changed a lot is the
// distance scaled by the same ratio, so the mutant is neither lost in the
// distance nor swallowing the camera, while a chosen close-up stays one.
void keepFramed(FractalParams& m, const FractalParams& before) {
  const double was = framingDistance(before);
  const double now = framingDistance(m);
  if (!(was > 0) || !(now > 0)) return;
  const double ratio = now / was;
  if (ratio > 0.8 && ratio < 1.25) return;
  m.dist *= ratio;
  m.focus *= ratio;
}

}  // namespace

FractalParams mutate(const FractalParams& p, double strength, std::mt19937& rng) {
  strength = std::clamp(strength, 0.0, 1.0);
  const double amount = reach(strength);
  const FractalType& row = typeRow(p);
  FractalParams m = p;
  m.seed = mutantName(p.seed, static_cast<uint32_t>(std::floor(randomUnit(rng) * 46656)));
  nudgeKnobs(m, kShapeKnobs, std::size(kShapeKnobs), row.flags, amount, rng);
  nudgeTypeRanges(m, row, amount, rng);
  if (row.flags & kFlagSlots) nudgeChain(m, strength, amount, rng);
  nudgeDiscrete(m, row, strength, rng);
  // Colour and light move at most half as far as the shape does.
  nudgeKnobs(m, kLookKnobs, std::size(kLookKnobs), kFlagAlways, amount * 0.5, rng);
  clampShape(m);
  keepFramed(m, p);
  return m;
}

namespace {

// [SECTION] Crossing

void copyShape(FractalParams& c, const FractalParams& src) {
  c.type = src.type;
  c.iter = src.iter;
  c.power = src.power;
  c.scale = src.scale;
  c.jx = src.jx, c.jy = src.jy, c.jz = src.jz, c.jw = src.jw;
  c.ox = src.ox, c.oy = src.oy, c.oz = src.oz;
  c.rx = src.rx, c.ry = src.ry, c.rz = src.rz;
  c.warp = src.warp;
  c.slots = src.slots;
  c.jmode = src.jmode;
}

FormulaSlot crossSlot(const FractalParams& a, const FractalParams& b, size_t i,
                      std::mt19937& rng) {
  if (i >= a.slots.size()) return b.slots[i];
  if (i >= b.slots.size()) return a.slots[i];
  const FormulaSlot& sa = a.slots[i];
  const FormulaSlot& sb = b.slots[i];
  if (sa.f == sb.f) return {sa.f, blendDraw(sa.k, sb.k, rng)};
  return randomUnit(rng) < 0.5 ? sa : sb;
}

void blendShape(FractalParams& c, const FractalParams& a, const FractalParams& b,
                std::mt19937& rng) {
  double FractalParams::*const fields[] = {
      &FractalParams::power, &FractalParams::scale, &FractalParams::jx, &FractalParams::jy,
      &FractalParams::jz,    &FractalParams::jw,    &FractalParams::ox, &FractalParams::oy,
      &FractalParams::oz,    &FractalParams::rx,    &FractalParams::ry, &FractalParams::rz,
      &FractalParams::warp,
  };
  for (auto field : fields) c.*field = blendDraw(a.*field, b.*field, rng);
  // A blend across zero would land on a degenerate fold scale; pick instead.
  if ((a.scale < 0) != (b.scale < 0)) c.scale = randomUnit(rng) < 0.5 ? a.scale : b.scale;
  c.iter = std::floor(blendDraw(a.iter, b.iter, rng) + 0.5);
  c.jmode = randomUnit(rng) < 0.5 ? a.jmode : b.jmode;
  const size_t count = (randomUnit(rng) < 0.5 ? a : b).slots.size();
  c.slots.clear();
  for (size_t i = 0; i < count; ++i) c.slots.push_back(crossSlot(a, b, i, rng));
}

// Blends two angles in degrees along the shorter arc.
double blendAngle(double a, double b, double t) {
  double d = std::fmod(b - a, 360.0);
  if (d > 180) d -= 360;
  if (d < -180) d += 360;
  double v = std::fmod(a + d * t, 360.0);
  return v < 0 ? v + 360 : v;
}

void mixLook(FractalParams& c, const FractalParams& a, const FractalParams& b, std::mt19937& rng) {
  // The custom stops travel with the palette choice: they are what "custom" shows.
  const FractalParams& pal = randomUnit(rng) < 0.5 ? a : b;
  c.palette = pal.palette;
  c.customA = pal.customA, c.customB = pal.customB, c.customC = pal.customC;
  for (auto field : kBlendedLook)
    c.*field = roundTo(a.*field + (b.*field - a.*field) * randomUnit(rng), 0.001);
  c.lightYaw = std::floor(blendAngle(a.lightYaw, b.lightYaw, randomUnit(rng)) + 0.5);
  if (c.lightYaw >= 360) c.lightYaw -= 360;
  c.glowColor = (randomUnit(rng) < 0.5 ? a : b).glowColor;
  // The two background colours are one gradient; keep them together.
  const FractalParams& bg = randomUnit(rng) < 0.5 ? a : b;
  c.bgTop = bg.bgTop;
  c.bgBot = bg.bgBot;
}

}  // namespace

FractalParams crossbreed(const FractalParams& a, const FractalParams& b, std::mt19937& rng) {
  FractalParams c = a;  // viewing choices (exposure, bloom, lens) stay the user's
  if (a.type == b.type) blendShape(c, a, b, rng);
  else copyShape(c, randomUnit(rng) < 0.5 ? a : b);
  mixLook(c, a, b, rng);
  clampShape(c);
  c.seed = offspringName(a.seed, b.seed);
  // The offspring is a new shape: frame it from the current viewing angle.
  c.tx = c.ty = c.tz = 0;
  c.dist = framingDistance(c);
  c.focus = c.dist;
  return c;
}
