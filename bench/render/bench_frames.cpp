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
#include "io/files.h"
#include "io/settings.h"
#include "model/seed.h"
#include "model/tables.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

CameraView cameraOf(const FractalParams& p, double yawShift) {
  const double d2r = 3.14159265358979323846 / 180;
  const double yaw = (p.yaw + yawShift) * d2r, pitch = p.pitch * d2r;
  const double d[3] = {std::cos(pitch) * std::sin(yaw), std::sin(pitch), std::cos(pitch) * std::cos(yaw)};
  const double f[3] = {-d[0], -d[1], -d[2]};
  const double len = std::hypot(f[2], f[0]);
  const double rt[3] = {-f[2] / len, 0, f[0] / len};
  const double up[3] = {rt[1] * f[2] - rt[2] * f[1], rt[2] * f[0] - rt[0] * f[2], rt[0] * f[1] - rt[1] * f[0]};
  CameraView c;
  for (int i = 0; i < 3; ++i) {
    c.pos[i] = (i == 0 ? p.tx : i == 1 ? p.ty : p.tz) + p.dist * d[i];
    c.basis[i] = float(rt[i]);
    c.basis[3 + i] = float(up[i]);
    c.basis[6 + i] = float(f[i]);
  }
  c.distance = p.dist;
  c.tanHalfFov = std::tan(p.fov * d2r / 2);
  return c;
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
