// Composing program texts from the embedded GLSL pieces, and the double-precision rule.
#include "render/shader_text.h"

#include "model/tables.h"
#include "render/shader_sources.h"

#include <cmath>

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

std::string composeFractalSource(const std::string& typeKey, const std::string& pass) {
  const FractalType& type = fractalTypes()[typeIndex(typeKey)];
  std::string text = "#version 430 core\n#define " + type.deDefine + " 1\n";
  if (!type.variantDefine.empty()) text += "#define " + type.variantDefine + " 1\n";
  if (pass == "deep") return text + shader_src::deepShader;
  text += shader_src::floatLibrary;
  if (pass == "prepass") return text + shader_src::prepassMain;
  if (pass == "volume") return text + shader_src::volumeMain;
  return text + shader_src::traceMain1 + shader_src::traceMain2;
}

bool canUseDoublePrecision(const FractalParams& p) {
  if (fractalTypes()[typeIndex(p.type)].flags & kFlagDeepPower8) return std::fabs(p.power - 8) < 0.0001;
  if (p.type == "hybrid") {
    for (const FormulaSlot& s : p.slots)
      if (s.f < 2 && std::fabs(s.k - 8) >= 0.0001) return false;
  }
  return true;
}
