// photo.cpp — the tiled offscreen photo render.
#include "model/tables.h"
#include "render/frame_math.h"
#include "render/gl.h"
#include "render/passes.h"
#include "render/renderer.h"
#include "render/shader_text.h"

#include <chrono>

namespace {

// The photo's own targets; deleted on every way out, cancel included.
struct PhotoTargets {
  RenderTarget accumA, accumB, bloom0, bloom1, prepass, output;
  bool prepassValid = false;
  ~PhotoTargets() {
    for (RenderTarget* t : {&accumA, &accumB, &bloom0, &bloom1, &prepass, &output}) deleteTarget(*t);
  }
};

double secondsNow() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

TraceView photoView(const Renderer& r, const FrameInput& in, int w, int h) {
  const FractalParams& p = *in.params;
  const AppSettings& s = *in.settings;
  const double dist = in.camera.distance;
  TraceView v;
  v.width = w;
  v.height = h;
  v.camera = in.camera;
  v.sequenceBase = r.sequence;
  const DepthDetail detail = depthDetail(p, s, in.diveActive, dist, true);
  v.maxSteps = detail.maxSteps;
  v.detail = float(s.precision);
  v.iterations = detail.iterations;
  v.gi = s.gi;
  const int setting = in.deepForced ? 2 : s.deep;
  v.deep = chooseDeep(setting, canUseDoublePrecision(p), dist, r.deep);
  // The image shift centres the fractal beside the panel; a photo has no panel.
  v.shift = 0;
  v.focus = float(!p.autoFocus ? p.focus : r.focusDepth > 0 ? r.focusDepth : dist);
  return v;
}

}  // namespace

bool renderPhoto(Renderer& r, int w, int h, int samples, const FrameInput& in,
                 std::vector<uint8_t>& rgbaBottomUp,
                 const std::function<bool(double fraction, double secondsLeft)>& progress) {
  if (!in.params || !in.settings || w < 1 || h < 1 || samples < 1) return false;
  r.lighting = lightingFromParams(*in.params);
  PhotoTargets pt;
  createTarget(pt.accumA, w, h, TargetFormat::Float32, true);
  createTarget(pt.accumB, w, h, TargetFormat::Float32, true);
  createTarget(pt.bloom0, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  createTarget(pt.bloom1, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  createTarget(pt.output, w, h, TargetFormat::Unorm8, true);
  const TraceTargets targets{&pt.accumA, &pt.accumB, &pt.prepass, &pt.prepassValid};
  const RenderOptions o{in.settings->shadows, in.settings->ao, in.settings->prepass};
  const std::vector<Tile> tiles = photoTiles(w, h, r.photoTile);
  const double total = double(tiles.size()) * samples;
  const double start = secondsNow();
  TraceView v = photoView(r, in, w, h);
  long draws = 0;
  for (int s = 0; s < samples; ++s) {
    for (const Tile& tile : tiles) {
      v.frame = s;
      v.scissor[0] = tile.x, v.scissor[1] = tile.y, v.scissor[2] = tile.w, v.scissor[3] = tile.h;
      tracePass(r, targets, v, *in.params, o);  // a failed build draws nothing; reported by the driver
      if (++draws % 4 != 0) continue;
      gl.Finish();
      const double fraction = draws / total, elapsed = secondsNow() - start;
      if (progress && !progress(fraction, elapsed / fraction - elapsed)) return false;
    }
  }
  postPass(r, pt.accumA, w, h, pt.bloom0, pt.bloom1, pt.output.fbo.id, w, h);
  readWindowPixels(r, pt.output.fbo.id, w, h, rgbaBottomUp);
  return true;
}
