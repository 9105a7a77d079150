// widgets.cpp — the side panel's immediate-mode widgets over the drawing
// layer: each reads the frame's input, draws itself, registers its
// rectangle and reports edits.
//
// Index
//   [SECTION] Frame and layout
//   [SECTION] Shared pieces      hover, registration, tooltips, clipping
//   [SECTION] Buttons and pills
//   [SECTION] Slider
//   [SECTION] Toggle and section
//   [SECTION] Text and colour fields
#include "ui/widgets.h"

#include "ui/ui_context.h"

#include <algorithm>
#include <cmath>

// [SECTION] Frame and layout

void beginWidgets(WidgetState& w, UiContext* ui, const WidgetInput& in, const WidgetLayout& lay) {
  w.ui = ui;
  w.in = in;
  w.lay = lay;
  clearRegistry(w.registry);
  w.tooltip.clear();
  w.wantsMouse = !w.active.empty() || !w.focus.empty();
  // A press anywhere but on the focused field ends its edit without applying
  // it: the field that owns the press re-takes the focus when it is its own.
  w.focusLostTo.clear();
  if (in.mousePressed && !w.focus.empty()) {
    // What was typed before the press (a slow frame gathers both) still goes
    // into the edit: a field's own button may take it.
    TextKeys typed = in.keys;
    typed.enter = typed.escape = false;
    applyTextKeys(w.edit, typed);
    w.focusLostTo = w.focus;
    w.focus.clear();
  }
  if (!in.mouseDown && !in.mouseReleased && !in.mousePressed) w.active.clear();
}

namespace {

float sc(const WidgetState& w, float logical) { return std::round(logical * w.lay.scale); }

bool visible(const WidgetState& w, const WidgetRect& r) {
  return r.y1 > w.lay.clipY0 && r.y0 < w.lay.clipY1;
}

bool hovered(const WidgetState& w, const WidgetRect& r) {
  return r.contains(w.in.mouseX, w.in.mouseY) && w.in.mouseY >= w.lay.clipY0 &&
         w.in.mouseY < w.lay.clipY1;
}

}  // namespace

void endWidgets(WidgetState& w) {
  if (w.tooltip.empty() || !w.ui) return;
  UiContext& ui = *w.ui;
  setLayer(ui, 1);
  float pad = sc(w, 8);
  float tw = textWidth(ui, kFontSmall, w.tooltip);
  float th = lineHeight(ui, kFontSmall);
  // Beside the panel, over the picture, at the cursor's height: below the
  // cursor it would hide the next row's value. A window too narrow for that
  // gets it under the cursor.
  float x = w.lay.x0 - sc(w, 18) - sc(w, 10) - tw - 2 * pad;
  float y = std::round(w.in.mouseY - (th + 2 * pad) * 0.5f);
  if (x < sc(w, 4)) {
    x = w.in.mouseX + sc(w, 14), y = w.in.mouseY + sc(w, 18);
    if (x + tw + 2 * pad > w.lay.x1 + sc(w, 18)) x = w.in.mouseX - tw - 2 * pad - sc(w, 6);
  }
  addRoundRect(ui, x, y, tw + 2 * pad, th + 2 * pad, sc(w, 6), ui.theme.background,
               ui.theme.muted, std::max(1.0f, sc(w, 1)));
  addText(ui, kFontSmall, x + pad, y + pad, w.tooltip, ui.theme.text);
  setLayer(ui, 0);
}

namespace {

float rowHeight(const WidgetState& w) { return sc(w, 34); }
float spacing(const WidgetState& w) { return sc(w, 8); }

}  // namespace

void gap(WidgetState& w, float logicalPixels) { w.lay.y += sc(w, logicalPixels); }

// [SECTION] Shared pieces

