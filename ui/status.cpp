// status.cpp — progress bar, status fragments and the message pill.
#include "ui/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr uint32_t kTrackColour = 0xc81e5b62;  // translucent, so the fractal shows through
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

void drawRound(UiContext& ui, const RoundRect& r, uint32_t colour) {
  addRoundRect(ui, r.x, r.y, r.w, r.h, r.radius, colour);
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
void drawCutText(UiContext& ui, UiFontId font, float x, float y, const std::string& text, uint32_t colour,
                 float width) {
  if (textWidth(ui, font, text) <= width) {
    addText(ui, font, x, y, text, colour);
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
  addText(ui, font, x, y, std::string(all.substr(0, end)) + std::string(dots), colour);
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

namespace {

// The line's fragments in their order, each with its rank in dropping: a
// narrow window loses the render size first, then the speed, the samples
// and the zoom; the iterations and the precision note say the most about
// what is on screen and go last.
struct Fragment {
  std::string text;
  int dropRank;
};

std::vector<Fragment> fragments(const StatusInfo& st) {
  char size[64], iterations[64];
  std::snprintf(size, sizeof size, "%d×%d", st.renderWidth, st.renderHeight);
  std::snprintf(iterations, sizeof iterations, "итераций %d", st.iterations);
  std::vector<Fragment> f;
  // Says why the picture does not change yet; it goes last of all.
  if (st.building) f.push_back({"собираю шейдер…", 6});
  f.push_back({zoomText(st.zoom), 3});
  // No rate before the first sample is complete: there is nothing to time.
  if (st.fps > 0) f.push_back({speedText(st.fps), 1});
  f.push_back({samplesText(st), 2});
  f.push_back({size, 0});
  f.push_back({iterations, 4});
  std::string precision = precisionText(st);
  if (!precision.empty()) f.push_back({precision.substr(std::string(" · ").size()), 5});
  return f;
}

std::string joined(const std::vector<Fragment>& f, int droppedBelow) {
  std::string line;
  for (const Fragment& x : f) {
    if (x.dropRank < droppedBelow) continue;
    if (!line.empty()) line += " · ";
    line += x.text;
  }
  return line;
}

}  // namespace

std::string statusLineWithin(const StatusInfo& st, float room,
                             const std::function<float(const std::string&)>& width) {
  const std::vector<Fragment> f = fragments(st);
  int last = 0;  // the most useful fragment present is never dropped
  for (const Fragment& x : f) last = std::max(last, x.dropRank);
  std::string line;
  for (int dropped = 0; dropped <= last; ++dropped) {
    line = joined(f, dropped);
    if (width(line) <= room) break;
  }
  return line;
}

void drawStatus(UiContext& ui, const StatusInfo& st) {
  const double ratio = st.targetSamples > 0 ? double(st.samples) / st.targetSamples : 1.0;
  if (ratio < 1) {
    const ProgressGeometry g = progressBar(ui, ratio, st.clientWidth, st.interfaceShown);
    drawRound(ui, g.track, kTrackColour);
    drawRound(ui, g.fill, ui.theme.accent);
  }
  if (st.interfaceShown) {
    // Bottom left, on a translucent backing so it reads over any fractal.
    const float pad = scaled(ui, 8), lh = lineHeight(ui, kFontSmall);
    const float room = freeWidth(ui, st.clientWidth, true) - scaled(ui, 16) - 2 * pad;
    const std::string line = statusLineWithin(
        st, room, [&ui](const std::string& text) { return textWidth(ui, kFontSmall, text); });
    const float w = std::min(textWidth(ui, kFontSmall, line), std::max(0.0f, room));
    const float x = scaled(ui, 16), y = float(st.clientHeight) - scaled(ui, 12) - (lh + pad);
    addRoundRect(ui, x, y, w + 2 * pad, lh + pad, scaled(ui, 8), kLineBacking);
    drawCutText(ui, kFontSmall, x + pad, y + pad / 2, line, ui.theme.textDim, w);
  }
  if (st.messageShown && !st.message.empty()) {
    const PillGeometry g = messagePill(ui, textWidth(ui, kFontBody, st.message), st.clientWidth,
                                       st.clientHeight, st.interfaceShown);
    drawRound(ui, g.box, kPillFill);
    drawCutText(ui, kFontBody, g.textX, g.textY, st.message, kPillText, g.textWidth);
  }
}
