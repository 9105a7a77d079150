// One application frame apart from the interface: dive, camera, live morph, history, renderer frame, fit.
#include "app/frame.h"

#include "app/commands.h"
#include "nav/dive.h"
#include "nav/fit.h"
#include "nav/live.h"
#include "platform/platform.h"
#include "render/shader_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

void stepDive(AppState& s, double dt, double now, bool keepRecord) {
  DiveContext ctx;
  ctx.dt = dt;
  ctx.now = now;
  ctx.speed = s.settings.diveSpeed;
  ctx.deepAllowed = canUseDoublePrecision(s.params) && s.settings.deep != 1;
  ctx.sequence = s.renderer.sequence;
  const DiveWants want = diveStep(s.dive, s.camera, ctx, s.rng);
  if (want.search) {
    double point[3];
    const bool found = findDeepestPoint(pictureOf(s), depthReaderOf(s), want.searchDepth, point);
    diveAim(s.dive, s.camera, ctx, found ? point : nullptr);
  }
  if (want.newSeed) {
    if (!keepRecord) randomSeed(s, want.randomType);
    diveSurfaceAt(s.dive, s.params.dist);
  }
}

FrameInput beginFrame(AppState& s) {
  double now = platform::now();
  double rawDt = s.lastFrameTime < 0 ? 1.0 / 60 : now - s.lastFrameTime;
  double dt = std::clamp(rawDt, 0.0001, 0.1);
  s.lastFrameTime = now;
  if (s.dive.on) {
    stepDive(s, dt, now, false);
    using TurnBack = DiveState::TurnBack;
    // The screen saver shows no messages: it only dives.
    TurnBack why = std::exchange(s.dive.turnedBack, TurnBack::None);
    switch (isScreenSaver(s.mode) ? TurnBack::None : why) {
      case TurnBack::FloorFloat: showMessage(s, kMsgDiveFloorFloat); break;
      case TurnBack::FloorDouble: showMessage(s, kMsgDiveFloorDouble); break;
      case TurnBack::NoDeeperPoint: showMessage(s, kMsgDiveNoDeeper); break;
      case TurnBack::None: break;
    }
  }
  // While a fit is pending the auto-rotation waits: the fit needs a still
  // picture (moving frames trace fast rays that miss thin parts, so their
  // depths under-read the silhouette), and rotation never rests on its own.
  const double rotation = s.camera.rotationSpeed;
  if (s.fitCountdown > 0) s.camera.rotationSpeed = 0;
  bool moving = cameraUpdate(s.camera, dt);
  s.camera.rotationSpeed = rotation;
  if (moving) {
    s.cameraWasMoving = true;
  } else if (s.cameraWasMoving) {
    s.cameraWasMoving = false;
    pushState(s);
  }
  if (s.live.on) liveAdvance(s.live, rawDt);
  if (s.paletteAnim.on) s.paletteAnim.phase = std::fmod(s.paletteAnim.phase + dt * s.paletteAnim.speed, 2.0);
  if (s.recorder.on) recordSample(s.recorder, now, s.camera, s.live.on ? s.live.clock : -1, s.dive.on);
  return frameInputOf(s, now, moving);
}

bool finishFrame(AppState& s, const FrameInput& in, bool more) {
  if (s.afterFrame) {
    auto job = std::move(s.afterFrame);
    s.afterFrame = nullptr;
    job(s);
  }
  // The fit measures a traced picture of a camera at rest.
  if (s.fitCountdown > 0 && !in.cameraMoving && renderStatus(s.renderer).samples > 0)
    fitStep(s.fitCountdown, s.camera, pictureOf(s), depthReaderOf(s));
  std::string message = takeShaderMessage(s.renderer);
  if (!message.empty()) {
    showMessage(s, message);
    if (s.mode == RunMode::Interactive) std::fprintf(stderr, "%s\n", message.c_str());
  }
  bool wanted = more || in.cameraMoving || s.fitCountdown > 0 || s.redraw;
  s.redraw = false;
  return wanted;
}

bool runFrame(AppState& s) {
  FrameInput in = beginFrame(s);
  bool more = renderFrame(s.renderer, in);
  return finishFrame(s, in, more);
}
