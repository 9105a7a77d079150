// help.cpp — the help overlay's bindings and card.
#include "ui/help.h"

#include <algorithm>
#include <cmath>

const std::vector<HelpLine>& helpLines() {
  static const std::vector<HelpLine> lines = {
      {"ЛКМ", "вращать"},
      {"ПКМ, Shift+ЛКМ", "сдвигать"},
      {"Колесо", "зум (итерации растут сами)"},
      {"Двойной клик", "центр вращения на точке"},
      {"V", "погружение"},
      {"L", "живой режим"},
      {"N", "мутант"},
      {"F", "свободный полёт, WASD/QE"},
      {"Пробел", "автовращение"},
      {"R / Shift+R", "случайный сид / и тип"},
      {"1 … 0", "тип фрактала"},
      {"P", "снимок PNG"},
      {"Ctrl+S / Ctrl+O", "сохранить / открыть пресет"},
      {"Ctrl+Z / Ctrl+Y", "отмена / повтор"},
      {"H", "скрыть интерфейс"},
      {"F11", "полный экран"},
      {"C", "вернуть камеру"},
      {"F1, Esc", "закрыть"},
  };
  return lines;
}

void drawHelp(UiContext& ui, int clientWidth, int clientHeight, int areaWidth) {
  addRect(ui, 0, 0, float(clientWidth), float(clientHeight), 0x8c000000);
  const auto& lines = helpLines();
  float keysW = 0, textW = 0;
  for (const HelpLine& l : lines) {
    keysW = std::max(keysW, textWidth(ui, kFontBody, l.keys));
    textW = std::max(textW, textWidth(ui, kFontBody, l.text));
  }
  const float pad = scaled(ui, 24), gapX = scaled(ui, 20), rowH = scaled(ui, 26);
  const float titleH = lineHeight(ui, kFontHeading) + scaled(ui, 14);
  // A window too short for one column of bindings gets two side by side.
  const int n = int(lines.size());
  const int columns = pad * 2 + titleH + rowH * float(n) > float(clientHeight) ? 2 : 1;
  const int perColumn = (n + columns - 1) / columns;
  const float columnW = keysW + gapX + textW;
  const float w = pad * 2 + columnW * float(columns) + pad * float(columns - 1);
  const float h = pad * 2 + titleH + rowH * float(perColumn);
  // Centred in the free area, but never pushed off the top-left corner.
  const float x = std::max(0.0f, std::round((float(areaWidth) - w) / 2));
  const float y = std::max(0.0f, std::round((float(clientHeight) - h) / 2));
  addRoundRect(ui, x, y, w, h, scaled(ui, 16), ui.theme[kColSurface], ui.theme[kColBorder], scaled(ui, 1));
  addText(ui, kFontHeading, x + pad, y + pad, "Управление", ui.theme[kColTextStrong]);
  const float textOffset = (rowH - lineHeight(ui, kFontBody)) / 2;
  for (int i = 0; i < n; ++i) {
    const float colX = x + pad + float(i / perColumn) * (columnW + pad);
    const float rowY = y + pad + titleH + rowH * float(i % perColumn) + textOffset;
    addText(ui, kFontBody, colX, rowY, lines[size_t(i)].keys, ui.theme[kColAccent]);
    addText(ui, kFontBody, colX + keysW + gapX, rowY, lines[size_t(i)].text, ui.theme[kColText]);
  }
}
