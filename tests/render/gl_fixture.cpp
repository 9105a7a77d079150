#include "gl_fixture.h"

#include "app/app_state.h"

#include "platform/platform.h"
#include "render/gl.h"
#include "../support/test_support.h"

#include <algorithm>
#include <cmath>
#include <fstream>

platform::Window* RenderGl::window = nullptr;
Renderer* RenderGl::renderer = nullptr;
std::string RenderGl::skipReason;

void RenderGl::SetUpTestSuite() {
  if (window || !skipReason.empty()) return;
  window = openHeadless(64, 48, skipReason);
  if (!window) return;
  std::string error;
  renderer = new Renderer;
  if (!initRenderer(*renderer, platform::glProcAddress, error)) {
    skipReason = "renderer start-up failed: " + error;
    delete renderer;
    renderer = nullptr;
  }
}

void RenderGl::TearDownTestSuite() {
  if (renderer) destroyRenderer(*renderer);
  delete renderer;
  renderer = nullptr;
  if (window) platform::destroyWindow(window);
  window = nullptr;
}

void RenderGl::SetUp() {
  if (!renderer) GTEST_SKIP() << skipReason;
  // Tests shrink the budgets to force bands and tiles on small pictures; each
  // starts from the product's own.
  renderer->bandMs = kBandMs;
  renderer->bandingMs = kBandingMs;
  renderer->photoTile = kPhotoTile;
  renderer->posterTile = kPosterTile;
}

CameraView cameraAt(const double pos[3], const float basis[9], double distance, double tanHalfFov) {
  CameraView c;
  std::copy(pos, pos + 3, c.pos);
  std::copy(basis, basis + 9, c.basis);
  c.distance = distance;
  c.tanHalfFov = tanHalfFov;
  return c;
}

CameraView cameraOf(const FractalParams& p) {
  Camera c;
  setCameraFromParams(c, p);
  return cameraViewOf(c, p.fov);
}

FrameInput stillFrame(const FractalParams& p, const RenderQuality& s, int w, int h, uint32_t fbo) {
  FrameInput in;
  in.now = 100;
  in.width = w;
  in.height = h;
  in.windowFbo = fbo;
  in.params = &p;
  in.quality = s;
  in.camera = cameraOf(p);
  return in;
}

bool accumulate(Renderer& r, FrameInput in, int samples) {
  in.targetSamples = samples;
  for (int frame = 0; frame < samples * 64 + 16; ++frame) {
    renderFrame(r, in);
    in.now += 1.0;  // far past any moving-until time
    if (renderStatus(r).samples >= samples) return true;
  }
  return false;
}

OwnTargets::OwnTargets(int w, int h) {
  createTarget(a, w, h, TargetFormat::Float32, true);
  createTarget(b, w, h, TargetFormat::Float32, true);
}

OwnTargets::~OwnTargets() {
  deleteTarget(a);
  deleteTarget(b);
  deleteTarget(pre);
}

std::vector<float> readFloatTarget(const RenderTarget& t, int w, int h) {
  std::vector<float> px(size_t(w) * h * 4);
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, t.fbo.id);
  gl.ReadBuffer(GL_COLOR_ATTACHMENT0);
  gl.ReadPixels(0, 0, w, h, GL_RGBA, GL_FLOAT, px.data());
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  return px;
}

namespace {

// Linear colour to display range 0..1, the way the eye compares pictures.
float display(float v) { return std::clamp(std::pow(std::max(v, 0.0f), 1 / 2.2f), 0.0f, 1.0f); }

uint8_t toByte(float v) { return uint8_t(display(v) * 255 + 0.5f); }

void writePng(const std::string& path, const std::vector<uint8_t>& rgba, int w, int h) {
  std::string png;
  if (!platform::encodePngPixels(rgba.data(), w, h, png)) return;
  std::ofstream(path, std::ios::binary) << png;
}

std::vector<uint8_t> toBytes(const std::vector<float>& px) {
  std::vector<uint8_t> out(px.size());
  for (size_t i = 0; i < px.size(); ++i) out[i] = (i % 4 == 3) ? 255 : toByte(px[i]);
  return out;
}

}  // namespace

ImageDiff compareImages(const std::string& name, const std::vector<float>& actual,
                        const std::vector<float>& expected, int w, int h, float tolerance) {
  ImageDiff d;
  std::vector<uint8_t> diff(size_t(w) * h * 4, 255);
  for (int i = 0; i < w * h; ++i) {
    float worst = 0;
    for (int c = 0; c < 3; ++c)
      worst = std::max(worst, std::fabs(display(actual[i * 4 + c]) - display(expected[i * 4 + c])));
    const bool bad = !(worst <= tolerance);
    d.differing += bad;
    d.meanAbs += worst / (w * h);
    d.worst = std::max(d.worst, worst);
    diff[i * 4 + 0] = bad ? 255 : 0;
    diff[i * 4 + 1] = diff[i * 4 + 2] = uint8_t(std::min(255.0f, worst * 255));
  }
  if (d.differing > 0) {
    const std::string base = std::string(QTX_TEST_OUTPUT_DIR) + "/" + name;
    writePng(base + ".actual.png", toBytes(actual), w, h);
    writePng(base + ".expected.png", toBytes(expected), w, h);
    writePng(base + ".diff.png", diff, w, h);
  }
  return d;
}

std::ostream& operator<<(std::ostream& o, const ImageDiff& d) {
  return o << d.differing << " pixels differ (mean " << d.meanAbs << ", worst " << d.worst
           << "); images written next to the test binary";
}
