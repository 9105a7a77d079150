// The fractal type, hybrid formula and palette tables, and the palette texture.
#include "model/tables.h"

#include <algorithm>
#include <cmath>

namespace {

void bulbDefaults(FractalParams& p) {
  p.iter = 14;
  p.power = 8;
}

void juliaBulbDefaults(FractalParams& p) {
  bulbDefaults(p);
  p.jx = -0.45;
  p.jy = 0.35;
  p.jz = 0.25;
}

void boxDefaults(FractalParams& p) {
  p.iter = 20;
  p.scale = -1.8;
}

void juliaBoxDefaults(FractalParams& p) {
  boxDefaults(p);
  p.jx = 0.6;
  p.jy = 0.3;
  p.jz = -0.4;
}

void mengerDefaults(FractalParams& p) {
  p.iter = 7;
  p.scale = 3;
}

void sierpinskiDefaults(FractalParams& p) {
  p.iter = 10;
  p.scale = 2;
}

void kifsDefaults(FractalParams& p) {
  p.iter = 13;
  p.scale = 2;
  p.ox = 1;
  p.oy = 0.15;
  p.oz = 0.1;
  p.rx = 12;
  p.ry = 18;
  p.rz = 6;
}

void apollonianDefaults(FractalParams& p) {
  p.iter = 11;
  p.scale = 1.3;
}

void qjuliaDefaults(FractalParams& p) {
  p.iter = 15;
  p.jx = -0.291;
  p.jy = -0.399;
  p.jz = 0.339;
  p.jw = 0.437;
}

void hybridDefaults(FractalParams& p) {
  p.iter = 14;
  p.slots = {{0, 8}, {2, -1.8}};
  p.jmode = 0;
  p.ox = 1;
  p.oy = 0.15;
  p.oz = 0.1;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

const std::vector<FractalType>& fractalTypes() {
  constexpr uint32_t kBulb = kFlagAlways | kFlagPower | kFlagDeepPower8 | kFlagFixedFraming;
  constexpr uint32_t kFoldFamily = kFlagAlways | kFlagScale | kFlagFold | kFlagRotation;
  static const std::vector<FractalType> rows = {
      {.key = "mandelbulb", .name = "Мандельбульб", .deDefine = "DE_BULB", .variantDefine = "",
       .camDist = 3.4, .iterMax = 64, .iterGrowth = 0.5, .flags = kBulb,
       .scaleMin = 1, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = bulbDefaults},
      {.key = "juliabulb", .name = "Жюлиа-бульб", .deDefine = "DE_BULB", .variantDefine = "JULIA",
       .camDist = 3.6, .iterMax = 64, .iterGrowth = 0.5, .flags = kBulb | kFlagJulia,
       .scaleMin = 1, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = juliaBulbDefaults},
      {.key = "burningbulb", .name = "Горящий бульб", .deDefine = "DE_BULB", .variantDefine = "BURNING",
       .camDist = 3.4, .iterMax = 64, .iterGrowth = 0.5, .flags = kBulb,
       .scaleMin = 1, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = bulbDefaults},
      {.key = "mandelbox", .name = "Мандельбокс", .deDefine = "DE_BOX", .variantDefine = "",
       .camDist = 7, .iterMax = 80, .iterGrowth = 1, .flags = kFlagAlways | kFlagScale | kFlagRotation,
       .scaleMin = -3, .scaleMax = 3.5, .cMin = -1.5, .cMax = 1.5, .applyDefaults = boxDefaults},
      {.key = "juliabox", .name = "Жюлиа-бокс", .deDefine = "DE_BOX", .variantDefine = "JULIA",
       .camDist = 7, .iterMax = 80, .iterGrowth = 1, .flags = kFlagAlways | kFlagScale | kFlagJulia | kFlagRotation,
       .scaleMin = -3, .scaleMax = 3.5, .cMin = -2, .cMax = 2, .applyDefaults = juliaBoxDefaults},
      {.key = "menger", .name = "Губка Менгера", .deDefine = "DE_MENGER", .variantDefine = "",
       .camDist = 4.2, .iterMax = 20, .iterGrowth = 0.65, .flags = kFoldFamily,
       .scaleMin = 1.5, .scaleMax = 4, .cMin = -1.5, .cMax = 1.5, .applyDefaults = mengerDefaults},
      {.key = "sierpinski", .name = "Тетраэдр Серпинского", .deDefine = "DE_SIERP", .variantDefine = "",
       .camDist = 4.6, .iterMax = 60, .iterGrowth = 1.08, .flags = kFoldFamily,
       .scaleMin = 1.3, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = sierpinskiDefaults},
      {.key = "kifs", .name = "Калейдоскоп (KIFS)", .deDefine = "DE_KIFS", .variantDefine = "",
       .camDist = 3.6, .iterMax = 60, .iterGrowth = 1.15, .flags = kFoldFamily,
       .scaleMin = 1.3, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = kifsDefaults},
      {.key = "apollonian", .name = "Аполлониева сеть", .deDefine = "DE_APOLLO", .variantDefine = "",
       .camDist = 2.2, .iterMax = 40, .iterGrowth = 0.8, .flags = kFlagAlways | kFlagScale,
       .scaleMin = 0.9, .scaleMax = 1.6, .cMin = -1.5, .cMax = 1.5, .applyDefaults = apollonianDefaults},
      {.key = "qjulia", .name = "Кватернион Жюлиа", .deDefine = "DE_QJULIA", .variantDefine = "",
       .camDist = 3.4, .iterMax = 64, .iterGrowth = 1, .flags = kFlagAlways | kFlagJuliaW | kFlagFixedFraming,
       .scaleMin = 1, .scaleMax = 3, .cMin = -1.2, .cMax = 1.2, .applyDefaults = qjuliaDefaults},
      {.key = "hybrid", .name = "Гибрид", .deDefine = "DE_HYBRID", .variantDefine = "",
       .camDist = 4, .iterMax = 60, .iterGrowth = 0.8,
       .flags = kFlagAlways | kFlagJulia | kFlagFold | kFlagRotation | kFlagSlots | kFlagJMode,
       .scaleMin = 1, .scaleMax = 3, .cMin = -1.5, .cMax = 1.5, .applyDefaults = hybridDefaults},
  };
  return rows;
}

const std::vector<HybridFormula>& hybridFormulas() {
  static const std::vector<HybridFormula> rows = {
      {"Бульб", 2, 16, 4, 10},          {"Горящий бульб", 2, 16, 4, 10},
      {"Бокс", -3, 3.5, -2.6, -1.5},    {"Калейдоскоп", 1.3, 3, 1.6, 2},
      {"Менгер", 1.5, 4, 2.4, 3},       {"Тетраэдр", 1.3, 3, 1.7, 2},
  };
  return rows;
}

const std::vector<Palette>& palettes() {
  static const std::vector<Palette> rows = {
      {"neon", "Неон", {"#120336", "#3a0ca3", "#7209b7", "#f72585", "#4cc9f0"}},
      {"inferno", "Инферно", {"#1b0c41", "#4a0c6b", "#932667", "#dd513a", "#fca50a", "#fcffa4"}},
      {"plasma", "Плазма", {"#0d0887", "#6a00a8", "#b12a90", "#e16462", "#fca636", "#f0f921"}},
      {"viridis", "Виридис", {"#440154", "#3b528b", "#21918c", "#5ec962", "#fde725"}},
      {"ice", "Лёд", {"#0b2545", "#13315c", "#1d7ea8", "#8ecae6", "#f1faff"}},
      {"gold", "Золото", {"#2b1700", "#7a4b00", "#c8901c", "#ffd56b", "#fff4d6"}},
      {"acid", "Кислота", {"#06231b", "#0b6e4f", "#39ff14", "#d4ff00", "#f6ffd9"}},
      {"sunset", "Закат", {"#2d1b4e", "#6b2d5c", "#f0544f", "#fdb833", "#fff1c1"}},
      {"aurora", "Аврора", {"#03263b", "#2ec4b6", "#7cffcb", "#9b5de5", "#f15bb5"}},
      {"lava", "Лава", {"#1a0000", "#5c0000", "#b21f00", "#ff6a00", "#ffd27f"}},
      {"pastel", "Пастель", {"#cdb4db", "#ffc8dd", "#ffafcc", "#bde0fe", "#a2d2ff"}},
      {"mono", "Мрамор", {"#1c1c1f", "#55565c", "#a3a4aa", "#ececef"}},
      {"qiv", "qiv", {"#08353A", "#1E5B62", "#5A4FC8", "#F2A5C3", "#D3E3E4"}},
      {"custom", "Свой", {}},
  };
  return rows;
}

int typeIndex(const std::string& key) {
  const auto& rows = fractalTypes();
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].key == key) return static_cast<int>(i);
  return 0;
}

