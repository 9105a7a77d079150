// The interface's widget logic that needs no drawing: the registry of widget
// rectangles, UTF-8 text editing by code points, the slider's value mapping
// and number parsing, and the "#rrggbb" check of the colour fields. Kept
// apart from the drawing so that it is tested without GL.
#pragma once

#include "model/utf8.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

// [SECTION] Widget registry

// A widget's rectangle in client pixels (x1, y1 exclusive).
struct WidgetRect {
  float x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  bool contains(float x, float y) const { return x >= x0 && x < x1 && y >= y0 && y < y1; }
  float width() const { return x1 - x0; }
  float height() const { return y1 - y0; }
  float centreX() const { return (x0 + x1) * 0.5f; }
  float centreY() const { return (y0 + y1) * 0.5f; }
};

// Identifiers are a kind prefix and the widget's visible label: "tab:",
// "sl:", "pl:", "tx:", "tg:" (e.g. "sl:Металл"). Refilled every frame, so
// only what was drawn last frame can be found; a widget scrolled out of the
// panel's view is not registered.
struct WidgetRegistry {
  std::unordered_map<std::string, WidgetRect> rects;
};

void clearRegistry(WidgetRegistry& r);
// A second widget with the same identifier keeps the first one's rectangle:
// the first is the one a reader of the panel meets first.
void registerWidget(WidgetRegistry& r, const std::string& id, const WidgetRect& rect);
std::optional<WidgetRect> findWidget(const WidgetRegistry& r, const std::string& id);

// [SECTION] Text editing

// A text field being edited: code points, not bytes, so a Cyrillic letter is
// one caret step and one Backspace.
struct TextEdit {
  std::vector<uint32_t> text;
  size_t caret = 0;        // insertion point, 0..text.size()
  std::string original;    // what Escape restores
  size_t maxLength = 256;  // code points
  bool allSelected = false;  // set on focus: the first key replaces the text
};

// One frame's keyboard input as the field sees it.
struct TextKeys {
  std::vector<uint32_t> typed;  // control characters among them are ignored
  bool backspace = false, enter = false, escape = false, paste = false;
  std::string pasteText;
};

enum class EditOutcome { None, Changed, Committed, Cancelled };

// Starts editing `value` with all of it selected, as a click into a field
// does: typing or pasting replaces it, Backspace clears it.
void beginEdit(TextEdit& e, const std::string& value);
std::string editText(const TextEdit& e);
// Applies typing, paste (line breaks and tabs become spaces) and Backspace in
// that order, then Enter (commit) or Escape (cancel: the text is restored).
// Escape wins over Enter in the same frame.
EditOutcome applyTextKeys(TextEdit& e, const TextKeys& keys);

// [SECTION] Sliders

struct SliderSpec {
  double lo = 0, hi = 1;
  int decimals = 2;          // shown and typed precision; 0 = whole numbers
  const char* unit = "";     // appended to the shown value ("°", "°/с", …)
  bool logarithmic = false;  // equal steps on a log scale (lo must be > 0)
  const char* zeroText = nullptr;  // shown instead of a zero value ("авто")
};

// Fine steps (Shift): a drag moves the value this many times slower.
inline constexpr double kSliderFineFactor = 0.1;

// Position along the track (0..1) of a value; clamped to the range.
double sliderFraction(const SliderSpec& s, double value);
// The value under the cursor on a track starting at x0 and `width` wide,
// rounded to the slider's precision.
double sliderValueAt(const SliderSpec& s, float x0, float width, float mouseX);
// A drag step with Shift: the value moves by a tenth of what the cursor's
// move of `dx` pixels would give, from `value` rather than from the cursor.
double sliderFineStep(const SliderSpec& s, double value, float dx, float width);
double roundToDecimals(double v, int decimals);
std::string formatSliderValue(const SliderSpec& s, double value);
// A typed number: spaces allowed, a comma works as the decimal point, the
// unit may follow. False for anything else (the old value stays).
bool parseNumber(const std::string& text, double& value);

// [SECTION] Colours

// True for "#" and exactly six hex digits (either case).
bool isHexColour(const std::string& text);
// A typed colour: surrounding spaces and a missing "#" are forgiven; the
// result is "#" + the six digits as typed. False when it is not a colour.
bool normaliseHexColour(const std::string& text, std::string& out);
