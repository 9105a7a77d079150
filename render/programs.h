// programs.h — building GL programs with their logs kept in the renderer's
// error text, the per-program uniform location cache with setters by name,
// the fractal program cache ("pass:type") and the fractal uniform feed.
#pragma once

#include "model/params.h"
#include "render/renderer.h"
#include "render/shader_text.h"

#include <cstdint>
#include <string>

struct Vec2 { float x, y; };
struct Vec3 { float x, y, z; };
struct Vec4 { float x, y, z, w; };
struct IVec4 { int32_t x, y, z, w; };
struct Mat3 { float m[9]; };  // column-major
struct DVec3 { double x, y, z; };

// A program whose shaders are compiled and linked as far as the driver goes
// without being asked for a result: with parallel compiling it works on in
// its own threads, otherwise the work is done by the time this returns.
struct PendingProgram {
  Program program;
  Shader vertex, fragment;
};
PendingProgram startProgram(const std::string& vertexSource, const std::string& fragmentSource);
// The linked program, or none with the compile logs (vertex, then fragment)
// or, when both compiled, the link log appended to `error`. Waits for the
// driver when it is not done yet; `p` is spent either way and no shader
// object outlives it.
Program finishProgram(std::string& error, PendingProgram& p);
// Both of the above at once.
Program linkProgram(std::string& error, const std::string& vertexSource, const std::string& fragmentSource);

// Cached location; -1 (absent or optimised away) is cached too.
int32_t uniformLocation(Renderer& r, Program program, const char* name);
// Setters for the current program. A name the program lacks is harmless: the
// shader variants share one setter sequence.
void setUniform(Renderer& r, Program program, const char* name, int32_t v);
void setUniform(Renderer& r, Program program, const char* name, float v);
void setUniform(Renderer& r, Program program, const char* name, Vec2 v);
void setUniform(Renderer& r, Program program, const char* name, Vec3 v);
void setUniform(Renderer& r, Program program, const char* name, Vec4 v);
void setUniform(Renderer& r, Program program, const char* name, IVec4 v);
void setUniform(Renderer& r, Program program, const char* name, const Mat3& v);
void setUniform(Renderer& r, Program program, const char* name, double v);
void setUniform(Renderer& r, Program program, const char* name, DVec3 v);

// The program of `pass` for the type, built on first use (or the background
// build of it waited for) and cached under "pass:type"; none (cached as well)
// when it failed, logs in r.errorText.
Program fractalProgram(Renderer& r, const std::string& typeKey, Pass pass);

// Fractal uniforms of the current program; `iterations` 0 means the record's
// own count rounded half up. The palette goes on unit 1; unit 0 stays active.
void setFractalUniforms(Renderer& r, Program program, const FractalParams& p, int iterations);
