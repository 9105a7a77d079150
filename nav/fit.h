// Fit to frame: after a change of shape whose size nobody can predict, the
// camera distance is corrected from what was actually drawn, so the
// silhouette fills about 70 % of the free part of the picture.
#pragma once

#include "nav/camera.h"
#include "nav/picture.h"

#include <vector>

// A mutant, an offspring, a hybrid seed or "Вписать в кадр" set the countdown to this.
inline constexpr int kFitSteps = 4;

// The silhouette's bounding box over every fourth texel of the analysed part.
struct Silhouette {
  int count = 0;                   // texels that hit the fractal
  int minX = 0, minY = 0, maxX = 0, maxY = 0;
  int width = 0, height = 0;       // analysed size (the panel's columns left out)
};

// Scans `depth` (width × height, rows from the top) in its first
// `analysedWidth` columns.
Silhouette measureSilhouette(const std::vector<float>& depth, int width, int height,
                             int analysedWidth);

// The goal log-distance change for a measurement; sets `done` when the fit
// is over (a proportional correction or a silhouette already in [55 %, 85 %]).
double fitCorrection(const Silhouette& s, bool& done);

// One measurement and correction while countdown > 0: reads the whole picture,
// counts the countdown down and moves the goal log-distance (the camera update
// then restarts accumulation). Run it on a still camera with at least one
// traced sample of the current view. Returns whether the picture could be read.
bool fitStep(int& countdown, Camera& c, const PictureFrame& f, const DepthReader& read);