namespace {

// Takes the next `height` pixels of the column.
WidgetRect nextRow(WidgetState& w, float height) {
  WidgetRect r{w.lay.x0, w.lay.y, w.lay.x1, w.lay.y + height};
  w.lay.y += height + spacing(w);
  return r;
}

// Registers a widget whose centre the reader can see, notes hover for the
// mouse claim and the tooltip, and says whether the cursor is on it.
bool place(WidgetState& w, const std::string& id, const WidgetRect& r, const std::string& tip) {
  bool centreShown = r.centreY() >= w.lay.clipY0 && r.centreY() < w.lay.clipY1;
  if (centreShown && !id.empty()) registerWidget(w.registry, id, r);
  bool hot = hovered(w, r);
  if (hot) {
    w.wantsMouse = true;
    if (!tip.empty()) w.tooltip = tip;
  }
  return hot;
}

const Theme& theme(const WidgetState& w) { return w.ui->theme; }

float textY(const WidgetState& w, const WidgetRect& r, UiFontId font) {
  return std::round(r.y0 + (r.height() - lineHeight(*w.ui, font)) * 0.5f);
}

// The text, or as many whole glyphs as fit in `room` followed by "…".
std::string fitted(const UiContext& ui, UiFontId font, const std::string& text, float room) {
  if (textWidth(ui, font, text) <= room) return text;
  std::vector<uint32_t> cps = decodeUtf8(text);
  const float dots = textWidth(ui, font, "…");
  while (!cps.empty()) {
    cps.pop_back();
    std::string cut = encodeUtf8(cps);
    while (!cut.empty() && cut.back() == ' ') cut.pop_back();
    if (textWidth(ui, font, cut) + dots <= room) return cut + "…";
  }
  return "…";
}

void centredText(WidgetState& w, const WidgetRect& r, const std::string& text, uint32_t colour,
                 UiFontId font = kFontBody) {
  float pad = sc(w, 6);
  std::string shown = fitted(*w.ui, font, text, r.width() - 2 * pad);
  float tw = textWidth(*w.ui, font, shown);
  float x = std::max(r.x0 + pad, std::round(r.centreX() - tw * 0.5f));
  addText(*w.ui, font, x, textY(w, r, font), shown, colour, r.x1 - pad - x);
}

}  // namespace

void label(WidgetState& w, const std::string& text, bool heading) {
  UiFontId font = heading ? kFontHeading : kFontSmall;
  float h = lineHeight(*w.ui, font) + sc(w, heading ? 6 : 2);
  WidgetRect r = nextRow(w, h);
  if (!visible(w, r)) return;
  uint32_t c = heading ? theme(w).textStrong : theme(w).textDim;
  addText(*w.ui, font, r.x0, r.y0 + sc(w, heading ? 4 : 0), text, c, r.width());
}

// [SECTION] Buttons and pills

bool button(WidgetState& w, const std::string& text, const std::string& tip) {
  WidgetRect r = nextRow(w, rowHeight(w));
  bool hot = place(w, "bt:" + text, r, tip);
  if (visible(w, r)) {
    uint32_t fill = hot && w.in.mouseDown ? theme(w).surfaceHigh : hot ? theme(w).surfaceHover : theme(w).surface;
    addRoundRect(*w.ui, r.x0, r.y0, r.width(), r.height(), sc(w, 8), fill, theme(w).border,
                 std::max(1.0f, sc(w, 1)));
    centredText(w, r, text, theme(w).text);
  }
  return hot && w.in.mousePressed;
}

namespace {

// One pill: drawn, registered, and taking the press.
bool pill(WidgetState& w, const WidgetRect& r, const std::string& id, const std::string& text, bool on) {
  bool hot = place(w, id, r, "");
  if (visible(w, r)) {
    uint32_t fill = on ? (hot ? theme(w).accentHover : theme(w).accent)
                       : (hot ? theme(w).surfaceHover : theme(w).surface);
    addRoundRect(*w.ui, r.x0, r.y0, r.width(), r.height(), r.height() * 0.5f, fill, on ? 0 : theme(w).border,
                 on ? 0 : std::max(1.0f, sc(w, 1)));
    centredText(w, r, text, on ? theme(w).onAccent : theme(w).text, kFontSmall);
  }
  return hot && w.in.mousePressed;
}

}  // namespace

