// The hard-limit table and the functions that apply it to a record.
#include "model/ranges.h"

#include "model/tables.h"

#include <algorithm>
#include <cmath>

namespace {

// Distances: the camera's own nearest approach up to where any fractal is a
// dot. Angles of the camera wrap, so they need only be finite and not so large
// that a degree is lost to rounding.
constexpr double kNearest = 5e-12;
constexpr double kFarthest = 1e6;

const std::vector<ValueRange> kRanges = {
    // The record.
    {"iter", 1, 400, false},  // and at most the type's iterMax
    {"power", 1, 32, false},
    {"scale", -10, 10, false},
    {"jx", -4, 4, false},
    {"jy", -4, 4, false},
    {"jz", -4, 4, false},
    {"jw", -4, 4, false},
    {"ox", -10, 10, false},
    {"oy", -10, 10, false},
    {"oz", -10, 10, false},
    {"rx", -360, 360, false},
    {"ry", -360, 360, false},
    {"rz", -360, 360, false},
    {"warp", -10, 10, false},
    {"jmode", 0, 2, true},
    {"colShift", -1000, 1000, false},
    {"colScale", -1000, 1000, false},
    {"lightYaw", -3600, 3600, false},
    {"lightPitch", -90, 90, false},
    {"light", 0, 100, false},
    {"ambient", 0, 10, false},
    {"spec", 0, 10, false},
    {"shadowSoft", 0, 1000, false},
    {"metal", 0, 10, false},
    {"irid", 0, 10, false},
    {"glow", 0, 10, false},
    {"fog", 0, 10, false},
    {"exposure", 0, 100, false},
    {"bloom", 0, 10, false},
    {"vignette", 0, 10, false},
    {"fov", 0.1, 179, false},
    {"aperture", 0, 10, false},
    {"focus", kNearest, kFarthest, false},
    {"tx", -1e6, 1e6, false},
    {"ty", -1e6, 1e6, false},
    {"tz", -1e6, 1e6, false},
    {"yaw", -1e9, 1e9, false},
    {"pitch", -90, 90, false},
    {"dist", kNearest, kFarthest, false},
    {"slot.f", 0, 5, true},
    {"slot.k", -32, 32, false},  // a bulb link: at least 1
    // The settings ("quality"). A resolution scale of 0 is the automatic one.
    {"resScale", 0, 2, false},
    {"samples", 1, 65536, true},
    {"maxSteps", 8, 2000, true},
    {"precision", 0.01, 100, false},
    {"deep", 0, 2, true},
    {"diveSpeed", 0, 100, false},
    {"mutation", 0, 1, false},
    {"photoSize", 0, 5, true},
    {"photoSamples", 0, 5, true},
    {"filmSeconds", 1, 120, false},
    {"filmFps", 0, 2, true},
    {"filmSize", 0, 2, true},
    {"filmSamples", 0, 3, true},
    // Command-line values that are in neither.
    {"tab", 0, 5, true},
    {"dive", 0, 86400, false},
    {"diveUntil", 0, kFarthest, false},
};

void makeSlotSafe(FormulaSlot& s) {
  s.f = static_cast<int32_t>(safeValue(s.f, *findRange("slot.f"), 0));
  ValueRange k = *findRange("slot.k");
  if (s.f <= 1) k.lo = 1;  // the two bulb links: k is their power
  s.k = safeValue(s.k, k, 8);
}

}  // namespace

const std::vector<ValueRange>& valueRanges() { return kRanges; }

const ValueRange* findRange(std::string_view key) {
  for (const ValueRange& r : kRanges)
    if (key == r.key) return &r;
  return nullptr;
}

bool inRange(double value, const ValueRange& range) {
  if (!std::isfinite(value) || value < range.lo || value > range.hi) return false;
  return !range.whole || value == std::trunc(value);
}

double safeValue(double value, const ValueRange& range, double fallback) {
  if (!std::isfinite(value)) value = std::isfinite(fallback) ? fallback : range.lo;
  value = std::clamp(value, range.lo, range.hi);
  return range.whole ? std::trunc(value) : value;
}

void makeParamsSafe(FractalParams& p) {
  const FractalParams start = defaultsForType(p.type);
  for (const NumberField& n : numberFields()) {
    ValueRange r = *findRange(n.key);
    if (n.field == &FractalParams::iter)
      r.hi = std::min(r.hi, double(fractalTypes()[typeIndex(p.type)].iterMax));
    p.*n.field = safeValue(p.*n.field, r, start.*n.field);
  }
  p.jmode = static_cast<int32_t>(safeValue(p.jmode, *findRange("jmode"), 0));
  for (FormulaSlot& s : p.slots) makeSlotSafe(s);
}
