// Composing program texts from the embedded GLSL pieces, and the double-precision rule.
#include "render/shader_text.h"

#include "model/assert.h"
#include "model/depth_codes.h"
#include "model/tables.h"
#include "render/shader_sources.h"

#include <cmath>
#include <cstdio>

std::string swapGlslVersion(const std::string& source) {
  static const std::string from = "#version 300 es";
  static const std::string to = "#version 430 core";
  if (source.size() < from.size()) return source;
  const size_t at = source.find(from);
  if (at == std::string::npos) return source;
  std::string out = source;
  out.replace(at, from.size(), to);
  return out;
}

std::string fullscreenVertexSource() {
  return swapGlslVersion(shader_src::fullscreenVert);
}

namespace {

// The shaders spell the no-hit depths as float literals: "10000.0".
std::string glslFloat(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", double(value));
  return text;
}

}  // namespace

const char* passName(Pass pass) {
  switch (pass) {
    case Pass::Trace: return "trace";
    case Pass::Prepass: return "prepass";
    case Pass::Volume: return "volume";
    case Pass::Deep: return "deep";
  }
  QTX_ASSERT(false, "pass one of the Pass values");
  return "trace";
}

std::string composeFractalSource(const std::string& typeKey, Pass pass) {
  const FractalType& type = fractalTypes()[typeIndex(typeKey)];
  QTX_ASSERT(type.key == typeKey, "pass a key from fractalTypes(): make the record safe first");
  std::string text = "#version 430 core\n#define " + type.deDefine + " 1\n";
  if (!type.variantDefine.empty()) text += "#define " + type.variantDefine + " 1\n";
  text += "#define NO_HIT " + glslFloat(kNoHit) + "\n#define HIT_LIMIT " + glslFloat(kHitLimit) + "\n";
  text += shader_src::floatLibrary;
  text += pass == Pass::Deep ? shader_src::doubleLibrary : shader_src::floatEstimators;
  text += shader_src::viewUniforms;
  switch (pass) {
    case Pass::Prepass: return text + shader_src::prepassMain;
    case Pass::Volume: return text + shader_src::shading + shader_src::volumeMain;
    case Pass::Deep: return text + shader_src::shading + shader_src::deepMain;
    case Pass::Trace: break;
  }
  return text + shader_src::shading + shader_src::traceMain;
}

bool canUseDoublePrecision(const FractalParams& p) {
  if (fractalTypes()[typeIndex(p.type)].flags & kFlagDeepPower8) return std::fabs(p.power - 8) < 0.0001;
  if (p.type == "hybrid") {
    for (const FormulaSlot& s : p.slots)
      if (s.f < 2 && std::fabs(s.k - 8) >= 0.0001) return false;
  }
  return true;
}
