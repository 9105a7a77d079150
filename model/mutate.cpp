// Mutation and crossbreeding of fractal records.
//
// Index
//   [SECTION] Ranges      the fields that move and the ends they stay within
//   [SECTION] Draws       uniform and signed draws from raw engine outputs
//   [SECTION] Mutation    mutate() and its per-group helpers
//   [SECTION] Crossing    crossbreed() and its helpers
#include "model/mutate.h"

#include "model/assert.h"
#include "model/fields.h"
#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// [SECTION] Ranges

// The fields mutation moves, in the order it draws for them: the shape's
// first, then (after the hybrid chain) the look's.
std::vector<const NumberField*> movedFields(FieldGroup group) {
  std::vector<const NumberField*> out;
  for (const NumberField& f : numberFields())
    if (f.mutation.order > 0 && f.group == group) out.push_back(&f);
  std::sort(out.begin(), out.end(),
            [](const NumberField* a, const NumberField* b) { return a->mutation.order < b->mutation.order; });
  return out;
}

const std::vector<const NumberField*>& movedShape() {
  static const std::vector<const NumberField*> fields = movedFields(FieldGroup::Shape);
  return fields;
}

const std::vector<const NumberField*>& movedLook() {
  static const std::vector<const NumberField*> fields = movedFields(FieldGroup::Look);
  return fields;
}

// A fold scale (box type or box link) near ±1 gives an empty or degenerate
// solid, so when the range straddles zero the scale keeps its sign and stays
// at least this far from zero.
constexpr double kFoldScaleFloor = 1.1;

double roundTo(double v, double quantum) { return std::floor(v / quantum + 0.5) * quantum; }

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

uint32_t movingTypes(const NumberField& f) { return f.mutation.types ? f.mutation.types : f.types; }

// The ends a moved field is held to: its slider's, and for a fold scale only
// the side of zero that `current` is on.
void movedEnds(const NumberField& f, const FractalType& row, double current, double& lo, double& hi) {
  sliderEnds(f, row, lo, hi);
  if (f.slider.bounds == SliderBounds::TypeScale) signedScaleRange(current, lo, hi);
}

double fitMoved(double v, const NumberField& f, double lo, double hi) {
  v = roundTo(v, f.mutation.step);
  if (f.mutation.wraps) {
    v = std::fmod(v - lo, hi - lo);
    return (v < 0 ? v + (hi - lo) : v) + lo;
  }
  return std::clamp(v, lo, hi);
}

const FractalType& typeRow(const FractalParams& p) { return fractalTypes()[typeIndex(p.type)]; }

// Records read from files may hold anything; results are brought into the
// slider ranges. Only fields the type uses are touched.
void clampShape(FractalParams& c) {
  const FractalType& row = typeRow(c);
  for (const NumberField* f : movedShape()) {
    if (!(row.flags & movingTypes(*f))) continue;
    double lo, hi;
    movedEnds(*f, row, c.*f->field, lo, hi);
    c.*f->field = std::clamp(c.*f->field, lo, hi);
  }
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

void nudgeFields(FractalParams& p, const std::vector<const NumberField*>& fields, const FractalType& row,
                 double amount, std::mt19937& rng) {
  for (const NumberField* f : fields) {
    if (!(row.flags & movingTypes(*f))) continue;
    double& v = p.*f->field;
    double lo, hi;
    sliderEnds(*f, row, lo, hi);
    const double span = f->mutation.share > 0 ? f->mutation.share * (hi - lo) : f->mutation.span;
    if (f->slider.bounds == SliderBounds::TypeScale) signedScaleRange(v, lo, hi);
    v = fitMoved(v + span * amount * signedDraw(rng), *f, lo, hi);
  }
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
  QTX_ASSERT(s.f >= 0 && s.f <= 5, "make the record safe before mutating it");
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
  nudgeFields(m, movedShape(), row, amount, rng);
  if (row.flags & kFlagSlots) nudgeChain(m, strength, amount, rng);
  nudgeDiscrete(m, row, strength, rng);
  // Colour and light move at most half as far as the shape does.
  nudgeFields(m, movedLook(), row, amount * 0.5, rng);
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
  // Iterations are blended last, and rounded.
  for (const NumberField& f : numberFields())
    if (f.group == FieldGroup::Shape && f.field != &FractalParams::iter)
      c.*f.field = blendDraw(a.*f.field, b.*f.field, rng);
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
  // The wrapping light angle is blended afterwards, along the shorter arc.
  for (const NumberField& f : numberFields())
    if (f.group == FieldGroup::Look && !f.mutation.wraps)
      c.*f.field = roundTo(a.*f.field + (b.*f.field - a.*f.field) * randomUnit(rng), 0.001);
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
