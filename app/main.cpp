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
#include "app/film.h"
#include "app/frame.h"
#include "app/input_test.h"
#include "app/interface.h"
#include "app/launch.h"
#include "app/poster.h"
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
#include <memory>

namespace {

constexpr double kShotTimeLimit = 180.0;  // a scene that never converges still yields an image
// A file manager waits for its thumbnails, and on the software renderer a
// frame of a deep scene takes long: a few samples or a few seconds, whichever
// comes first, are enough for a picture of an icon's size.
constexpr double kThumbnailTimeLimit = 4.0;
constexpr int kThumbnailSamples = 6;
// Larger thumbnails are traced at this side and scaled up by the composite:
// the costly pass stays within the time limit at every cache size.
constexpr double kThumbnailTraceSide = 200.0;
constexpr int kPosterFromSide = 8192;     // larger shots are posters: no GPU holds every frame above it
constexpr int kPosterPreview = 640;       // the window a poster's dive runs in

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
  std::string startMessage;   // shown in the window once the first frame can draw it

  bool shot() const { return !opts.shot.empty(); }
  // A shot too large for a frame, or asked for as a poster or a part, is
  // rendered in tiles after the dive instead of read from the window.
  bool poster() const {
    return shot() && (opts.poster || opts.partCount > 0 || opts.width > kPosterFromSide || opts.height > kPosterFromSide);
  }
  bool thumbnail() const { return !opts.thumbnail.empty(); }
  bool film() const { return isFilm(opts); }
  // A shot, a film or the self-test: the run drives itself and stops on its own.
  bool scripted() const { return shot() || film() || opts.inputTest; }
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
  if (o.partCount > 0 && o.shot.empty()) {
    std::fprintf(stderr, "--part пишет часть постера: нужен ещё --shot ПУТЬ\n");
    status = 2;
    return true;
  }
  // A part must be the same picture in every process: a dive is timed.
  if (o.partCount > 0 && o.dive > 0) {
    std::fprintf(stderr, "--part нельзя вместе с --dive: погружение идёт по часам, части бы не сошлись\n");
    status = 2;
    return true;
  }
  if (!o.assemble.empty()) {
    std::string error, summary;
    if (assemblePoster(o.assemble, o.assembleParts, error, summary)) {
      std::printf("%s\n", summary.c_str());
    } else {
      std::fprintf(stderr, "Не удалось собрать постер: %s\n", error.c_str());
      status = 1;
    }
    return true;
  }
  for (const std::string& line : o.problems) std::fprintf(stderr, "предупреждение: %s\n", line.c_str());
  for (const std::string& line : o.warnings) std::fprintf(stderr, "предупреждение: %s\n", line.c_str());
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

// The self-test wins over everything, a screen saver (even one asked for a
// shot or a film) over the file it writes.
RunMode runMode(const Run& run, bool saver) {
  if (run.opts.inputTest) return RunMode::InputTest;
  if (saver) return run.hostWindow != 0 ? RunMode::HostedScreenSaver : RunMode::ScreenSaver;
  if (run.film()) return RunMode::Film;
  if (run.shot()) return RunMode::Shot;
  return RunMode::Interactive;
}

// The screen-saver host's window: "-window-id ID" (decimal or 0x-hex), else
// the one a host such as xscreensaver names; 0 = none. "-root"
// (xscreensaver's switch) without either means the desktop's root window.
uint64_t hostWindowId(const LaunchOptions& o) {
  if (!o.shot.empty()) return 0;
  uint64_t id = !o.windowId.empty() ? std::strtoull(o.windowId.c_str(), nullptr, 0) : platform::screenSaverHostWindow();
  return id == 0 && o.root ? platform::rootWindow() : id;
}

platform::Window* openWindow(const LaunchOptions& o, uint64_t hostWindow, bool poster, std::string& error) {
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
  // A film's frames have targets of their own; its window is where the dive
  // is planned, small.
  if (isFilm(o)) {
    d.kind = platform::WindowKind::Headless;
    filmPlanSize(o, d.width, d.height);
  }
  // A poster's window only hosts the dive; the poster has its own tiles.
  if (poster && d.width > 0 && d.height > 0) {
    const double scale = std::min(1.0, double(kPosterPreview) / std::max(d.width, d.height));
    d.width = std::max(1, int(std::lround(d.width * scale)));
    d.height = std::max(1, int(std::lround(d.height * scale)));
  }
  d.forceHeadless = o.headless;
  return platform::createWindow(d, error);
}

// The screen saver never shows the same thing twice: a random record, live,
// diving, and a new seed of a random type after each surfacing.
void startRandomDive(AppState& s) {
  std::string ignored;
  makeCurrent(s, randomDiveRecord(s.rng), ignored);
  s.dive.newSeedAfterSurfacing = true;
  s.dive.randomType = true;
  s.live.on = true;
  setDive(s.dive, s.camera, s.params, true);
}

// Settings, then the file named on the command line, then the options of an
// unattended run: each later one wins.
void loadStartingState(AppState& s, Run& run) {
  LaunchOptions& o = run.opts;
  // A film is made again alike on any machine: this one's settings file
  // does not shape it.
  if (!run.statePath.empty() && !run.film()) loadState(run.statePath, s.params, s.settings, s.history.recent);
  if (!o.file.empty()) {
    FractalParams p;
    std::string message;
    if (loadPresetFile(o.file, p, message)) {
      s.params = p;
    } else {
      std::fprintf(stderr, "%s\n", message.c_str());
      run.startMessage = message;
    }
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
  if (run.thumbnail()) s.settings.resScale = std::min(1.0, kThumbnailTraceSide / o.thumbnailSize);
  // A shot narrower than twice the panel would be mostly panel: it shows the
  // fractal alone.
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  if (run.shot() && w < 2 * (w - panelLeftEdge(s, w))) s.uiHidden = true;
  if (run.film()) s.uiHidden = true;
  if (isScreenSaver(s.mode)) startRandomDive(s);
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
  if (e.type == platform::EventType::DropFile && isScreenSaver(s.mode)) return;
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

void takePoster(AppState& s, Run& run);

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
  if (run.poster()) {
    takePoster(s, run);
    return;
  }
  // The renderer's own verdict: every frame hands it targetSampleCount, and a
  // moving camera makes its frame a moving one, so converged means all the
  // samples with the camera at rest.
  RenderStatus st = renderStatus(s.renderer);
  bool converged = st.converged;
  double limit = run.thumbnail() ? kThumbnailTimeLimit : kShotTimeLimit;
  if (!converged && (now - run.start <= limit || (run.thumbnail() && st.samples == 0))) {
    if (!run.thumbnail()) reportShotProgress(run, st, now);
    return;
  }
  // A run that reported its progress ends its report at the end, not at the
  // last few-second mark.
  if (converged && run.lastProgress > 0)
    std::fprintf(stderr, "рендер 100%% (%d/%d сэмплов)\n", st.samples, st.targetSamples);
  std::string error;
  bool written = run.thumbnail() ? writeThumbnail(s, o.thumbnail, error) : takeShot(s, o.shot, converged, error);
  if (!written) {
    std::fprintf(stderr, "%s\n", error.c_str());
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

// The poster (or its part): the whole picture in tiles at the asked size,
// streamed into the file, with a report that states the memory it took.
void takePoster(AppState& s, Run& run) {
  const LaunchOptions& o = run.opts;
  int w = o.width, h = o.height;
  if (w <= 0 || h <= 0) platform::drawableSize(s.window, w, h);
  const int samples = targetSampleCount(s);
  PosterPart part;
  part.index = o.partIndex;
  part.count = o.partCount;
  const double start = platform::now();
  double lastReport = start;
  auto progress = [&](double fraction, double left) {
    const double now = platform::now();
    if (now - lastReport >= 3) {
      lastReport = now;
      std::fprintf(stderr, "постер %d%%, осталось ~%.0f с\n", int(fraction * 100), left);
    }
    return true;
  };
  std::string error;
  bool ok = writePoster(s, o.shot, w, h, samples, part, progress, error);
  if (!ok) {
    std::fprintf(stderr, "%s\n", error.empty() ? "постер не дорисован" : error.c_str());
    run.exitStatus = 1;
  }
  char extra[256];
  int first = 0, end = h;
  if (part.count > 0) posterPartRows(h, part.index, part.count, first, end);
  std::snprintf(extra, sizeof extra, "poster: %dx%d, samples %d, rows %d-%d\ntime: %.1f s\npeak memory: %.0f MiB\n", w,
                h, samples, first, end, platform::now() - start, peakMemoryMiB());
  std::string report = shotReport(s.renderer.gpu, s.renderer.errorText, ok, cameraDistance(s.camera)) + extra;
  std::string reason;
  if (!writeFileAtomic(o.shot + ".log", report, &reason)) {
    std::fprintf(stderr, "%s\n", fileProblem(kMsgCannotWrite, o.shot + ".log", reason).c_str());
    run.exitStatus = 1;
  }
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
  // A film that cannot be encoded here says so before its dive is planned.
  const std::string& video = run.opts.video;
  const bool videoFile = run.film() && !video.empty() && video.back() != '/' && video.back() != '\\';
  if (videoFile && !platform::videoSupported(video, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }
  if (run.poster() && (run.opts.width > kPosterMaxSide || run.opts.height > kPosterMaxSide)) {
    std::fprintf(stderr, "размер постера больше предела 65535x65535: %dx%d\n", run.opts.width, run.opts.height);
    return 1;
  }
  if (run.shot() && !shotInputsUsable(run.opts, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  run.hostWindow = hostWindowId(run.opts);
  platform::Window* window = openWindow(run.opts, run.hostWindow, run.poster(), error);
  if (!window) {
    std::fprintf(stderr, "%s\n", error.c_str());
    if (error.rfind(platform::kErrorFrameTooLarge, 0) != 0)
      platform::messageBox(nullptr, kAppTitle, kMsgNeedGl43, true);
    return 1;
  }
  auto s = std::make_unique<AppState>();
  s->window = window;
  const bool saver = run.opts.screensaver || run.hostWindow != 0;
  if (!platform::drawsIntoHost(window)) run.hostWindow = 0;  // it fell back to a window of its own
  s->mode = runMode(run, saver);
  run.test.app = s.get();
  s->dpiScale = platform::dpiScale(window);
  // A thumbnail is the file's alone: the user's settings neither shape it
  // nor get a folder made for them in the file manager's sandbox.
  std::string folder = run.thumbnail() ? std::string() : platform::settingsFolder();
  if (!folder.empty()) run.statePath = folder + "/state.json";

  if (!initRenderer(s->renderer, platform::glProcAddress, error)) {
    // A driver without an entry point is the same story as no 4.3 context:
    // the user reads what to do first, the missing name after it.
    if (error.rfind(kErrorNoGlFunction, 0) == 0) error = std::string(kMsgNeedGl43) + "\n\n" + error;
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
  // Unattended runs wait for their programs, so they never draw a half-ready state.
  useBackgroundBuilds(s->renderer, !nobodyWatches(s->mode));
  if (run.film()) {
    const int status = runFilm(*s, run.opts);
    destroyRenderer(s->renderer);
    platform::destroyWindow(window);
    return status;
  }
  // The screen saver shows no interface, so it spends no time on the atlas;
  // nor does a thumbnail, which is the picture alone (no progress bar).
  if (!isScreenSaver(s->mode) && !run.thumbnail() && !initInterface(*s, error)) {
    platform::messageBox(window, kAppTitle, error, true);
    destroyRenderer(s->renderer);
    platform::destroyWindow(window);
    return 1;
  }
  // After the slow start-up (shaders, atlas), so that its 3 seconds are seen.
  if (!run.startMessage.empty() && s->mode == RunMode::Interactive) showMessage(*s, run.startMessage);
  run.start = platform::now();
  // Without a dive a poster needs no frame at all, and so every process
  // that renders a part of it starts from the same renderer state.
  if (run.poster() && run.opts.dive <= 0) takePoster(*s, run);
  else runLoop(*s, run);

  bool save = s->mode == RunMode::Interactive && !s->launchedWithOptions;
  if (save && !run.statePath.empty() &&
      !saveState(run.statePath, liveParams(*s), s->settings, s->history.recent, &error))
    std::fprintf(stderr, "%s\n", fileProblem("Не удалось сохранить настройки", run.statePath, error).c_str());
  destroyInterface(*s);
  destroyRenderer(s->renderer);
  platform::destroyWindow(window);
  return run.exitStatus;
}

// A thumbnail is a small shot of the file, headless, without the interface
// and without a report next to it.
void prepareThumbnail(LaunchOptions& o) {
  o.shot = o.thumbnail;
  o.width = o.height = o.thumbnailSize;
  o.samples = kThumbnailSamples;
  o.hideUi = true;
  o.headless = true;
  o.dive = 0;
}

}  // namespace

int main(int argc, char** argv) {
  Run run;
  run.opts = parseCommandLine(std::vector<std::string>(argv, argv + argc));
  int status = 0;
  if (answerWithoutWindow(run.opts, status)) return status;
  if (run.thumbnail()) prepareThumbnail(run.opts);
  return runProgram(run);
}
