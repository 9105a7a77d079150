// dispatch.cpp — from platform events to the application's input.
//
// Index
//   [SECTION] Helpers
//   [SECTION] Keys
//   [SECTION] Mouse
//   [SECTION] Entry
#include "app/dispatch.h"

#include "app/command_table.h"
#include "app/commands.h"
#include "nav/gestures.h"
#include "ui/widget_state.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <set>

namespace {

// [SECTION] Helpers

int clientWidth(const AppState& s) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  return w;
}

int clientHeight(const AppState& s) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  return h;
}

// The pan step's picture height: the render height at rest (the
// accumulation's), so that a drag does not speed up when the moving frames
// drop resolution; the client's before the first frame.
double panHeight(const AppState& s) {
  return s.renderer.accumA.height > 0 ? s.renderer.accumA.height : clientHeight(s);
}

// The flight's controls and the keys that hold them: a letter and its arrow
// twin hold the same control, and it lets go only when both are up.
struct FlightBinding {
  int32_t key;
  bool FlightKeys::*control;
};
constexpr FlightBinding kFlightBindings[] = {
    {'w', &FlightKeys::forward}, {platform::kKeyUp, &FlightKeys::forward},
    {'s', &FlightKeys::back},    {platform::kKeyDown, &FlightKeys::back},
    {'a', &FlightKeys::left},    {platform::kKeyLeft, &FlightKeys::left},
    {'d', &FlightKeys::right},   {platform::kKeyRight, &FlightKeys::right},
    {'e', &FlightKeys::climb},   {'q', &FlightKeys::sink},
    {platform::kKeyShift, &FlightKeys::fast},
};

bool isFlightKey(int32_t key) {
  return std::any_of(std::begin(kFlightBindings), std::end(kFlightBindings),
                     [key](const FlightBinding& b) { return b.key == key; });
}

void holdFlightKey(AppState& s, int32_t key, bool down) {
  std::set<int32_t>& held = s.input.heldFlightKeys;
  if (down) held.insert(key);
  else held.erase(key);
  FlightKeys& controls = s.camera.flightKeys;
  controls = {};
  for (const FlightBinding& b : kFlightBindings)
    if (held.count(b.key)) controls.*b.control = true;
}

void stopDive(AppState& s) {
  if (s.dive.on) setDive(s.dive, s.camera, s.params, false);
}

// [SECTION] Keys

// Held flight keys, the per-frame key fields, paste, shortcuts.
void onKey(AppState& s, int32_t key, bool down, uint32_t mods, bool repeat) {
  s.input.shiftHeld = (mods & platform::kModShift) != 0;
  if (key == platform::kKeyUnknown) return;  // a key without a binding of any kind
  if (s.camera.flying && isFlightKey(key) && !textFieldFocused(s)) {
    holdFlightKey(s, key, down);
    s.redraw = true;
    return;
  }
  if (!down) return;
  s.redraw = true;
  InputState& in = s.input;
  bool ctrl = (mods & platform::kModCtrl) != 0;
  if (key == platform::kKeyBackspace) {
    in.keyBackspace = true;
    in.typedChars.push_back(8);
  } else if (key == platform::kKeyEnter) {
    in.keyEnter = true;
    in.typedChars.push_back(13);
  } else if (key == platform::kKeyEscape) {
    in.keyEscape = true;
    if (s.helpShown) s.helpShown = false;
    else if (!repeat && platform::isFullscreen(s.window)) toggleFullscreen(s);
  } else if (ctrl && key == 'v') {
    in.keyPaste = true;
    in.pasteText = platform::clipboardText();
  }
  if (textFieldFocused(s)) return;
  // Toggles ignore the keyboard's auto-repeat, so holding a key does not
  // flicker a mode on and off.
  const Command* c = findCommand(key, mods);
  if (c && (c->repeats || !repeat)) c->run(s, key);
}

// Malformed bytes (decoded as U+FFFD) are skipped.
void onText(AppState& s, const std::string& text) {
  for (uint32_t cp : decodeUtf8(text))
    if (cp != 0xFFFD && (cp == 8 || cp == 13 || cp >= 32)) s.input.typedChars.push_back(cp);
  s.redraw = true;
}

// [SECTION] Mouse

void beginDrag(AppState& s, int mode) {
  s.input.dragging = true;
  s.input.dragMode = mode;
  stopDive(s);
}

void endDrag(AppState& s) {
  if (!s.input.dragging) return;
  s.input.dragging = false;
  s.input.dragMode = 0;
  // A camera still gliding after the goal is committed once it comes to
  // rest; storing it now would put a half-way pose into the history.
  if (!s.cameraWasMoving) pushState(s);
}

