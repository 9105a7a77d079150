// The widgets' behaviour over several frames, drawn into CPU layers (no GL,
// no fonts): what the registry holds, when an edit counts as finished, and
// who owns the mouse and the keyboard.
#include "ui/ui_context.h"
#include "ui/widgets.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

struct Harness {
  UiContext ui;
  WidgetState w;

  // One frame with `in`, running `body` between begin and end.
  void frame(const WidgetInput& in, const std::function<void(WidgetState&)>& body) {
    beginFrame(ui, 800, 600);
    WidgetLayout lay{400, 760, 20, 0, 600, 1};
    beginWidgets(w, &ui, in, lay);
    body(w);
    endWidgets(w);
  }
  WidgetRect rect(const std::string& id) {
    auto r = findWidget(w.registry, id);
    EXPECT_TRUE(r) << id;
    return r.value_or(WidgetRect{});
  }
};

WidgetInput at(float x, float y) {
  WidgetInput in;
  in.mouseX = x, in.mouseY = y;
  return in;
}

WidgetInput press(float x, float y) {
  WidgetInput in = at(x, y);
  in.mouseDown = in.mousePressed = true;
  return in;
}

}  // namespace

TEST(Widgets, SliderDragIsOneFinishedEditAtRelease) {
  Harness h;
  double v = 0.25;
  SliderSpec spec{0, 1, 2, "", false, nullptr};
  std::vector<Edit> edits;
  auto body = [&](WidgetState& w) { edits.push_back(slider(w, "Металл", v, spec)); };
  h.frame(at(0, 0), body);
  WidgetRect r = h.rect("sl:Металл");
  EXPECT_FALSE(h.w.wantsMouse);

  h.frame(press(r.centreX(), r.centreY()), body);  // press: value under the cursor
  EXPECT_NEAR(v, 0.5, 0.02);
  EXPECT_TRUE(h.w.wantsMouse);
  WidgetInput held = at(r.x1 - 1, r.centreY() + 200);  // dragged off the row: still active
  held.mouseDown = true;
  h.frame(held, body);
  EXPECT_DOUBLE_EQ(v, 1);
  EXPECT_TRUE(h.w.wantsMouse);
  WidgetInput release = at(r.x1 - 1, r.centreY() + 200);
  release.mouseReleased = true;
  h.frame(release, body);
  EXPECT_EQ(edits, (std::vector<Edit>{Edit::None, Edit::Changing, Edit::Changing, Edit::Finished}));

  // A click whose press and release arrive in one frame (posted events) is
  // a complete edit by itself.
  edits.clear();
  WidgetInput click = press(r.x0 + 10, r.centreY());
  click.mouseDown = false;
  click.mouseReleased = true;
  h.frame(click, body);
  EXPECT_EQ(edits, std::vector<Edit>{Edit::Finished});
  EXPECT_LT(v, 0.1);
  EXPECT_TRUE(h.w.active.empty());
}

TEST(Widgets, ShiftPressKeepsValueAndDoubleClickTypesIt) {
  Harness h;
  double v = 0.3;
  SliderSpec spec{0, 1, 2, "", false, nullptr};
  Edit last = Edit::None;
  auto body = [&](WidgetState& w) { last = slider(w, "Свечение", v, spec); };
  h.frame(at(0, 0), body);
  WidgetRect r = h.rect("sl:Свечение");
  WidgetInput fine = press(r.x1 - 5, r.centreY());
  fine.shiftHeld = true;
  h.frame(fine, body);
  EXPECT_DOUBLE_EQ(v, 0.3);  // Shift does not jump to the cursor

  WidgetInput dbl = press(r.centreX(), r.centreY());
  dbl.doubleClicked = true;
  h.frame(dbl, body);
  EXPECT_EQ(h.w.focus, "sl:Свечение");
  WidgetInput typed = at(r.centreX(), r.centreY());
  typed.keys.typed = decodeUtf8("0,875");
  typed.keys.enter = true;
  h.frame(typed, body);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_DOUBLE_EQ(v, 0.875);  // the typed value keeps its own digits
  EXPECT_TRUE(h.w.focus.empty());
}

