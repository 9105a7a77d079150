// Loading the GL entry-point table from the platform's loader callback.
#include "render/gl.h"

#include <cstdint>

GlApi gl;

namespace {

bool validAddress(void* p) {
  const auto v = reinterpret_cast<intptr_t>(p);
  return v != 0 && v != 1 && v != 2 && v != 3 && v != -1;
}

}  // namespace

bool loadGlFunctions(void* (*loader)(const char* name), std::string& missing) {
  missing.clear();
  GlApi table;
#define QTX_GL_LOAD(type, name)                                   \
  {                                                               \
    void* p = loader("gl" #name);                                 \
    if (validAddress(p)) table.name = reinterpret_cast<type>(p);  \
    else if (missing.empty()) missing = "gl" #name;               \
  }
  QTX_GL_FUNCTIONS(QTX_GL_LOAD)
#undef QTX_GL_LOAD
  if (!missing.empty()) return false;
  gl = table;
  return true;
}
