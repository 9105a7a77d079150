// The side panel under posted input, the way a user's clicks and keys reach
// it: events posted to the headless window, dispatched, and whole frames
// drawn (fractal, panel, status) on the software renderer. Also the fit to
// the frame while the camera auto-rotates, at the level of whole frames.
#include "app_fixture.h"

#include "app/interface.h"
#include "app/panel.h"

#include <cmath>

namespace {

using platform::EventType;
using platform::InputEvent;

// Tall enough for the whole "Архив" tab at 100 %; the picture is traced at
// a quarter of the size to keep the software renderer quick.
class PanelInput : public HeadlessApp {
 protected:
  static constexpr int kPanelW = 560, kPanelH = 720;

  void SetUp() override {
    HeadlessApp::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    showInterface(kPanelW, kPanelH);
    s->targetSamples = 1;
    s->settings.resScale = 0.25;
    s->launchedWithOptions = false;
    std::string error;
    ASSERT_TRUE(initInterface(*s, error)) << error;
    interface = true;
  }
  void TearDown() override {
    if (interface) destroyInterface(*s);
    if (window) platform::setHeadlessSize(window, kW, kH);
    HeadlessApp::TearDown();
  }

  using HeadlessApp::mouse;
  void mouse(EventType t, float x, float y, int clicks = 1) {
    HeadlessApp::mouse(t, int(std::lround(x)), int(std::lround(y)), 1, clicks);
  }
  void click(const WidgetRect& r, int clicks = 1) {
    mouse(EventType::MouseMove, r.centreX(), r.centreY());
    mouse(EventType::MouseDown, r.centreX(), r.centreY(), clicks);
    mouse(EventType::MouseUp, r.centreX(), r.centreY(), clicks);
  }
  void type(const std::string& text) {
    InputEvent e;
    e.type = EventType::Text;
    e.text = text;
    post(e);
  }
  // One turn of the loop: drain and dispatch, draw the frame with the panel,
  // then clear the frame's input.
  void frame() {
    for (const auto& e : platform::pollEvents(window)) dispatchEvent(*s, e);
    FrameInput in = beginFrame(*s);
    bool more = renderFrame(s->renderer, in);
    drawInterface(*s, in.width, in.height, in.windowFbo);
    finishFrame(*s, in, more);
    clearFrameInput(s->input);
  }
  WidgetRect widget(const std::string& id) {
    auto r = findWidget(panelRegistry(*s), id);
    EXPECT_TRUE(r) << id;
    return r.value_or(WidgetRect{});
  }

  bool interface = false;
};

}  // namespace

TEST_F(PanelInput, ASlidersNumberIsNotItsTrackAndTypesWithEscapeAndEnter) {
  s->activeTab = 2;  // "Цвет"
  frame();
  const double before = s->params.colScale;
  const size_t steps = s->history.undo.size();

  // A single click on the number moves nothing and leaves no history step.
  click(widget("sv:Частота цвета"));
  frame();
  frame();
  EXPECT_EQ(s->params.colScale, before);
  EXPECT_EQ(s->history.undo.size(), steps);

  // A double click on it opens the typing with the value as it is; Escape
  // gives it back untouched.
  click(widget("sv:Частота цвета"));
  frame();
  click(widget("sv:Частота цвета"), 2);
  frame();
  EXPECT_TRUE(s->input.textFocus);
  EXPECT_EQ(s->panel.widgets.focus, "sl:Частота цвета");
  EXPECT_EQ(editText(s->panel.widgets.edit), formatSliderValue({0.2, 4, 2, "", false, nullptr}, before));
  type("3,5");
  key('r');  // a letter types; it is no shortcut while the field has the keys
  key(platform::kKeyEscape);
  frame();
  EXPECT_FALSE(s->input.textFocus);
  EXPECT_EQ(s->params.colScale, before);
  EXPECT_EQ(s->params.seed, "classic");
  EXPECT_EQ(s->history.undo.size(), steps);

  // Enter applies the typed value as one history step.
  click(widget("sv:Частота цвета"), 2);
  frame();
  type("2.5");
  key(platform::kKeyEnter);
  frame();
  frame();
  EXPECT_DOUBLE_EQ(s->params.colScale, 2.5);
  EXPECT_EQ(s->history.undo.size(), steps + 1);

  // The track still takes a click: the value under the cursor, one step.
  WidgetRect track = widget("sl:Частота цвета");
  mouse(EventType::MouseMove, track.x0 + 8, track.centreY());
  mouse(EventType::MouseDown, track.x0 + 8, track.centreY());
  mouse(EventType::MouseUp, track.x0 + 8, track.centreY());
  frame();
  frame();
  EXPECT_LT(s->params.colScale, 0.5);
  EXPECT_EQ(s->history.undo.size(), steps + 2);
}

