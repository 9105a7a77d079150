// file_flows.cpp — presets, PNGs and photos in and out through the file
// dialogs, and the ways in that need no dialog (a path typed in the
// interface, a dropped file).
//
// Index
//   [SECTION] Dialog helpers
//   [SECTION] Presets
//   [SECTION] Crossbreeding
//   [SECTION] Photo
#include "app/commands.h"
#include "app/poster.h"

#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "model/mutate.h"
#include "model/names.h"
#include "nav/fit.h"
#include "platform/platform.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

// [SECTION] Dialog helpers

const std::vector<platform::FileFilter> kPresetFilter = {{"Пресет Quorvan Telix (*.json)", {"*.json"}}};
const std::vector<platform::FileFilter> kOpenFilter = {{"Пресет или PNG Quorvan Telix", {"*.json", "*.png"}}};
const std::vector<platform::FileFilter> kPngFilter = {{"PNG (*.png)", {"*.png"}}};

// The dialog's answer as a path; empty when cancelled or unavailable (then
// the message saying how to go on has been shown).
std::string askSave(AppState& s, const std::string& title, const std::vector<platform::FileFilter>& filters,
                    const std::string& proposed, const std::string& extension) {
  std::string path;
  auto r = platform::saveFileDialog(s.window, title, filters, platform::picturesFolder(), proposed, path);
  s.redraw = true;
  if (r == platform::DialogResult::Unavailable) showMessage(s, kMsgNoSaveDialog);
  if (r != platform::DialogResult::Chosen || path.empty()) return {};
  if (std::filesystem::path(path).extension().empty()) path += extension;
  return path;
}

std::string askOpen(AppState& s, const std::string& title) {
  std::string path;
  auto r = platform::openFileDialog(s.window, title, kOpenFilter, platform::picturesFolder(), path);
  s.redraw = true;
  if (r == platform::DialogResult::Unavailable) showMessage(s, kMsgNoOpenDialog);
  return r == platform::DialogResult::Chosen ? path : std::string();
}

}  // namespace

// [SECTION] Presets

bool savePresetTo(AppState& s, const std::string& path) {
  // The stored record with the camera's pose: never the live morph.
  bool ok = !path.empty() && savePresetFile(path, liveParams(s));
  showMessage(s, ok ? kMsgPresetSaved : kMsgPresetNotSaved);
  return ok;
}

bool openPath(AppState& s, const std::string& path) {
  std::string message = loadAndApply(s, path);
  showMessage(s, message);
  s.redraw = true;
  return message.rfind(kMsgLoaded, 0) == 0;
}

void savePresetFlow(AppState& s) {
  std::string path = askSave(s, "Сохранить пресет", kPresetFilter, proposedPresetName(s.params.seed), ".json");
  if (!path.empty()) savePresetTo(s, path);
}

void openFileFlow(AppState& s) {
  std::string path = askOpen(s, "Открыть пресет или PNG");
  if (!path.empty()) openPath(s, path);
}

// [SECTION] Crossbreeding

void crossbreedFlow(AppState& s) {
  std::string path = askOpen(s, "Скрестить с…");
  if (path.empty()) return;
  FractalParams other;
  std::string message;
  if (!loadPresetFile(path, other, message)) {
    showMessage(s, message);
    return;
  }
  FractalParams child = crossbreed(liveParams(s), other, s.rng);
  std::string ignored;
  makeCurrent(s, child, ignored);
  addRecentSeed(s.history, s.params.seed, s.params.type);
  s.fitCountdown = kFitSteps;
  showMessage(s, "Потомок: " + s.params.seed);
}

// [SECTION] Photo

namespace {

// Between tiles: the title shows the progress, Esc cancels, and closing the
// window cancels too and then ends the program (the render never leaves a
// half-written file: nothing is written until the last tile).
bool photoProgress(AppState& s, double fraction, double secondsLeft) {
  char title[160];
  std::snprintf(title, sizeof title, "Quorvan Telix 3D — рендер %d%%, осталось ~%d с (Esc — отмена)",
                int(fraction * 100), int(std::lround(secondsLeft)));
  platform::setTitle(s.window, title);
  bool go = true;
  for (const auto& e : platform::pollEvents(s.window)) {
    if (e.type == platform::EventType::KeyDown && e.key == platform::kKeyEscape) go = false;
    if (e.type == platform::EventType::Close) {
      s.quitRequested = true;
      go = false;
    }
  }
  return go;
}

}  // namespace

// A photo is a poster: rendered a tile at a time and streamed into the file,
// so any size fits in memory.
bool writePhoto(AppState& s, const std::string& path, int w, int h, int samples, std::string& problem) {
  s.photoRunning = true;
  bool done = writePoster(s, path, w, h, samples, PosterPart{},
                          [&s](double f, double left) { return photoProgress(s, f, left); }, problem);
  s.photoRunning = false;
  platform::setTitle(s.window, kAppTitle);
  // A failure to write still counts as an end of the render: the caller shows the problem.
  return done || !problem.empty();
}

void photoFlow(AppState& s, int w, int h, int samples) {
  if (w < 1 || h < 1 || samples < 1) return;
  std::string path = askSave(s, "Сохранить снимок PNG", kPngFilter,
                             "fractal_" + safeFileName(s.params.seed) + ".png", ".png");
  if (path.empty()) return;
  std::string problem;
  if (!writePhoto(s, path, w, h, samples, problem)) showMessage(s, kMsgPhotoCancelled);
  else if (!problem.empty()) showMessage(s, "Ошибка: " + problem);
  else showMessage(s, "PNG сохранён: " + path + " " + std::to_string(w) + "×" + std::to_string(h));
}
