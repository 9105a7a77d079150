// Immediate-mode widgets of the side panel: each call draws the widget from
// the value it is given, reads this frame's input, records its rectangle in
// the registry and says whether the value changed. What must outlive a frame
// (the slider being dragged, the text field with the focus and its edit, the
// hovered widget's tooltip) is kept in one WidgetState.
//
// Use, once a frame:
//   beginWidgets(w, ui, input, layout);      // clears the registry
//   if (slider(w, "Металл", value, spec)) …  // one call per widget
//   endWidgets(w);                           // tooltip; wantsMouse, textFocus
#pragma once

#include "ui/widget_state.h"

#include <cstdint>
#include <string>
#include <vector>

struct UiContext;

// The frame's input as the widgets see it.
struct WidgetInput {
  float mouseX = 0, mouseY = 0;
  bool mouseDown = false, mousePressed = false, mouseReleased = false, doubleClicked = false;
  bool shiftHeld = false;
  TextKeys keys;
};

// How a widget's edit ended this frame: the value changed while the edit
// goes on (a drag), or the edit is complete (a release, a click, Enter).
enum class Edit { None, Changing, Finished };

// Where the next widget goes: a column from x0 to x1, y growing down. The
// panel's clip keeps widgets outside [clipY0, clipY1) from being drawn or
// registered.
struct WidgetLayout {
  float x0 = 0, x1 = 0;
  float y = 0;
  float clipY0 = 0, clipY1 = 0;
  float scale = 1;
};

struct WidgetState {
  UiContext* ui = nullptr;
  WidgetInput in;
  WidgetLayout lay;
  WidgetRegistry registry;
  std::string active;        // the slider held by the mouse
  double activeStart = 0;    // its value when the press began
  float lastMouseX = 0;      // for Shift's fine steps
  std::string focus;         // the text field (or typed slider) being edited
  TextEdit edit;
  std::string tooltip;       // shown over everything at the end of the frame
  bool wantsMouse = false;   // a widget is under the cursor or active
  std::string focusLostTo;   // the field a press this frame took the focus from
};

void beginWidgets(WidgetState& w, UiContext* ui, const WidgetInput& in, const WidgetLayout& lay);
void endWidgets(WidgetState& w);

// [SECTION] Layout helpers

// Text on its own row ("heading" draws it in the heading font).
void label(WidgetState& w, const std::string& text, bool heading = false);
void gap(WidgetState& w, float logicalPixels);
// A collapsible section's header; returns whether it is open. `open` is the
// caller's state and flips on a click.
bool section(WidgetState& w, const std::string& title, bool& open);

// [SECTION] Widgets

bool button(WidgetState& w, const std::string& text, const std::string& tip = "");
// A row of pills that share the width; `labels` as shown, returns whether the
// choice changed. Rows wrap when the pills do not fit.
bool pills(WidgetState& w, const std::vector<std::string>& labels, int& choice, int perRow = 0,
           const std::string& idPrefix = "pl:");
Edit slider(WidgetState& w, const std::string& text, double& value, const SliderSpec& spec,
            const std::string& tip = "");
bool toggle(WidgetState& w, const std::string& text, bool& value, const std::string& tip = "");
// Returns Finished when Enter confirmed a new text (`value` holds it).
Edit textField(WidgetState& w, const std::string& text, std::string& value,
               const std::string& placeholder = "");
// "#rrggbb" with a swatch; a bad colour is refused and the field keeps it
// for correction. Returns Finished when a valid colour was confirmed.
Edit colourField(WidgetState& w, const std::string& text, std::string& value);
