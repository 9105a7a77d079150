// file_flows.cpp — presets, PNGs and photos in and out through the file
// dialogs, and the ways in that need no dialog (a path typed in the
// interface, a dropped file).
//
// Index
//   [SECTION] Dialog helpers
//   [SECTION] Presets
//   [SECTION] Crossbreeding
//   [SECTION] Photo
//   [SECTION] Film
#include "app/commands.h"
#include "app/film.h"
#include "app/interface.h"
#include "app/poster.h"

#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "model/mutate.h"
#include "model/names.h"
#include "nav/fit.h"
#include "platform/platform.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

// [SECTION] Dialog helpers

const std::vector<platform::FileFilter> kPresetFilter = {{"Пресет Quorvan Telix (*.json)", {"*.json"}}};
const std::vector<platform::FileFilter> kOpenFilter = {{"Пресет или PNG Quorvan Telix", {"*.json", "*.png"}}};
const std::vector<platform::FileFilter> kPngFilter = {{"PNG (*.png)", {"*.png"}}};
const std::vector<platform::FileFilter> kVideoFilter = {{"Видео MP4 (*.mp4)", {"*.mp4"}}};

// Dialogs open where the last one was answered, while that folder exists;
// else in the pictures folder.
std::string startFolder(const AppState& s) {
  std::error_code ec;
  const std::string& last = s.settings.lastFolder;
  if (!last.empty() && std::filesystem::is_directory(std::filesystem::path(last), ec)) return last;
  return platform::picturesFolder();
}

void rememberFolder(AppState& s, const std::string& chosen) {
  std::string folder = std::filesystem::path(chosen).parent_path().string();
  if (!folder.empty()) s.settings.lastFolder = folder;
}

// The dialog's answer as a path; empty when cancelled or unavailable (then
// the message saying how to go on has been shown).
std::string askSave(AppState& s, const std::string& title, const std::vector<platform::FileFilter>& filters,
                    const std::string& proposed, const std::string& extension) {
  std::string path;
  auto r = platform::saveFileDialog(s.window, title, filters, startFolder(s), proposed, path);
  s.redraw = true;
  if (r == platform::DialogResult::Unavailable) showMessage(s, kMsgNoSaveDialog);
  if (r != platform::DialogResult::Chosen || path.empty()) return {};
  rememberFolder(s, path);
  if (std::filesystem::path(path).extension().empty()) path += extension;
  return path;
}

std::string askOpen(AppState& s, const std::string& title) {
  std::string path;
  auto r = platform::openFileDialog(s.window, title, kOpenFilter, startFolder(s), path);
  s.redraw = true;
  if (r == platform::DialogResult::Unavailable) showMessage(s, kMsgNoOpenDialog);
  if (r != platform::DialogResult::Chosen) return {};
  rememberFolder(s, path);
  return path;
}

}  // namespace

std::string expandHome(const std::string& typed, const std::string& home) {
  if (home.empty() || typed.empty() || typed[0] != '~') return typed;
  if (typed.size() == 1) return home;
  if (typed[1] == '/' || typed[1] == '\\') return home + typed.substr(1);
  return typed;  // "~name" is another user's home: left as typed
}

// [SECTION] Presets

bool savePresetTo(AppState& s, const std::string& typed) {
  const std::string path = expandHome(typed, platform::homeFolder());
  // The stored record with the camera's pose: never the live morph.
  bool ok = !path.empty() && savePresetFile(path, liveParams(s));
  showMessage(s, ok ? kMsgPresetSaved : kMsgPresetNotSaved);
  return ok;
}

bool openPath(AppState& s, const std::string& typed) {
  const std::string path = expandHome(typed, platform::homeFolder());
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
  if (!path.empty()) crossbreedWith(s, path);
}

bool crossbreedWith(AppState& s, const std::string& typed) {
  const std::string path = expandHome(typed, platform::homeFolder());
  FractalParams other;
  std::string message;
  if (!loadPresetFile(path, other, message)) {
    showMessage(s, message);
    return false;
  }
  std::mt19937 draws = mutationDraws(s);
  FractalParams child = crossbreed(liveParams(s), other, draws);
  std::string ignored;
  makeCurrent(s, child, ignored);
  addRecentSeed(s.history, s.params.seed, s.params.type);
  s.fitCountdown = kFitSteps;
  showMessage(s, "Потомок: " + s.params.seed);
  return true;
}

// [SECTION] Photo

