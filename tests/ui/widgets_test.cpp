// The widgets' behaviour over several frames, drawn into CPU layers (no GL,
// no fonts): what the registry holds, when an edit counts as finished, and
// who owns the mouse and the keyboard.
#include "ui/ui_context.h"
#include "ui/widgets.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

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

struct Harness {
  UiContext ui;
  WidgetState w;
  std::function<void(WidgetState&)> body;

  // One frame with `in`, running `body` between begin and end.
  void frame(const WidgetInput& in) {
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
  // A press in the middle of widget `id` as the last frame laid it out.
  void click(const std::string& id) {
    const WidgetRect r = rect(id);
    frame(press(r.centreX(), r.centreY()));
  }
  // A frame of typed text, with Enter or Backspace if asked.
  void type(const char* text, bool enter = false, bool backspace = false) {
    WidgetInput in;
    in.keys.typed = decodeUtf8(text);
    in.keys.enter = enter;
    in.keys.backspace = backspace;
    frame(in);
  }
};

}  // namespace

TEST(Widgets, SliderDragIsOneFinishedEditAtRelease) {
  Harness h;
  double v = 0.25;
  SliderSpec spec{0, 1, 2, "", false, nullptr};
  std::vector<Edit> edits;
  h.body = [&](WidgetState& w) { edits.push_back(slider(w, "Металл", v, spec)); };
  h.frame(at(0, 0));
  WidgetRect r = h.rect("sl:Металл");
  EXPECT_FALSE(h.w.wantsMouse);

  h.click("sl:Металл");  // press: value under the cursor
  EXPECT_NEAR(v, 0.5, 0.02);
  EXPECT_TRUE(h.w.wantsMouse);
  WidgetInput held = at(r.x1 - 1, r.centreY() + 200);  // dragged off the row: still active
  held.mouseDown = true;
  h.frame(held);
  EXPECT_DOUBLE_EQ(v, 1);
  EXPECT_TRUE(h.w.wantsMouse);
  WidgetInput release = at(r.x1 - 1, r.centreY() + 200);
  release.mouseReleased = true;
  h.frame(release);
  EXPECT_EQ(edits, (std::vector<Edit>{Edit::None, Edit::Changing, Edit::Changing, Edit::Finished}));

  // A click whose press and release arrive in one frame (posted events) is
  // a complete edit by itself.
  edits.clear();
  WidgetInput click = press(r.x0 + 10, r.centreY());
  click.mouseDown = false;
  click.mouseReleased = true;
  h.frame(click);
  EXPECT_EQ(edits, std::vector<Edit>{Edit::Finished});
  EXPECT_LT(v, 0.1);
  EXPECT_TRUE(h.w.active.empty());
}

TEST(Widgets, ShiftPressKeepsValueAndDoubleClickTypesIt) {
  Harness h;
  double v = 0.3;
  SliderSpec spec{0, 1, 2, "", false, nullptr};
  Edit last = Edit::None;
  h.body = [&](WidgetState& w) { last = slider(w, "Свечение", v, spec); };
  h.frame(at(0, 0));
  WidgetRect r = h.rect("sl:Свечение");
  WidgetInput fine = press(r.x1 - 5, r.centreY());
  fine.shiftHeld = true;
  h.frame(fine);
  EXPECT_DOUBLE_EQ(v, 0.3);  // Shift does not jump to the cursor

  WidgetRect number = h.rect("sv:Свечение");
  WidgetInput dbl = press(number.centreX(), number.centreY());
  dbl.doubleClicked = true;
  h.frame(dbl);
  EXPECT_EQ(h.w.focus, "sl:Свечение");
  h.type("0,875", true);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_DOUBLE_EQ(v, 0.875);  // the typed value keeps its own digits
  EXPECT_TRUE(h.w.focus.empty());
}

TEST(Widgets, TextFieldFocusCommitAndClickAway) {
  Harness h;
  std::string seed = "classic";
  Edit last = Edit::None;
  h.body = [&](WidgetState& w) { last = textField(w, "Сид", seed); };
  h.frame(at(0, 0));
  h.click("tx:Сид");
  EXPECT_EQ(h.w.focus, "tx:Сид");
  h.type("тест_сид");
  EXPECT_EQ(seed, "classic");  // nothing applies before Enter
  h.type("", true);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_EQ(seed, "тест_сид");

  // A press elsewhere drops the edit without applying it.
  h.click("tx:Сид");
  h.type("xyz");
  h.frame(press(10, 10));
  EXPECT_TRUE(h.w.focus.empty());
  EXPECT_EQ(seed, "тест_сид");
}

TEST(Widgets, ColourFieldRefusesBadHex) {
  Harness h;
  std::string colour = "#5A4FC8";
  Edit last = Edit::None;
  h.body = [&](WidgetState& w) { last = colourField(w, "Цвет свечения", colour); };
  h.frame(at(0, 0));
  h.click("cl:Цвет свечения");
  h.type("#12345g", true);
  EXPECT_EQ(last, Edit::None);
  EXPECT_EQ(colour, "#5A4FC8");
  EXPECT_EQ(h.w.focus, "cl:Цвет свечения");  // left open for correction
  h.type("", false, true);
  h.type("0", true);
  EXPECT_EQ(last, Edit::Finished);
  EXPECT_EQ(colour, "#123450");
}

TEST(Widgets, PillsToggleButtonsAndScrolledOutWidgets) {
  Harness h;
  int choice = 0;
  bool shadows = true;
  int clicks = 0;
  h.body = [&](WidgetState& w) {
    pills(w, {"Создать", "Форма", "Цвет"}, choice, 3, "tab:");
    toggle(w, "Мягкие тени", shadows);
    if (button(w, "Мутант")) ++clicks;
    w.lay.y += 2000;  // far below the visible column
    toggle(w, "Внизу", shadows);
  };
  h.frame(at(0, 0));
  EXPECT_FALSE(findWidget(h.w.registry, "tg:Внизу"));
  h.click("tab:Цвет");
  EXPECT_EQ(choice, 2);
  h.click("tg:Мягкие тени");
  EXPECT_FALSE(shadows);
  WidgetRect bt = h.rect("bt:Мутант");
  h.frame(at(bt.centreX(), bt.centreY()));  // hovering is not a click
  EXPECT_EQ(clicks, 0);
  EXPECT_TRUE(h.w.wantsMouse);
  h.click("bt:Мутант");
  EXPECT_EQ(clicks, 1);
}
