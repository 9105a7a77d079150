// commands.cpp — what the keys and the side panel do to the record, the
// history and the camera modes. The file and photo flows live in
// file_flows.cpp.
//
// Index
//   [SECTION] The record
//   [SECTION] History
//   [SECTION] Camera and modes
#include "app/commands.h"

#include "io/files.h"
#include "io/preset.h"
#include "model/assert.h"
#include "model/mutate.h"
#include "model/names.h"
#include "model/seed.h"
#include "model/tables.h"
#include "nav/fit.h"
#include "platform/platform.h"

#include <cmath>
#include <cstdio>

namespace {

// Makes `p` current with the history entry; a program that does not build
// is reported once by the frame's shader message.
void applyRecord(AppState& s, const FractalParams& p) {
  std::string ignored;
  makeCurrent(s, p, ignored);
  s.redraw = true;
}

void applyGenerated(AppState& s, const std::string& seed, const std::string& type) {
  std::string name = seed.empty() ? randomSeedName(s.rng) : seed;
  applyRecord(s, generateFromSeed(name, type, &s.params));
  addRecentSeed(s.history, s.params.seed, s.params.type);
  // A hybrid chain's size cannot be told in advance.
  if (s.params.type == "hybrid") s.fitCountdown = kFitSteps;
}

// Restores a history entry without making a new one.
void restoreSnapshot(AppState& s, const std::string& text) {
  FractalParams p;
  std::string message;
  if (!decodePresetBytes(text, p, message)) {
    showMessage(s, message);
    return;
  }
  s.params = p;
  setCameraFromParams(s.camera, p);
  s.cameraWasMoving = false;
  std::string ignored;
  setFractal(s.renderer, s.params, ignored);
  s.redraw = true;
}

}  // namespace

// [SECTION] The record

void applySeed(AppState& s, const std::string& seed) { applyGenerated(s, seed, s.params.type); }

void randomSeed(AppState& s, bool randomType) {
  const auto& types = fractalTypes();
  std::string type = randomType ? types[size_t(s.rng()) % types.size()].key : s.params.type;
  applyGenerated(s, randomSeedName(s.rng), type);
}

void mutateCurrent(AppState& s) {
  std::mt19937 draws = mutationDraws(s);
  applyRecord(s, mutate(liveParams(s), s.settings.mutation, draws));
  s.fitCountdown = kFitSteps;
}

void selectType(AppState& s, int row) {
  const auto& types = fractalTypes();
  QTX_ASSERT(row >= 0 && row < int(types.size()), "pass a row of the type table");
  if (row < 0 || row >= int(types.size())) return;
  applyGenerated(s, s.params.seed, types[size_t(row)].key);
}

void recordEdited(AppState& s, bool editFinished) {
  std::string ignored;
  setFractal(s.renderer, s.params, ignored);  // the program cache makes an unchanged type cheap
  if (editFinished) pushState(s);
  s.redraw = true;
}

// [SECTION] History

void undo(AppState& s) {
  auto text = undoHistory(s.history);
  if (!text) showMessage(s, kNothingToUndo);
  else restoreSnapshot(s, *text);
}

void redo(AppState& s) {
  auto text = redoHistory(s.history);
  if (!text) showMessage(s, kNothingToRedo);
  else restoreSnapshot(s, *text);
}

// [SECTION] Camera and modes

void toggleDive(AppState& s) {
  bool on = !s.dive.on;
  setDive(s.dive, s.camera, s.params, on);
  if (on) showMessage(s, kMsgDive);
  s.redraw = true;
}

void toggleLive(AppState& s) {
  s.live.on = !s.live.on;
  // Off: the stored record is drawn again at once.
  resetAccumulation(s.renderer);
  s.redraw = true;
}

void toggleFlight(AppState& s) {
  bool on = !s.camera.flying;
  // Keys let go while flight was off were never seen: start from none held.
  if (on) s.input.heldFlightKeys.clear();
  setFlight(s.camera, s.dive, on);
  if (on) showMessage(s, kMsgFlightHint);
  s.redraw = true;
}

void toggleRotation(AppState& s) {
  s.camera.rotationSpeed = s.camera.rotationSpeed != 0 ? 0 : 12;
  s.redraw = true;
}

void returnCamera(AppState& s) {
  setFlight(s.camera, s.dive, false);
  Camera seedView;
  setCameraFromParams(seedView, generateFromSeed(s.params.seed, s.params.type, &s.params));
  // The goal moves; the camera update glides there.
  for (int i = 0; i < 3; ++i) s.camera.goalTarget[i] = seedView.goalTarget[i];
  s.camera.goalYaw = wrapDegreesNear(seedView.goalYaw, s.camera.yaw);
  s.camera.goalPitch = seedView.goalPitch;
  s.camera.goalLogDist = seedView.goalLogDist;
  s.redraw = true;
}

void requestFit(AppState& s) {
  s.fitCountdown = kFitSteps;
  s.redraw = true;
}

void centreOnSurface(AppState& s, const Pick& p) {
  centreOnPick(s.camera, p);
  if (!s.focusLocked) {
    s.params.focus = p.distance;
    resetAccumulation(s.renderer);
  }
  s.redraw = true;
}

void toggleHelp(AppState& s) {
  s.helpShown = !s.helpShown;
  s.redraw = true;
}

void toggleInterface(AppState& s) {
  s.uiHidden = !s.uiHidden;
  s.redraw = true;
}

void toggleFullscreen(AppState& s) {
  platform::toggleFullscreen(s.window);
  s.redraw = true;
}

void applyVsync(AppState& s) { platform::setSwapInterval(s.window, s.settings.vsync ? 1 : 0); }
