// renderer.cpp — start-up, record sync and the per-frame driver.
//
// Index:
//   [SECTION] Start-up and shutdown
//   [SECTION] Record, palette and targets
//   [SECTION] Frame driver
//   [SECTION] Queries and readback
#include "render/renderer.h"

#include "model/depth_codes.h"
#include "model/tables.h"
#include "model/utf8.h"
#include "render/frame_math.h"
#include "render/gl.h"
#include "render/passes.h"
#include "render/programs.h"
#include "render/shader_sources.h"
#include "render/shader_text.h"

#include <algorithm>
#include <chrono>
#include <cmath>

// [SECTION] Start-up and shutdown

namespace {

Program buildPostProgram(Renderer& r, const char* fragment) {
  return linkProgram(r.errorText, fullscreenVertexSource(), swapGlslVersion(fragment));
}

std::string glText(GLenum name) {
  const GLubyte* s = gl.GetString(name);
  return s ? reinterpret_cast<const char*>(s) : "";
}

void createPaletteTexture(Renderer& r) {
  gl.GenTextures(1, &r.palette.id);
  gl.BindTexture(GL_TEXTURE_2D, r.palette.id);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_MIRRORED_REPEAT);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  gl.TexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 256, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  gl.BindTexture(GL_TEXTURE_2D, 0);
}

}  // namespace

bool initRenderer(Renderer& r, GlLoader loader, std::string& error) {
  std::string missing;
  if (!loadGlFunctions(loader, missing)) {
    error = kErrorNoGlFunction + missing;
    return false;
  }
  gl.GenVertexArrays(1, &r.vao);
  createPaletteTexture(r);
  r.brightPass = buildPostProgram(r, shader_src::brightPass);
  r.blur = buildPostProgram(r, shader_src::blur);
  r.composite = buildPostProgram(r, shader_src::composite);
  if (!r.brightPass.id || !r.blur.id || !r.composite.id) {
    error = "Не удалось собрать шейдеры постобработки:\n" + r.errorText;
    return false;
  }
  r.gpu = glText(GL_RENDERER) + " · OpenGL " + glText(GL_VERSION);
  return true;
}

void useProgramCache(Renderer& r, const std::string& folder) { openProgramCache(r.programCache, folder); }

void destroyRenderer(Renderer& r) {
  if (!gl.DeleteProgram) return;  // the table never loaded: nothing was created
  dropProgramBuilds(r);
  for (RenderTarget* t : {&r.accumA, &r.accumB, &r.bloom0, &r.bloom1, &r.prepass}) deleteTarget(*t);
  for (auto& [key, prog] : r.programs)
    if (prog.id) gl.DeleteProgram(prog.id);
  for (Program* p : {&r.brightPass, &r.blur, &r.composite})
    if (p->id) gl.DeleteProgram(p->id);
  if (r.palette.id) gl.DeleteTextures(1, &r.palette.id);
  if (r.vao) gl.DeleteVertexArrays(1, &r.vao);
  r = Renderer{};
}

// [SECTION] Record, palette and targets