bool interfaceTakesMouse(const AppState& s) {
  return s.input.uiWantsMouse || overPanel(s, s.input.mouseX, clientWidth(s));
}

// The surface under the cursor.
Pick pickUnderCursor(AppState& s) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  return pickAtCursor(pictureOf(s), depthReaderOf(s), s.input.mouseX, s.input.mouseY, w, h);
}

// Double click: the rotation centre goes onto the surface under the cursor,
// and the lens focuses there unless the focus is locked.
void centreUnderCursor(AppState& s) {
  Pick p = pickUnderCursor(s);
  if (!p.hit) {
    showMessage(s, kMsgPickMiss);
    return;
  }
  stopDive(s);
  centreOnSurface(s, p);
}

void onButtonDown(AppState& s, const platform::InputEvent& e) {
  InputState& in = s.input;
  in.mouseX = float(e.x);
  in.mouseY = float(e.y);
  if (e.button == 1) {
    in.mouseDown = true;
    in.mousePressed = true;
    in.doubleClicked = e.clicks >= 2;
  } else if (e.button == 3) {
    in.rightPressed = true;
  }
  if (interfaceTakesMouse(s)) return;
  if (e.button != 1) beginDrag(s, 2);
  else if (e.clicks >= 2) centreUnderCursor(s);
  else beginDrag(s, (e.mods & platform::kModShift) ? 2 : 1);
}

void onButtonUp(AppState& s, const platform::InputEvent& e) {
  if (e.button == 1) {
    s.input.mouseDown = false;
    s.input.mouseReleased = true;
  }
  endDrag(s);
}

void onMouseMove(AppState& s, const platform::InputEvent& e) {
  double dx = e.x - s.input.mouseX, dy = e.y - s.input.mouseY;
  s.input.mouseX = float(e.x);
  s.input.mouseY = float(e.y);
  if (!s.input.dragging) return;
  if (s.input.dragMode == 1) orbitDrag(s.camera, dx, dy);
  else panDrag(s.camera, dx, dy, s.params.fov, panHeight(s));
}

void onWheel(AppState& s, const platform::InputEvent& e) {
  s.input.mouseX = float(e.x);
  s.input.mouseY = float(e.y);
  double notches = e.wheel;
  if (overPanel(s, s.input.mouseX, clientWidth(s))) {
    s.input.panelScroll -= float(s.dpiScale * notches * 60);
    return;
  }
  stopDive(s);
  if (notches > 0 && !s.camera.flying && s.renderer.renderWidth > 0) {
    Pick under = pickUnderCursor(s);
    wheelStep(s.camera, notches, &under);
  } else {
    wheelStep(s.camera, notches, nullptr);
  }
}

// Any deliberate input ends a screen saver in its own window, and so does
// losing the focus. The pointer may jitter: only a single move of more than
// 12 pixels counts, and the very first move (the one sent as the saver
// starts) only sets the reference.
bool endsScreensaver(AppState& s, const platform::InputEvent& e) {
  using platform::EventType;
  if (e.type == EventType::KeyDown || e.type == EventType::MouseDown || e.type == EventType::MouseWheel ||
      e.type == EventType::FocusLost)
    return true;
  if (e.type != EventType::MouseMove) return false;
  int moved = std::abs(e.x - int(s.input.mouseX)) + std::abs(e.y - int(s.input.mouseY));
  bool first = !s.input.screenMouseSeen;
  s.input.screenMouseSeen = true;
  s.input.mouseX = float(e.x);
  s.input.mouseY = float(e.y);
  return !first && moved > 12;
}

}  // namespace

// [SECTION] Entry

void dispatchEvent(AppState& s, const platform::InputEvent& e) {
  using platform::EventType;
  if (e.type == EventType::None) return;
  s.redraw = true;
  if (isScreenSaver(s.mode)) {
    // In a host's window the host watches the input and ends the run itself.
    if (s.mode != RunMode::HostedScreenSaver && endsScreensaver(s, e)) s.quitRequested = true;
    return;
  }
  switch (e.type) {
    case EventType::KeyDown:
    case EventType::KeyUp:
      onKey(s, e.key, e.type == EventType::KeyDown, e.mods, e.repeat);
      break;
    case EventType::Text: onText(s, e.text); break;
    case EventType::MouseMove: onMouseMove(s, e); break;
    case EventType::MouseDown: onButtonDown(s, e); break;
    case EventType::MouseUp: onButtonUp(s, e); break;
    case EventType::MouseWheel: onWheel(s, e); break;
    case EventType::DropFile: openPath(s, e.text); break;
    default: break;
  }
}
