// status.cpp — progress bar, status fragments and the message pill.
#include "ui/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr uint32_t kTrackColor = 0xc81e5b62;  // translucent, so the fractal shows through
constexpr uint32_t kLineBacking = 0xa0062e33;
constexpr uint32_t kPillFill = 0xffd3e3e4;
constexpr uint32_t kPillText = 0xff0b4248;

std::string format(const char* fmt, double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, fmt, v);
  return buf;
}

float freeWidth(const UiContext& ui, int clientWidth, bool shown) {
  return float(clientWidth) - (shown ? scaled(ui, ui.metrics.panelWidth) : 0.0f);
}

void drawRound(UiContext& ui, const RoundRect& r, uint32_t color) {
  addRoundRect(ui, r.x, r.y, r.w, r.h, r.radius, color);
}

std::string speedText(double fps) {
  if (fps >= 2) return format("%.0f fps", fps);
  return format("%.1f с/сэмпл", 1.0 / std::max(fps, 0.001));
}

std::string samplesText(const StatusInfo& st) {
  char buf[64];
  if (st.done) std::snprintf(buf, sizeof buf, "%d сэмплов, готово", st.samples);
  else std::snprintf(buf, sizeof buf, "%d/%d сэмплов", st.samples, st.targetSamples);
  return buf;
}

std::string precisionText(const StatusInfo& st) {
  if (st.deepRefused) return " · предел float (fp64 только для степени 8)";
  if (!st.deep) return "";
  return st.cameraDistance >= 3e-11 ? " · fp64" : " · fp64, предел точности";
}

// The text, or its longest prefix of whole glyphs that fits, then "…".
void drawCutText(UiContext& ui, UiFontId font, float x, float y, const std::string& text, uint32_t color,
                 float width) {
  if (textWidth(ui, font, text) <= width) {
    addText(ui, font, x, y, text, color);
    return;
  }
  const std::string_view all(text), dots = "…";
  const float room = width - textWidth(ui, font, dots);
  float pen = 0;
  size_t end = 0;
  for (size_t i = 0; i < all.size();) {
    const size_t start = i;
    nextCodepoint(all, i);
    const float w = textWidth(ui, font, all.substr(start, i - start));
    if (pen + w > room) break;
    pen += w;
    end = i;
  }
  addText(ui, font, x, y, std::string(all.substr(0, end)) + std::string(dots), color);
}

}  // namespace

PillGeometry messagePill(const UiContext& ui, float textWidth, int clientWidth, int clientHeight,
                         bool interfaceShown) {
  PillGeometry g;
  const float area = freeWidth(ui, clientWidth, interfaceShown);
  // A message wider than the free area keeps a margin and is cut instead of
  // running under the panel or off the left edge.
  const float widest = std::max(0.0f, area - 2 * scaled(ui, 16));
  g.box.w = std::min(textWidth + scaled(ui, 28), widest);
  g.box.h = scaled(ui, 44);
  g.box.radius = scaled(ui, 14);
  g.box.x = (area - g.box.w) / 2;
  g.textWidth = std::max(0.0f, g.box.w - scaled(ui, 28));
  g.box.y = float(clientHeight) - scaled(ui, 96);
  g.textX = g.box.x + scaled(ui, 14);
  g.textY = g.box.y + (g.box.h - lineHeight(ui, kFontBody)) / 2;
  return g;
}

ProgressGeometry progressBar(const UiContext& ui, double ratio, int clientWidth, bool interfaceShown) {
  ProgressGeometry g;
  const float w = freeWidth(ui, clientWidth, interfaceShown) - scaled(ui, 32);
  const float x = scaled(ui, 16);
  g.track = {x, scaled(ui, 9), w, scaled(ui, 4), scaled(ui, 2)};
  const float filled = float(std::clamp(ratio, 0.0, 1.0)) * w;
  g.fill = {x, scaled(ui, 8), std::max(filled, scaled(ui, 6)), scaled(ui, 6), scaled(ui, 3)};
  return g;
}

std::string zoomText(double zoom) {
  const char* fmt = zoom >= 10000 ? "%.1e" : zoom >= 10 ? "%.0f" : "%.1f";
  return "зум ×" + format(fmt, zoom);
}

std::string statusLine(const StatusInfo& st) {
  char size[96];
  std::snprintf(size, sizeof size, "%d×%d · итераций %d", st.renderWidth, st.renderHeight, st.iterations);
  return zoomText(st.zoom) + " · " + speedText(st.fps) + " · " + samplesText(st) + " · " + size +
         precisionText(st);
}

void drawStatus(UiContext& ui, const StatusInfo& st) {
  const double ratio = st.targetSamples > 0 ? double(st.samples) / st.targetSamples : 1.0;
  if (ratio < 1) {
    const ProgressGeometry g = progressBar(ui, ratio, st.clientWidth, st.interfaceShown);
    drawRound(ui, g.track, kTrackColor);
    drawRound(ui, g.fill, ui.theme[kColAccent]);
  }
  if (st.interfaceShown) {
    // Bottom left, on a translucent backing so it reads over any fractal.
    const std::string line = statusLine(st);
    const float pad = scaled(ui, 8), lh = lineHeight(ui, kFontSmall);
    const float room = freeWidth(ui, st.clientWidth, true) - scaled(ui, 16) - 2 * pad;
    const float w = std::min(textWidth(ui, kFontSmall, line), std::max(0.0f, room));
    const float x = scaled(ui, 16), y = float(st.clientHeight) - scaled(ui, 12) - (lh + pad);
    addRoundRect(ui, x, y, w + 2 * pad, lh + pad, scaled(ui, 8), kLineBacking);
    drawCutText(ui, kFontSmall, x + pad, y + pad / 2, line, ui.theme[kColTextDim], w);
  }
  if (st.messageShown && !st.message.empty()) {
    const PillGeometry g = messagePill(ui, textWidth(ui, kFontBody, st.message), st.clientWidth,
                                       st.clientHeight, st.interfaceShown);
    drawRound(ui, g.box, kPillFill);
    drawCutText(ui, kFontBody, g.textX, g.textY, st.message, kPillText, g.textWidth);
  }
}
