// GL tests on a headless context (Mesa's software renderer in CI): program
// builds and the cache, the frame driver's picture and accumulation, the
// prepass, fp64 against float (down the bulb's polar axis), shader failures
// and the photo render.
#include "gl_fixture.h"

#include "model/seed.h"
#include "model/tables.h"
#include "platform/platform.h"
#include "render/frame_math.h"
#include "render/gl.h"
#include "render/passes.h"
#include "render/programs.h"
#include "render/shader_sources.h"
#include "render/shader_text.h"

#include <cmath>

namespace {

const Pass kPasses[] = {Pass::Trace, Pass::Deep, Pass::Prepass, Pass::Volume};

// Makes `p` the renderer's record (palette texture, lighting) for direct passes.
void prepare(Renderer& r, const FractalParams& p) {
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
}

TraceView viewOf(const FractalParams& p, int w, int h) {
  TraceView v;
  v.width = w;
  v.height = h;
  v.camera = cameraOf(p);
  v.iterations = 0;
  v.focus = float(p.dist);
  return v;
}

// Mean absolute difference of neighbouring pixels' luminance: how much
// detail the picture resolves.
double edgeEnergy(const std::vector<float>& px, int w, int h) {
  auto lum = [&](int x, int y) {
    const float* p = &px[(size_t(y) * w + x) * 4];
    return 0.2126 * p[0] + 0.7152 * p[1] + 0.0722 * p[2];
  };
  double sum = 0;
  for (int y = 0; y < h - 1; ++y)
    for (int x = 0; x < w - 1; ++x)
      sum += std::fabs(lum(x, y) - lum(x + 1, y)) + std::fabs(lum(x, y) - lum(x, y + 1));
  return sum / (double(w - 1) * (h - 1));
}

}  // namespace

TEST_F(RenderGl, EveryProgramOfEveryTypeBuildsOnce) {
  Renderer& r = *renderer;
  for (const FractalType& t : fractalTypes())
    for (Pass pass : kPasses) {
      r.errorText.clear();
      EXPECT_NE(fractalProgram(r, t.key, pass).id, 0u) << passName(pass) << ":" << t.key << "\n" << r.errorText;
      EXPECT_EQ(r.errorText, "") << passName(pass) << ":" << t.key;
    }
  const int attempts = r.linkAttempts;
  const Program again = fractalProgram(r, "mandelbulb", Pass::Trace);
  EXPECT_EQ(again.id, r.programs.at("trace:mandelbulb").id);
  EXPECT_EQ(r.linkAttempts, attempts);  // served from the cache

  // Setting a uniform the program does not declare is harmless.
  gl.UseProgram(again.id);
  setUniform(r, again, "uNotDeclared", 1.0f);
  EXPECT_EQ(gl.GetError(), GLenum(GL_NO_ERROR));
}

TEST_F(RenderGl, ShaderFailuresAreLoggedCachedAndShownOnce) {
  Renderer& r = *renderer;
  std::string log;
  const std::string vs = fullscreenVertexSource();
  EXPECT_EQ(linkProgram(log, vs, "#version 430 core\nvoid main() { nonsense; }\n").id, 0u);
  EXPECT_FALSE(log.empty());
  const size_t fragmentLog = log.size();
  EXPECT_EQ(linkProgram(log, "#version 430 core\nvoid main() { gl_Position = 1; }\n",
                        "#version 430 core\nvoid main() { nonsense; }\n").id,
            0u);
  EXPECT_GT(log.size(), fragmentLog);  // both stages tried, both logs kept

  // A cached failure is not rebuilt; the driver reports it once.
  FractalParams p = defaultsForType("menger");
  RenderQuality s;
  s.samples = 1;
  r.programs["trace:menger"] = Program{};
  r.errorText = "0:1(1): error: synthetic failure";
  const int attempts = r.linkAttempts;
  FrameInput in = stillFrame(p, s, 64, 48, platform::defaultFramebuffer(window));
  EXPECT_FALSE(renderFrame(r, in));
  EXPECT_EQ(takeShaderMessage(r), "Ошибка шейдера: 0:1(1): error: synthetic failure");
  in.now += 1;
  renderFrame(r, in);
  EXPECT_EQ(takeShaderMessage(r), "");
  EXPECT_EQ(r.linkAttempts, attempts);
  EXPECT_EQ(renderStatus(r).samples, 0);
  std::string error;
  EXPECT_FALSE(setFractal(r, p, error));
  EXPECT_EQ(error, "Не удалось скомпилировать шейдер фрактала:\n0:1(1): error: synthetic failure");
  r.programs.erase("trace:menger");
  r.errorText.clear();
}