int paletteIndex(const std::string& key) {
  const auto& rows = palettes();
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].key == key) return static_cast<int>(i);
  return 0;
}

std::vector<std::string> paletteStops(const FractalParams& p) {
  const Palette& row = palettes()[paletteIndex(p.palette)];
  if (!row.stops.empty()) return row.stops;
  return {p.customA, p.customB, p.customC};
}

bool parseHexColour(const std::string& text, float rgb[3]) {
  rgb[0] = rgb[1] = rgb[2] = 0.0f;
  if (text.size() != 7 || text[0] != '#') return false;
  int v[6];
  for (int i = 0; i < 6; ++i) {
    v[i] = hexDigit(text[1 + i]);
    if (v[i] < 0) return false;
  }
  for (int c = 0; c < 3; ++c) rgb[c] = static_cast<float>(v[2 * c] * 16 + v[2 * c + 1]) / 255.0f;
  return true;
}

std::array<uint8_t, 1024> paletteTexels(const std::vector<std::string>& stops) {
  std::array<uint8_t, 1024> out{};
  std::vector<std::array<float, 3>> c(stops.size(), {0.0f, 0.0f, 0.0f});
  for (size_t i = 0; i < stops.size(); ++i) parseHexColour(stops[i], c[i].data());
  // Fewer than two stops has no segment to blend along: a flat colour (or black).
  if (c.size() < 2) c.resize(2, c.empty() ? std::array<float, 3>{0, 0, 0} : c[0]);
  const int n = static_cast<int>(c.size());
  for (int i = 0; i < 256; ++i) {
    const double t = static_cast<double>(i) * (n - 1) / 255.0;
    const int seg = std::min(static_cast<int>(std::floor(t)), n - 2);
    const double u = t - seg;
    const double w = u * u * (3.0 - 2.0 * u);
    for (int ch = 0; ch < 3; ++ch) {
      const double v = c[seg][ch] * (1.0 - w) + c[seg + 1][ch] * w;
      out[i * 4 + ch] = static_cast<uint8_t>(std::floor(v * 255.0 + 0.5));
    }
    out[i * 4 + 3] = 255;
  }
  return out;
}
