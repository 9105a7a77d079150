// The side panel at the right edge: the six tabs ("Создать", "Форма",
// "Цвет", "Движение", "Рендер", "Архив") built from the widgets, acting on
// the application record through the shared commands. Also the content
// tables the tabs are made of (which shape fields a type shows and their
// slider ranges), kept as data so they can be checked without drawing.
#pragma once

#include "model/params.h"
#include "ui/widgets.h"

#include <string>
#include <vector>

struct AppState;
struct UiContext;

// What the panel keeps between frames besides the record (one per AppState).
struct PanelState {
  WidgetState widgets;       // its registry holds what the last frame drew
  bool lightOpen = true, postOpen = true, lensOpen = true, chainOpen = true;
  std::string pathText;      // the "Архив" tab's path field
};

inline constexpr int kTabCount = 6;
// The tab labels in their fixed order (--tab N opens the Nth).
const std::vector<std::string>& tabLabels();

// One numeric field of the record as a slider.
struct FieldSlider {
  std::string label;
  double FractalParams::*field;
  SliderSpec spec;
};

// The shape sliders the record's type reads, in the order shown: "Итерации",
// then "Степень", "Масштаб", the constant, the fold offset, the rotations
// and "Деформация", each only when the type uses it.
std::vector<FieldSlider> shapeSliders(const FractalParams& p);
// The range of a hybrid link's "степень"/"масштаб" slider.
SliderSpec linkSpec(int formula);

// Draws the panel for a `width` × `height` client and applies what the user
// did. Sets s.input.uiWantsMouse and s.input.textFocus (only the drawn
// widgets know what is under the cursor) and keeps panelScroll within the
// content. Does nothing but release the mouse while hidden.
void drawPanel(AppState& s, UiContext& ui, int width, int height);

// The widgets drawn last frame (the self-test finds them here); empty while
// the panel is hidden.
const WidgetRegistry& panelRegistry(const AppState& s);
