// help.h — the help overlay (F1, "/"): "Управление" and every key and mouse
// binding with what it does, on a card centred in the area left of the panel.
#pragma once

#include "ui/ui_context.h"

#include <string>
#include <vector>

struct HelpLine {
  std::string keys;  // the binding as the user presses it
  std::string text;  // what it does
};

// Dims the whole client and draws the card with `lines` in their order,
// centred in `areaWidth` (the client width less the panel while it shows).
void drawHelp(UiContext& ui, const std::vector<HelpLine>& lines, int clientWidth, int clientHeight, int areaWidth);
