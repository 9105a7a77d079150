// draw.cpp — the emitters: clip stack and commands, rectangles (plain,
// rounded, bordered) built from the solid texel and quarter discs,
// disc, and UTF-8 text runs.
#include "ui/ui_context.h"

#include "model/assert.h"

#include <algorithm>
#include <cmath>

namespace {

// [SECTION] Layers and clips

struct Clip {
  float x0, y0, x1, y1;
};

DrawLayer& currentLayer(UiContext& ui) {
  DrawLayer& l = ui.layers[ui.current];
  if (l.commands.empty()) {
    // Emitting before any beginFrame: an unbounded clip until one is set.
    l.clipStack.assign(1, {-1e9f, -1e9f, 1e9f, 1e9f});
    l.commands.push_back({uint32_t(l.vertices.size()), 0, -1e9f, -1e9f, 1e9f, 1e9f});
  }
  return l;
}

Clip currentClip(UiContext& ui) {
  const auto& c = currentLayer(ui).clipStack.back();
  return {c[0], c[1], c[2], c[3]};
}

// The current command takes the clip when it has nothing drawn yet (or
// merges back into the one before when that has the same clip); otherwise a
// new command starts.
void applyClip(DrawLayer& l) {
  const auto& c = l.clipStack.back();
  auto same = [&](const DrawCommand& d) { return d.x0 == c[0] && d.y0 == c[1] && d.x1 == c[2] && d.y1 == c[3]; };
  DrawCommand& last = l.commands.back();
  if (last.vertexCount == 0) {
    // Back to the clip of the command before: that one simply goes on.
    if (l.commands.size() > 1 && same(l.commands[l.commands.size() - 2])) {
      l.commands.pop_back();
      return;
    }
    last.x0 = c[0], last.y0 = c[1], last.x1 = c[2], last.y1 = c[3];
    return;
  }
  if (same(last)) return;
  l.commands.push_back({uint32_t(l.vertices.size()), 0, c[0], c[1], c[2], c[3]});
}

UiVertex vertex(float x, float y, float u, float v, uint32_t c) {
  return {x, y, u, v, uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c), uint8_t(c >> 24)};
}

// Two triangles of one colour.
void quad(DrawLayer& l, float x0, float y0, float x1, float y1, float u0, float v0, float u1, float v1,
          uint32_t colour) {
  const UiVertex a = vertex(x0, y0, u0, v0, colour), b = vertex(x1, y0, u1, v0, colour);
  const UiVertex c = vertex(x1, y1, u1, v1, colour), d = vertex(x0, y1, u0, v1, colour);
  l.vertices.insert(l.vertices.end(), {a, b, c, a, c, d});
  l.commands.back().vertexCount += 6;
}

// [SECTION] Rounded shapes

// A rounded rectangle as nine patches: solid bands, and quarter discs of the
// atlas at the corners, which keeps corners smooth at any radius.
void roundShape(UiContext& ui, float x, float y, float w, float h, float r, uint32_t fill) {
  if (w <= 0 || h <= 0) return;
  DrawLayer& l = currentLayer(ui);
  const float su = ui.solidU, sv = ui.solidV;
  r = std::clamp(r, 0.0f, std::min(w, h) * 0.5f);
  if (r < 0.5f) {
    quad(l, x, y, x + w, y + h, su, sv, su, sv, fill);
    return;
  }
  const float x1 = x + w, y1 = y + h, xi0 = x + r, xi1 = x1 - r, yi0 = y + r, yi1 = y1 - r;
  const auto& d = ui.discUv;
  const float um = (d[0] + d[2]) * 0.5f, vm = (d[1] + d[3]) * 0.5f;
  quad(l, x, y, xi0, yi0, d[0], d[1], um, vm, fill);
  quad(l, xi1, y, x1, yi0, um, d[1], d[2], vm, fill);
  quad(l, x, yi1, xi0, y1, d[0], vm, um, d[3], fill);
  quad(l, xi1, yi1, x1, y1, um, vm, d[2], d[3], fill);
  if (xi1 > xi0) {
    quad(l, xi0, y, xi1, yi0, su, sv, su, sv, fill);
    quad(l, xi0, yi1, xi1, y1, su, sv, su, sv, fill);
  }
  if (yi1 > yi0) quad(l, x, yi0, x1, yi1, su, sv, su, sv, fill);
}

}  // namespace

// [SECTION] Public: layers and clips

ScissorBox scissorFor(const DrawCommand& c, int height) {
  ScissorBox b;
  b.x = int(std::floor(c.x0));
  b.y = height - int(std::ceil(c.y1));
  b.w = std::max(0, int(std::ceil(c.x1)) - int(std::floor(c.x0)));
  b.h = std::max(0, int(std::ceil(c.y1)) - int(std::floor(c.y0)));
  return b;
}

