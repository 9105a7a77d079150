// ui_context.h — the interface's drawing layer: theme, fonts and layout
// metrics, the single-channel glyph atlas, two draw layers of coloured,
// textured triangles with per-command clip rectangles, the emitters the
// widgets call, and the flush that draws everything in one program.
//
// Use, once per application after the GL table is loaded:
//   UiContext ui;  initUi(ui, dpiScale, error);
// then every frame: emitters (addRect, addText, …) fill layer 0, pop-ups and
// tooltips go on layer 1 (setLayer), and flushUi draws both and empties them.
//
// Coordinates are client pixels, origin top-left, y down. Colours are 32-bit
// 0xAARRGGBB. The layer is plain data: the tests read the vertices back.
#pragma once

#include "model/utf8.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// [SECTION] Theme, fonts, metrics

// The interface's colours by the part they paint (0xAARRGGBB).
struct Theme {
  uint32_t background = 0xff062e33;    // tooltips, field boxes, the panel (see-through)
  uint32_t surface = 0xff0b4248;       // buttons, pills and switches at rest, the help card
  uint32_t surfaceHigh = 0xff1a646c;   // a button held down
  uint32_t surfaceHover = 0xff155a62;  // a button or pill under the cursor
  uint32_t border = 0xff2a6168;
  uint32_t muted = 0xff6f9497;         // placeholders, switch knobs at rest, swatch frames
  uint32_t text = 0xffd3e3e4;
  uint32_t textStrong = 0xffd3e3e4;    // headings, values, hovered labels
  uint32_t textDim = 0xffa9c4c6;       // captions and the status line
  uint32_t accent = 0xfff2a5c3;
  uint32_t accentHover = 0xfff6bbd2;
  uint32_t onAccent = 0xff3b0d26;      // text and knobs on the accent
  uint32_t error = 0xffffb4ab;         // a field with text it refuses
  uint32_t track = 0xff1e5b62;         // a slider's empty track
  uint32_t selection = 0xff5a4fc8;     // selected text in a field
};

enum UiFontId : int { kFontBody, kFontHeading, kFontSmall, kFontCount };

// One glyph cell of the atlas. The cell starts 2 pixels left of the pen.
struct Glyph {
  float u0 = 0, v0 = 0, u1 = 0, v1 = 0;  // texture coordinates of the cell
  int cellW = 0, cellH = 0;              // cell size in pixels
  int advance = 0;                       // pen advance in pixels
};

// Code points of the atlas live below this bound; larger ones are never in it.
inline constexpr uint32_t kGlyphTableSize = 0x2800;

struct UiFont {
  std::string face;          // the face the rasteriser actually used
  int pixelHeight = 0;       // em height in pixels
  int ascent = 0, height = 0;
  std::vector<Glyph> glyphs;
  std::vector<int16_t> slot;  // code point → index into glyphs, −1 outside the set
};

// A glyph of the font, or null when the code point is outside the set.
const Glyph* findGlyph(const UiFont& f, uint32_t codepoint);

// Logical pixels; multiply by the scale (scaled()).
struct UiMetrics {
  float panelWidth = 372.0f;
};

// [SECTION] Draw layers

// 20 bytes: attribute 0 aPos (offset 0), 1 aUv (8), 2 aCol (16, RGBA bytes).
struct UiVertex {
  float x, y;
  float u, v;
  uint8_t r, g, b, a;
};
static_assert(sizeof(UiVertex) == 20);

// One draw call: a range of vertices under one clip rectangle.
struct DrawCommand {
  uint32_t firstVertex = 0;
  uint32_t vertexCount = 0;
  float x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // clip rectangle in pixels
};

// A current command always exists (after beginLayer), so the emitters only
// append; changing the clip starts a new command unless the current one is
// still empty.
struct DrawLayer {
  std::vector<UiVertex> vertices;
  std::vector<DrawCommand> commands;
  std::vector<std::array<float, 4>> clipStack;  // x0, y0, x1, y1; bottom = whole screen
};

struct ScissorBox { int x = 0, y = 0, w = 0, h = 0; };
// GL scissor (origin bottom-left) of a clip rectangle on a target `height`
// pixels tall. A rectangle of negative size gives an empty box.
ScissorBox scissorFor(const DrawCommand& c, int height);

// [SECTION] Context

struct UiContext {
  Theme theme;
  UiFont fonts[kFontCount];
  UiMetrics metrics;
  double scale = 1.0;  // DPI / 96

  // Atlas regions: the solid texel and the disc (u0, v0, u1, v1).
  int atlasHeight = 1024;  // 1024 wide; taller only at scales of about 300 % and up
  float solidU = 2.0f / 1024, solidV = 2.0f / 1024;
  std::array<float, 4> discUv{};

  // GL objects (0 until initUi).
  uint32_t texture = 0, program = 0, vertexArray = 0, vertexBuffer = 0;
  int32_t locScreen = -1, locTex = -1;

  DrawLayer layers[2];
  int current = 0;  // the layer the emitters fill
};

// Logical pixels times the scale, rounded: the geometry of the interface.
float scaled(const UiContext& ui, float logical);

// Rasterises the atlas (fonts through the platform), uploads it, builds the
// program and the vertex objects. False with "Не удалось собрать шейдер
// интерфейса" when the program does not link, or the rasteriser's error when
// no font can be opened.
bool initUi(UiContext& ui, double scale, std::string& error);
// The same without GL: fonts, atlas regions and empty layers; the atlas
// pixels are returned for inspection. For tests and benchmarks.
bool buildUiCpu(UiContext& ui, double scale, std::vector<uint8_t>& atlasPixels, std::string& error);
void destroyUi(UiContext& ui);

// Starts a frame's layers for a `width` × `height` client: both emptied,
// whole-screen clip, layer 0 current.
void beginFrame(UiContext& ui, int width, int height);
// Draws layer 0 then layer 1 into framebuffer `fbo` and empties them.
void flushUi(UiContext& ui, int width, int height, uint32_t fbo);

// [SECTION] Emitters
// Rectangles are x, y, w, h; every emitter appends to the current layer
// under its current clip rectangle.

void setLayer(UiContext& ui, int layer);
// Intersects with the current clip (pass intersect = false to replace it).
void pushClip(UiContext& ui, float x, float y, float w, float h, bool intersect = true);
void popClip(UiContext& ui);

void addRect(UiContext& ui, float x, float y, float w, float h, uint32_t colour);
// Rounded rectangle; a border of `borderWidth` pixels in `border` when > 0.
void addRoundRect(UiContext& ui, float x, float y, float w, float h, float radius, uint32_t fill,
                  uint32_t border = 0, float borderWidth = 0);
void addDisc(UiContext& ui, float cx, float cy, float radius, uint32_t colour);
// A UTF-8 run whose line top is at y; glyphs past x + clipWidth are cut.
// Returns the pen advance (full, unclipped width). Code points outside the
// set (and malformed bytes) draw and advance nothing.
float addText(UiContext& ui, UiFontId font, float x, float y, std::string_view utf8, uint32_t colour,
              float clipWidth = 1e9f);
float textWidth(const UiContext& ui, UiFontId font, std::string_view utf8);
// The font's line height in pixels.
float lineHeight(const UiContext& ui, UiFontId font);

