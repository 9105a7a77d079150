// handles.h — GL object names wrapped in one-member records, so that the
// compiler rejects a texture where a framebuffer or a program belongs. An id
// of 0 is GL's "none": a failed build or an object not made yet.
#pragma once

#include <cstdint>

struct Texture { uint32_t id = 0; };
struct Framebuffer { uint32_t id = 0; };
struct Shader { uint32_t id = 0; };
struct Program { uint32_t id = 0; };
