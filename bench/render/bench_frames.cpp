// bench_frames — the longest single frame the interactive loop can be held
// for: a record (from a preset file, made safe as any file is, or the worst
// one built in: the heaviest type at its iteration maximum, 2000 ray steps,
// finest detail, global illumination, a nearly flat field of view and twice
// the resolution) rendered frame by frame through the frame driver at a
// window size, still and while the camera moves. Prints the longest, median
// and total frame times.
//
//   bench_frames [--size WxH] [--frames N] [PRESET]
//   bench_frames --mode still|orbit|dive|live|switch [--type KEY] [--size WxH] [--frames N] [PRESET]
//
// With --mode, the application's own frame (dive step, camera, live morph,
// frame driver) runs on the record (default: the seed "classic" as a
// mandelbulb, or as the type --type names) with the default settings, and the last line reads
//   frames 300, longest 41 ms, median 12 ms, moving scale 0.98, whole samples 97%
// (the mean render scale over the moving frames, and the share of completed
// samples traced in one band). "switch" goes through the eleven types; its
// longest frame is the longest of the frames that make each type current and
// draw its first picture.
//
// BENCH_FRAMES_EACH=1 in the environment prints every frame's time as well.
#include "app/app_state.h"
#include "app/frame.h"
#include "io/files.h"
#include "model/seed.h"
#include "model/tables.h"
#include "nav/camera.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

// The view the shell traces for the record, turned by yawShift degrees.
CameraView cameraOf(const FractalParams& p, double yawShift) {
  Camera c;
  setCameraFromParams(c, p);
  c.yaw += yawShift;
  return cameraViewOf(c, p.fov);
}

FractalParams worstRecord() {
  FractalParams p = generateFromSeed("worst", "mandelbox", nullptr);
  p.iter = fractalTypes()[typeIndex("mandelbox")].iterMax;
  p.fov = 179;
  p.dist = 0.05;  // inside the box's folds: rays march through detail
  p.aperture = 10;
  return p;
}

double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

struct ModeStats {
  std::vector<double> times;
  double scaleSum = 0;
  int movingFrames = 0, samples = 0, wholeSamples = 0;
};

// A sample counts as whole when the frame that completed it began it.
void countFrame(ModeStats& m, const Renderer& r, uint32_t sequenceBefore, int cursorBefore, double seconds) {
  m.times.push_back(seconds);
  if (r.moving) {
    m.scaleSum += r.accumA.width > 0 ? double(r.renderWidth) / r.accumA.width : 1;
    ++m.movingFrames;
  }
  if (r.sequence != sequenceBefore) {
    ++m.samples;
    m.wholeSamples += cursorBefore == 0;
  }
  if (std::getenv("BENCH_FRAMES_EACH"))
    std::printf("frame %zu: %.1f ms, render %dx%d, samples %d\n", m.times.size() - 1, seconds * 1000,
                r.renderWidth, r.renderHeight, r.samples);
}