TEST_F(RenderGl, ClassicBulbHitsTheCentreAndLeavesTheCornersEmpty) {
  Renderer& r = *renderer;
  const FractalParams p = generateFromSeed("classic", "mandelbulb");
  RenderQuality s;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  FrameInput in = stillFrame(p, s, 80, 60, platform::defaultFramebuffer(window));
  ASSERT_TRUE(accumulate(r, in, 2));
  EXPECT_EQ(renderStatus(r).renderWidth, 80);
  EXPECT_LT(depthAt(r, 0.5, 0.5), 10000);
  EXPECT_GT(depthAt(r, 0.5, 0.5), p.dist * 0.3);
  for (double fx : {0.0, 0.999})
    for (double fy : {0.0, 0.999}) EXPECT_EQ(depthAt(r, fx, fy), 10000) << fx << "," << fy;
  // The target reached: the driver stops asking for frames, and the window
  // shows a lit, coloured picture.
  in.targetSamples = 2;
  in.now = 1e4;
  EXPECT_FALSE(renderFrame(r, in));
  std::vector<uint8_t> px;
  readWindowPixels(r, Framebuffer{in.windowFbo}, 80, 60, px);
  ASSERT_EQ(px.size(), 80u * 60u * 4u);
  const uint8_t* centre = &px[(30 * 80 + 40) * 4];
  const uint8_t* corner = &px[0];
  EXPECT_GT(std::abs(centre[0] - corner[0]) + std::abs(centre[1] - corner[1]) +
                std::abs(centre[2] - corner[2]),
            30);
  // An animated palette phase restarts the final picture as a moving frame.
  in.palettePhase = 0.5;
  in.now += 1;
  EXPECT_TRUE(renderFrame(r, in));
  EXPECT_LE(renderStatus(r).samples, 1);
  in.palettePhase = 0;
  in.now += 1;
  renderFrame(r, in);
}

TEST_F(RenderGl, RunningMeanEqualsTheMeanOfSingleSamples) {
  Renderer& r = *renderer;
  const FractalParams p = defaultsForType("mandelbox");
  prepare(r, p);
  const int w = 48, h = 36, n = 4;
  const RenderOptions o{true, true, false};
  TraceView v = viewOf(p, w, h);
  v.sequenceBase = 7;
  OwnTargets acc(w, h);
  for (int k = 0; k < n; ++k) {
    v.frame = k;
    ASSERT_TRUE(tracePass(r, acc.view(), v, p, o));
  }
  const std::vector<float> running = readFloatTarget(acc.a, w, h);
  // Sample k alone over a black history: the blend leaves col/(k + 1).
  std::vector<float> mean(size_t(w) * h * 4, 0);
  for (int k = 0; k < n; ++k) {
    OwnTargets one(w, h);
    v.frame = k;
    ASSERT_TRUE(tracePass(r, one.view(), v, p, o));
    const std::vector<float> px = readFloatTarget(one.a, w, h);
    for (size_t i = 0; i < px.size(); ++i) mean[i] += px[i] * (k + 1) / n;
  }
  const ImageDiff d = compareImages("running_mean", running, mean, w, h, 2e-3f);
  EXPECT_EQ(d.differing, 0) << d;
  // The first sample's depth stays in alpha.
  OwnTargets first(w, h);
  v.frame = 0;
  tracePass(r, first.view(), v, p, o);
  const std::vector<float> d0 = readFloatTarget(first.a, w, h);
  for (size_t i = 3; i < d0.size(); i += 4) ASSERT_EQ(running[i], d0[i]);
}

