// The side panel over frames of posted input, as the loop runs it: events
// dispatched, the panel drawn and its edits applied, the frame's input
// cleared. What an edit does to the history, what a click on the chosen pill
// does not do, where a slider can take a field, and the status line once the
// picture is finished.
#include "app_fixture.h"

#include "app/interface.h"
#include "app/panel.h"
#include "model/ranges.h"
#include "model/tables.h"
#include "ui/status.h"
#include "ui/ui_context.h"

#include <cmath>
#include <set>

namespace {

using platform::EventType;

class PanelFrames : public HeadlessApp {
 protected:
  static constexpr int kPanelW = 520, kPanelH = 1000;

  void SetUp() override {
    HeadlessApp::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    showInterface(kPanelW, kPanelH);
    std::string error;
    ASSERT_TRUE(initUi(ui, 1.0, error)) << error;
    uiReady = true;
    frame();
  }
  void TearDown() override {
    if (uiReady) destroyUi(ui);
    if (window) platform::setHeadlessSize(window, kW, kH);
    HeadlessApp::TearDown();
  }

  // One turn of the loop without the fractal's own frame.
  void frame() {
    for (const auto& e : platform::pollEvents(window)) dispatchEvent(*s, e);
    ::beginFrame(ui, kPanelW, kPanelH);
    drawPanel(*s, ui, kPanelW, kPanelH);
    clearFrameInput(s->input);
  }
  WidgetRect rect(const std::string& id) {
    auto r = findWidget(panelRegistry(*s), id);
    EXPECT_TRUE(r) << id;
    return r.value_or(WidgetRect{});
  }
  // A press and its release at (x, y) in one frame.
  void click(float x, float y, int clicks = 1) {
    int ix = int(std::lround(x)), iy = int(std::lround(y));
    mouse(EventType::MouseMove, ix, iy);
    mouse(EventType::MouseDown, ix, iy, 1, clicks);
    mouse(EventType::MouseUp, ix, iy);
    frame();
  }
  // The height of a slider's track inside its row.
  static float trackY(const WidgetRect& row) { return row.y1 - 9; }

  UiContext ui;
  bool uiReady = false;
};

// The numbers of the record and the settings that have a hard range.
void expectInHardRanges(const AppState& s, const std::string& after) {
  for (const NumberField& f : numberFields()) {
    const ValueRange* r = findRange(f.key);
    if (!r) continue;
    EXPECT_TRUE(inRange(s.params.*f.field, *r)) << after << ": " << f.key << " = " << s.params.*f.field;
  }
  const AppSettings& q = s.settings;
  const std::pair<const char*, double> settings[] = {
      {"resScale", q.resScale},   {"samples", double(q.samples)}, {"maxSteps", double(q.maxSteps)},
      {"precision", q.precision}, {"deep", double(q.deep)},       {"diveSpeed", q.diveSpeed},
      {"mutation", q.mutation}};
  for (const auto& [key, value] : settings)
    EXPECT_TRUE(inRange(value, *findRange(key))) << after << ": " << key << " = " << value;
}

}  // namespace

TEST_F(PanelFrames, ASliderDragIsOneHistoryStepAndATypedValueStaysInItsRange) {
  s->activeTab = 2;  // "Цвет"
  frame();
  WidgetRect row = rect("sl:Металл");
  const size_t before = s->history.undo.size();
  mouse(EventType::MouseMove, int(row.x0 + 20), int(trackY(row)));
  mouse(EventType::MouseDown, int(row.x0 + 20), int(trackY(row)));
  frame();
  for (int step = 1; step <= 5; ++step) {
    mouse(EventType::MouseMove, int(row.x0 + 20 + 40 * step), int(trackY(row)));
    frame();
    EXPECT_EQ(s->history.undo.size(), before) << "frame " << step << " of the drag";
  }
  mouse(EventType::MouseUp, int(row.x0 + 220), int(trackY(row)));
  frame();
  EXPECT_EQ(s->history.undo.size(), before + 1);
  const double dragged = s->params.metal;
  EXPECT_GT(dragged, 0.3);
  key('z', platform::kModCtrl);
  frame();
  EXPECT_NE(s->params.metal, dragged);  // one undo takes the whole drag back

  // A double click on the number types the value; past either end it is
  // held at the end.
  for (const auto& [typed, expected] : {std::pair{"5", 1.0}, std::pair{"-3", 0.0}}) {
    const WidgetRect number = rect("sv:Металл");
    click(number.centreX(), number.centreY(), 2);
    ASSERT_TRUE(s->input.textFocus);
    platform::InputEvent text;
    text.type = EventType::Text;
    text.text = typed;
    post(text);
    key(platform::kKeyEnter);
    frame();
    EXPECT_FALSE(s->input.textFocus);
    EXPECT_EQ(s->params.metal, expected) << typed;
  }
}

