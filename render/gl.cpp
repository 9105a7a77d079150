// Loading the GL entry-point table from the platform's loader callback.
#include "render/gl.h"

#include <cstdint>
#include <cstring>

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
#define QTX_GL_LOAD_OPTIONAL(type, name)                          \
  {                                                               \
    void* p = loader("gl" #name);                                 \
    if (validAddress(p)) table.name = reinterpret_cast<type>(p);  \
  }
  QTX_GL_OPTIONAL_FUNCTIONS(QTX_GL_LOAD_OPTIONAL)
#undef QTX_GL_LOAD_OPTIONAL
  gl = table;
  return true;
}

bool hasGlExtension(const char* name) {
  if (!gl.GetStringi) return false;
  GLint count = 0;
  gl.GetIntegerv(GL_NUM_EXTENSIONS, &count);
  for (GLint i = 0; i < count; ++i) {
    const GLubyte* e = gl.GetStringi(GL_EXTENSIONS, GLuint(i));
    if (e && !std::strcmp(reinterpret_cast<const char*>(e), name)) return true;
  }
  return false;
}
