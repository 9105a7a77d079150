// The frame driver's and the photo's arithmetic: sizes, tiles, bands, jitter, detail with depth, pacing.
#include "render/frame_math.h"

#include "model/tables.h"

#include <algorithm>
#include <cmath>

double autoRenderScale(int width, int height) {
  return std::min(1.0, std::sqrt(2400000.0 / (double(width) * double(height))));
}

void accumulationSize(int width, int height, double resScale, int& accW, int& accH) {
  const double s = resScale > 0 ? resScale : autoRenderScale(width, height);
  accW = std::max(1, int(std::lround(width * s)));
  accH = std::max(1, int(std::lround(height * s)));
}

int bloomSide(int windowSide) { return std::max(1, (windowSide + 3) / 4); }

int prepassSide(int renderSide) { return (renderSide + 3) / 4; }

std::vector<Tile> photoTiles(int width, int height, int side) {
  std::vector<Tile> tiles;
  for (int y = 0; y < height; y += side)
    for (int x = 0; x < width; x += side)
      tiles.push_back({x, y, std::min(side, width - x), std::min(side, height - y)});
  return tiles;
}

namespace {

// One axis of a poster tile: [lo, hi) of the picture's `size` pixels.
void posterSpan(int lo, int hi, int size, bool bloom, int& accLo, int& accHi, int& blLo, int& blHi) {
  accLo = lo & ~3;
  accHi = hi;
  blLo = blHi = 0;
  if (!bloom) return;
  const int bloomSize = bloomSide(size);
  const double step = double(size) / bloomSize;  // picture pixels per bloom texel
  blLo = std::max(0, int(std::floor(lo / step)) - kPosterBloomMargin);
  blHi = std::min(bloomSize, int(std::ceil(hi / step)) + kPosterBloomMargin);
  accLo = std::max(0, int(std::floor(blLo * step)) - 4) & ~3;
  accHi = std::min(size, int(std::ceil(blHi * step)) + 4);
}

}  // namespace

