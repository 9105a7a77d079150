// ui_context.cpp — the context's start-up (atlas upload, program, vertex
// objects), shutdown and the flush that draws both layers.
#include "ui/ui_context.h"

#include "render/gl.h"
#include "render/programs.h"
#include "ui/atlas.h"

#include <algorithm>
#include <cmath>

namespace {

// [SECTION] Shaders

const char* const kVertexShader =
    "#version 430 core\n"
    "layout(location=0) in vec2 aPos; layout(location=1) in vec2 aUv; layout(location=2) in vec4 aCol;\n"
    "uniform vec2 uScreen; out vec2 vUv; out vec4 vCol;\n"
    "void main(){ vUv=aUv; vCol=aCol; gl_Position=vec4(aPos.x/uScreen.x*2.0-1.0, 1.0-aPos.y/uScreen.y*2.0, "
    "0.0, 1.0); }\n";
const char* const kFragmentShader =
    "#version 430 core\n"
    "uniform sampler2D uTex; in vec2 vUv; in vec4 vCol; out vec4 o;\n"
    "void main(){ o = vec4(vCol.rgb, vCol.a * texture(uTex, vUv).r); }\n";

// [SECTION] GL objects

GLuint uploadAtlas(const std::vector<uint8_t>& pixels, int height) {
  GLuint tex = 0;
  gl.GenTextures(1, &tex);
  gl.BindTexture(GL_TEXTURE_2D, tex);
  GLint oldAlign = 4;
  gl.GetIntegerv(GL_UNPACK_ALIGNMENT, &oldAlign);
  gl.PixelStorei(GL_UNPACK_ALIGNMENT, 1);
  gl.TexImage2D(GL_TEXTURE_2D, 0, GL_R8, kAtlasSize, height, 0, GL_RED, GL_UNSIGNED_BYTE, pixels.data());
  gl.PixelStorei(GL_UNPACK_ALIGNMENT, oldAlign);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  gl.BindTexture(GL_TEXTURE_2D, 0);
  return tex;
}

void createVertexObjects(UiContext& ui) {
  gl.GenVertexArrays(1, &ui.vertexArray);
  gl.GenBuffers(1, &ui.vertexBuffer);
  gl.BindVertexArray(ui.vertexArray);
  gl.BindBuffer(GL_ARRAY_BUFFER, ui.vertexBuffer);
  const GLsizei stride = sizeof(UiVertex);
  gl.EnableVertexAttribArray(0);
  gl.VertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(0));
  gl.EnableVertexAttribArray(1);
  gl.VertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(8));
  gl.EnableVertexAttribArray(2);
  gl.VertexAttribPointer(2, 4, GL_UNSIGNED_BYTE, GL_TRUE, stride, reinterpret_cast<void*>(16));
  gl.BindVertexArray(0);
  gl.BindBuffer(GL_ARRAY_BUFFER, 0);
}

void drawLayer(const DrawLayer& l, int height) {
  if (l.vertices.empty()) return;
  gl.BufferData(GL_ARRAY_BUFFER, GLsizeiptr(l.vertices.size() * sizeof(UiVertex)), l.vertices.data(),
                GL_STREAM_DRAW);
  for (const DrawCommand& c : l.commands) {
    if (c.vertexCount == 0) continue;
    const ScissorBox b = scissorFor(c, height);
    gl.Scissor(b.x, b.y, b.w, b.h);
    gl.DrawArrays(GL_TRIANGLES, GLint(c.firstVertex), GLsizei(c.vertexCount));
  }
}

}  // namespace

// [SECTION] Public

float scaled(const UiContext& ui, float logical) { return float(std::lround(logical * ui.scale)); }

bool buildUiCpu(UiContext& ui, double scale, std::vector<uint8_t>& atlasPixels, std::string& error) {
  ui.scale = scale > 0 ? scale : 1.0;
  AtlasResult atlas;
  if (!buildAtlas(atlas, ui.scale, error)) return false;
  for (int f = 0; f < kFontCount; ++f) ui.fonts[f] = std::move(atlas.fonts[f]);
  ui.discUv = atlas.discUv;
  ui.solidU = 2.0f / kAtlasSize;
  ui.solidV = 2.0f / float(atlas.height);
  ui.atlasHeight = atlas.height;
  atlasPixels = std::move(atlas.pixels);
  beginFrame(ui, 1, 1);
  return true;
}

bool initUi(UiContext& ui, double scale, std::string& error) {
  std::vector<uint8_t> pixels;
  if (!buildUiCpu(ui, scale, pixels, error)) return false;
  std::string log;  // compile logs also go to stderr; the user gets one line
  ui.program = linkProgram(log, kVertexShader, kFragmentShader).id;
  if (!ui.program) {
    error = "Не удалось собрать шейдер интерфейса";
    return false;
  }
  ui.locScreen = gl.GetUniformLocation(ui.program, "uScreen");
  ui.locTex = gl.GetUniformLocation(ui.program, "uTex");
  ui.texture = uploadAtlas(pixels, ui.atlasHeight);
  createVertexObjects(ui);
  return true;
}

void destroyUi(UiContext& ui) {
  if (ui.program) gl.DeleteProgram(ui.program);
  if (ui.texture) gl.DeleteTextures(1, &ui.texture);
  if (ui.vertexBuffer) gl.DeleteBuffers(1, &ui.vertexBuffer);
  if (ui.vertexArray) gl.DeleteVertexArrays(1, &ui.vertexArray);
  ui.program = ui.texture = ui.vertexBuffer = ui.vertexArray = 0;
}

void flushUi(UiContext& ui, int width, int height, uint32_t fbo) {
  if (ui.program && width > 0 && height > 0) {
    gl.BindFramebuffer(GL_FRAMEBUFFER, fbo);
    gl.Viewport(0, 0, width, height);
    gl.Enable(GL_BLEND);
    gl.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    gl.UseProgram(ui.program);
    gl.Uniform2f(ui.locScreen, float(width), float(height));
    gl.ActiveTexture(GL_TEXTURE0);
    gl.BindTexture(GL_TEXTURE_2D, ui.texture);
    gl.Uniform1i(ui.locTex, 0);
    gl.BindVertexArray(ui.vertexArray);
    gl.BindBuffer(GL_ARRAY_BUFFER, ui.vertexBuffer);
    gl.Enable(GL_SCISSOR_TEST);
    for (const DrawLayer& l : ui.layers) drawLayer(l, height);
    gl.Disable(GL_SCISSOR_TEST);
    gl.Disable(GL_BLEND);
    gl.BindVertexArray(0);
    gl.BindBuffer(GL_ARRAY_BUFFER, 0);
  }
  beginFrame(ui, width, height);
}
