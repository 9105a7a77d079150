// The GLSL texts of render/shaders/, embedded into the binary at build time
// (see cmake/EmbedShaders.cmake); the program needs no files at run time.
// The fractal pieces have no version line: shader_text.cpp puts a program
// together from them behind a header with the version and the type's defines.
#pragma once

namespace shader_src {

extern const char* const fullscreenVert;   // "#version 300 es", swapped at run time
extern const char* const floatLibrary;     // fractal uniforms, bulb/box/fold steps, albedo; valid GLSL ES 3.00
extern const char* const floatEstimators;  // float DE per family and map(); valid GLSL ES 3.00
extern const char* const doubleLibrary;    // double helpers, mixed-precision DE and map() of the deep pass
extern const char* const viewUniforms;     // camera, accumulation and lighting uniforms of every pass
extern const char* const shading;          // sky, area light, surface shading, glow and accumulation
extern const char* const traceMain;
extern const char* const prepassMain;
extern const char* const volumeMain;
extern const char* const deepMain;
extern const char* const brightPass;       // "#version 300 es"
extern const char* const blur;             // "#version 300 es"
extern const char* const composite;        // "#version 300 es"

}  // namespace shader_src
