// atlas.h — building the interface's 1024 × 1024 single-channel atlas: the
// glyph set, the three fonts packed in rows, the solid block, and the disc
// rasterised here (portable, shared by every backend).
#pragma once

#include "platform/platform.h"
#include "ui/ui_context.h"

#include <array>
#include <cstdint>
#include <vector>

// 1024 × 1024; only a scale whose glyphs cannot fit (about 300 % and up)
// doubles the height, so no glyph is ever dropped on a large display.
inline constexpr int kAtlasSize = 1024;
inline constexpr int kAtlasMaxHeight = 4096;

// The code points of the atlas, in packing order.
const std::vector<uint32_t>& atlasGlyphSet();

// What the rasteriser gave for one font.
struct RasterFont {
  platform::FontMetrics metrics;
  int pixelHeight = 0;
  std::vector<platform::GlyphBitmap> glyphs;  // one per code point of the set, in order
};

struct AtlasResult {
  std::vector<uint8_t> pixels;       // kAtlasSize × height, rows top-down
  int height = kAtlasSize;
  UiFont fonts[kFontCount];
  std::array<float, 4> discUv{};
  int shapesTop = 0;                 // y of the disc
};

// Packs the fonts in order (rows from x = 8, cells of advance + 4, a row
// wraps before reaching 1024), then the disc below them, then
// forces the 4 × 4 solid block at the top-left corner.
void packAtlas(AtlasResult& out, const RasterFont (&fonts)[kFontCount]);

// Rasterises the three fonts through the platform and packs them.
bool buildAtlas(AtlasResult& out, double scale, std::string& error);

