// photo.cpp — the tiled offscreen photo render.
#include "model/tables.h"
#include "render/frame_math.h"
#include "render/gl.h"
#include "render/passes.h"
#include "render/renderer.h"
#include "render/shader_text.h"

#include <algorithm>
#include <chrono>
#include <cstring>

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
  const RenderQuality& q = in.quality;
  const double dist = in.camera.distance;
  TraceView v;
  v.width = w;
  v.height = h;
  v.camera = in.camera;
  v.sequenceBase = in.jitterSequence >= 0 ? uint32_t(in.jitterSequence) : r.sequence;
  const DepthDetail detail = depthDetail(p, q, in.diveActive, dist, true);
  v.maxSteps = detail.maxSteps;
  v.detail = float(q.precision);
  v.iterations = detail.iterations;
  v.gi = q.gi;
  const int setting = in.deepForced ? 2 : q.deep;
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
  if (!in.params || w < 1 || h < 1 || samples < 1) return false;
  r.lighting = lightingFromParams(*in.params);
  PhotoTargets pt;
  createTarget(pt.accumA, w, h, TargetFormat::Float32, true);
  createTarget(pt.accumB, w, h, TargetFormat::Float32, true);
  createTarget(pt.bloom0, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  createTarget(pt.bloom1, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  createTarget(pt.output, w, h, TargetFormat::Unorm8, true);
  const TraceTargets targets{&pt.accumA, &pt.accumB, &pt.prepass, &pt.prepassValid};
  const RenderOptions o{in.quality.shadows, in.quality.ao, in.quality.prepass};
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
  postPass(r, pt.accumA, w, h, pt.bloom0, pt.bloom1, pt.output.fbo, w, h);
  readWindowPixels(r, pt.output.fbo, w, h, rgbaBottomUp);
  return true;
}

// [SECTION] Poster

namespace {

// One tile's targets, kept while the next tile has the same size (all tiles
// inside the picture do).
struct PosterTargets {
  RenderTarget accumA, accumB, bloom0, bloom1, prepass, output;
  bool prepassValid = false;
  ~PosterTargets() {
    for (RenderTarget* t : {&accumA, &accumB, &bloom0, &bloom1, &prepass, &output}) deleteTarget(*t);
  }
  void fit(const PosterTile& t) {
    if (accumA.width != t.accumW || accumA.height != t.accumH) {
      createTarget(accumA, t.accumW, t.accumH, TargetFormat::Float32, true);
      createTarget(accumB, t.accumW, t.accumH, TargetFormat::Float32, true);
    } else {
      // The next tile's first sample blends with nothing, but the trace pass
      // reads A; a clean start keeps a NaN of the last tile from leaking.
      for (RenderTarget* a : {&accumA, &accumB}) {
        gl.BindFramebuffer(GL_FRAMEBUFFER, a->fbo.id);
        gl.ClearColor(0, 0, 0, 0);
        gl.Clear(GL_COLOR_BUFFER_BIT);
      }
      gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
    }
    prepassValid = false;
    const int bw = std::max(1, t.bloomW), bh = std::max(1, t.bloomH);
    if (bloom0.width != bw || bloom0.height != bh) {
      createTarget(bloom0, bw, bh, TargetFormat::Float32, true);
      createTarget(bloom1, bw, bh, TargetFormat::Float32, true);
    }
    if (output.width != t.w || output.height != t.h) createTarget(output, t.w, t.h, TargetFormat::Unorm8, false);
  }
};

}  // namespace

bool renderPoster(Renderer& r, int w, int h, int samples, const FrameInput& in, int firstRow, int endRow,
                  const PosterRows& rows, const std::function<bool(double fraction, double secondsLeft)>& progress) {
  firstRow = std::max(0, firstRow);
  endRow = std::min(h, endRow);
  if (!in.params || w < 1 || h < 1 || samples < 1 || firstRow >= endRow) return false;
  r.lighting = lightingFromParams(*in.params);
  const bool bloom = r.lighting.bloom > 0.001f;
  const int side = std::max(4, r.posterTile & ~3);
  std::vector<std::vector<PosterTile>> grid = posterTileRows(w, h, side, bloom);
  // Only the tile rows that hold wanted rows; a band cut through a tile row
  // still draws the whole tile, so that its pixels are the whole poster's.
  const int rowFirst = firstRow / side, rowEnd = (endRow - 1) / side + 1;
  const double total = double(rowEnd - rowFirst) * double(grid[0].size()) * samples;
  const RenderOptions o{in.quality.shadows, in.quality.ao, in.quality.prepass};
  PosterTargets pt;
  const TraceTargets targets{&pt.accumA, &pt.accumB, &pt.prepass, &pt.prepassValid};
  TraceView v = photoView(r, in, w, h);
  std::vector<uint8_t> band(size_t(w) * size_t(side) * 4), tile;
  const double start = secondsNow();
  long draws = 0;
  for (int row = rowFirst; row < rowEnd; ++row) {
    for (const PosterTile& t : grid[size_t(row)]) {
      pt.fit(t);
      v.offset[0] = t.accumX, v.offset[1] = t.accumY;
      v.targetWidth = t.accumW, v.targetHeight = t.accumH;
      for (int s = 0; s < samples; ++s) {
        v.frame = s;
        tracePass(r, targets, v, *in.params, o);  // a failed build draws nothing; reported by the driver
        if (++draws % 4 != 0 && draws != long(total)) continue;
        gl.Finish();
        const double fraction = draws / total, elapsed = secondsNow() - start;
        if (progress && !progress(fraction, elapsed / fraction - elapsed)) return false;
      }
      const PostWindow win{w, h, t.accumX, t.accumY, t.bloomX, t.bloomY, t.x, t.y};
      postPassWindow(r, pt.accumA, pt.bloom0, pt.bloom1, pt.output.fbo, t.w, t.h, win);
      readWindowPixels(r, pt.output.fbo, t.w, t.h, tile);
      // GL's rows run bottom-up; the band runs top-down from the tile row's top.
      const size_t stride = size_t(t.w) * 4;
      for (int j = 0; j < t.h; ++j)
        std::memcpy(&band[(size_t(t.h - 1 - j) * size_t(w) + size_t(t.x)) * 4], &tile[size_t(j) * stride], stride);
    }
    const int top = row * side, bandRows = grid[size_t(row)][0].h;
    const int from = std::max(firstRow, top), to = std::min(endRow, top + bandRows);
    if (!rows(&band[size_t(from - top) * size_t(w) * 4], to - from)) return false;
  }
  return true;
}