// Rays that start at the block's cone distance take other steps to the same
// surface, so pixels inside the fractal's fine detail shade a little
// differently; what must not change is which pixels hit, where, and the
// overall picture. A wrong start (behind the surface, a misread texel, a
// block wrongly marked empty) shows up as holes or shifted depth.
TEST_F(RenderGl, PrepassDoesNotChangeThePicture) {
  Renderer& r = *renderer;
  for (const char* type : {"mandelbulb", "menger"}) {
    const FractalParams p = generateFromSeed("classic", type);
    prepare(r, p);
    const int w = 80, h = 60;
    const TraceView v = viewOf(p, w, h);
    OwnTargets with(w, h), without(w, h);
    ASSERT_TRUE(tracePass(r, with.view(), v, p, {true, true, true}));
    EXPECT_TRUE(with.preValid);
    ASSERT_TRUE(tracePass(r, without.view(), v, p, {true, true, false}));
    const std::vector<float> a = readFloatTarget(with.a, w, h), b = readFloatTarget(without.a, w, h);
    int maskDiffers = 0, depthDiffers = 0, hits = 0;
    double meanA = 0, meanB = 0;
    for (int i = 0; i < w * h; ++i) {
      const float da = a[i * 4 + 3], db = b[i * 4 + 3];
      maskDiffers += (da < 10000) != (db < 10000);
      if (da < 10000 && db < 10000) {
        ++hits;
        depthDiffers += std::fabs(da - db) > 0.02f * db;
      }
      for (int c = 0; c < 3; ++c) meanA += a[i * 4 + c], meanB += b[i * 4 + c];
    }
    const ImageDiff d = compareImages(std::string("prepass_") + type, a, b, w, h, 0.25f);
    EXPECT_GT(hits, w * h / 10) << type;
    EXPECT_LE(maskDiffers, w * h / 200) << type << ": " << d;
    EXPECT_LE(depthDiffers, hits / 50) << type << ": " << d;
    EXPECT_NEAR(meanA / (w * h * 3), meanB / (w * h * 3), 0.01) << type;
    EXPECT_LT(d.meanAbs, 0.05) << type << ": " << d;
    // A later sample with the prepass switched off forgets the stored one, so
    // switching it back on within the accumulation cannot reuse stale depths.
    TraceView later = v;
    later.frame = 1;
    ASSERT_TRUE(tracePass(r, with.view(), later, p, {true, true, false}));
    EXPECT_FALSE(with.preValid) << type;
  }
}

// Looking straight down the z axis from an odd-sized view, the centre ray runs
// exactly along the closed-form bulb's singular axis, where only the floor of
// x² + z² keeps it finite. The deep program continues in float after the
// switch, so a floor that is fine in double but overflows in float turns the
// ray into NaN there and the pixel misses. Elsewhere at this zoom the two
// programs draw the same picture.
TEST_F(RenderGl, DeepAgreesWithFloatAlongTheBulbsPolarAxis) {
  Renderer& r = *renderer;
  FractalParams p = defaultsForType("mandelbulb");
  p.yaw = 0;
  p.pitch = 0;
  ASSERT_TRUE(canUseDoublePrecision(p));
  prepare(r, p);
  const int w = 33, h = 25;
  TraceView v = viewOf(p, w, h);
  const RenderOptions o{true, true, false};
  OwnTargets f(w, h), d(w, h);
  ASSERT_TRUE(tracePass(r, f.view(), v, p, o));
  v.deep = true;
  ASSERT_TRUE(tracePass(r, d.view(), v, p, o));
  const std::vector<float> fp = readFloatTarget(f.a, w, h), dp = readFloatTarget(d.a, w, h);
  const size_t centre = (size_t(h / 2) * w + w / 2) * 4 + 3;
  EXPECT_LT(fp[centre], 10000);
  EXPECT_NEAR(dp[centre], fp[centre], fp[centre] * 1e-3);
  const ImageDiff diff = compareImages("deep_vs_float", dp, fp, w, h, 0.1f);
  EXPECT_LE(diff.differing, w * h / 50) << diff;
  EXPECT_LT(diff.meanAbs, 0.02) << diff;
  int hitsF = 0, hitsD = 0;
  for (size_t i = 3; i < fp.size(); i += 4) hitsF += fp[i] < 10000, hitsD += dp[i] < 10000;
  EXPECT_NEAR(hitsD, hitsF, w * h / 100);
}