bool pills(WidgetState& w, const std::vector<std::string>& labels, int& choice, int perRow,
           const std::string& idPrefix) {
  if (labels.empty()) return false;
  int n = int(labels.size());
  if (perRow <= 0) perRow = n;
  float gapX = sc(w, 6);
  float h = sc(w, 30);
  float full = w.lay.x1 - w.lay.x0;
  // Every pill keeps the width of a full row's pill; one whose label would
  // not fit takes a row of its own rather than being cut.
  float pw = (full - gapX * float(perRow - 1)) / float(perRow);
  float room = pw - 2 * sc(w, 8);
  bool changed = false;
  int column = perRow;  // start a row at the first pill
  float y = 0;
  for (int k = 0; k < n; ++k) {
    bool wide = perRow > 1 && w.ui && textWidth(*w.ui, kFontSmall, labels[k]) > room;
    if (column >= perRow || wide) {
      y = nextRow(w, h).y0;
      column = 0;
    }
    float x = std::round(w.lay.x0 + float(column) * (pw + gapX));
    WidgetRect r{x, y, wide ? w.lay.x1 : std::round(x + pw), y + h};
    if (pill(w, r, idPrefix + labels[k], labels[k], k == choice) && k != choice) {
      choice = k;
      changed = true;
    }
    column = wide ? perRow : column + 1;
  }
  return changed;
}

// [SECTION] Slider

namespace {

// The row: label at the left, value at the right, the track under them. The
// text line is not part of the track: a press there moves nothing, and a
// double click on it types the value.
struct SliderGeometry {
  WidgetRect row, track;
  WidgetRect text;   // the label and value line
  WidgetRect value;  // the value's own text, where the typing opens
  WidgetRect grab;   // the part of the row a press or drag moves the value in
  float knobX = 0;
};

SliderGeometry sliderGeometry(WidgetState& w, const SliderSpec& spec, double value) {
  SliderGeometry g;
  g.row = nextRow(w, rowHeight(w) + sc(w, 4));
  float inset = sc(w, 7);
  float ty = g.row.y1 - sc(w, 9);
  g.track = {g.row.x0 + inset, ty - sc(w, 2), g.row.x1 - inset, ty + sc(w, 2)};
  g.knobX = g.track.x0 + float(sliderFraction(spec, value)) * g.track.width();
  float lh = w.ui ? lineHeight(*w.ui, kFontSmall) : 0;
  // The text line ends well above the track, so the knob stays fully grabbable.
  float split = std::min(g.row.y0 + lh + sc(w, 1), g.track.y0 - sc(w, 8));
  g.text = {g.row.x0, g.row.y0, g.row.x1, std::max(g.row.y0, split)};
  g.grab = {g.row.x0, g.text.y1, g.row.x1, g.row.y1};
  float valueW = w.ui ? textWidth(*w.ui, kFontSmall, formatSliderValue(spec, value)) : 0;
  g.value = {g.row.x1 - std::max(valueW + sc(w, 8), sc(w, 48)), g.text.y0, g.row.x1, g.text.y1};
  return g;
}

void drawSlider(WidgetState& w, const SliderGeometry& g, const std::string& text, const std::string& shown,
                bool hot, bool typing) {
  UiContext& ui = *w.ui;
  float lh = lineHeight(ui, kFontSmall);
  float valueW = textWidth(ui, kFontSmall, shown);
  addText(ui, kFontSmall, g.row.x0, g.row.y0, text, theme(w).textDim,
          g.row.width() - valueW - sc(w, 10));
  if (typing) {
    float bw = std::max(valueW + sc(w, 14), sc(w, 80));
    addRoundRect(ui, g.row.x1 - bw, g.row.y0 - sc(w, 2), bw, lh + sc(w, 4), sc(w, 4), theme(w).background,
                 theme(w).accent, std::max(1.0f, sc(w, 1)));
    float x = g.row.x1 - bw + sc(w, 6);
    float end = addText(ui, kFontSmall, x, g.row.y0, shown, theme(w).textStrong);
    addRect(ui, x + end + 1, g.row.y0, std::max(1.0f, sc(w, 1.5f)), lh, theme(w).accent);
  } else {
    addText(ui, kFontSmall, g.row.x1 - valueW, g.row.y0, shown, theme(w).text);
  }
  const WidgetRect& t = g.track;
  addRoundRect(ui, t.x0, t.y0, t.width(), t.height(), t.height() * 0.5f, theme(w).track);
  addRoundRect(ui, t.x0, t.y0, g.knobX - t.x0, t.height(), t.height() * 0.5f, theme(w).accent);
  float knob = sc(w, hot ? 8 : 7);
  addDisc(ui, g.knobX, t.centreY(), knob, hot ? theme(w).accentHover : theme(w).accent);
}

// Double click: the value is typed. Enter applies it within the range.
Edit sliderTyping(WidgetState& w, double& value, const SliderSpec& spec) {
  EditOutcome o = applyTextKeys(w.edit, w.in.keys);
  if (o == EditOutcome::Cancelled) w.focus.clear();
  if (o != EditOutcome::Committed) return Edit::None;
  w.focus.clear();
  double typed = 0;
  if (!parseNumber(editText(w.edit), typed)) return Edit::None;
  typed = std::clamp(roundToDecimals(typed, std::max(spec.decimals, 6)), spec.lo, spec.hi);
  if (typed == value) return Edit::None;
  value = typed;
  return Edit::Finished;
}

}  // namespace

