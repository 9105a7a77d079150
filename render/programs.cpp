// Building GL programs with their logs, uniform locations, and the fractal program cache.
#include "render/programs.h"

#include "model/assert.h"
#include "render/gl.h"
#include "render/program_builder.h"
#include "render/shader_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

// [SECTION] Compile and link

namespace {

constexpr int kLogSize = 4096;

void appendShaderLog(std::string& error, GLuint shader) {
  char log[kLogSize] = {};
  GLsizei length = 0;
  gl.GetShaderInfoLog(shader, kLogSize, &length, log);
  error.append(log, size_t(std::clamp(length, 0, kLogSize - 1)));
  std::fputs(log, stderr);  // the debugger channel of this platform
}

void appendProgramLog(std::string& error, GLuint program) {
  char log[kLogSize] = {};
  GLsizei length = 0;
  gl.GetProgramInfoLog(program, kLogSize, &length, log);
  error.append(log, size_t(std::clamp(length, 0, kLogSize - 1)));
}

void deleteShader(Shader shader) {
  if (shader.id) gl.DeleteShader(shader.id);
}

}  // namespace

PendingProgram startProgram(const std::string& vertexSource, const std::string& fragmentSource) {
  PendingProgram p;
  p.vertex.id = gl.CreateShader(GL_VERTEX_SHADER);
  p.fragment.id = gl.CreateShader(GL_FRAGMENT_SHADER);
  const char* texts[2] = {vertexSource.c_str(), fragmentSource.c_str()};
  gl.ShaderSource(p.vertex.id, 1, &texts[0], nullptr);
  gl.ShaderSource(p.fragment.id, 1, &texts[1], nullptr);
  gl.CompileShader(p.vertex.id);
  gl.CompileShader(p.fragment.id);
  p.program.id = gl.CreateProgram();
  gl.AttachShader(p.program.id, p.vertex.id);
  gl.AttachShader(p.program.id, p.fragment.id);
  gl.LinkProgram(p.program.id);
  return p;
}

Program finishProgram(std::string& error, PendingProgram& p) {
  GLint vertexOk = 0, fragmentOk = 0, linked = 0;
  gl.GetShaderiv(p.vertex.id, GL_COMPILE_STATUS, &vertexOk);
  gl.GetShaderiv(p.fragment.id, GL_COMPILE_STATUS, &fragmentOk);
  if (!vertexOk) appendShaderLog(error, p.vertex.id);
  if (!fragmentOk) appendShaderLog(error, p.fragment.id);
  if (vertexOk && fragmentOk) gl.GetProgramiv(p.program.id, GL_LINK_STATUS, &linked);
  if (vertexOk && fragmentOk && !linked) appendProgramLog(error, p.program.id);
  // Whatever happened, no shader object outlives the build.
  deleteShader(p.vertex);
  deleteShader(p.fragment);
  const Program program = std::exchange(p.program, Program{});
  if (!linked) gl.DeleteProgram(program.id);
  p = PendingProgram{};
  return linked ? program : Program{};
}

Program linkProgram(std::string& error, const std::string& vertexSource, const std::string& fragmentSource) {
  PendingProgram p = startProgram(vertexSource, fragmentSource);
  return finishProgram(error, p);
}

// [SECTION] Uniform cache and setters

size_t UniformNameHash::operator()(const std::string& s) const {
  uint64_t h = 14695981039346656037ull;
  for (unsigned char c : s) {
    h ^= c;
    h *= 1099511628211ull;
  }
  return size_t(h);
}

int32_t uniformLocation(Renderer& r, Program program, const char* name) {
  UniformMap& m = r.uniforms[program.id];
  const auto it = m.find(name);
  if (it != m.end()) return it->second;
  const int32_t loc = gl.GetUniformLocation(program.id, name);
  m.emplace(name, loc);
  return loc;
}

void setUniform(Renderer& r, Program p, const char* n, int32_t v) {
  gl.Uniform1i(uniformLocation(r, p, n), v);
}
void setUniform(Renderer& r, Program p, const char* n, float v) {
  gl.Uniform1f(uniformLocation(r, p, n), v);
}
void setUniform(Renderer& r, Program p, const char* n, Vec2 v) {
  gl.Uniform2f(uniformLocation(r, p, n), v.x, v.y);
}
void setUniform(Renderer& r, Program p, const char* n, Vec3 v) {
  gl.Uniform3f(uniformLocation(r, p, n), v.x, v.y, v.z);
}
void setUniform(Renderer& r, Program p, const char* n, Vec4 v) {
  gl.Uniform4f(uniformLocation(r, p, n), v.x, v.y, v.z, v.w);
}
void setUniform(Renderer& r, Program p, const char* n, IVec4 v) {
  gl.Uniform4i(uniformLocation(r, p, n), v.x, v.y, v.z, v.w);
}
void setUniform(Renderer& r, Program p, const char* n, const Mat3& v) {
  gl.UniformMatrix3fv(uniformLocation(r, p, n), 1, GL_FALSE, v.m);
}
void setUniform(Renderer& r, Program p, const char* n, double v) {
  gl.Uniform1d(uniformLocation(r, p, n), v);
}
void setUniform(Renderer& r, Program p, const char* n, DVec3 v) {
  gl.Uniform3d(uniformLocation(r, p, n), v.x, v.y, v.z);
}