TEST_F(RenderGl, DeepResolvesDetailWhereFloatRunsOut) {
  Renderer& r = *renderer;
  const FractalParams p = defaultsForType("mandelbulb");
  prepare(r, p);
  const int w = 65, h = 49;  // odd: the centre pixel's ray is the forward axis
  const RenderOptions o{true, true, false};
  TraceView v = viewOf(p, w, h);
  v.deep = true;
  // Sink towards the surface at the centre, refining the aim point with the
  // fp64 depth at every stage (finer detail keeps appearing behind the
  // coarse surface), down to a distance of 1e-6.
  std::vector<double> stages;
  for (double dist = 3e-2; dist > 1e-6; dist /= 5) stages.push_back(dist);
  stages.insert(stages.end(), 3, 1e-6);
  for (double dist : stages) {
    OwnTargets t(w, h);
    ASSERT_TRUE(tracePass(r, t.view(), v, p, o));
    const std::vector<float> px = readFloatTarget(t.a, w, h);
    const double depth = px[(size_t(h / 2) * w + w / 2) * 4 + 3];
    ASSERT_LT(depth, 10000) << "lost the surface above distance " << dist;
    const float* fw = &v.camera.basis[6];
    for (int i = 0; i < 3; ++i) v.camera.pos[i] += fw[i] * (depth - dist);
    v.camera.distance = dist;
  }
  OwnTargets deep(w, h), flat(w, h);
  ASSERT_TRUE(tracePass(r, deep.view(), v, p, o));
  v.deep = false;
  ASSERT_TRUE(tracePass(r, flat.view(), v, p, o));
  const double eDeep = edgeEnergy(readFloatTarget(deep.a, w, h), w, h);
  const double eFlat = edgeEnergy(readFloatTarget(flat.a, w, h), w, h);
  EXPECT_GT(eDeep, 0.0);
  EXPECT_GT(eDeep, eFlat * 1.5) << "deep " << eDeep << " float " << eFlat;
}

TEST_F(RenderGl, PhotoReturnsPixelsAndReportsProgress) {
  Renderer& r = *renderer;
  const FractalParams p = generateFromSeed("classic", "kifs");
  RenderQuality s;
  const FrameInput in = stillFrame(p, s, 64, 48, platform::defaultFramebuffer(window));
  std::vector<uint8_t> px;
  int calls = 0;
  double last = 0;
  ASSERT_TRUE(renderPhoto(r, 100, 60, 8, in, px, [&](double fraction, double left) {
    ++calls;
    EXPECT_GT(fraction, last);
    EXPECT_GE(left, 0);
    last = fraction;
    return true;
  }));
  EXPECT_EQ(px.size(), 100u * 60u * 4u);
  EXPECT_EQ(calls, 2);
  EXPECT_DOUBLE_EQ(last, 1.0);

  // Two tiles per sample (600 wide): cancelling at the first report stops.
  calls = 0;
  EXPECT_FALSE(renderPhoto(r, 600, 20, 4, in, px, [&](double, double) { return ++calls < 1; }));
  EXPECT_EQ(calls, 1);
}