Edit slider(WidgetState& w, const std::string& text, double& value, const SliderSpec& spec,
            const std::string& tip) {
  std::string id = "sl:" + text;
  SliderGeometry g = sliderGeometry(w, spec, value);
  // "sl:" is the track's part of the row, "sv:" the value's text.
  bool onTrack = place(w, id, g.grab, tip);
  bool onText = place(w, "sv:" + text, g.value, tip);
  onText = hovered(w, g.text) || onText;
  bool hot = onTrack || onText;
  if (hot) w.wantsMouse = true;
  Edit result = Edit::None;
  if (w.focus == id) {
    result = sliderTyping(w, value, spec);
  } else if (onText && w.in.doubleClicked) {
    w.focus = id;
    w.active.clear();
    beginEdit(w.edit, formatSliderValue({spec.lo, spec.hi, spec.decimals, "", false, nullptr}, value));
  } else if (onTrack && w.in.mousePressed) {
    w.active = id;
    w.activeStart = value;
    // Shift starts a fine drag from the value as it is; a plain press puts
    // the value under the cursor.
    if (!w.in.shiftHeld) value = sliderValueAt(spec, g.track.x0, g.track.width(), w.in.mouseX);
    w.lastMouseX = w.in.mouseX;
    result = value != w.activeStart ? Edit::Changing : Edit::None;
  } else if (w.active == id && w.in.mouseDown) {
    double before = value;
    if (w.in.shiftHeld) value = sliderFineStep(spec, value, w.in.mouseX - w.lastMouseX, g.track.width());
    else value = sliderValueAt(spec, g.track.x0, g.track.width(), w.in.mouseX);
    w.lastMouseX = w.in.mouseX;
    result = value != before ? Edit::Changing : Edit::None;
  }
  // The release ends the edit: one finished edit per drag, whatever it moved.
  if (w.active == id && w.in.mouseReleased && !w.in.mouseDown) {
    w.active.clear();
    if (value != w.activeStart) result = Edit::Finished;
  }
  if (w.active == id) w.wantsMouse = true;
  if (visible(w, g.row)) {
    bool typing = w.focus == id;
    std::string shown = typing ? editText(w.edit) : formatSliderValue(spec, value);
    drawSlider(w, g, text, shown, hot || w.active == id, typing);
  }
  return result;
}

// [SECTION] Toggle and section