namespace {

// Refills the palette texture when the stops or the animation phase changed;
// says whether it did.
bool syncPalette(Renderer& r, const FractalParams& p, double phase) {
  if (p.palette == r.paletteKey && p.customA == r.customA && p.customB == r.customB &&
      p.customC == r.customC && phase == r.palettePhase)
    return false;
  const std::array<uint8_t, 1024> texels = rotatedPalette(paletteTexels(paletteStops(p)), phase);
  gl.BindTexture(GL_TEXTURE_2D, r.palette.id);
  gl.TexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 256, 1, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
  gl.BindTexture(GL_TEXTURE_2D, 0);
  r.paletteKey = p.palette;
  r.customA = p.customA;
  r.customB = p.customB;
  r.customC = p.customC;
  r.palettePhase = phase;
  return true;
}

// A new palette makes the accumulated colours stale; a moving phase is an
// animation, so it also counts as motion (fast frames, adaptive resolution).
void syncRecord(Renderer& r, const FractalParams& p, double phase, double now) {
  if (p.type != r.typeKey) {
    r.typeKey = p.type;
    resetAccumulation(r);
  }
  r.lighting = lightingFromParams(p);
  const bool phaseMoved = !std::isnan(r.palettePhase) && phase != r.palettePhase;
  if (!syncPalette(r, p, phase)) return;
  resetAccumulation(r);
  if (phaseMoved) r.movingUntil = now + 0.22;
}

void resizeTargets(Renderer& r, int w, int h, double resScale) {
  int aw = 0, ah = 0;
  accumulationSize(w, h, resScale, aw, ah);
  if (aw != r.accumA.width || ah != r.accumA.height) {
    createTarget(r.accumA, aw, ah, TargetFormat::Float32, true);
    createTarget(r.accumB, aw, ah, TargetFormat::Float32, true);
  }
  createTarget(r.bloom0, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  createTarget(r.bloom1, bloomSide(w), bloomSide(h), TargetFormat::Float32, true);
  deleteTarget(r.prepass);
  r.prepassValid = false;
  r.windowWidth = w;
  r.windowHeight = h;
  resetAccumulation(r);
}

}  // namespace

bool setFractal(Renderer& r, const FractalParams& p, std::string& error) {
  r.typeKey = p.type;
  paceForget(r.pacing);  // another program: its rows cost what they cost
  r.lighting = lightingFromParams(p);
  syncPalette(r, p, std::isnan(r.palettePhase) ? 0 : r.palettePhase);  // keep a running animation's phase
  resetAccumulation(r);
  if (r.builder.background && !programSettled(r, p.type, Pass::Trace)) return true;
  if (fractalProgram(r, p.type, Pass::Trace).id) return true;
  error = "Не удалось скомпилировать шейдер фрактала:\n" + r.errorText;
  return false;
}

void resetAccumulation(Renderer& r) {
  r.samples = 0;
  r.rowCursor = 0;
  r.movingSamples = false;
  paceRestartSample(r.pacing);
}

// [SECTION] Frame driver

namespace {

double secondsNow() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Image shift towards its target; a change invalidates the picture.
void stepShift(Renderer& r, const FrameInput& in, double dt) {
  r.shiftTarget = in.shiftTarget;
  const double next = easeShift(r.shift, in.shiftTarget, dt);
  if (next == r.shift) return;
  r.shift = next;
  resetAccumulation(r);
  if (next != in.shiftTarget) r.movingUntil = in.now + 0.22;
}

// Iterations, step budget and precision of this frame. The detail follows
// the depth (depthDetail); a change keeps the cost model, scaled.
void stepQuality(Renderer& r, const FrameInput& in, bool moving) {
  const FractalParams& p = *in.params;
  const double dist = in.camera.distance;
  const DepthDetail detail = depthDetail(p, in.quality, in.diveActive, dist, false);
  if (detail.iterations != r.iterations) {
    r.iterations = detail.iterations;
    resetAccumulation(r);
  }
  r.maxSteps = detail.maxSteps;
  const int setting = in.deepForced ? 2 : in.quality.deep;
  const bool eligible = canUseDoublePrecision(p);
  const bool deep = chooseDeep(setting, eligible, dist, r.deep);
  r.deepRefused = !eligible && (setting == 2 || (setting == 0 && dist < 0.0002));
  if (deep != r.deep) {
    r.deep = deep;
    resetAccumulation(r);
  }
  const bool gi = in.quality.gi && !moving;
  paceQuality(r.pacing, qualityCost(r.maxSteps, r.iterations, r.deep, moving, gi));
}

// Adaptive resolution and the rows of this frame's trace.
PacePlan stepPacing(Renderer& r, const FrameInput& in, bool moving, double dt) {
  PaceInput pi;
  pi.dt = dt;
  pi.moving = moving;
  pi.adaptive = in.quality.adaptive;
  pi.accW = r.accumA.width;
  pi.accH = r.accumA.height;
  pi.renderW = r.renderWidth;
  pi.renderH = r.renderHeight;
  pi.cursor = r.rowCursor;
  pi.bandMs = bandBudgetMs(r.bandMs, r.postMs, in.unattended);
  pi.bandingMs = r.bandingMs;
  pi.growth = bandGrowth(in.unattended);
  const PacePlan plan = pacePlan(r.pacing, pi);
  if (plan.sizeChanged) {
    r.renderWidth = plan.w;
    r.renderHeight = plan.h;
    resetAccumulation(r);
  }
  return plan;
}

float readAccumDepth(Renderer& r, int x, int y) {
  float px[4] = {0, 0, 0, kNoHit};
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, r.accumA.fbo.id);
  gl.ReadBuffer(GL_COLOR_ATTACHMENT0);
  gl.ReadPixels(x, y, 1, 1, GL_RGBA, GL_FLOAT, px);
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  return px[3];
}

TraceView frameView(const Renderer& r, const FrameInput& in, bool moving, bool sizeChanged, int rows) {
  TraceView v;
  v.width = r.renderWidth;
  v.height = r.renderHeight;
  v.camera = in.camera;
  v.frame = r.samples;
  v.sequenceBase = r.sequence;
  v.maxSteps = r.maxSteps;
  v.detail = float(in.quality.precision);
  v.iterations = r.iterations;
  v.fast = moving;
  v.gi = in.quality.gi && !moving;
  v.deep = r.deep;
  v.history = (in.animating && moving && !sizeChanged) ? 0.55f : 0.0f;
  v.shift = float(2 * r.shift / r.windowHeight);
  const bool autoFocus = in.params->autoFocus;
  v.focus = float(!autoFocus ? in.params->focus : r.focusDepth > 0 ? r.focusDepth : in.camera.distance);
  v.scissor[0] = 0;
  v.scissor[1] = r.rowCursor;
  v.scissor[2] = v.width;
  v.scissor[3] = rows;
  return v;
}

void completeSample(Renderer& r, const FrameInput& in, bool moving) {
  r.rowCursor = 0;
  ++r.samples;
  ++r.sequence;
  if (in.params->autoFocus && !moving) {
    const float d = readAccumDepth(r, r.renderWidth / 2, r.renderHeight / 2);
    r.focusDepth = d < kHitLimit ? d : 0;
  }
  // Timed on the clock, not the frame's time: a sample traced within one
  // frame has a duration of its own.
  const double now = secondsNow();
  r.fps = sampleRate(r.fps, r.lastSampleTime, r.sampleStartTime, now);
  r.lastSampleTime = now;
}

// One sample or band; returns whether a sample was completed.
bool traceStep(Renderer& r, const FrameInput& in, bool moving, const PacePlan& plan) {
  const TraceView v = frameView(r, in, moving, plan.sizeChanged, plan.rows);
  const TraceTargets t{&r.accumA, &r.accumB, &r.prepass, &r.prepassValid};
  const RenderOptions o{in.quality.shadows, in.quality.ao, in.quality.prepass};
  const double t0 = secondsNow();
  if (r.rowCursor == 0) r.sampleStartTime = t0;
  if (!tracePass(r, t, v, *in.params, o)) {
    if (!r.shaderErrorShown) r.shaderMessage = "Ошибка шейдера: " + r.errorText.substr(0, utf8Boundary(r.errorText, 160));
    r.shaderErrorShown = true;
    return false;
  }
  r.shaderErrorShown = false;
  gl.Finish();
  const int rows = v.scissor[3];
  const bool completes = r.rowCursor + rows >= v.height;
  paceMeasured(r.pacing, (secondsNow() - t0) * 1000, rows, v.width, v.height, completes, r.bandingMs);
  r.rowCursor += rows;
  if (!completes) return false;
  completeSample(r, in, moving);
  return true;
}

}  // namespace

