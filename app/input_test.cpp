// input_test.cpp — the self-test script: each step posts its events through
// the platform, waits a few frames for the loop to dispatch and draw them,
// then checks the application record.
//
// Index
//   [SECTION] Posting events
//   [SECTION] Finding widgets
//   [SECTION] The script
//   [SECTION] Driver
#include "app/input_test.h"

#include "app/panel.h"
#include "platform/platform.h"

#include <cmath>
#include <functional>
#include <vector>

namespace {

// The log line of one check.
std::string checkLine(bool ok, const std::string& description) {
  return (ok ? "ОК   " : "ОШИБКА ") + description + "\n";
}

// Frames between an action and its check: one to dispatch and draw, the
// rest for the camera's smoothing and for the panel to re-register.
constexpr int kSettleFrames = 3;
// How far the test scrolls the panel looking for a widget below the fold.
constexpr int kMaxScrolls = 16;

// [SECTION] Posting events

void post(AppState& s, platform::InputEvent e) { platform::postEvent(s.window, e); }

void mouse(AppState& s, platform::EventType type, int x, int y, int button = 0, uint32_t mods = 0) {
  platform::InputEvent e;
  e.type = type;
  e.x = x, e.y = y;
  e.button = button;
  e.clicks = button ? 1 : 0;
  e.mods = mods;
  post(s, e);
}

void clickAt(AppState& s, float fx, float fy) {
  int x = int(std::lround(fx)), y = int(std::lround(fy));
  mouse(s, platform::EventType::MouseMove, x, y);
  mouse(s, platform::EventType::MouseDown, x, y, 1);
  mouse(s, platform::EventType::MouseUp, x, y, 1);
}

// The pointer moves to (x, y) and the wheel turns there.
void wheelAt(AppState& s, int x, int y, float notches) {
  mouse(s, platform::EventType::MouseMove, x, y);
  platform::InputEvent e;
  e.type = platform::EventType::MouseWheel;
  e.x = x, e.y = y;
  e.wheel = notches;
  post(s, e);
}

void key(AppState& s, int32_t code, uint32_t mods = 0) {
  platform::InputEvent e;
  e.type = platform::EventType::KeyDown;
  e.key = code;
  e.mods = mods;
  post(s, e);
  e.type = platform::EventType::KeyUp;
  post(s, e);
}

void text(AppState& s, const std::string& utf8) {
  platform::InputEvent e;
  e.type = platform::EventType::Text;
  e.text = utf8;
  post(s, e);
}

// The middle of the free area left of the panel.
void viewCentre(AppState& s, int& x, int& y) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  x = panelLeftEdge(s, w) / 2;
  y = h / 2;
}

// [SECTION] Finding widgets

enum class Act { Done, Retry, Failed };

// Clicks a widget's centre. A widget below the panel's fold is scrolled to
// as a user would, with the wheel over the panel; one that never shows up
// fails the step with its "нет виджета" line.
Act clickWidget(InputTestState& t, const std::string& id) {
  AppState& s = *t.app;
  if (auto r = findWidget(panelRegistry(s), id)) {
    t.attempts = 0;
    clickAt(s, r->centreX(), r->centreY());
    return Act::Done;
  }
  if (!s.uiHidden && t.attempts < kMaxScrolls) {
    ++t.attempts;
    int w = 0, h = 0;
    platform::drawableSize(s.window, w, h);
    wheelAt(s, w - int(std::lround(8 * s.dpiScale)), h / 2, -1);
    return Act::Retry;
  }
  t.attempts = 0;
  t.log += "  нет виджета " + id + "\n";
  return Act::Failed;
}

// [SECTION] The script

struct Step {
  std::function<Act(InputTestState&)> act;
  std::string description;                   // empty: an action without its own line
  std::function<bool(InputTestState&)> check;
};

Act dragAcrossView(InputTestState& t) {
  AppState& s = *t.app;
  t.before[0] = s.camera.goalYaw, t.before[1] = s.camera.goalPitch;
  int x = 0, y = 0;
  viewCentre(s, x, y);
  mouse(s, platform::EventType::MouseMove, x, y);
  mouse(s, platform::EventType::MouseDown, x, y, 1);
  for (int i = 1; i <= 4; ++i) mouse(s, platform::EventType::MouseMove, x + 30 * i, y + 10 * i);
  mouse(s, platform::EventType::MouseUp, x + 120, y + 40, 1);
  return Act::Done;
}

Act wheelOverView(InputTestState& t) {
  AppState& s = *t.app;
  t.before[0] = s.camera.goalLogDist;
  int x = 0, y = 0;
  viewCentre(s, x, y);
  wheelAt(s, x, y, 2);
  return Act::Done;
}

