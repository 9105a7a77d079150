// bench_render — renders every fractal type headless and prints the time to
// the first picture (context start-up for the first type, shader build, the
// first sample through the frame driver) and the tracing throughput in
// samples · megapixels per second (through the photo path, which includes
// the final composite once).
//
//   bench_render [--samples N] [--size WxH] [--png DIR] [--type KEY]
//
// --type renders that type alone.
// --png writes each type's final picture as DIR/TYPE.png for a look.
#include "app/app_state.h"
#include "model/seed.h"
#include "model/tables.h"
#include "nav/camera.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

struct Options {
  int samples = 8;
  int width = 1280, height = 720;
  std::string pngDir;
  std::string type;
};

bool parseOptions(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    const bool hasValue = i + 1 < argc;
    if (!std::strcmp(argv[i], "--samples") && hasValue) o.samples = std::atoi(argv[++i]);
    else if (!std::strcmp(argv[i], "--size") && hasValue)
      std::sscanf(argv[++i], "%dx%d", &o.width, &o.height);
    else if (!std::strcmp(argv[i], "--png") && hasValue) o.pngDir = argv[++i];
    else if (!std::strcmp(argv[i], "--type") && hasValue) o.type = argv[++i];
    else return false;
  }
  return o.samples > 0 && o.width > 0 && o.height > 0;
}

// The view the shell traces for the record.
CameraView cameraOf(const FractalParams& p) {
  Camera c;
  setCameraFromParams(c, p);
  return cameraViewOf(c, p.fov);
}

void writePng(const std::string& path, const std::vector<uint8_t>& px, int w, int h) {
  std::string png;
  if (platform::encodePngPixels(px.data(), w, h, png)) std::ofstream(path, std::ios::binary) << png;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (!parseOptions(argc, argv, o)) {
    std::fprintf(stderr, "usage: bench_render [--samples N] [--size WxH] [--png DIR] [--type KEY]\n");
    return 2;
  }
  const double start = platform::now();
  platform::WindowDesc desc;
  desc.kind = platform::WindowKind::Headless;
  desc.width = o.width;
  desc.height = o.height;
  std::string error;
  platform::Window* window = platform::createWindow(desc, error);
  if (!window) {
    std::fprintf(stderr, "no GL context: %s\n", error.c_str());
    return 1;
  }
  Renderer r;
  if (!initRenderer(r, platform::glProcAddress, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  const double startup = platform::now() - start;
  std::printf("%s\n%dx%d, %d samples; start-up (context + post programs) %.0f ms\n", r.gpu.c_str(),
              o.width, o.height, o.samples, startup * 1000);
  std::printf("%-12s %14s %14s %16s\n", "type", "first pic ms", "sample ms", "samples*Mpx/s");
  RenderQuality settings;
  settings.resScale = 1;  // measure the requested size, not the automatic cap
  const double mpx = o.width * o.height / 1e6;
  double unclaimedStartup = startup;
  for (const FractalType& t : fractalTypes()) {
    if (!o.type.empty() && t.key != o.type) continue;
    const FractalParams p = generateFromSeed("classic", t.key);
    FrameInput in;
    in.width = o.width;
    in.height = o.height;
    in.windowFbo = platform::defaultFramebuffer(window);
    in.params = &p;
    in.quality = settings;
    in.camera = cameraOf(p);
    in.targetSamples = 1;
    const double t0 = platform::now();
    if (!setFractal(r, p, error)) {
      std::printf("%-12s build failed: %s\n", t.key.c_str(), error.c_str());
      continue;
    }
    // The interactive path: build, first sample (in bands when slow), composite.
    for (in.now = 1000; renderStatus(r).samples < 1; in.now += 1) renderFrame(r, in);
    const double first = platform::now() - t0 + unclaimedStartup;
    unclaimedStartup = 0;  // the context starts once, for the first type drawn
    // Throughput: the photo path traces whole tiles with no composite per band.
    std::vector<uint8_t> px;
    const double t1 = platform::now();
    renderPhoto(r, o.width, o.height, o.samples, in, px, nullptr);
    const double perSample = (platform::now() - t1) / o.samples;
    std::printf("%-12s %14.0f %14.1f %16.2f\n", t.key.c_str(), first * 1000, perSample * 1000,
                mpx / perSample);
    std::fflush(stdout);
    if (!o.pngDir.empty()) writePng(o.pngDir + "/" + t.key + ".png", px, o.width, o.height);
  }
  destroyRenderer(r);
  platform::destroyWindow(window);
  return 0;
}