namespace {

// Between tiles: the title shows the progress, Esc cancels, and closing the
// window cancels too and then ends the program (the render never leaves a
// half-written file: nothing is written until the last tile).
// The window shows the last picture with the progress in the message pill,
// in fullscreen too, where the title is hidden. On a slow renderer the
// composite costs as much as a few tiles, so it is redrawn at most four
// times a second.
constexpr double kPhotoRedrawSeconds = 0.25;

std::string photoPillText(double fraction, double secondsLeft) {
  char text[160];
  std::snprintf(text, sizeof text, "Рендер %d%% · осталось ~%d с · Esc — отмена", int(fraction * 100),
                int(std::lround(secondsLeft)));
  return text;
}

// Esc cancels; closing the window cancels too and then ends the program.
bool keepRendering(AppState& s) {
  bool go = true;
  for (const auto& e : platform::pollEvents(s.window)) {
    if (e.type == platform::EventType::KeyDown && e.key == platform::kKeyEscape) go = false;
    // The pointer's place is kept, so the panel is not left hovering where
    // the render started.
    if (e.type == platform::EventType::MouseMove) s.input.mouseX = float(e.x), s.input.mouseY = float(e.y);
    if (e.type == platform::EventType::Close) {
      s.quitRequested = true;
      go = false;
    }
  }
  return go;
}

bool photoProgress(AppState& s, double fraction, double secondsLeft, double& shownAt) {
  char title[160];
  std::snprintf(title, sizeof title, "Quorvan Telix 3D — рендер %d%%, осталось ~%d с (Esc — отмена)",
                int(fraction * 100), int(std::lround(secondsLeft)));
  platform::setTitle(s.window, title);
  const double t = platform::now();
  if (t - shownAt >= kPhotoRedrawSeconds) {
    showPhotoProgress(s, photoPillText(fraction, secondsLeft));
    shownAt = t;
  }
  return keepRendering(s);
}

}  // namespace

// A photo is a poster: rendered a tile at a time and streamed into the file,
// so any size fits in memory.
bool writePhoto(AppState& s, const std::string& path, int w, int h, int samples, std::string& error) {
  s.photoRunning = true;
  showPhotoProgress(s, "Рендер 0% · Esc — отмена");
  double shownAt = platform::now();
  bool done = writePoster(s, path, w, h, samples, PosterPart{},
                          [&s, &shownAt](double f, double left) { return photoProgress(s, f, left, shownAt); },
                          error);
  s.photoRunning = false;
  platform::setTitle(s.window, kAppTitle);
  // A failure to write still counts as an end of the render: the caller shows the error.
  return done || !error.empty();
}

void photoFlow(AppState& s, int w, int h, int samples) {
  if (w < 1 || h < 1 || samples < 1) return;
  std::string path = askSave(s, "Сохранить снимок PNG", kPngFilter,
                             "fractal_" + safeFileName(s.params.seed) + ".png", ".png");
  if (!path.empty()) photoTo(s, path, w, h, samples);
}

bool photoTo(AppState& s, const std::string& typed, int w, int h, int samples) {
  std::string path = expandHome(typed, platform::homeFolder());
  if (path.empty() || w < 1 || h < 1 || samples < 1) {
    showMessage(s, "Ошибка: не задан файл снимка");
    return false;
  }
  // Never a PNG under another name: "~/a.json" would overwrite a preset.
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (extension != ".png") path += ".png";
  std::string error;
  if (!writePhoto(s, path, w, h, samples, error)) showMessage(s, kMsgPhotoCancelled);
  else if (!error.empty()) showMessage(s, "Ошибка: " + error);
  else showMessage(s, "PNG сохранён: " + path + " " + std::to_string(w) + "×" + std::to_string(h));
  return error.empty();
}

// [SECTION] Film

namespace {

// The pill and the title of a film in the making, as a photo shows its own;
// the percent and the time left are the stage's (planning, then drawing).
bool filmProgress(AppState& s, const std::string& stage, double fraction, double started, double& shownAt) {
  const double elapsed = platform::now() - started;
  const double left = fraction > 0.001 ? elapsed / fraction * (1 - fraction) : 0;
  char title[200], pill[200];
  std::snprintf(title, sizeof title, "Quorvan Telix 3D — %s, %d%%, осталось ~%d с (Esc — отмена)", stage.c_str(),
                int(fraction * 100), int(std::lround(left)));
  std::snprintf(pill, sizeof pill, "%s · %d%% · осталось ~%d с · Esc — отмена", stage.c_str(), int(fraction * 100),
                int(std::lround(left)));
  platform::setTitle(s.window, title);
  const double t = platform::now();
  if (t - shownAt >= kPhotoRedrawSeconds) {
    showPhotoProgress(s, pill);
    shownAt = t;
  }
  return keepRendering(s);
}

// What planning the dive and drawing the frames change, put back after the
// film: the interactive view goes on as it was.
struct InteractiveState {
  Camera camera;
  DiveState dive;
  LiveState live;
  AppSettings settings;
  FractalParams params;
  bool deep;
  double focusDepth;