TEST_F(PanelFrames, ClickingTheTypeAlreadyChosenChangesNothing) {
  s->activeTab = 1;  // "Форма"
  frame();
  WidgetRect power = rect("sl:Степень");
  click(power.x1 - 1, trackY(power));
  ASSERT_EQ(s->params.power, 16);
  const size_t entries = s->history.undo.size();
  const std::string seed = s->params.seed;

  WidgetRect pill = rect("pl:" + std::string(fractalTypes()[0].name));
  click(pill.centreX(), pill.centreY());
  EXPECT_EQ(s->params.type, "mandelbulb");
  EXPECT_EQ(s->params.power, 16);  // not made again from the seed
  EXPECT_EQ(s->history.undo.size(), entries);

  // Another type is a change: made from the same seed.
  pill = rect("pl:" + std::string(fractalTypes()[2].name));
  click(pill.centreX(), pill.centreY());
  EXPECT_EQ(s->params.type, fractalTypes()[2].key);
  EXPECT_EQ(s->params.seed, seed);
  EXPECT_EQ(s->history.undo.size(), entries + 1);
}

// No slider of the panel can take a field past the range the rest of the
// program holds it to (a preset written from there would not read back).
TEST_F(PanelFrames, EverySliderEndLiesInsideItsFieldsHardRange) {
  // The shape sliders of every type, from their table.
  for (const FractalType& t : fractalTypes()) {
    for (const FieldSlider& f : shapeSliders(defaultsForType(t.key))) {
      const NumberField* field = nullptr;
      for (const NumberField& n : numberFields())
        if (n.field == f.field) field = &n;
      ASSERT_TRUE(field) << f.label;
      const ValueRange& r = *findRange(field->key);
      EXPECT_GE(f.spec.lo, r.lo) << t.key << " " << f.label;
      EXPECT_LE(f.spec.hi, r.hi) << t.key << " " << f.label;
    }
  }
  for (int formula = 0; formula < 6; ++formula) {
    EXPECT_GE(linkSpec(formula).lo, findRange("slot.k")->lo);
    EXPECT_LE(linkSpec(formula).hi, findRange("slot.k")->hi);
  }

  // Every slider drawn on the tabs, pushed to both ends by a click.
  std::set<std::string> driven;
  for (int tab = 0; tab < kTabCount; ++tab) {
    s->activeTab = tab;
    s->input.panelScroll = 0;
    frame();
    const float top = rect("tab:Архив").y1 + 8;
    for (int page = 0; page < 20; ++page) {
      std::vector<std::string> ids;
      for (const auto& [id, r] : panelRegistry(*s).rects)
        if (id.rfind("sl:", 0) == 0 && !driven.count(id) && r.y0 >= top && r.y1 < kPanelH - 12) ids.push_back(id);
      for (const std::string& id : ids) {
        for (bool right : {false, true}) {
          WidgetRect row = rect(id);
          click(right ? row.x1 - 1 : row.x0 + 1, trackY(row));
          expectInHardRanges(*s, id + (right ? " at its right end" : " at its left end"));
        }
        driven.insert(id);
      }
      const float scrolled = s->input.panelScroll;
      wheel(kPanelW - 40, kPanelH / 2, -4);
      frame();
      if (s->input.panelScroll == scrolled) break;
    }
  }
  for (const char* id : {"sl:Итерации", "sl:Сила мутаций", "sl:Высота", "sl:Туман", "sl:Поле зрения",
                         "sl:Скорость", "sl:Шагов луча", "sl:Детализация"})
    EXPECT_TRUE(driven.count(id)) << id << " was never reached";
}

TEST_F(PanelFrames, OnceAllSamplesAreInTheBarGoesAndTheLineSaysSo) {
  auto trackVertices = [&](const StatusInfo& st) {
    ::beginFrame(ui, kPanelW, kPanelH);
    drawStatus(ui, st);
    size_t n = 0;
    for (const UiVertex& v : ui.layers[0].vertices) n += v.a == 0xc8 && v.r == 0x1e && v.g == 0x5b && v.b == 0x62;
    return n;
  };
  platform::setHeadlessSize(window, kW, kH);  // the picture small, as the renderer is the software one
  s->uiHidden = true;
  runFrame(*s);
  StatusInfo st = statusInfo(*s, kW, kH, platform::now());
  ASSERT_LT(st.samples, st.targetSamples);
  EXPECT_FALSE(st.done);
  EXPECT_GT(trackVertices(st), 0u);

  settle();
  st = statusInfo(*s, kW, kH, platform::now());
  EXPECT_TRUE(st.done);
  EXPECT_EQ(st.samples, 2);
  const std::string line = statusLineWithin(st, 1e9f, [](const std::string&) { return 0.0f; });
  EXPECT_NE(line.find(" · 2 сэмплов, готово · "), std::string::npos) << line;
  EXPECT_EQ(trackVertices(st), 0u);
}