std::vector<std::vector<PosterTile>> posterTileRows(int width, int height, int side, bool bloom) {
  std::vector<std::vector<PosterTile>> rows;
  side = std::max(4, side & ~3);
  for (int top = 0; top < height; top += side) {
    const int h = std::min(side, height - top), y = height - top - h;
    std::vector<PosterTile> row;
    for (int x = 0; x < width; x += side) {
      PosterTile t{x, y, std::min(side, width - x), h, 0, 0, 0, 0, 0, 0, 0, 0};
      int a0, a1, b0, b1;
      posterSpan(t.x, t.x + t.w, width, bloom, a0, a1, b0, b1);
      t.accumX = a0, t.accumW = a1 - a0, t.bloomX = b0, t.bloomW = b1 - b0;
      posterSpan(t.y, t.y + t.h, height, bloom, a0, a1, b0, b1);
      t.accumY = a0, t.accumH = a1 - a0, t.bloomY = b0, t.bloomH = b1 - b0;
      row.push_back(t);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

int bandRows(double msPerRow, int renderHeight, double bandMs) {
  const double ms = std::max(msPerRow, 0.000001);
  return std::max(8, int(std::min<double>(renderHeight, bandMs / ms)));
}

bool needsBanding(double msPerRow, int renderHeight, double limitMs) {
  return renderHeight * msPerRow > limitMs;
}

double sampleRate(double previousRate, double lastSample, double sampleStart, double now) {
  // A quarter second between one sample's end and the next one's start is
  // a pause (the picture was final, or nothing changed), not rendering time.
  const bool followed = lastSample >= 0 && sampleStart - lastSample < 0.25;
  const double from = followed ? lastSample : sampleStart;
  const double f = 1 / std::max(now - from, 0.0001);
  return lastSample < 0 ? f : 0.8 * previousRate + 0.2 * f;
}

double radicalInverse(uint32_t i, uint32_t base) {
  double f = 1, r = 0;
  while (i > 0) {
    f /= base;
    r += f * double(i % base);
    i /= base;
  }
  return r;
}

void sampleJitter(int n, uint32_t sequenceBase, double history, float out[2]) {
  out[0] = out[1] = 0;
  if (n < 1 && !(n == 0 && history > 0)) return;
  const uint32_t i = ((uint32_t(n) + sequenceBase) % 4096u) + 1u;
  out[0] = float(radicalInverse(i, 2) - 0.5);
  out[1] = float(radicalInverse(i, 3) - 0.5);
}

double diveDepth(double referenceDist, double cameraDist) {
  return std::max(0.0, std::log2(referenceDist / std::max(cameraDist, 1e-12)));
}

bool detailGrows(bool autoIter, bool diveActive) { return autoIter || diveActive; }

int frameIterations(const FractalParams& p, bool grows, double cameraDist) {
  // Records are made safe when read; a conversion to int must still never
  // see a value beyond int's range, wherever a record came from.
  const double iter = std::isfinite(p.iter) ? std::clamp(p.iter, 0.0, 400.0) : 0.0;
  if (!grows) return int(std::floor(iter + 0.5));
  const FractalType& t = fractalTypes()[typeIndex(p.type)];
  const double depth = diveDepth(t.camDist, cameraDist);
  return std::min(400, int(std::floor(depth * t.iterGrowth + iter + 0.5)));
}

int frameStepBudget(int maxStepsSetting, bool grows, double depth) {
  const double extra = grows ? std::min(400.0, 24 * depth) : 0;
  return std::min(2000, int(maxStepsSetting + extra));
}

int photoStepBudget(int maxStepsSetting, bool grows, double depth) {
  const double extra = grows ? 24 * std::max(0.0, depth) : 0;
  return int(std::min(2000.0, maxStepsSetting + extra));
}

DepthDetail depthDetail(const FractalParams& p, const RenderQuality& q, bool diveActive, double cameraDist,
                        bool photo) {
  const bool grows = detailGrows(q.autoIter, diveActive);
  const double depth = diveDepth(fractalTypes()[typeIndex(p.type)].camDist, cameraDist);
  DepthDetail d;
  d.iterations = frameIterations(p, grows, cameraDist);
  d.maxSteps = photo ? photoStepBudget(q.maxSteps, grows, depth) : frameStepBudget(q.maxSteps, grows, depth);
  return d;
}

bool chooseDeep(int setting, bool eligible, double cameraDist, bool deepNow) {
  if (!eligible || setting == 1) return false;
  if (setting == 2) return true;
  return cameraDist < (deepNow ? 0.0004 : 0.0002);
}

double easeShift(double shift, double target, double dt) {
  if (std::fabs(target - shift) <= 0.5) return target;
  return shift + (1 - std::exp(-12 * dt)) * (target - shift);
}

double adaptScale(double scale, bool moving, bool banding, bool completedMovingBefore, double dt) {
  if (!moving) return scale;
  if (banding) scale = std::max(0.25, scale * 0.9);
  if (completedMovingBefore) {
    if (dt > 0.025) scale = std::max(0.25, scale * 0.9);
    else if (dt < 1.0 / 55) scale = std::min(1.0, scale * 1.04);
  }
  return scale;
}

double resolutionFactor(double scale, bool moving, bool adaptiveSetting) {
  if (!moving || !adaptiveSetting) return 1;
  return std::round(scale * 20) * 0.05;
}

double qualityCost(int steps, int iterations, bool deep, bool fast, bool gi) {
  double c = double(std::max(steps, 1)) * double(std::max(iterations, 1));
  if (deep) c *= 3;
  if (!fast) c *= 1.5;
  if (gi) c *= 2;
  return c;
}

void paceForget(FramePacing& f) {
  f.pixelMs = 0;
  f.spansSample = false;
  paceRestartSample(f);
}

void paceQuality(FramePacing& f, double quality) {
  if (f.quality > 0 && quality != f.quality) {
    const double ratio = quality / f.quality;
    f.pixelMs *= ratio;
    f.sampleMs *= ratio;
  }
  f.quality = quality;
}

int paceRows(const FramePacing& f, int cursor, int w, int h, double bandMs, double bandingMs, int growth) {
  const int left = std::max(0, h - cursor);
  if (f.pixelMs <= 0) return std::min(kProbeRows, left);
  const double rowMs = f.pixelMs * w;
  int rows = needsBanding(rowMs, h, bandingMs) ? bandRows(rowMs, h, bandMs) : h;
  const bool skyProof = rowMs * kSkyRatio * h <= bandMs;
  if (!f.spansSample && !skyProof) rows = std::min(rows, std::max(kProbeRows, growth * f.sampleRows));
  return std::min(rows, left);
}

PacePlan pacePlan(FramePacing& f, const PaceInput& in) {
  f.scale = adaptScale(f.scale, in.moving, f.banding, f.completedMoving, in.dt);
  const double factor = resolutionFactor(f.scale, in.moving, in.adaptive);
  PacePlan p;
  p.w = std::max(1, int(std::lround(in.accW * factor)));
  p.h = std::max(1, int(std::lround(in.accH * factor)));
  p.sizeChanged = p.w != in.renderW || p.h != in.renderH;
  if (p.sizeChanged) paceRestartSample(f);
  p.rows = paceRows(f, p.sizeChanged ? 0 : in.cursor, p.w, p.h, in.bandMs, in.bandingMs, in.growth);
  return p;
}

void paceMeasured(FramePacing& f, double ms, int rows, int w, int h, bool completes, double bandingMs) {
  if (rows < 1 || w < 1) return;
  f.sampleMs += ms;
  f.sampleRows += rows;
  const double mean = std::max(f.sampleMs / (double(f.sampleRows) * w), 1e-9);
  // A sample drawn from its first row to its last has every kind of row in
  // it; until then a mean over some rows may only raise a whole estimate.
  const bool whole = completes && f.sampleRows >= h;
  f.pixelMs = (whole || !f.spansSample) ? mean : std::max(f.pixelMs, mean);
  f.spansSample = f.spansSample || whole;
  if (completes) paceRestartSample(f);
  f.banding = needsBanding(f.pixelMs * w, h, bandingMs);
}

void paceRestartSample(FramePacing& f) {
  f.sampleMs = 0;
  f.sampleRows = 0;
}

double bandBudgetMs(double bandMs, double postMs, bool unattended) {
  if (unattended) return bandMs * (1000 / kBandMs);
  return bandMs * std::clamp(postMs / kBandMs, 1.0, 500 / kBandMs);
}

int bandGrowth(bool unattended) { return unattended ? 8 : 2; }

bool wantsPost(bool unattended, bool pictureFinal, double sinceLastPost) {
  return !unattended || pictureFinal || sinceLastPost >= 0.25;
}

std::array<uint8_t, 1024> rotatedPalette(const std::array<uint8_t, 1024>& texels, double phase) {
  const double cycle = phase / 2 - std::floor(phase / 2);  // one mirrored cycle = 2 lengths
  const int offset = int(std::lround(cycle * 512)) % 512;
  std::array<uint8_t, 1024> out;
  for (int i = 0; i < 256; ++i) {
    const int j = (i + offset) % 512;
    const int src = j < 256 ? j : 511 - j;
    for (int c = 0; c < 4; ++c) out[i * 4 + c] = texels[src * 4 + c];
  }
  return out;
}

namespace {

void linearColour(const std::string& hex, float out[3]) {
  float c[3];
  parseHexColour(hex, c);
  for (int i = 0; i < 3; ++i) out[i] = std::pow(c[i], 2.2f);
}

}  // namespace

Lighting lightingFromParams(const FractalParams& p) {
  Lighting l;
  const double deg = 3.14159265358979323846 / 180;
  const double yaw = p.lightYaw * deg, pitch = p.lightPitch * deg;
  l.lightDir[0] = float(std::cos(pitch) * std::sin(yaw));
  l.lightDir[1] = float(std::sin(pitch));
  l.lightDir[2] = float(std::cos(pitch) * std::cos(yaw));
  linearColour(p.glowColor, l.glowCol);
  linearColour(p.bgTop, l.bgTop);
  linearColour(p.bgBot, l.bgBot);
  l.light = float(p.light), l.ambient = float(p.ambient), l.spec = float(p.spec);
  l.shadowSoft = float(p.shadowSoft), l.metal = float(p.metal), l.irid = float(p.irid);
  l.glow = float(p.glow), l.fog = float(p.fog), l.aperture = float(p.aperture);
  l.focus = float(p.focus), l.exposure = float(p.exposure), l.bloom = float(p.bloom);
  l.vignette = float(p.vignette);
  return l;
}
