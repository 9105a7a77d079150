// atlas.cpp — the glyph set, row packing of the three fonts, the solid block,
// and the disc rasterised by polygon coverage.
#include "ui/atlas.h"

#include <algorithm>
#include <cmath>

namespace {

// [SECTION] Fonts

struct FontSpec {
  float size;
  int weight;
};
constexpr FontSpec kFontSpecs[kFontCount] = {{15.0f, 400}, {15.0f, 600}, {13.5f, 400}};

// Windows faces first (the Windows backend finds them), then the faces a
// Linux desktop has; the last entry lets the system pick any sans face.
const std::vector<std::string> kBodyFamilies = {"Segoe UI", "Inter", "Noto Sans", "DejaVu Sans",
                                                "sans-serif"};
const std::vector<std::string> kHeadingFamilies = {
    "Segoe UI Variable Display Semib", "Segoe UI Semibold", "Segoe UI", "Inter", "Noto Sans",
    "DejaVu Sans", "sans-serif"};

// [SECTION] Packing

void blitGlyph(std::vector<uint8_t>& img, const platform::GlyphBitmap& g, int cellX, int cellY, int cellW,
               int cellH) {
  const int ox = cellX + 2 + g.left, oy = cellY + g.top;
  for (int row = 0; row < g.height; ++row) {
    const int y = oy + row;
    if (y < cellY || y >= cellY + cellH) continue;
    for (int col = 0; col < g.width; ++col) {
      const int x = ox + col;
      if (x < cellX || x >= cellX + cellW || x >= kAtlasSize) continue;
      uint8_t& dst = img[size_t(y) * kAtlasSize + x];
      dst = std::max(dst, g.coverage[size_t(row) * g.width + col]);
    }
  }
}

// Grows the atlas by doubling its height until `rows` rows fit; false past
// the largest height, for a scale no display has.
bool ensureRows(AtlasResult& out, int rows) {
  while (rows > out.height) {
    if (out.height >= kAtlasMaxHeight) return false;
    out.height *= 2;
    out.pixels.resize(size_t(kAtlasSize) * out.height, 0);
  }
  return true;
}

// Packs one font from (8, y); returns the y just below its last row. The
// glyphs' v coordinates are left in pixels until the atlas height is known.
int packFont(AtlasResult& out, UiFont& font, const RasterFont& rf, int y) {
  const std::vector<uint32_t>& set = atlasGlyphSet();
  font.face = rf.metrics.face;
  font.pixelHeight = rf.pixelHeight;
  font.ascent = rf.metrics.ascent;
  font.height = rf.metrics.height;
  font.glyphs.clear();
  font.slot.assign(kGlyphTableSize, -1);
  const int cellH = std::max(1, rf.metrics.height);
  int x = 8;
  for (size_t i = 0; i < set.size() && i < rf.glyphs.size(); ++i) {
    const platform::GlyphBitmap& g = rf.glyphs[i];
    if (!g.present) continue;
    const int cellW = std::max(0, g.advance) + 4;
    if (x + cellW >= kAtlasSize) {
      y += cellH + 2;
      x = 8;
    }
    if (!ensureRows(out, y + cellH)) continue;  // left out rather than written outside
    blitGlyph(out.pixels, g, x, y, cellW, cellH);
    Glyph gl;
    gl.u0 = float(x) / kAtlasSize;
    gl.v0 = float(y);
    gl.u1 = float(x + cellW) / kAtlasSize;
    gl.v1 = float(y + cellH);
    gl.cellW = cellW;
    gl.cellH = cellH;
    gl.advance = g.advance;
    font.slot[set[i]] = int16_t(font.glyphs.size());
    font.glyphs.push_back(gl);
    x += cellW + 2;
  }
  return y + cellH;
}

// [SECTION] Shapes

using Poly = std::vector<std::array<float, 2>>;

Poly discPolygon(float cx, float cy, float r) {
  constexpr int kSides = 256;
  Poly p;
  for (int i = 0; i < kSides; ++i) {
    const double a = 2 * 3.14159265358979323846 * i / kSides;
    p.push_back({cx + r * float(std::cos(a)), cy + r * float(std::sin(a))});
  }
  return p;
}

void addSpan(std::vector<float>& acc, float xa, float xb, float w, int width) {
  xa = std::clamp(xa, 0.0f, float(width));
  xb = std::clamp(xb, 0.0f, float(width));
  if (xb <= xa) return;
  const int i0 = int(xa), i1 = int(xb);
  if (i0 == i1) {
    acc[i0] += (xb - xa) * w;
    return;
  }
  acc[i0] += (i0 + 1 - xa) * w;
  for (int i = i0 + 1; i < i1; ++i) acc[i] += w;
  if (i1 < width) acc[i1] += (xb - i1) * w;
}

struct Crossing {
  float x;
  int dir;
};

void fillSubScanline(std::vector<float>& acc, const Poly& pts, float sy, float w, int width,
                     std::vector<Crossing>& xs) {
  xs.clear();
  for (size_t i = 0; i < pts.size(); ++i) {
    const auto& a = pts[i];
    const auto& b = pts[(i + 1) % pts.size()];
    if (a[1] == b[1]) continue;
    const bool down = a[1] < b[1];
    const float lo = down ? a[1] : b[1], hi = down ? b[1] : a[1];
    if (sy < lo || sy >= hi) continue;
    xs.push_back({a[0] + (sy - a[1]) / (b[1] - a[1]) * (b[0] - a[0]), down ? 1 : -1});
  }
  std::sort(xs.begin(), xs.end(), [](const Crossing& l, const Crossing& r) { return l.x < r.x; });
  int winding = 0;
  for (size_t i = 0; i + 1 < xs.size(); ++i) {
    winding += xs[i].dir;
    if (winding != 0) addSpan(acc, xs[i].x, xs[i + 1].x, w, width);
  }
}

}  // namespace

