// An independent CPU ray marcher in double precision: the distance
// estimators of every fractal type and the first, unjittered sample's ray,
// written out from the formulas rather than taken from the renderer. The GL
// tests compare the renderer's hit mask and depths with it, so a wrong
// constant in a shader (a fold limit, a fast-path threshold, a sign) shows as
// a different shape.
#pragma once

#include "model/params.h"
#include "render/renderer.h"

#include <vector>

struct ReferenceImage {
  int width = 0, height = 0;
  std::vector<double> depth;  // ray distance per pixel, bottom row first; 10000 = miss
};

// Marches every pixel's centre ray of a w×h view the way the first still
// sample does: no bound, tolerance `detail` pixels, `maxSteps` steps.
ReferenceImage referenceMarch(const FractalParams& p, const CameraView& c, int w, int h,
                              int maxSteps = 320, double detail = 1);