bool renderFrame(Renderer& r, const FrameInput& in) {
  if (!in.params) return false;
  const double dt = r.lastFrameTime < 0 ? 1.0 / 60 : std::clamp(in.now - r.lastFrameTime, 0.0001, 0.1);
  r.lastFrameTime = in.now;
  if (in.width < 1 || in.height < 1) return false;
  syncRecord(r, *in.params, in.palettePhase, in.now);
  int aw = 0, ah = 0;
  accumulationSize(in.width, in.height, in.quality.resScale, aw, ah);
  if (in.width != r.windowWidth || in.height != r.windowHeight || aw != r.accumA.width ||
      ah != r.accumA.height)
    resizeTargets(r, in.width, in.height, in.quality.resScale);
  // Motion starts the sample count over but keeps the row cursor: with a
  // banded sample every moving frame draws the next band, so the bands sweep
  // the whole picture instead of redrawing the top one over and over (and a
  // dive reading depths in the middle reads this view's, not a stale one).
  if (in.cameraMoving || in.animating) {
    r.samples = 0;
    r.movingUntil = in.now + 0.22;
  }
  if (in.cameraMoving) r.focusDepth = 0;
  stepShift(r, in, dt);
  const bool moving = in.now < r.movingUntil;
  stepQuality(r, in, moving);
  // Samples traced while moving are fast ones (fewer shadow and occlusion
  // taps, no photo light); the still picture starts over without them.
  if (!moving && r.movingSamples) resetAccumulation(r);
  r.moving = moving;
  const PacePlan plan = stepPacing(r, in, moving, dt);
  r.targetSamples = in.targetSamples > 0 ? in.targetSamples : in.quality.samples;
  bool completed = false;
  const bool tracing = r.samples < r.targetSamples;
  // In the background a program still building traces nothing: the window
  // keeps the last picture until it links. Unattended frames (a film's
  // plan drawn from the window) wait for it instead.
  const bool background = r.builder.background && !in.unattended;
  r.builder.waiting = false;
  const bool ready = !background || frameProgramsReady(r, *in.params, r.deep, in.quality.prepass);
  if (tracing && ready) {
    completed = traceStep(r, in, moving, plan);
    r.movingSamples = r.movingSamples || moving;
  }
  r.pacing.completedMoving = completed && moving;
  const bool pictureFinal = r.samples >= r.targetSamples && !moving;
  if (wantsPost(in.unattended, pictureFinal, r.lastPostTime < 0 ? 1e9 : in.now - r.lastPostTime)) {
    const double postStart = secondsNow();
    postPass(r, r.accumA, r.renderWidth, r.renderHeight, r.bloom0, r.bloom1, Framebuffer{in.windowFbo}, in.width,
             in.height);
    r.lastPostTime = in.now;
    if (tracing && !in.unattended) {
      gl.Finish();  // the band after it is sized against this cost
      r.postMs = (secondsNow() - postStart) * 1000;
    }
  }
  const bool failed = r.shaderErrorShown;
  const bool deepAllowed = canUseDoublePrecision(*in.params) && in.quality.deep != 1;
  const bool aheadLeft = background && buildAhead(r, *in.params, deepAllowed, pictureFinal && ready);
  return (!failed && r.samples < r.targetSamples) || moving || r.shift != in.shiftTarget || aheadLeft;
}

