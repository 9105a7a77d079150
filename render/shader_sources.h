// The GLSL texts of render/shaders/, embedded into the binary at build time
// (see cmake/EmbedShaders.cmake); the program needs no files at run time.
#pragma once

namespace shader_src {

extern const char* const fullscreenVert;  // "#version 300 es", swapped at run time
extern const char* const floatLibrary;    // no version line; valid GLSL ES 3.00 too
extern const char* const traceMain1;      // trace main, first part
extern const char* const traceMain2;      // trace main, second part
extern const char* const prepassMain;
extern const char* const volumeMain;
extern const char* const deepShader;      // the whole double-precision program (no version line)
extern const char* const brightPass;      // "#version 300 es"
extern const char* const blur;            // "#version 300 es"
extern const char* const composite;       // "#version 300 es"

}  // namespace shader_src