TEST_F(PanelInput, TheArchivePathIsTakenAsTypedByItsButtonsWithTheHomeExpanded) {
  s->activeTab = 5;  // "Архив"
  frame();
  // Typed without Enter, then the button (in the same frame, as on a slow
  // machine): the file is written where the text said, "~/" being the home.
  click(widget("tx:Путь к файлу"));
  frame();
  type("~/пресет.json");
  click(widget("bt:Сохранить в этот файл"));
  frame();
  EXPECT_EQ(s->toastText, "Пресет сохранён");
  EXPECT_EQ(s->panel.pathText, "~/пресет.json");
  EXPECT_TRUE(std::filesystem::exists(home / "пресет.json"));

  // Another seed, then the same field's open button brings the file back.
  applySeed(*s, "другой");
  frame();
  click(widget("bt:Открыть этот файл"));
  frame();
  EXPECT_EQ(s->params.seed, "classic");
  EXPECT_EQ(s->toastText, "Загружено: classic");

  // Crossbreeding needs no dialog either: the offspring becomes current.
  applySeed(*s, "другой");
  frame();
  click(widget("bt:Скрестить с этим файлом"));
  frame();
  EXPECT_EQ(s->toastText.rfind("Потомок: ", 0), 0u) << s->toastText;

  // A text typed over the old one, then a click elsewhere in the panel (not
  // a button of the field), drops the edit as any field does.
  WidgetRect field = widget("tx:Путь к файлу");
  click(field);
  frame();
  type("~/другое.json");
  click({field.x0, field.y0 - 12, field.x1, field.y0 - 8});  // on the field's label
  frame();
  EXPECT_EQ(s->panel.pathText, "~/пресет.json");

  EXPECT_EQ(expandHome("~", "/h"), "/h");
  EXPECT_EQ(expandHome("~/a.json", "/h"), "/h/a.json");
  EXPECT_EQ(expandHome("~user/a.json", "/h"), "~user/a.json");
  EXPECT_EQ(expandHome("a~/b", "/h"), "a~/b");
  EXPECT_EQ(expandHome("~/a", ""), "~/a");
}

TEST_F(PanelInput, FitToTheFrameRunsWhileTheCameraAutoRotates) {
  s->uiHidden = true;
  // Three times too far: the bulb fills about a quarter of the picture.
  s->camera.goalLogDist = s->camera.logDist = std::log(3.4 * 3);
  s->camera.rotationSpeed = 30;
  requestFit(*s);
  int frames = 0;
  for (; frames < 300 && s->fitCountdown > 0; ++frames) frame();
  EXPECT_EQ(s->fitCountdown, 0) << "no fit within " << frames << " frames";
  EXPECT_EQ(s->camera.rotationSpeed, 30);  // the user never had to stop it
  // Framed at about 70 %: much nearer than where it started.
  EXPECT_LT(s->camera.goalLogDist, std::log(3.4 * 3) - 0.4);
  EXPECT_GT(s->camera.goalLogDist, std::log(3.4 * 3) - 1.6);
  // The rotation goes on once the fit is done.
  const double yaw = s->camera.goalYaw;
  for (int i = 0; i < 5; ++i) frame();
  EXPECT_GT(s->camera.goalYaw, yaw);
}

// The renderer learns the shift from the layout before anything is drawn, so
// the very first frame is traced where the fractal belongs, and hiding or
// showing the panel moves the picture in the same frame.
TEST_F(PanelInput, TheImageShiftIsKnownBeforeThePanelIsDrawn) {
  s->uiHidden = false;
  FrameInput in = frameInputOf(*s, platform::now(), false);
  EXPECT_NEAR(in.shiftTarget, kPanelWidth / 2, 0.5);
  s->uiHidden = true;
  EXPECT_EQ(frameInputOf(*s, platform::now(), false).shiftTarget, 0);
  s->uiHidden = false;
  s->mode = RunMode::ScreenSaver;  // draws no interface
  EXPECT_EQ(frameInputOf(*s, platform::now(), false).shiftTarget, 0);
  s->mode = RunMode::Interactive;
  destroyInterface(*s);  // nor does a run without one (a thumbnail, a film)
  interface = false;
  EXPECT_EQ(frameInputOf(*s, platform::now(), false).shiftTarget, 0);
}

// Keys the program has no binding for still count as input for the screen
// saver (the backends pass them on as key code 0) and do nothing elsewhere;
// in a host's window the host decides when it ends.
TEST(ScreenSaverInput, AnyKeyEndsItAndAnUnboundKeyIsHarmlessOtherwise) {
  AppState s;
  s.mode = RunMode::ScreenSaver;
  InputEvent e;
  e.type = EventType::KeyDown;
  e.key = platform::kKeyUnknown;
  dispatchEvent(s, e);
  EXPECT_TRUE(s.quitRequested);
  AppState hosted;
  hosted.mode = RunMode::HostedScreenSaver;
  dispatchEvent(hosted, e);
  EXPECT_FALSE(hosted.quitRequested);

  AppState normal;
  normal.params.seed = "classic";
  dispatchEvent(normal, e);
  EXPECT_FALSE(normal.quitRequested);
  EXPECT_EQ(normal.params.seed, "classic");
  EXPECT_TRUE(normal.input.typedChars.empty());
}