Act pressKey(InputTestState& t, int32_t code) {
  key(*t.app, code);
  return Act::Done;
}

// R draws a new seed; once it shows, Ctrl+Z (with the modifier carried by
// the event) must bring the old one back.
Act randomThenUndo(InputTestState& t) {
  AppState& s = *t.app;
  if (t.stage == 0) {
    t.stage = 1;
    t.beforeText = s.params.seed;
    key(s, 'r');
    return Act::Retry;
  }
  t.before[0] = s.params.seed != t.beforeText ? 1 : 0;  // R changed it
  key(s, 'z', platform::kModCtrl);
  return Act::Done;
}

std::vector<Step> script() {
  auto click = [](std::string id) { return [id](InputTestState& t) { return clickWidget(t, id); }; };
  return {
      {dragAcrossView, "перетаскивание ЛКМ вращает камеру",
       [](InputTestState& t) {
         return t.app->camera.goalYaw != t.before[0] || t.app->camera.goalPitch != t.before[1];
       }},
      {wheelOverView, "колесо приближает",
       [](InputTestState& t) { return t.app->camera.goalLogDist < t.before[0]; }},
      {click("tab:Цвет"), "вкладка «Цвет» открывается", [](InputTestState& t) { return t.app->activeTab == 2; }},
      {[](InputTestState& t) {
         t.before[0] = t.app->params.metal;
         return clickWidget(t, "sl:Металл");
       },
       "клик по ползунку «Металл» ставит значение",
       [](InputTestState& t) { return t.app->params.metal != t.before[0]; }},
      {click("tab:Форма"), "", nullptr},
      {click("pl:Губка Менгера"), "кнопка типа «Губка Менгера»",
       [](InputTestState& t) { return t.app->params.type == "menger"; }},
      {[](InputTestState& t) { return pressKey(t, 'v'); }, "клавиша V включает погружение",
       [](InputTestState& t) { return t.app->dive.on; }},
      {[](InputTestState& t) { return pressKey(t, 'v'); }, "повторное V выключает погружение",
       [](InputTestState& t) { return !t.app->dive.on; }},
      {click("tab:Создать"), "", nullptr},
      {click("tx:Сид"), "", nullptr},
      {[](InputTestState& t) {
         if (t.lastFailed) return Act::Failed;  // the field was not there to click
         if (!t.app->input.textFocus) {
           t.log += "  поле «Сид» не получило фокус\n";
           return Act::Failed;
         }
         for (const char* c : {"т", "е", "с", "т", "_", "с", "и", "д"}) text(*t.app, c);
         key(*t.app, platform::kKeyEnter);
         return Act::Done;
       },
       "ввод сида с клавиатуры (кириллица) + Enter",
       [](InputTestState& t) { return t.app->params.seed == "тест_сид"; }},
      {randomThenUndo,
       "Ctrl+Z отменяет последнее изменение (модификаторы приходят вместе с событием, "
       "поэтому проверяется здесь, а не вручную)",
       [](InputTestState& t) {
         return t.before[0] == 1 && t.app->params.seed == t.beforeText;
       }},
      {click("tab:Рендер"), "вкладка «Рендер»", [](InputTestState& t) { return t.app->activeTab == 4; }},
      {[](InputTestState& t) {
         t.before[1] = t.app->settings.shadows ? 1 : 0;
         return clickWidget(t, "tg:Мягкие тени");
       },
       "переключатель «Мягкие тени» выключается",
       [](InputTestState& t) { return t.app->settings.shadows != (t.before[1] == 1); }},
      {click("tg:Мягкие тени"), "и включается обратно",
       [](InputTestState& t) { return t.app->settings.shadows == (t.before[1] == 1); }},
  };
}

}  // namespace

// [SECTION] Driver

void inputTestStep(InputTestState& t) {
  static const std::vector<Step> steps = script();
  if (t.finished || !t.app) return;
  if (t.wait > 0) {
    --t.wait;
    return;
  }
  if (t.step >= int(steps.size())) {
    t.finished = true;
    return;
  }
  const Step& st = steps[size_t(t.step)];
  if (t.phase == 0) {
    Act a = st.act(t);
    if (a == Act::Retry) {
      t.wait = kSettleFrames;
      return;
    }
    if (a == Act::Failed) {
      t.lastFailed = true;
      if (!st.description.empty()) t.log += checkLine(false, st.description);
      ++t.step;
      t.stage = 0;
      return;
    }
    t.phase = 1;
    t.wait = kSettleFrames;
    return;
  }
  if (!st.description.empty()) t.log += checkLine(st.check && st.check(t), st.description);
  t.lastFailed = false;
  t.phase = 0;
  t.stage = 0;
  ++t.step;
}