// [SECTION] Public

const std::vector<uint32_t>& atlasGlyphSet() {
  static const std::vector<uint32_t> set = [] {
    std::vector<uint32_t> s;
    for (uint32_t c = 32; c <= 126; ++c) s.push_back(c);
    for (uint32_t c = 1040; c <= 1103; ++c) s.push_back(c);
    for (uint32_t c : {1025, 1105, 183, 215, 176, 179, 171, 187, 8212, 8211, 8230, 8594, 8592, 8593, 8595, 9679,
                       10003, 8470, 8722, 9662, 8804, 8805, 8734})
      s.push_back(c);
    return s;
  }();
  return set;
}

namespace {

platform::FontRequest fontRequest(UiFontId font, double scale) {
  platform::FontRequest r;
  r.families = font == kFontHeading ? kHeadingFamilies : kBodyFamilies;
  r.weight = kFontSpecs[font].weight;
  r.pixelHeight = std::max(1, int(std::lround(kFontSpecs[font].size * scale)));
  return r;
}

// Coverage of a closed polygon (nonzero winding), added into an 8-bit image:
// 16 sub-scanlines per row with exact horizontal span coverage.
void fillPolygon(std::vector<uint8_t>& image, int stride, int height, const Poly& pts) {
  if (pts.size() < 3) return;
  float ymin = pts[0][1], ymax = pts[0][1], xmin = pts[0][0], xmax = pts[0][0];
  for (const auto& p : pts) {
    ymin = std::min(ymin, p[1]), ymax = std::max(ymax, p[1]);
    xmin = std::min(xmin, p[0]), xmax = std::max(xmax, p[0]);
  }
  const int y0 = std::max(0, int(std::floor(ymin))), y1 = std::min(height, int(std::ceil(ymax)));
  constexpr int kSub = 16;
  std::vector<float> acc(size_t(stride) + 1);
  std::vector<Crossing> xs;
  const int xa = std::max(0, int(std::floor(xmin))), xb = std::min(stride, int(std::ceil(xmax)) + 1);
  for (int y = y0; y < y1; ++y) {
    std::fill(acc.begin() + xa, acc.begin() + xb, 0.0f);
    for (int s = 0; s < kSub; ++s) fillSubScanline(acc, pts, y + (s + 0.5f) / kSub, 1.0f / kSub, stride, xs);
    for (int x = xa; x < xb; ++x) {
      uint8_t& dst = image[size_t(y) * stride + x];
      const int v = int(std::lround(std::min(acc[x], 1.0f) * 255));
      dst = uint8_t(std::max(int(dst), v));
    }
  }
}

}  // namespace

void packAtlas(AtlasResult& out, const RasterFont (&fonts)[kFontCount]) {
  out.height = kAtlasSize;
  out.pixels.assign(size_t(kAtlasSize) * kAtlasSize, 0);
  int y = 2;
  for (int f = 0; f < kFontCount; ++f) y = packFont(out, out.fonts[f], fonts[f], y) + 4;
  // A full atlas overlaps the shapes with the last glyphs rather than
  // writing outside it.
  const int top = ensureRows(out, y + 130) ? y : out.height - 130;
  out.shapesTop = top;
  fillPolygon(out.pixels, kAtlasSize, out.height, discPolygon(72, float(top) + 64, 64));
  const float h = float(out.height);
  out.discUv = {8.0f / kAtlasSize, float(top) / h, 136.0f / kAtlasSize, float(top + 128) / h};
  for (UiFont& font : out.fonts)
    for (Glyph& g : font.glyphs) g.v0 /= h, g.v1 /= h;
  for (int yy = 0; yy < 4; ++yy)
    for (int xx = 0; xx < 4; ++xx) out.pixels[size_t(yy) * kAtlasSize + xx] = 255;
}

bool buildAtlas(AtlasResult& out, double scale, std::string& error) {
  RasterFont fonts[kFontCount];
  for (int f = 0; f < kFontCount; ++f) {
    const platform::FontRequest req = fontRequest(UiFontId(f), scale);
    fonts[f].pixelHeight = req.pixelHeight;
    if (!platform::rasterizeGlyphs(req, atlasGlyphSet(), fonts[f].glyphs, fonts[f].metrics, error)) return false;
  }
  packAtlas(out, fonts);
  return true;
}
