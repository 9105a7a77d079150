// The one application record and the state changes the shell makes to it:
// making a record current, history snapshots, and the command-line options.
#pragma once

#include "app/launch.h"
#include "io/settings.h"
#include "model/history.h"
#include "model/params.h"
#include "nav/camera.h"
#include "render/renderer.h"

#include <string>

namespace platform {
struct Window;
}

inline constexpr const char* kAppTitle = "Quorvan Telix 3D";
inline constexpr const char* kMsgNeedGl43 =
    "Нужна видеокарта с поддержкой OpenGL 4.3.\n"
    "Обновите драйвер видеокарты или используйте веб-версию (index.html).";
inline constexpr const char* kMsgScreensaverInfo =
    "Quorvan Telix 3D: бесконечное погружение в фракталы.\n"
    "Настройки берутся из обычного запуска программы.";

struct AppState {
  FractalParams params;            // the current record
  Camera camera;
  AppSettings settings;
  History history;
  Renderer renderer;
  platform::Window* window = nullptr;

  bool screensaverMode = false;
  bool launchedWithOptions = false;  // suppresses saving the settings
  bool deepForced = false;           // --deep
  int targetSamples = 0;             // 0 = the settings' sample count
  bool uiHidden = false;
  int activeTab = 0;
  double uiOffset = 0;               // image shift target while the panel shows
  bool diveActive = false;
  bool liveMode = false;

  bool cameraWasMoving = false;      // for the history step when motion ends
  double lastFrameTime = -1;
  std::string toast;                 // the transient message line
  double toastUntil = 0;
};

// The record with the live camera pose, as history and shots store it.
FractalParams liveParams(const AppState& s);
// Snapshot of the live state into the undo history.
void pushState(AppState& s);
// Makes `p` the current record with its camera (snapped), pushes it into the
// history and hands it to the renderer. False with `error` when the fractal's
// program does not build; the record is current either way.
bool makeCurrent(AppState& s, const FractalParams& p, std::string& error);
void showToast(AppState& s, const std::string& text, double now);
// Opening or dropping a file: the record is applied only when the whole load
// succeeded (current, camera snapped, history, recent seeds). Returns the
// message to show: "Загружено: " and the seed, or why nothing changed.
std::string loadAndApply(AppState& s, const std::string& path);
int targetSampleCount(const AppState& s);

// The record changes a shot or a self-test asks for. Renderer work (the new
// record's program) is left to the caller, which knows whether to report.
void applyLaunchOptions(AppState& s, const LaunchOptions& o);
// The renderer's view of the shown camera.
CameraView cameraViewOf(const Camera& c, double fovDegrees);
