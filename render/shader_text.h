// shader_text.h — composing program texts from the embedded GLSL pieces, and
// the rule that says whether the double-precision program may draw a record.
// No GL here: tests read the composed texts directly.
//
// A fractal program is a header (version line, the type's DE_* defines, the
// no-hit depths) followed by its pieces in this order:
//   trace    float library, float estimators, view uniforms, shading, trace main
//   prepass  float library, float estimators, view uniforms, prepass main
//   volume   float library, float estimators, view uniforms, shading, volume main
//   deep     float library, double library,   view uniforms, shading, deep main
#pragma once

#include "model/params.h"

#include <string>

// The fractal programs a type has: the float trace, the depth prepass, the
// volume fog and the double-precision trace for deep zooms.
enum class Pass { Trace, Prepass, Volume, Deep };

// "trace", "prepass", "volume", "deep": the pass's part of a program key and
// of test file names.
const char* passName(Pass pass);

// Replaces the first "#version 300 es" by "#version 430 core"; any other text
// comes back unchanged. The shared sources are written for both GL ES 3.00
// and desktop GL, so the desktop build rewrites the version line.
std::string swapGlslVersion(const std::string& source);

// The full-screen triangle's vertex text, already swapped.
std::string fullscreenVertexSource();

// Fragment text of `pass` for the fractal type `typeKey`. An unknown key is
// the caller's mistake (records are made safe before they reach the
// renderer): it asserts, and a lenient build composes the first type.
std::string composeFractalSource(const std::string& typeKey, Pass pass);

// The fp64 library only has the closed-form power-8 bulb, so bulb types (and
// hybrids with a bulb link) qualify only at power 8.
bool canUseDoublePrecision(const FractalParams& p);