// The application's frames in one of the modes; returns the process status.
// The preset in `file` (when given) over `p`, and a headless window of
// width×height; false after printing why not.
bool openScene(const std::string& file, int width, int height, FractalParams& p, platform::Window*& window,
               std::string& error) {
  if (!file.empty() && !loadPresetFile(file, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
  }
  platform::WindowDesc desc;
  desc.kind = platform::WindowKind::Headless;
  desc.width = width;
  desc.height = height;
  window = platform::createWindow(desc, error);
  return true;
}

int runMode(const std::string& mode, const std::string& type, int width, int height, int frames,
            const std::string& file) {
  static const char* const modes[] = {"still", "orbit", "dive", "live", "switch"};
  if (std::find_if(std::begin(modes), std::end(modes), [&](const char* m) { return mode == m; }) ==
      std::end(modes)) {
    std::fprintf(stderr, "неизвестный режим: %s (still, orbit, dive, live, switch)\n", mode.c_str());
    return 2;
  }
  FractalParams p = generateFromSeed("classic", type.empty() ? "mandelbulb" : type, nullptr);
  std::string error;
  platform::Window* window = nullptr;
  if (!openScene(file, width, height, p, window, error)) return 1;
  auto s = std::make_unique<AppState>();
  s->window = window;
  s->uiHidden = true;
  s->targetSamples = 1 << 20;
  // As the window does: binaries from the cache folder, the first program
  // built at once and the later ones in the background.
  const bool ready = window && initRenderer(s->renderer, platform::glProcAddress, error);
  if (ready) useProgramCache(s->renderer, platform::cacheFolder());
  if (!ready || !makeCurrent(*s, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  useBackgroundBuilds(s->renderer, true);
  if (mode == "dive") setDive(s->dive, s->camera, s->params, true);
  if (mode == "live") s->live.on = true;
  ModeStats m;
  auto frame = [&] {
    const uint32_t before = s->renderer.sequence;
    const int cursor = s->renderer.rowCursor;
    const double t0 = platform::now();
    if (mode == "orbit") s->camera.goalYaw += 0.6;  // a steady turn, as a held drag gives
    runFrame(*s);
    platform::swapBuffers(window);
    countFrame(m, s->renderer, before, cursor, platform::now() - t0);
  };
  if (mode == "switch") {
    // Each type made current as the panel does (within the frame that shows
    // it first), then drawn to its first picture.
    for (const FractalType& t : fractalTypes()) {
      const double t0 = platform::now();
      makeCurrent(*s, generateFromSeed("classic", t.key, nullptr), error);
      const double build = platform::now() - t0;
      const size_t first = m.times.size();
      for (int f = 0; f < frames && renderStatus(s->renderer).samples < 1; ++f) frame();
      if (m.times.size() > first) m.times[first] += build;
      std::printf("%s: %.0f ms to the first picture\n", t.key.c_str(), (platform::now() - t0) * 1000);
    }
  } else {
    for (int f = 0; f < frames; ++f) frame();
  }
  const RenderStatus st = renderStatus(s->renderer);
  std::printf("%s\n%s %dx%d, render %dx%d, %d iterations\n", s->renderer.gpu.c_str(), mode.c_str(), width,
              height, st.renderWidth, st.renderHeight, st.iterations);
  const double longest = m.times.empty() ? 0 : *std::max_element(m.times.begin(), m.times.end());
  std::printf("frames %zu, longest %.0f ms, median %.0f ms, moving scale %.2f, whole samples %.0f%%\n",
              m.times.size(), longest * 1000, median(m.times) * 1000,
              m.movingFrames ? m.scaleSum / m.movingFrames : 1.0,
              m.samples ? 100.0 * m.wholeSamples / m.samples : 0.0);
  destroyRenderer(s->renderer);
  s.reset();
  platform::destroyWindow(window);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int width = 1600, height = 950, frames = 60;
  std::string file, mode, type;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--size") && i + 1 < argc) std::sscanf(argv[++i], "%dx%d", &width, &height);
    else if (!std::strcmp(argv[i], "--mode") && i + 1 < argc) mode = argv[++i];
    else if (!std::strcmp(argv[i], "--type") && i + 1 < argc) type = argv[++i];
    else if (!std::strcmp(argv[i], "--frames") && i + 1 < argc) frames = std::atoi(argv[++i]);
    else file = argv[i];
  }
  if (!mode.empty()) return runMode(mode, type, width, height, frames, file);
  FractalParams p = worstRecord();
  std::string error;
  platform::Window* window = nullptr;
  if (!openScene(file, width, height, p, window, error)) return 1;
  Renderer r;
  if (!window || !initRenderer(r, platform::glProcAddress, error) || !setFractal(r, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  RenderQuality s;
  s.resScale = 2;
  s.maxSteps = 2000;
  s.precision = 0.01;
  s.gi = true;
  s.samples = 65536;
  FrameInput in;
  in.width = width;
  in.height = height;
  in.windowFbo = platform::defaultFramebuffer(window);
  in.params = &p;
  in.quality = s;
  std::vector<double> times;
  for (int f = 0; f < frames; ++f) {
    const bool moving = f >= frames / 2;  // second half: the camera turns every frame
    in.camera = cameraOf(p, moving ? f * 0.5 : 0);
    in.cameraMoving = moving;
    in.now = platform::now();
    renderFrame(r, in);
    platform::swapBuffers(window);
    times.push_back(platform::now() - in.now);
    if (std::getenv("BENCH_FRAMES_EACH")) {
      const RenderStatus st = renderStatus(r);
      std::printf("frame %d: %.0f ms, render %dx%d, samples %d\n", f, times.back() * 1000, st.renderWidth,
                  st.renderHeight, st.samples);
    }
  }
  double total = 0;
  for (double t : times) total += t;
  const RenderStatus st = renderStatus(r);
  std::printf("%s\n%dx%d, render %dx%d, %d iterations, %d frames: longest %.0f ms, median %.0f ms, "
              "total %.1f s\n",
              r.gpu.c_str(), width, height, st.renderWidth, st.renderHeight, st.iterations, frames,
              *std::max_element(times.begin(), times.end()) * 1000, median(times) * 1000, total);
  destroyRenderer(r);
  platform::destroyWindow(window);
  return 0;
}
