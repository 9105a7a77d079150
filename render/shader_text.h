// shader_text.h — composing program texts from the embedded GLSL pieces, and
// the rule that says whether the double-precision program may draw a record.
// No GL here: tests read the composed texts directly.
#pragma once

#include "model/params.h"

#include <string>

// Replaces the first "#version 300 es" by "#version 430 core"; any other text
// comes back unchanged. The shared sources are written for both GL ES 3.00
// and desktop GL, so the desktop build rewrites the version line.
std::string swapGlslVersion(const std::string& source);

// The full-screen triangle's vertex text, already swapped.
std::string fullscreenVertexSource();

// Fragment text of `pass` ("trace", "deep", "prepass", "volume"; any other
// name composes the trace body) for the fractal type `typeKey`: a desktop
// header with the type's defines, then the pieces of the pass.
std::string composeFractalSource(const std::string& typeKey, const std::string& pass);

// The fp64 library only has the closed-form power-8 bulb, so bulb types (and
// hybrids with a bulb link) qualify only at power 8.
bool canUseDoublePrecision(const FractalParams& p);
