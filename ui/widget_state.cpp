// Widget logic without drawing: rectangles, UTF-8 editing, slider mapping, number and colour checks.
#include "ui/widget_state.h"

#include "ui/ui_context.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

// [SECTION] Widget registry

void clearRegistry(WidgetRegistry& r) { r.rects.clear(); }

void registerWidget(WidgetRegistry& r, const std::string& id, const WidgetRect& rect) {
  r.rects.emplace(id, rect);
}

std::optional<WidgetRect> findWidget(const WidgetRegistry& r, const std::string& id) {
  auto it = r.rects.find(id);
  if (it == r.rects.end()) return std::nullopt;
  return it->second;
}

// [SECTION] Text editing

void beginEdit(TextEdit& e, const std::string& value) {
  e.original = value;
  e.text = decodeUtf8(value);
  if (e.text.size() > e.maxLength) e.text.resize(e.maxLength);
  e.caret = e.text.size();
  e.allSelected = !e.text.empty();
}

std::string editText(const TextEdit& e) { return encodeUtf8(e.text); }

namespace {

void dropSelection(TextEdit& e) {
  if (!e.allSelected) return;
  e.allSelected = false;
  e.text.clear();
  e.caret = 0;
}

bool insertCodePoint(TextEdit& e, uint32_t cp) {
  dropSelection(e);
  if (e.text.size() >= e.maxLength) return false;
  e.caret = std::min(e.caret, e.text.size());
  e.text.insert(e.text.begin() + long(e.caret), cp);
  ++e.caret;
  return true;
}

}  // namespace

EditOutcome applyTextKeys(TextEdit& e, const TextKeys& keys) {
  if (keys.escape) {
    std::string original = e.original;
    beginEdit(e, original);
    e.allSelected = false;
    return EditOutcome::Cancelled;
  }
  bool changed = false;
  bool backspace = keys.backspace;
  // Backspace on the selection clears it and deletes nothing more.
  if (backspace && e.allSelected) {
    dropSelection(e);
    changed = true;
    backspace = false;
  }
  for (uint32_t cp : keys.typed)
    if (cp >= 32 && cp != 127) changed |= insertCodePoint(e, cp);
  if (keys.paste) {
    for (uint32_t cp : decodeUtf8(keys.pasteText)) {
      if (cp == '\r') continue;
      if (cp == '\n' || cp == '\t') cp = ' ';
      if (cp < 32 || cp == 127) continue;
      changed |= insertCodePoint(e, cp);
    }
  }
  if (backspace && e.caret > 0 && !e.text.empty()) {
    e.caret = std::min(e.caret, e.text.size());
    e.text.erase(e.text.begin() + long(e.caret) - 1);
    --e.caret;
    changed = true;
  }
  if (keys.enter) return EditOutcome::Committed;
  return changed ? EditOutcome::Changed : EditOutcome::None;
}

// [SECTION] Sliders

double sliderFraction(const SliderSpec& s, double value) {
  if (!(s.hi > s.lo)) return 0;
  double v = std::clamp(value, s.lo, s.hi);
  if (s.logarithmic && s.lo > 0) return std::log(v / s.lo) / std::log(s.hi / s.lo);
  return (v - s.lo) / (s.hi - s.lo);
}

namespace {

double sliderValueAtFraction(const SliderSpec& s, double t) {
  t = std::clamp(t, 0.0, 1.0);
  if (s.logarithmic && s.lo > 0) return s.lo * std::pow(s.hi / s.lo, t);
  return s.lo + (s.hi - s.lo) * t;
}

}  // namespace

double roundToDecimals(double v, int decimals) {
  double q = std::pow(10.0, decimals);
  return std::round(v * q) / q;
}

double sliderValueAt(const SliderSpec& s, float x0, float width, float mouseX) {
  double t = width > 0 ? (mouseX - x0) / width : 0;
  double v = roundToDecimals(sliderValueAtFraction(s, t), s.decimals);
  return std::clamp(v, s.lo, s.hi);
}

double sliderFineStep(const SliderSpec& s, double value, float dx, float width) {
  if (width <= 0) return value;
  double t = sliderFraction(s, value) + kSliderFineFactor * dx / width;
  // Unrounded: fine steps smaller than the shown precision still add up.
  return std::clamp(sliderValueAtFraction(s, t), s.lo, s.hi);
}

std::string formatSliderValue(const SliderSpec& s, double value) {
  char buf[64];
  double v = roundToDecimals(value, s.decimals);
  if (v == 0 && s.zeroText) return s.zeroText;
  if (v == 0) v = 0;  // no "-0.00"
  std::snprintf(buf, sizeof buf, "%.*f", s.decimals, v);
  return std::string(buf) + s.unit;
}

bool parseNumber(const std::string& text, double& value) {
  std::string t;
  for (char c : text) t += c == ',' ? '.' : c;
  const char* p = t.c_str();
  while (*p == ' ') ++p;
  if (*p == '\0') return false;
  char* end = nullptr;
  double v = std::strtod(p, &end);
  if (end == p || !std::isfinite(v)) return false;
  // Whatever follows must be a unit: spaces and non-digit, non-sign text.
  for (const char* q = end; *q; ++q)
    if ((*q >= '0' && *q <= '9') || *q == '.' || *q == '-' || *q == '+') return false;
  value = v;
  return true;
}

// [SECTION] Colours

namespace {

bool isHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

bool isHexColour(const std::string& text) {
  if (text.size() != 7 || text[0] != '#') return false;
  return std::all_of(text.begin() + 1, text.end(), isHexDigit);
}

bool normaliseHexColour(const std::string& text, std::string& out) {
  size_t a = text.find_first_not_of(' ');
  size_t b = text.find_last_not_of(' ');
  if (a == std::string::npos) return false;
  std::string t = text.substr(a, b - a + 1);
  if (!t.empty() && t[0] != '#') t = "#" + t;
  if (!isHexColour(t)) return false;
  out = t;
  return true;
}
