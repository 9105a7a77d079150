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

// The bindings in the order they are listed.
const std::vector<HelpLine>& helpLines();

// Dims the whole client and draws the card centred in `areaWidth` (the client
// width less the panel while it shows).
void drawHelp(UiContext& ui, int clientWidth, int clientHeight, int areaWidth);
