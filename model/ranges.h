// Hard limits of every number the program takes from outside: the record's
// fields, the render settings and the command-line values. They are far wider
// than the sliders, so that any value a user or a seed can make survives
// unchanged; they only keep out what would hang the renderer, break a float
// to int conversion, or draw nothing (a zero distance, a field of view of
// 180°, a negative power, a scale of the resolution the GPU cannot hold).
#pragma once

#include "model/fields.h"

#include <string_view>

struct ValueRange {
  const char* key;   // the JSON key (record and "quality"), or the option's name
  double lo, hi;     // inclusive
  bool whole;        // stored as an integer
};

// The record's numbers (from its field table), "jmode", the slot members
// "slot.f" and "slot.k", the settings' numbers and the command-line values
// ("tab", "dive", "diveUntil"), in that order. One key appears once.
const std::vector<ValueRange>& valueRanges();
// The row for `key`, or null.
const ValueRange* findRange(std::string_view key);
// Inside the range: `value` itself, to the last bit. Outside: the nearer
// bound. Not finite: `fallback` (itself brought into the range).
double safeValue(double value, const ValueRange& range, double fallback);
// Whether `value` is finite and inside the range (a whole number when the
// range wants one).
bool inRange(double value, const ValueRange& range);

// Every number of the record brought into its range; a non-finite one takes
// the value the record's type starts from. Iterations stop at the type's own
// maximum; a bulb link's power stays at least 1, as the bulb's own power does.
void makeParamsSafe(FractalParams& p);
