// The settings file "state.json": the last fractal, the render-quality choices
// and the recent seeds. Read once at start-up, written once at a normal quit.
#pragma once

#include "model/history.h"
#include "model/params.h"

#include <cstdint>
#include <string>
#include <vector>

// The fourteen "quality" members, in the order they are written. The values
// here are what a first run uses.
struct AppSettings {
  double resScale = 0;      // "Разрешение": 0 = automatic (at most 2.4 Mpx)
  int32_t samples = 256;    // "Сэмплов": target samples per pixel
  int32_t maxSteps = 320;   // "Шагов луча"
  double precision = 1.0;   // "Детализация": surface tolerance in pixels
  int32_t deep = 0;         // "Режим fp64": 0 automatic, 1 never, 2 always
  double diveSpeed = 0.35;
  double mutation = 0.5;    // "Сила мутаций", 0..1
  bool shadows = true;
  bool ao = true;
  bool adaptive = true;
  bool autoIter = true;
  bool prepass = true;
  bool gi = false;
  bool vsync = true;
  // Remembered choices beyond the classic fourteen (old files load without them).
  int32_t photoSize = 0;     // the Render tab's "Размер" pill, 0 = "Как на экране"
  int32_t photoSamples = 2;  // its samples pill, 2 = "128 сэмплов"
  double filmSeconds = 10;   // the "Видео" section: duration,
  int32_t filmFps = 1;       // frame-rate pill (1 = 30 fps),
  int32_t filmSize = 0;      // size pill (0 = 1280×720),
  int32_t filmSamples = 1;   // samples pill (1 = 16 per frame)
  std::string lastFolder;    // where the last file dialog was answered

  bool operator==(const AppSettings&) const = default;
};

// Applies "preset", then "quality", then "history", and stops silently at
// the first failure: what was applied stays. Returns whether the whole file was read.
bool loadState(const std::string& path, FractalParams& current, AppSettings& settings,
               std::vector<RecentSeed>& recent);
std::string stateText(const FractalParams& current, const AppSettings& settings,
                      const std::vector<RecentSeed>& recent);
// Writes atomically (temporary file + rename). Returns success; `error`
// says why not.
bool saveState(const std::string& path, const FractalParams& current, const AppSettings& settings,
               const std::vector<RecentSeed>& recent, std::string* error = nullptr);
