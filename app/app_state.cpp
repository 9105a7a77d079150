// The application record's state changes: making a record current, history snapshots and the command-line options.
#include "app/app_state.h"

#include "io/files.h"
#include "io/preset.h"
#include "model/seed.h"
#include "platform/platform.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

FractalParams liveParams(const AppState& s) {
  FractalParams p = s.params;
  // A camera set from the record and left alone gives back the record's own
  // distance: exp(log(d)) is not always d to the last bit, and a shot's
  // preset should read back exactly as it was asked for.
  double recordDist = p.dist;
  cameraIntoParams(s.camera, p);
  if (s.camera.logDist == std::log(std::fmax(recordDist, kMinCameraDist))) p.dist = recordDist;
  return p;
}

std::mt19937 mutationDraws(AppState& s) { return std::mt19937(uint32_t(s.rng())); }

void pushState(AppState& s) { pushHistory(s.history, presetText(liveParams(s), 0)); }

bool makeCurrent(AppState& s, const FractalParams& p, std::string& error) {
  s.params = p;
  setCameraFromParams(s.camera, p);
  s.cameraWasMoving = false;
  pushState(s);
  return setFractal(s.renderer, s.params, error);
}

void clearFrameInput(InputState& in) {
  in.mousePressed = in.mouseReleased = in.rightPressed = in.doubleClicked = false;
  in.keyBackspace = in.keyEnter = in.keyEscape = in.keyPaste = false;
  in.typedChars.clear();
}

void showMessage(AppState& s, const std::string& text) {
  s.toastText = text;
  s.toastUntil = platform::now() + 3.0;
  s.redraw = true;
  if (messagesOnStderr(s.mode)) std::fprintf(stderr, "%s\n", text.c_str());
}

int panelLeftEdge(const AppState& s, int clientWidth) {
  if (s.uiHidden) return clientWidth;
  return clientWidth - int(std::lround(s.dpiScale * kPanelWidth));
}

bool overPanel(const AppState& s, float x, int clientWidth) {
  return !s.uiHidden && x >= float(panelLeftEdge(s, clientWidth));
}

bool panelShown(const AppState& s) { return s.ui && !s.uiHidden && !isScreenSaver(s.mode); }

double imageShift(const AppState& s, int clientWidth) {
  return panelShown(s) ? 0.5 * (clientWidth - panelLeftEdge(s, clientWidth)) : 0;
}

std::string loadAndApply(AppState& s, const std::string& path) {
  FractalParams p;
  std::string message;
  if (!loadPresetFile(path, p, message)) return message;
  // A program that does not build is reported by the renderer's own message.
  std::string ignored;
  makeCurrent(s, p, ignored);
  addRecentSeed(s.history, p.seed, p.type);
  return kMsgLoaded + p.seed;
}

int targetSampleCount(const AppState& s) {
  return s.targetSamples > 0 ? s.targetSamples : std::max(1, s.settings.samples);
}

void applyLaunchOptions(AppState& s, const LaunchOptions& o) {
  s.launchedWithOptions = true;
  if (o.samples > 0) s.targetSamples = o.samples;
  if (o.deep) {
    s.settings.deep = 2;
    s.deepForced = true;
  }
  if (o.hideUi) s.uiHidden = true;
  if (o.tab >= 0) s.activeTab = o.tab;
  if (!o.seed.empty() || !o.type.empty()) {
    FractalParams base = s.params;
    FractalParams p = generateFromSeed(o.seed.empty() ? base.seed : o.seed,
                                       o.type.empty() ? base.type : o.type, &base);
    s.params = p;
    setCameraFromParams(s.camera, p);
    pushState(s);
    addRecentSeed(s.history, p.seed, p.type);
  }
  if (o.dist > 0) {
    s.camera.logDist = std::log(std::fmax(o.dist, kMinCameraDist));
    s.camera.yaw = wrapDegreesNear(s.camera.yaw, s.camera.goalYaw);
    snapCamera(s.camera);
  }
  s.dive.on = false;
  s.live.on = false;
  // The speed goes into the setting the dive reads (a launched run never
  // saves it); the shot stops the dive after its time or below its depth.
  if (o.dive > 0) {
    s.settings.diveSpeed = o.diveSpeed;
    setDive(s.dive, s.camera, s.params, true);
  }
}

CameraView cameraViewOf(const Camera& c, double fovDegrees) {
  CameraPose pose = cameraPose(c);
  CameraView v;
  for (int i = 0; i < 3; ++i) {
    v.pos[i] = pose.eye[i];
    v.basis[i] = float(pose.right[i]);
    v.basis[3 + i] = float(pose.up[i]);
    v.basis[6 + i] = float(pose.forward[i]);
  }
  v.distance = pose.distance;
  v.tanHalfFov = tanHalfFov(fovDegrees);
  return v;
}

RenderQuality renderQuality(const AppSettings& q) {
  return {.resScale = q.resScale, .samples = q.samples, .maxSteps = q.maxSteps, .precision = q.precision,
          .deep = q.deep, .shadows = q.shadows, .ao = q.ao, .prepass = q.prepass, .gi = q.gi,
          .adaptive = q.adaptive, .autoIter = q.autoIter};
}

FrameInput frameInputOf(AppState& s, double now, bool moving) {
  FrameInput in;
  in.now = now;
  platform::drawableSize(s.window, in.width, in.height);
  in.windowFbo = platform::defaultFramebuffer(s.window);
  // The live morph is made here, from the record as it stands, so whatever
  // changed the record since the last frame is drawn (or photographed) morphed.
  if (s.live.on) s.liveShown = liveFrame(s.live, s.params, cameraDistance(s.camera));
  in.params = s.live.on ? &s.liveShown : &s.params;
  in.camera = cameraViewOf(s.camera, s.params.fov);
  in.cameraMoving = moving;
  in.animating = s.live.on || s.dive.on || s.paletteAnim.on;
  in.palettePhase = s.paletteAnim.phase;
  in.diveActive = s.dive.on;
  in.deepForced = s.deepForced;
  in.shiftTarget = imageShift(s, in.width);
  in.targetSamples = targetSampleCount(s);
  // Nobody watches a shot's or a self-test's loop: its bands may be long and
  // it composites only what is read back.
  in.unattended = nobodyWatches(s.mode);
  in.quality = renderQuality(s.settings);
  return in;
}

PictureFrame pictureOf(const AppState& s) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  return pictureFrame(s.camera, s.params.fov, s.renderer.renderWidth, s.renderer.renderHeight,
                      s.renderer.shift, h);
}

DepthReader depthReaderOf(AppState& s) {
  return [&s](int x0, int y0, int w, int h, std::vector<float>& out) {
    return readDepthBox(s.renderer, x0, y0, w, h, out);
  };
}
