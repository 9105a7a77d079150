// bench_frames — the longest single frame the interactive loop can be held
// for: a record (from a preset file, made safe as any file is, or the worst
// one built in: the heaviest type at its iteration maximum, 2000 ray steps,
// finest detail, global illumination, a nearly flat field of view and twice
// the resolution) rendered frame by frame through the frame driver at a
// window size, still and while the camera moves. Prints the longest, median
// and total frame times.
//
//   bench_frames [--size WxH] [--frames N] [PRESET]
//
// BENCH_FRAMES_EACH=1 in the environment prints every frame's time as well.
#include "app/app_state.h"
#include "io/files.h"
#include "io/settings.h"
#include "model/seed.h"
#include "model/tables.h"
#include "nav/camera.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

}  // namespace

int main(int argc, char** argv) {
  int width = 1600, height = 950, frames = 60;
  std::string file;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--size") && i + 1 < argc) std::sscanf(argv[++i], "%dx%d", &width, &height);
    else if (!std::strcmp(argv[i], "--frames") && i + 1 < argc) frames = std::atoi(argv[++i]);
    else file = argv[i];
  }
  FractalParams p = worstRecord();
  std::string error;
  if (!file.empty() && !loadPresetFile(file, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  platform::WindowDesc desc;
  desc.kind = platform::WindowKind::Headless;
  desc.width = width;
  desc.height = height;
  platform::Window* window = platform::createWindow(desc, error);
  Renderer r;
  if (!window || !initRenderer(r, platform::glProcAddress, error) || !setFractal(r, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  AppSettings s;
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
  in.settings = &s;
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