void beginFrame(UiContext& ui, int width, int height) {
  for (DrawLayer& l : ui.layers) {
    l.vertices.clear();
    l.commands.assign(1, {0, 0, 0, 0, float(width), float(height)});
    l.clipStack.assign(1, {0, 0, float(width), float(height)});
  }
  ui.current = 0;
}

void setLayer(UiContext& ui, int layer) {
  QTX_ASSERT(layer == 0 || layer == 1, "draw on layer 0, or on layer 1 for pop-ups");
  ui.current = std::clamp(layer, 0, 1);
}

void pushClip(UiContext& ui, float x, float y, float w, float h, bool intersect) {
  DrawLayer& l = currentLayer(ui);
  std::array<float, 4> c{x, y, x + w, y + h};
  if (intersect) {
    const auto& t = l.clipStack.back();
    c = {std::max(c[0], t[0]), std::max(c[1], t[1]), std::min(c[2], t[2]), std::min(c[3], t[3])};
  }
  l.clipStack.push_back(c);
  applyClip(l);
}

void popClip(UiContext& ui) {
  DrawLayer& l = currentLayer(ui);
  QTX_ASSERT(l.clipStack.size() > 1, "pair every popClip with a pushClip on the same layer");
  if (l.clipStack.size() > 1) l.clipStack.pop_back();
  applyClip(l);
}

// [SECTION] Public: shapes

void addRect(UiContext& ui, float x, float y, float w, float h, uint32_t colour) {
  if (w <= 0 || h <= 0) return;
  quad(currentLayer(ui), x, y, x + w, y + h, ui.solidU, ui.solidV, ui.solidU, ui.solidV, colour);
}

void addRoundRect(UiContext& ui, float x, float y, float w, float h, float radius, uint32_t fill, uint32_t border,
                  float borderWidth) {
  if (borderWidth <= 0 || (border >> 24) == 0) {
    roundShape(ui, x, y, w, h, radius, fill);
    return;
  }
  // The border is the outer shape; the fill covers it but for a rim of borderWidth.
  roundShape(ui, x, y, w, h, radius, border);
  const float bw = borderWidth;
  roundShape(ui, x + bw, y + bw, w - 2 * bw, h - 2 * bw, std::max(0.0f, radius - bw), fill);
}

void addDisc(UiContext& ui, float cx, float cy, float radius, uint32_t colour) {
  if (radius <= 0) return;
  const auto& uv = ui.discUv;
  quad(currentLayer(ui), cx - radius, cy - radius, cx + radius, cy + radius, uv[0], uv[1], uv[2], uv[3], colour);
}

// [SECTION] Public: text

const Glyph* findGlyph(const UiFont& f, uint32_t codepoint) {
  if (codepoint >= f.slot.size()) return nullptr;
  const int16_t k = f.slot[codepoint];
  return k < 0 ? nullptr : &f.glyphs[size_t(k)];
}

float textWidth(const UiContext& ui, UiFontId font, std::string_view utf8) {
  const UiFont& f = ui.fonts[font];
  int w = 0;
  for (size_t i = 0; i < utf8.size();)
    if (const Glyph* g = findGlyph(f, nextCodepoint(utf8, i))) w += g->advance;
  return float(w);
}

float lineHeight(const UiContext& ui, UiFontId font) { return float(ui.fonts[font].height); }

float addText(UiContext& ui, UiFontId font, float x, float y, std::string_view utf8, uint32_t colour,
              float clipWidth) {
  DrawLayer& l = currentLayer(ui);
  const UiFont& f = ui.fonts[font];
  const Clip c = currentClip(ui);
  // Whole pixels: the cells then sample the atlas texel for texel.
  const float x0 = std::round(x), top = std::round(y), limit = std::min(x0 + clipWidth, c.x1);
  int pen = 0;
  for (size_t i = 0; i < utf8.size();) {
    const Glyph* g = findGlyph(f, nextCodepoint(utf8, i));
    if (!g) continue;
    const float gx0 = x0 + float(pen) - 2, gx1 = gx0 + float(g->cellW), gy1 = top + float(g->cellH);
    pen += g->advance;
    if (gx0 >= limit || gx1 <= c.x0 || gy1 <= c.y0 || top >= c.y1) continue;  // nothing of it shows
    float ex = gx1, eu = g->u1;
    if (gx1 > limit) {  // cut at the clip width, the texture cut with it
      eu = g->u0 + (g->u1 - g->u0) * (limit - gx0) / float(g->cellW);
      ex = limit;
    }
    quad(l, gx0, top, ex, gy1, g->u0, g->v0, eu, g->v1, colour);
  }
  return float(pen);
}