bool toggle(WidgetState& w, const std::string& text, bool& value, const std::string& tip) {
  WidgetRect r = nextRow(w, sc(w, 28));
  bool hot = place(w, "tg:" + text, r, tip);
  bool changed = false;
  if (hot && w.in.mousePressed) {
    value = !value;
    changed = true;
  }
  if (!visible(w, r)) return changed;
  UiContext& ui = *w.ui;
  float sw = sc(w, 38), sh = sc(w, 22);
  float sx = r.x1 - sw, sy = std::round(r.centreY() - sh * 0.5f);
  addText(ui, kFontSmall, r.x0, textY(w, r, kFontSmall), text, hot ? theme(w).textStrong : theme(w).text,
          sx - r.x0 - sc(w, 8));
  addRoundRect(ui, sx, sy, sw, sh, sh * 0.5f, value ? theme(w).accent : theme(w).surface,
               value ? 0 : theme(w).border, value ? 0 : std::max(1.0f, sc(w, 1)));
  float knobR = sh * 0.5f - sc(w, 3);
  float kx = value ? sx + sw - sh * 0.5f : sx + sh * 0.5f;
  addDisc(ui, kx, sy + sh * 0.5f, knobR, value ? theme(w).onAccent : theme(w).muted);
  return changed;
}

bool section(WidgetState& w, const std::string& title, bool& open) {
  WidgetRect r = nextRow(w, sc(w, 28));
  bool hot = place(w, "sc:" + title, r, "");
  if (hot && w.in.mousePressed) open = !open;
  if (visible(w, r)) {
    UiContext& ui = *w.ui;
    addRect(ui, r.x0, r.y1 - std::max(1.0f, sc(w, 1)), r.width(), std::max(1.0f, sc(w, 1)), theme(w).border);
    // ▾ open, → closed: both are in the atlas's glyph set.
    const char* mark = open ? "\u25BE" : "\u2192";
    float y = textY(w, r, kFontHeading);
    addText(ui, kFontHeading, r.x0, y, mark, theme(w).accent);
    addText(ui, kFontHeading, r.x0 + sc(w, 20), y, title,
            hot ? theme(w).accentHover : theme(w).textStrong, r.width() - sc(w, 20));
  }
  return open;
}

// [SECTION] Text and colour fields

namespace {

// Focus and editing shared by the text and colour fields. Returns the
// outcome of this frame's keys when the field has the focus.
EditOutcome fieldInput(WidgetState& w, const std::string& id, const std::string& value, bool hot) {
  if (hot && w.in.mousePressed && w.focus != id) {
    // A click into the field being edited keeps the edit going.
    bool same = w.focusLostTo == id;
    w.focus = id;
    if (!same) {
      beginEdit(w.edit, value);
      return EditOutcome::None;  // the keys of the click's frame are not this field's
    }
    // The frame's typing went into the edit as the press arrived; only
    // Enter or Escape is left to apply.
    TextKeys rest;
    rest.enter = w.in.keys.enter;
    rest.escape = w.in.keys.escape;
    EditOutcome o = applyTextKeys(w.edit, rest);
    if (o == EditOutcome::Cancelled) w.focus.clear();
    return o;
  }
  if (w.focus != id) return EditOutcome::None;
  EditOutcome o = applyTextKeys(w.edit, w.in.keys);
  if (o == EditOutcome::Cancelled) w.focus.clear();
  return o;
}

void drawFieldBox(WidgetState& w, const WidgetRect& box, const std::string& shown, bool focused, bool hot,
                  bool bad, bool placeholder, float textX0) {
  UiContext& ui = *w.ui;
  uint32_t border = bad ? theme(w).error : focused ? theme(w).accent : hot ? theme(w).muted : theme(w).border;
  addRoundRect(ui, box.x0, box.y0, box.width(), box.height(), sc(w, 6), theme(w).background, border,
               std::max(1.0f, sc(w, focused ? 2.0f : 1.0f)));
  float pad = sc(w, 10);
  float x = textX0 > 0 ? textX0 : box.x0 + pad;
  float y = textY(w, box, kFontBody);
  float room = box.x1 - pad - x;
  pushClip(ui, x, box.y0, std::max(0.0f, room + 2), box.height());
  // A long text scrolls left so that the caret (at its end) stays in view.
  float tw = textWidth(ui, kFontBody, shown);
  float shift = focused && tw > room - 2 ? tw - (room - 2) : 0;
  uint32_t c = placeholder ? theme(w).muted : bad ? theme(w).error : theme(w).textStrong;
  // The selection a click makes: the next key replaces all of it.
  if (focused && w.edit.allSelected)
    addRect(ui, x - shift, y, tw, lineHeight(ui, kFontBody), (theme(w).selection & 0x00ffffff) | 0xc0000000);
  addText(ui, kFontBody, x - shift, y, shown, c);
  if (focused) {
    std::string before = encodeUtf8({w.edit.text.begin(), w.edit.text.begin() + long(w.edit.caret)});
    float cx = x - shift + textWidth(ui, kFontBody, before);
    addRect(ui, cx, y, std::max(1.0f, sc(w, 1.5f)), lineHeight(ui, kFontBody), theme(w).accent);
  }
  popClip(ui);
}

}  // namespace