// [SECTION] Queries and readback

RenderStatus renderStatus(const Renderer& r) {
  RenderStatus s;
  s.samples = r.samples;
  s.targetSamples = r.targetSamples;
  s.done = r.samples >= r.targetSamples;
  s.converged = s.done && !r.moving;
  s.deep = r.deep;
  s.deepRefused = r.deepRefused;
  s.renderWidth = r.renderWidth;
  s.renderHeight = r.renderHeight;
  s.iterations = r.iterations;
  s.fps = r.fps;
  s.building = r.builder.waiting;
  return s;
}

std::string takeShaderMessage(Renderer& r) {
  std::string m;
  m.swap(r.shaderMessage);
  return m;
}

float depthAt(Renderer& r, double fx, double fy) {
  if (!r.accumA.fbo.id || r.renderWidth < 1 || r.renderHeight < 1) return kNoHit;
  // The only conversion from the shell's top-left origin to GL's bottom-left rows.
  const int x = std::clamp(int(fx * r.renderWidth), 0, r.renderWidth - 1);
  const int y = std::clamp(int((1 - fy) * r.renderHeight), 0, r.renderHeight - 1);
  return readAccumDepth(r, x, y);
}

bool readDepthBox(Renderer& r, int x0, int y0, int w, int h, std::vector<float>& out) {
  out.assign(size_t(std::max(w, 0)) * size_t(std::max(h, 0)), kNoHit);
  if (!r.accumA.fbo.id || r.renderWidth < 1 || r.renderHeight < 1) return false;
  const int cx0 = std::max(x0, 0), cx1 = std::min(x0 + w, r.renderWidth);
  const int cy0 = std::max(y0, 0), cy1 = std::min(y0 + h, r.renderHeight);
  if (cx0 >= cx1 || cy0 >= cy1) return true;
  const int cw = cx1 - cx0, ch = cy1 - cy0;
  std::vector<float> rgba(size_t(cw) * size_t(ch) * 4);
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, r.accumA.fbo.id);
  gl.ReadBuffer(GL_COLOR_ATTACHMENT0);
  // GL counts rows from the bottom: the box's lowest row is cy1 − 1 from the top.
  gl.ReadPixels(cx0, r.renderHeight - cy1, cw, ch, GL_RGBA, GL_FLOAT, rgba.data());
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  for (int j = 0; j < ch; ++j) {
    const int row = cy1 - 1 - j - y0;
    for (int i = 0; i < cw; ++i)
      out[size_t(row) * size_t(w) + size_t(cx0 - x0 + i)] = rgba[(size_t(j) * cw + i) * 4 + 3];
  }
  return true;
}

void presentPicture(Renderer& r, Framebuffer fbo, int w, int h) {
  if (w != r.windowWidth || h != r.windowHeight || r.renderWidth < 1 || r.renderHeight < 1) return;
  postPass(r, r.accumA, r.renderWidth, r.renderHeight, r.bloom0, r.bloom1, fbo, w, h);
}

void readWindowPixels(Renderer&, Framebuffer fbo, int w, int h, std::vector<uint8_t>& rgbaBottomUp) {
  rgbaBottomUp.assign(size_t(w) * size_t(h) * 4, 0);
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, fbo.id);
  gl.ReadBuffer(fbo.id ? GL_COLOR_ATTACHMENT0 : GL_BACK);
  gl.PixelStorei(GL_PACK_ALIGNMENT, 1);
  gl.ReadPixels(0, 0, w, h, GL_RGBA, GL_UNSIGNED_BYTE, rgbaBottomUp.data());
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
}