  explicit InteractiveState(const AppState& s)
      : camera(s.camera), dive(s.dive), live(s.live), settings(s.settings), params(s.params),
        deep(s.renderer.deep), focusDepth(s.renderer.focusDepth) {}
  void restore(AppState& s) const {
    s.camera = camera, s.dive = dive, s.live = live, s.settings = settings, s.params = params;
    std::string ignored;
    setFractal(s.renderer, s.params, ignored);
    s.renderer.deep = deep;
    s.renderer.focusDepth = focusDepth;
    resetAccumulation(s.renderer);
    s.redraw = true;
  }
};

}  // namespace

bool hasRecordedPath(const AppState& s) { return !s.recorder.on && !s.recorder.path.frames.empty(); }

void filmFlow(AppState& s, int w, int h, int fps, int samples, double seconds) {
  std::string path = askSave(s, "Снять видео", kVideoFilter, "film_" + safeFileName(s.params.seed) + ".mp4", ".mp4");
  if (!path.empty()) filmTo(s, path, w, h, fps, samples, seconds);
}

bool filmTo(AppState& s, const std::string& typed, int w, int h, int fps, int samples, double seconds) {
  std::string path = expandHome(typed, platform::homeFolder());
  if (path.empty() || w < 2 || h < 2 || fps < 1 || samples < 1 || !(seconds > 0)) {
    showMessage(s, "Ошибка: не задан файл видео");
    return false;
  }
  // A folder (ending in '/') gets numbered PNGs; a name without an extension an .mp4.
  const bool folder = path.back() == '/' || path.back() == '\\';
  if (!folder && std::filesystem::path(path).extension().empty()) path += ".mp4";
  std::string error;
  if (!folder && !platform::videoSupported(path, error)) {
    showMessage(s, "Ошибка: " + error);
    return false;
  }
  if (folder) {
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    if (!std::filesystem::is_directory(path)) {
      showMessage(s, "Ошибка: " + fileProblem("Не удалось создать папку", path, ec.message()));
      return false;
    }
  }
  const InteractiveState before(s);
  s.photoRunning = true;
  showPhotoProgress(s, "Видео 0% · Esc — отмена");
  double started = platform::now(), shownAt = started;
  FilmPath film;
  bool going = true;
  if (hasRecordedPath(s)) {
    film = s.recorder.path;
  } else {
    // The dive from the view as it stands, on a seed of its own.
    if (!s.dive.on) setDive(s.dive, s.camera, s.params, true);
    const int frames = std::max(1, int(std::lround(seconds * fps)));
    const uint32_t seed = uint32_t(s.rng());
    film = planDivePath(s, frames, fps, seed, [&](int done) {
      const std::string stage = "план погружения: кадр " + std::to_string(done) + " из " + std::to_string(frames);
      return going = filmProgress(s, stage, double(done) / frames, started, shownAt);
    });
  }
  FilmOutcome done;
  if (going) {
    FilmSpec spec;
    spec.target = path;
    spec.width = w, spec.height = h, spec.fps = fps, spec.samples = samples;
    spec.duration = seconds;
    spec.pathName = film.dive ? "dive" : "recorded";
    spec.keepCancelled = false;  // Esc leaves no film at all, as a photo leaves no picture
    started = platform::now();
    done = renderFilm(s, film, spec, [&](int i, int total, double f) {
      const std::string stage = "видео: кадр " + std::to_string(i + 1) + " из " + std::to_string(total);
      return filmProgress(s, stage, (i + f) / total, started, shownAt);
    });
  }
  before.restore(s);
  s.photoRunning = false;
  platform::setTitle(s.window, kAppTitle);
  if (!going || done.cancelled) showMessage(s, kMsgPhotoCancelled);
  else if (!done.error.empty()) showMessage(s, "Ошибка: " + done.error);
  else showMessage(s, "Видео сохранено: " + path);
  return going && !done.cancelled && done.error.empty();
}