Edit textField(WidgetState& w, const std::string& text, std::string& value, const std::string& placeholder) {
  std::string id = "tx:" + text;
  label(w, text);
  WidgetRect box = nextRow(w, rowHeight(w));
  bool hot = place(w, id, box, "");
  EditOutcome o = fieldInput(w, id, value, hot);
  Edit result = Edit::None;
  if (o == EditOutcome::Committed) {
    w.focus.clear();
    value = editText(w.edit);
    result = Edit::Finished;
  }
  if (visible(w, box)) {
    bool focused = w.focus == id;
    std::string shown = focused ? editText(w.edit) : value;
    bool ph = shown.empty() && !focused;
    drawFieldBox(w, box, ph ? placeholder : shown, focused, hot, false, ph, 0);
  }
  return result;
}

Edit colourField(WidgetState& w, const std::string& text, std::string& value) {
  std::string id = "cl:" + text;
  WidgetRect row = nextRow(w, sc(w, 30));
  float boxW = sc(w, 150);
  WidgetRect box{row.x1 - boxW, row.y0, row.x1, row.y1};
  bool hot = place(w, id, box, "#rrggbb");
  EditOutcome o = fieldInput(w, id, value, hot);
  Edit result = Edit::None;
  bool bad = false;
  std::string typed, ok;  // the text being edited and, when it is a colour, the colour
  if (w.focus == id) {
    typed = editText(w.edit);
    bad = !normaliseHexColour(typed, ok);
    if (o == EditOutcome::Committed) {
      // A bad colour is refused: the field stays open for correction and
      // the record keeps its colour.
      if (!bad) {
        w.focus.clear();
        if (ok != value) {
          value = ok;
          result = Edit::Finished;
        }
      }
    }
  }
  if (!visible(w, row)) return result;
  UiContext& ui = *w.ui;
  addText(ui, kFontSmall, row.x0, textY(w, row, kFontSmall), text, theme(w).textDim,
          box.x0 - row.x0 - sc(w, 8));
  bool focused = w.focus == id;
  float sw = sc(w, 18);
  float textX = box.x0 + sc(w, 10) + sw + sc(w, 8);
  drawFieldBox(w, box, focused ? typed : value, focused, hot, bad, false, textX);
  const std::string& swatchText = focused && !bad ? ok : value;
  uint32_t swatch = 0xff000000;
  if (isHexColour(swatchText)) {
    swatch = 0xff000000 | std::stoul(swatchText.substr(1), nullptr, 16);
  }
  float sy = std::round(box.centreY() - sw * 0.5f);
  addRoundRect(ui, box.x0 + sc(w, 8), sy, sw, sw, sc(w, 4), swatch, theme(w).muted, std::max(1.0f, sc(w, 1)));
  return result;
}
