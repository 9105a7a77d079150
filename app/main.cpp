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
#include "app/commands.h"
#include "app/dispatch.h"
#include "app/frame.h"
#include "app/input_test.h"
#include "app/interface.h"
#include "app/launch.h"
#include "app/shot.h"
#include "io/files.h"
#include "io/settings.h"
#include "nav/camera.h"
#include "nav/dive.h"
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

  bool shot() const { return !opts.shot.empty(); }
  // A shot or the self-test: the run drives itself and stops on its own.
  bool scripted() const { return shot() || opts.inputTest; }
};

// [SECTION] Early exits (before any window)

// Returns true with `status` when the command line is answered without a window.
bool answerWithoutWindow(const LaunchOptions& o, int& status) {
  status = 0;
  if (!o.error.empty()) {
    std::fprintf(stderr, "%s\n", o.error.c_str());
    status = 2;
    return true;
  }
  for (const std::string& line : o.problems) std::fprintf(stderr, "предупреждение: %s\n", line.c_str());
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

// The screen saver never shows the same thing twice: a random record, live,
// diving, and a new seed of a random type after each surfacing.
void startRandomDive(AppState& s) {
  s.dive.rng.seed(uint32_t(std::time(nullptr)) ^ uint32_t(std::rand()));
  std::string ignored;
  makeCurrent(s, randomDiveRecord(s.dive.rng), ignored);
  s.dive.newSeedAfterSurfacing = true;
  s.dive.randomType = true;
  s.live.on = true;
  setDive(s.dive, s.camera, s.params, true);
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
  if (run.scripted()) {
    applyLaunchOptions(s, o);
  } else {
    // The panel's two options also shape an interactive start, without
    // making it an unattended run that keeps its settings unsaved.
    if (o.hideUi) s.uiHidden = true;
    if (o.tab >= 0) s.activeTab = o.tab;
  }
  // A shot is rendered at the size asked for: the automatic scale that keeps
  // an interactive window fluid would only blur a poster.
  if (run.shot() && s.settings.resScale <= 0) s.settings.resScale = 1;
  // A shot narrower than twice the panel would be mostly panel: it shows the
  // fractal alone.
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  if (run.shot() && w < 2 * (w - panelLeftEdge(s, w))) s.uiHidden = true;
  if (s.screensaverMode) startRandomDive(s);
}

// The first fractal's program. An unattended run goes on after a failure, so
// that its report carries the error.
bool buildFirstFractal(AppState& s, const Run& run) {
  std::string error;
  if (!setFractal(s.renderer, s.params, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    if (!run.scripted()) {
      platform::messageBox(s.window, kAppTitle, error, true);
      return false;
    }
  }
  bool vsync = s.settings.vsync && !run.shot();
  platform::setSwapInterval(s.window, vsync ? 1 : 0);
  return true;
}

// [SECTION] One frame

// The frame of frame.cpp with the interface drawn over the composite.
bool runFrameWithInterface(AppState& s) {
  FrameInput in = beginFrame(s);
  bool more = renderFrame(s.renderer, in);
  drawInterface(s, in.width, in.height, in.windowFbo);
  return finishFrame(s, in, more);
}

// [SECTION] Events

void handleEvent(AppState& s, Run& run, const platform::InputEvent& e) {
  if (e.type == platform::EventType::Close) {
    run.running = false;
    return;
  }
  // The screen saver's window takes no drops.
  if (e.type == platform::EventType::DropFile && s.screensaverMode) return;
  dispatchEvent(s, e);
  if (s.quitRequested) run.running = false;
  run.busy = true;
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
    if (now - run.start <= o.dive && !deepEnough) return;
    setDive(s.dive, s.camera, s.params, false);
    o.dive = 0;
  }
  // The renderer's own verdict: every frame hands it targetSampleCount, and a
  // moving camera makes its frame a moving one, so converged means all the
  // samples with the camera at rest.
  RenderStatus st = renderStatus(s.renderer);
  bool converged = st.converged;
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
  while (run.running) {
    auto events = run.busy || run.scripted() ? platform::pollEvents(s.window) : platform::waitEvents(s.window, -1);
    for (const auto& e : events) handleEvent(s, run, e);
    if (!run.running) break;
    run.busy = runFrameWithInterface(s);
    if (run.opts.inputTest) inputTestAfterFrame(run);
    else if (run.shot()) shotStep(s, run, platform::now());
    if (run.running) platform::swapBuffers(s.window);
    clearFrameInput(s.input);
    if (s.quitRequested) run.running = false;
  }
}

// [SECTION] Entry

int runProgram(Run& run) {
  std::string error;
  if (run.shot() && !shotInputsUsable(run.opts, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  run.hostWindow = hostWindowId(run.opts);
  platform::Window* window = openWindow(run.opts, run.hostWindow, error);
  if (!window) {
    std::fprintf(stderr, "%s\n", error.c_str());
    if (error.rfind(platform::kErrorFrameTooLarge, 0) != 0)
      platform::messageBox(nullptr, kAppTitle, kMsgNeedGl43, true);
    return 1;
  }
  auto s = std::make_unique<AppState>();
  s->window = window;
  s->screensaverMode = run.opts.screensaver || run.hostWindow != 0;
  if (!platform::drawsIntoHost(window)) run.hostWindow = 0;  // it fell back to a window of its own
  s->saverInHost = run.hostWindow != 0;
  run.test.app = s.get();
  s->dpiScale = platform::dpiScale(window);
  s->unattended = run.scripted() || s->screensaverMode;
  std::string folder = platform::settingsFolder();
  if (!folder.empty()) run.statePath = folder + "/state.json";

  if (!initRenderer(s->renderer, platform::glProcAddress, error)) {
    platform::messageBox(window, kAppTitle, error, true);
    platform::destroyWindow(window);
    return 1;
  }
  useProgramCache(s->renderer, platform::cacheFolder());
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

  bool save = !s->unattended && !s->launchedWithOptions;
  if (save && !run.statePath.empty() &&
      !saveState(run.statePath, liveParams(*s), s->settings, s->history.recent, &error))
    std::fprintf(stderr, "%s\n", fileProblem("Не удалось сохранить настройки", run.statePath, error).c_str());
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
