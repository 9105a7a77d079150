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

namespace {

DiveContext diveContext(AppState& s, double dt, double now) {
  DiveContext ctx;
  ctx.dt = dt;
  ctx.now = now;
  ctx.speed = s.settings.diveSpeed;
  ctx.deepAllowed = canUseDoublePrecision(s.params) && s.settings.deep != 1;
  ctx.sequence = s.renderer.sequence;
  ctx.findDeepest = [&s](double maxDepth, double point[3]) {
    return findDeepestPoint(pictureOf(s), depthReaderOf(s), maxDepth, point);
  };
  ctx.newSeed = [&s](bool randomType) {
    randomSeed(s, randomType);
    return s.params.dist;
  };
  return ctx;
}

}  // namespace

FrameInput beginFrame(AppState& s) {
  double now = platform::now();
  double rawDt = s.lastFrameTime < 0 ? 1.0 / 60 : now - s.lastFrameTime;
  double dt = std::clamp(rawDt, 0.0001, 0.1);
  s.lastFrameTime = now;
  if (s.dive.on) {
    diveStep(s.dive, s.camera, diveContext(s, dt, now));
    using TurnBack = DiveState::TurnBack;
    // The screen saver shows no messages: it only dives.
    TurnBack why = std::exchange(s.dive.turnedBack, TurnBack::None);
    switch (s.screensaverMode ? TurnBack::None : why) {
      case TurnBack::FloorFloat: showMessage(s, kMsgDiveFloorFloat); break;
      case TurnBack::FloorDouble: showMessage(s, kMsgDiveFloorDouble); break;
      case TurnBack::NoDeeperPoint: showMessage(s, kMsgDiveNoDeeper); break;
      case TurnBack::None: break;
    }
  }
  bool moving = cameraUpdate(s.camera, dt);
  if (moving) {
    s.cameraWasMoving = true;
  } else if (s.cameraWasMoving) {
    s.cameraWasMoving = false;
    pushState(s);
  }
  if (s.live.on) liveAdvance(s.live, rawDt);
  if (s.paletteAnim.on) s.paletteAnim.phase = std::fmod(s.paletteAnim.phase + dt * s.paletteAnim.speed, 2.0);
  return frameInputOf(s, now, moving);
}

bool finishFrame(AppState& s, const FrameInput& in, bool more) {
  if (s.afterFrame) {
    auto job = std::move(s.afterFrame);
    s.afterFrame = nullptr;
    job(s);
  }
  // The fit measures a traced picture of a camera at rest, or of one that
  // only turns: the auto-rotation never rests, but the distance the fit
  // corrects does. A picture counts once a whole sweep of rows has been
  // traced after the distance arrived (the renderer's sequence advances with
  // every sweep, bands and motion included).
  // The sweep must start after the fit was asked for (a new record resets
  // the picture) and after the distance arrived, hence two sweeps ahead.
  const bool onlyTurning = restingButForRotation(s.camera);
  const bool still = !in.cameraMoving && renderStatus(s.renderer).samples > 0;
  const bool turning = onlyTurning && s.renderer.sequence >= s.fitAfterSequence;
  bool measured = false;
  if (s.fitCountdown > 0 && (still || turning))
    measured = fitStep(s.fitCountdown, s.camera, pictureOf(s), depthReaderOf(s));
  if (s.fitCountdown == 0 || !onlyTurning || measured) s.fitAfterSequence = s.renderer.sequence + 2;
  std::string message = takeShaderMessage(s.renderer);
  if (!message.empty()) {
    showMessage(s, message);
    if (!s.unattended) std::fprintf(stderr, "%s\n", message.c_str());
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