// [SECTION] Fractal programs

Program fractalProgram(Renderer& r, const std::string& typeKey, Pass pass) {
  // Called for every trace and prepass: the key is built in a kept buffer
  // so that a cache hit allocates nothing.
  std::string& key = r.programKey;
  key.assign(passName(pass)).append(1, ':').append(typeKey);
  const auto it = r.programs.find(key);
  if (it != r.programs.end()) return it->second;
  if (finishProgramBuild(r, key)) return r.programs.at(key);  // started in the background: wait for it
  const std::string vertex = fullscreenVertexSource(), fragment = composeFractalSource(typeKey, pass);
  Program program = loadCachedProgram(r.programCache, vertex, fragment);
  if (!program.id) {
    ++r.linkAttempts;
    program = linkProgram(r.errorText, vertex, fragment);
    storeCachedProgram(r.programCache, program, vertex, fragment);
  }
  r.programs.emplace(key, program);
  return program;
}

namespace {

// R = Rz·Ry·Rx: the fold turns about X first, then Y, then Z (degrees).
Mat3 foldRotation(const FractalParams& p) {
  const double d = 3.14159265358979323846 / 180;
  const double cx = std::cos(p.rx * d), sx = std::sin(p.rx * d);
  const double cy = std::cos(p.ry * d), sy = std::sin(p.ry * d);
  const double cz = std::cos(p.rz * d), sz = std::sin(p.rz * d);
  const double m[3][3] = {  // row-major rows of Rz·Ry·Rx
      {cz * cy, cz * sy * sx - sz * cx, cz * sy * cx + sz * sx},
      {sz * cy, sz * sy * sx + cz * cx, sz * sy * cx - cz * sx},
      {-sy, cy * sx, cy * cx}};
  Mat3 out;
  for (int col = 0; col < 3; ++col)
    for (int row = 0; row < 3; ++row) out.m[col * 3 + row] = float(m[row][col]);
  return out;
}

void setHybridUniforms(Renderer& r, Program prog, const FractalParams& p) {
  IVec4 f{0, 0, 0, 0};
  Vec4 k{0, 0, 0, 0};
  int32_t* fs[4] = {&f.x, &f.y, &f.z, &f.w};
  float* ks[4] = {&k.x, &k.y, &k.z, &k.w};
  QTX_ASSERT(p.slots.size() <= 4, "make the record safe first: a chain has at most four links");
  const int n = int(std::min<size_t>(p.slots.size(), 4));
  bool anyBulb = false, anyBox = false;
  for (int i = 0; i < n; ++i) {
    *fs[i] = p.slots[i].f;
    *ks[i] = float(p.slots[i].k);
  }
  for (const FormulaSlot& s : p.slots) {
    anyBulb = anyBulb || s.f <= 1;
    anyBox = anyBox || s.f == 2;
  }
  setUniform(r, prog, "uSlotF", f);
  setUniform(r, prog, "uSlotK", k);
  setUniform(r, prog, "uSlotN", int32_t(n));
  setUniform(r, prog, "uJMode", int32_t(p.jmode));
  setUniform(r, prog, "uDEMode", int32_t(anyBulb ? 0 : anyBox ? 1 : 2));
}

}  // namespace

void setFractalUniforms(Renderer& r, Program prog, const FractalParams& p, int iterations) {
  const int iter = iterations > 0 ? iterations : int(std::floor(p.iter + 0.5));
  setUniform(r, prog, "uIter", int32_t(iter));
  setUniform(r, prog, "uPower", float(p.power));
  setUniform(r, prog, "uScale", float(p.scale));
  setUniform(r, prog, "uJulia", Vec4{float(p.jx), float(p.jy), float(p.jz), float(p.jw)});
  setUniform(r, prog, "uFold", Vec3{float(p.ox), float(p.oy), float(p.oz)});
  setUniform(r, prog, "uRot", foldRotation(p));
  setUniform(r, prog, "uWarp", float(p.warp));
  setUniform(r, prog, "uColShift", float(p.colShift));
  setUniform(r, prog, "uColScale", float(p.colScale));
  if (p.type == "hybrid") setHybridUniforms(r, prog, p);
  gl.ActiveTexture(GL_TEXTURE1);
  gl.BindTexture(GL_TEXTURE_2D, r.palette.id);
  setUniform(r, prog, "uPal", int32_t(1));
  gl.ActiveTexture(GL_TEXTURE0);
}
