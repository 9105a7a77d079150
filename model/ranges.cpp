// The hard limits outside the record's field table, and the functions that
// apply them to a record.
#include "model/ranges.h"

#include "model/tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

// What is not in the record's field table: its integers, the slot members,
// the settings ("quality") and the command-line values that are in neither.
const ValueRange kOtherRanges[] = {
    {"jmode", 0, 2, true},
    {"slot.f", 0, 5, true},
    {"slot.k", -32, 32, false},  // a bulb link: at least 1
    // A resolution scale of 0 is the automatic one.
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
    {"tab", 0, 5, true},
    {"dive", 0, 86400, false},
    {"diveUntil", 0, 1e6, false},
};

void makeSlotSafe(FormulaSlot& s) {
  s.f = static_cast<int32_t>(safeValue(s.f, *findRange("slot.f"), 0));
  ValueRange k = *findRange("slot.k");
  if (s.f <= 1) k.lo = 1;  // the two bulb links: k is their power
  s.k = safeValue(s.k, k, 8);
}

}  // namespace

const std::vector<ValueRange>& valueRanges() {
  static const std::vector<ValueRange> all = [] {
    std::vector<ValueRange> v;
    for (const NumberField& f : numberFields()) v.push_back({f.key, f.lo, f.hi, false});
    v.insert(v.end(), std::begin(kOtherRanges), std::end(kOtherRanges));
    return v;
  }();
  return all;
}

const ValueRange* findRange(std::string_view key) {
  for (const ValueRange& r : valueRanges())
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
    ValueRange r{n.key, n.lo, n.hi, false};
    if (n.field == &FractalParams::iter)
      r.hi = std::min(r.hi, double(fractalTypes()[typeIndex(p.type)].iterMax));
    p.*n.field = safeValue(p.*n.field, r, start.*n.field);
  }
  p.jmode = static_cast<int32_t>(safeValue(p.jmode, *findRange("jmode"), 0));
  for (FormulaSlot& s : p.slots) makeSlotSafe(s);
}