TEST(Widgets, TextFieldFocusCommitAndClickAway) {
  Harness h;
  std::string seed = "classic";
  Edit last = Edit::None;
  auto body = [&](WidgetState& w) { last = textField(w, "Сид", seed); };
  h.frame(at(0, 0), body);
  WidgetRect r = h.rect("tx:Сид");
  h.frame(press(r.centreX(), r.centreY()), body);
  EXPECT_EQ(h.w.focus, "tx:Сид");
  WidgetInput typed = at(r.centreX(), r.centreY());
  typed.keys.typed = decodeUtf8("тест_сид");
  h.frame(typed, body);
  EXPECT_EQ(seed, "classic");  // nothing applies before Enter
  WidgetInput enter;
  enter.keys.enter = true;
  h.frame(enter, body);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_EQ(seed, "тест_сид");

  // A press elsewhere drops the edit without applying it.
  h.frame(press(r.centreX(), r.centreY()), body);
  WidgetInput more;
  more.keys.typed = decodeUtf8("xyz");
  h.frame(more, body);
  h.frame(press(10, 10), body);
  EXPECT_TRUE(h.w.focus.empty());
  EXPECT_EQ(seed, "тест_сид");
}

TEST(Widgets, ColourFieldRefusesBadHex) {
  Harness h;
  std::string colour = "#5A4FC8";
  Edit last = Edit::None;
  auto body = [&](WidgetState& w) { last = colourField(w, "Цвет свечения", colour); };
  h.frame(at(0, 0), body);
  WidgetRect r = h.rect("cl:Цвет свечения");
  h.frame(press(r.centreX(), r.centreY()), body);
  WidgetInput bad;
  bad.keys.typed = decodeUtf8("#12345g");
  bad.keys.enter = true;
  h.frame(bad, body);
  EXPECT_EQ(last, Edit::None);
  EXPECT_EQ(colour, "#5A4FC8");
  EXPECT_EQ(h.w.focus, "cl:Цвет свечения");  // left open for correction
  WidgetInput erase;
  erase.keys.backspace = true;
  h.frame(erase, body);
  WidgetInput fix;
  fix.keys.typed = decodeUtf8("0");
  fix.keys.enter = true;
  h.frame(fix, body);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_EQ(colour, "#123450");
}

TEST(Widgets, PillsToggleButtonsAndScrolledOutWidgets) {
  Harness h;
  int choice = 0;
  bool shadows = true;
  int clicks = 0;
  auto body = [&](WidgetState& w) {
    pills(w, {"Создать", "Форма", "Цвет"}, choice, 3, "tab:");
    toggle(w, "Мягкие тени", shadows);
    if (button(w, "Мутант")) ++clicks;
    w.lay.y += 2000;  // far below the visible column
    toggle(w, "Внизу", shadows);
  };
  h.frame(at(0, 0), body);
  EXPECT_FALSE(findWidget(h.w.registry, "tg:Внизу"));
  WidgetRect tab = h.rect("tab:Цвет");
  h.frame(press(tab.centreX(), tab.centreY()), body);
  EXPECT_EQ(choice, 2);
  WidgetRect tg = h.rect("tg:Мягкие тени");
  h.frame(press(tg.centreX(), tg.centreY()), body);
  EXPECT_FALSE(shadows);
  WidgetRect bt = h.rect("bt:Мутант");
  h.frame(at(bt.centreX(), bt.centreY()), body);  // hovering is not a click
  EXPECT_EQ(clicks, 0);
  EXPECT_TRUE(h.w.wantsMouse);
  h.frame(press(bt.centreX(), bt.centreY()), body);
  EXPECT_EQ(clicks, 1);
}
