// help.cpp — the help overlay's card.
#include "ui/help.h"

#include <algorithm>
#include <cmath>

void drawHelp(UiContext& ui, const std::vector<HelpLine>& lines, int clientWidth, int clientHeight, int areaWidth) {
  addRect(ui, 0, 0, float(clientWidth), float(clientHeight), 0x8c000000);
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
  addRoundRect(ui, x, y, w, h, scaled(ui, 16), ui.theme.surface, ui.theme.border, scaled(ui, 1));
  addText(ui, kFontHeading, x + pad, y + pad, "Управление", ui.theme.textStrong);
  const float textOffset = (rowH - lineHeight(ui, kFontBody)) / 2;
  for (int i = 0; i < n; ++i) {
    const float colX = x + pad + float(i / perColumn) * (columnW + pad);
    const float rowY = y + pad + titleH + rowH * float(i % perColumn) + textOffset;
    addText(ui, kFontBody, colX, rowY, lines[size_t(i)].keys, ui.theme.accent);
    addText(ui, kFontBody, colX + keysW + gapX, rowY, lines[size_t(i)].text, ui.theme.text);
  }
}
