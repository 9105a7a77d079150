// The numbers of the fractal record, one row each: everything the program
// knows about a field sits in its row, and the preset, the range checks,
// mutation and the panel's sliders all read the same rows.
#pragma once

#include "model/params.h"
#include "model/tables.h"

#include <cstdint>
#include <span>

// Which part of the record a field belongs to. Crossbreeding mixes shape and
// look, keeps the viewing choices of the current record, and frames the
// offspring anew; a preset keeps the camera apart, under "cam".
enum class FieldGroup : uint8_t { Shape, Look, View, Camera };

// Where a slider's ends come from: fixed numbers, or the record's type
// (its iteration maximum, its scale range, its constant's range).
enum class SliderBounds : uint8_t { Fixed, TypeIter, TypeScale, TypeConstant };

struct SliderRange {
  double lo = 0, hi = 1;     // where fixed; lo also starts the iteration slider
  int decimals = 2;
  const char* unit = "";
  bool logarithmic = false;
  SliderBounds bounds = SliderBounds::Fixed;
};

// How mutation moves a field. `order` is the field's place in the sequence
// of draws (0: never moved): a given engine state must keep giving the same
// mutant, so the sequence is part of the contract. A bold mutation moves a
// field by up to `span`, or by `share` of its slider's range where the type
// sets that range; results are rounded to `step`. Look fields move after the
// hybrid chain and half as far as the shape does.
struct MutationSpec {
  int order = 0;
  double span = 0, share = 0;
  double step = 0.001;
  bool wraps = false;         // an angle that goes round instead of stopping
  uint32_t types = 0;         // the type flags that let it move; 0: those that read it
};

struct NumberField {
  const char* key;               // the preset's JSON key
  double FractalParams::*field;
  FieldGroup group;
  double lo, hi;                 // the hard range: what any record is held to
  const char* label = nullptr;   // the panel slider's label; null: no slider
  SliderRange slider = {};
  uint32_t types = kFlagAlways;  // the type flags that read it
  MutationSpec mutation = {};
};

// Every double of the record, in declaration order (so the camera's come
// last): the order a preset is written in.
std::span<const NumberField> numberFields();
// The row of `field`, or of `key`; null when there is none.
const NumberField* findField(double FractalParams::*field);
const NumberField* findField(const char* key);

// The slider's ends for a record of type `row`.
void sliderEnds(const NumberField& f, const FractalType& row, double& lo, double& hi);
