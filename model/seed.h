// The seed generator: seed text + type key -> a complete record, bit-identical
// on every machine (versioned by the "seedmap_v3" prefix).
#pragma once

#include "model/params.h"

#include <string>

// `base`, when given, lends the user's viewing choices (exposure, bloom,
// vignette, fov, aperture, autoFocus); nothing else is taken from it.
FractalParams generateFromSeed(const std::string& seed, const std::string& typeKey,
                               const FractalParams* base = nullptr);

// A conservative radius of the solid around the origin; 0 where no estimate is made.
double sceneRadius(const FractalParams& p);
// The camera distance that frames the record.
double framingDistance(const FractalParams& p);
// One hybrid link from two draws in [0, 1].
FormulaSlot hybridSlotFromDraw(double x, double y);
