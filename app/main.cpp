// main.cpp — the entry point: command line, window and GL context, renderer
// start-up, settings, the launch options, and the one loop that drains
// events, renders a frame and swaps until the window closes, a shot is
// written or the self-test ends.
//
// Index
//   [SECTION] Early exits (before any window)
//   [SECTION] Start-up
//   [SECTION] One frame
//   [SECTION] Events
//   [SECTION] The loop
//   [SECTION] Entry
#include "app/app_state.h"
#include "app/input_test.h"
#include "app/interface.h"
#include "app/launch.h"
#include "app/shot.h"
#include "io/files.h"
#include "io/settings.h"
#include "nav/camera.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

// The flight reads the platform's key codes without including the platform.
static_assert(kFlyKeyUp == platform::kKeyUp && kFlyKeyDown == platform::kKeyDown &&
              kFlyKeyLeft == platform::kKeyLeft && kFlyKeyRight == platform::kKeyRight &&
              kFlyKeyShift == platform::kKeyShift);

namespace {

constexpr double kShotTimeLimit = 180.0;  // a scene that never converges still yields an image

struct Run {
  LaunchOptions opts;
  std::string statePath;      // empty when no settings folder can be had
  double start = 0;
  bool busy = true;           // the last frame wants another at once
  bool running = true;
  int exitStatus = 0;
  InputTestState test;
  double lastProgress = 0;    // shot: when progress was last reported
  uint64_t hostWindow = 0;    // screen saver drawing into its host's window
  bool pointerSeen = false;   // screen saver: first pointer position
  int pointerX = 0, pointerY = 0;
};

// [SECTION] Early exits (before any window)

// Returns true with `status` when the command line is answered without a window.
bool answerWithoutWindow(const LaunchOptions& o, int& status) {
  status = 0;
  if (!o.error.empty()) {
    std::fprintf(stderr, "%s\n%s", o.error.c_str(), usageText().c_str());
    status = 2;
    return true;
  }
  if (o.help) std::fputs(usageText().c_str(), stdout);
  else if (o.version) std::printf("%s\n", versionText().c_str());
  else if (o.printPreset) {
    std::string out, err;
    status = runPrintPreset(o, out, err);
    std::fputs(out.c_str(), stdout);
    std::fputs(err.c_str(), stderr);
  } else if (o.configure) {
    platform::messageBox(nullptr, kAppTitle, kMsgScreensaverInfo, false);
  } else if (!o.preview) {
    return false;
  }
  return true;
}

// [SECTION] Start-up

// The screen-saver host's window: "-window-id ID", else the one a host such
// as xscreensaver names in XSCREENSAVER_WINDOW; decimal or 0x-hex; 0 = none.
uint64_t hostWindowId(const LaunchOptions& o) {
  if (!o.shot.empty()) return 0;
  const char* env = std::getenv("XSCREENSAVER_WINDOW");
  std::string text = !o.windowId.empty() ? o.windowId : env ? env : "";
  return std::strtoull(text.c_str(), nullptr, 0);
}

platform::Window* openWindow(const LaunchOptions& o, uint64_t hostWindow, std::string& error) {
  platform::WindowDesc d;
  d.kind = o.screensaver || hostWindow ? platform::WindowKind::ScreenSaver : platform::WindowKind::Normal;
  d.hostWindow = hostWindow;
  // A shot is a file, not a view: rendering it offscreen keeps it
  // independent of what covers the window on a desktop.
  if (!o.shot.empty()) d.kind = platform::WindowKind::Headless;
  if (o.width > 0 && o.height > 0) {
    d.width = o.width;
    d.height = o.height;
  }
  d.forceHeadless = o.headless;
  return platform::createWindow(d, error);
}

// Settings, then the file named on the command line, then the options of an
// unattended run: each later one wins.
void loadStartingState(AppState& s, Run& run) {
  if (!run.statePath.empty()) loadState(run.statePath, s.params, s.settings, s.history.recent);
  LaunchOptions& o = run.opts;
  if (!o.file.empty()) {
    FractalParams p;
    std::string message;
    if (loadPresetFile(o.file, p, message)) s.params = p;
    else std::fprintf(stderr, "%s\n", message.c_str());
  }
  setCameraFromParams(s.camera, s.params);
  pushState(s);
  if (o.inputTest) {
    if (o.seed.empty()) o.seed = "classic";
    if (o.type.empty()) o.type = "mandelbulb";
    if (!(o.dist > 0)) o.dist = 3.4;
    o.dive = 0;
  }
  if (!o.shot.empty() || o.inputTest) applyLaunchOptions(s, o);
  // A shot is rendered at the size asked for: the automatic scale that keeps
  // an interactive window fluid would only blur a poster.
  if (!o.shot.empty() && s.settings.resScale <= 0) s.settings.resScale = 1;
  if (s.screensaverMode) s.camera.rotationSpeed = 4;  // a still picture makes a dull screen saver
}

// The first fractal's program. An unattended run goes on after a failure, so
// that its report carries the error.
bool buildFirstFractal(AppState& s, const Run& run) {
  std::string error;
  if (!setFractal(s.renderer, s.params, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    if (run.opts.shot.empty() && !run.opts.inputTest) {
      platform::messageBox(s.window, kAppTitle, error, true);
      return false;
    }
  }
  bool vsync = s.settings.vsync && run.opts.shot.empty();
  platform::setSwapInterval(s.window, vsync ? 1 : 0);
  return true;
}

// [SECTION] One frame

FrameInput frameInput(AppState& s, double now, bool moving) {
  FrameInput in;
  in.now = now;
  platform::drawableSize(s.window, in.width, in.height);
  in.windowFbo = platform::defaultFramebuffer(s.window);
  in.params = &s.params;
  in.camera = cameraViewOf(s.camera, s.params.fov);
  in.cameraMoving = moving;
  in.animating = s.liveMode || s.diveActive;
  in.diveActive = s.diveActive;
  in.deepForced = s.deepForced;
  in.shiftTarget = s.uiHidden ? 0 : s.uiOffset;
  in.targetSamples = targetSampleCount(s);
  in.settings = &s.settings;
  return in;
}

// Camera step, history step when motion ends, the renderer's frame. Returns
// whether another frame is wanted at once.
bool runFrame(AppState& s) {
  double now = platform::now();
  double dt = s.lastFrameTime < 0 ? 1.0 / 60 : std::clamp(now - s.lastFrameTime, 0.0001, 0.1);
  s.lastFrameTime = now;
  bool moving = cameraUpdate(s.camera, dt);
  if (moving) {
    s.cameraWasMoving = true;
  } else if (s.cameraWasMoving) {
    s.cameraWasMoving = false;
    pushState(s);
  }
  FrameInput in = frameInput(s, now, moving);
  bool more = renderFrame(s.renderer, in);
  drawInterface(s, in.width, in.height, in.windowFbo);
  std::string message = takeShaderMessage(s.renderer);
  if (!message.empty()) {
    showMessage(s, message);
    if (!s.unattended) std::fprintf(stderr, "%s\n", message.c_str());
  }
  return more || moving;
}

// [SECTION] Events

// Any deliberate input ends the screen saver, and so does losing the focus
// (another window came up). The pointer may jitter: only a single move of
// more than 12 pixels counts, and the very first move (the one the system
// sends as the saver starts) only sets the reference.
bool endsScreensaver(Run& run, const platform::InputEvent& e) {
  using platform::EventType;
  if (e.type == EventType::KeyDown || e.type == EventType::MouseDown || e.type == EventType::MouseWheel ||
      e.type == EventType::FocusLost)
    return true;
  if (e.type != EventType::MouseMove) return false;
  int moved = std::abs(e.x - run.pointerX) + std::abs(e.y - run.pointerY);
  bool first = !run.pointerSeen;
  run.pointerSeen = true;
  run.pointerX = e.x;
  run.pointerY = e.y;
  return !first && moved > 12;
}

void handleEvent(AppState& s, Run& run, const platform::InputEvent& e) {
  using platform::EventType;
  // In a host's window the host watches the input and ends the run itself.
  bool ownSaver = s.screensaverMode && !run.hostWindow;
  if (e.type == EventType::Close || (ownSaver && endsScreensaver(run, e))) {
    run.running = false;
    return;
  }
  if (e.type == EventType::Resize) run.busy = true;
  // The screen saver's window takes no drops; anywhere else a dropped preset
  // or PNG replaces the fractal.
  if (e.type == EventType::DropFile && !s.screensaverMode) {
    std::string message = loadAndApply(s, e.text);
    showMessage(s, message);
    run.busy = true;
  }
  if (e.type == EventType::KeyDown && !e.repeat) {
    bool full = platform::isFullscreen(s.window);
    if (e.key == platform::kKeyF11 || (e.key == platform::kKeyEscape && full)) {
      platform::toggleFullscreen(s.window);
      run.busy = true;
    }
  }
}

// [SECTION] The loop

// A long shot says how far it is, every few seconds, on stderr.
void reportShotProgress(Run& run, const RenderStatus& st, double now) {
  if (now - run.start < 3 || now - run.lastProgress < 3 || st.targetSamples <= 0) return;
  run.lastProgress = now;
  double done = double(st.samples) / st.targetSamples;
  double elapsed = now - run.start;
  double left = done > 0 ? elapsed * (1 - done) / done : 0;
  std::fprintf(stderr, "рендер %d%% (%d/%d сэмплов), осталось ~%.0f с\n", int(done * 100), st.samples,
               st.targetSamples, left);
}

// Shot mode after each frame: wait for the dive, then for convergence or the
// time limit; then write the files and stop.
void shotStep(AppState& s, Run& run, double now) {
  LaunchOptions& o = run.opts;
  if (o.dive > 0) {
    bool deepEnough = o.diveUntil > 0 && cameraDistance(s.camera) < o.diveUntil;
    if (now - run.start > o.dive || deepEnough) {
      s.diveActive = false;
      o.dive = 0;
    }
    if (o.dive > 0) return;
  }
  RenderStatus st = renderStatus(s.renderer);
  bool converged = st.done && st.samples >= targetSampleCount(s) && !s.cameraWasMoving;
  if (!converged && now - run.start <= kShotTimeLimit) {
    reportShotProgress(run, st, now);
    return;
  }
  std::string problem;
  if (!takeShot(s, o.shot, converged, problem)) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    run.exitStatus = 1;
  }
  // A fractal that did not build still leaves its image and report, but the
  // run must not look like a success.
  if (!s.renderer.errorText.empty()) {
    std::fprintf(stderr, "%s\n", s.renderer.errorText.c_str());
    run.exitStatus = 1;
  }
  run.running = false;
}

void inputTestAfterFrame(Run& run) {
  if (run.test.finished) return;
  inputTestStep(run.test);
  if (!run.test.finished) return;
  if (!writeFileAtomic(run.opts.shot + ".input.log", run.test.log)) {
    std::fprintf(stderr, "не удалось записать %s.input.log\n", run.opts.shot.c_str());
    run.exitStatus = 1;
  }
  run.running = false;
}

void runLoop(AppState& s, Run& run) {
  bool unattended = !run.opts.shot.empty() || run.opts.inputTest;
  while (run.running) {
    auto events = run.busy || unattended ? platform::pollEvents(s.window) : platform::waitEvents(s.window, -1);
    for (const auto& e : events) handleEvent(s, run, e);
    if (!run.running) break;
    run.busy = runFrame(s);
    if (run.opts.inputTest) inputTestAfterFrame(run);
    else if (!run.opts.shot.empty()) shotStep(s, run, platform::now());
    if (run.running) platform::swapBuffers(s.window);
    clearFrameInput(s.input);
  }
}

// [SECTION] Entry

int runProgram(Run& run) {
  std::string error;
  if (!run.opts.shot.empty() && !shotFolderWritable(run.opts.shot)) {
    std::fprintf(stderr, "не удалось записать %s\n", run.opts.shot.c_str());
    return 1;
  }
  run.hostWindow = hostWindowId(run.opts);
  platform::Window* window = openWindow(run.opts, run.hostWindow, error);
  if (!window) {
    std::fprintf(stderr, "%s\n", error.c_str());
    platform::messageBox(nullptr, kAppTitle, kMsgNeedGl43, true);
    return 1;
  }
  auto s = std::make_unique<AppState>();
  s->window = window;
  s->screensaverMode = run.opts.screensaver || run.hostWindow != 0;
  if (!platform::drawsIntoHost(window)) run.hostWindow = 0;  // it fell back to a window of its own
  run.test.app = s.get();
  s->dpiScale = platform::dpiScale(window);
  s->unattended = !run.opts.shot.empty() || run.opts.inputTest || s->screensaverMode;
  std::string folder = platform::settingsFolder();
  if (!folder.empty()) run.statePath = folder + "/state.json";

  if (!initRenderer(s->renderer, platform::glProcAddress, error)) {
    platform::messageBox(window, kAppTitle, error, true);
    platform::destroyWindow(window);
    return 1;
  }
  loadStartingState(*s, run);
  if (!buildFirstFractal(*s, run)) {
    destroyRenderer(s->renderer);
    platform::destroyWindow(window);
    return 1;
  }
  // The screen saver shows no interface, so it spends no time on the atlas.
  if (!s->screensaverMode && !initInterface(*s, error)) {
    platform::messageBox(window, kAppTitle, error, true);
    destroyRenderer(s->renderer);
    platform::destroyWindow(window);
    return 1;
  }
  run.start = platform::now();
  runLoop(*s, run);

  bool save = run.opts.shot.empty() && !run.opts.inputTest && !s->screensaverMode && !s->launchedWithOptions;
  if (save && !run.statePath.empty())
    saveState(run.statePath, liveParams(*s), s->settings, s->history.recent);
  destroyInterface();
  destroyRenderer(s->renderer);
  platform::destroyWindow(window);
  return run.exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
  Run run;
  run.opts = parseCommandLine(std::vector<std::string>(argv, argv + argc));
  int status = 0;
  if (answerWithoutWindow(run.opts, status)) return status;
  std::srand(unsigned(std::time(nullptr)));
  return runProgram(run);
}
