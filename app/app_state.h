// The one application record (its run mode, interface context and random
// engine among it) and the state changes the shell makes to it:
// making a record current, history snapshots, and the command-line options.
#pragma once

#include "app/film_path.h"
#include "app/launch.h"
#include "app/panel.h"
#include "io/settings.h"
#include "model/history.h"
#include "model/params.h"
#include "model/random.h"
#include "nav/camera.h"
#include "nav/dive.h"
#include "nav/live.h"
#include "nav/picture.h"
#include "render/renderer.h"
#include "ui/ui_context.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

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

// What the window's input left for the next frame. The interface reads the
// mouse and key fields and claims the mouse through uiWantsMouse and
// textFocus; the per-frame fields are cleared by the loop after each frame.
struct InputState {
  float mouseX = 0, mouseY = 0;    // last cursor position in client pixels
  bool mouseDown = false;          // left button held
  // Per frame:
  bool mousePressed = false;       // left button went down
  bool mouseReleased = false;      // left button went up
  bool rightPressed = false;       // right button went down
  bool doubleClicked = false;      // the left press was a double click
  std::vector<uint32_t> typedChars;  // code points typed (8 and 13 included)
  bool keyBackspace = false, keyEnter = false, keyEscape = false, keyPaste = false;
  // Kept:
  std::string pasteText;           // clipboard text taken at the last Ctrl+V
  bool uiWantsMouse = false;       // set by the interface: a widget is under the cursor or active
  bool textFocus = false;          // set by the interface: a text field has the focus
  bool dragging = false;           // a camera drag holds the mouse
  int dragMode = 0;                // 1 orbit, 2 pan
  float panelScroll = 0;           // side-panel scroll offset in pixels
  bool screenMouseSeen = false;    // screen saver: the first move was seen
  bool shiftHeld = false;          // from the last event's modifiers
  std::set<int32_t> heldFlightKeys;  // the keys behind camera.flightKeys
};

// Clears the per-frame fields; the loop calls it after each frame.
void clearFrameInput(InputState& in);

inline constexpr double kPanelWidth = 372;  // logical pixels

// How this run of the program goes; the questions the shell asks of it are
// the functions below.
enum class RunMode {
  Interactive,        // a window with a user in front of it
  ScreenSaver,        // the endless random dive in a window of its own; any key or click ends it
  HostedScreenSaver,  // the same drawn into a host's window (xscreensaver), which owns the input
  InputTest,          // --input-test: drives itself with posted input; its log is its only output
  Film,               // --film: plans a dive and renders its frames
  Shot,               // --shot, a thumbnail or a poster: renders, writes the files and stops
};

inline bool isScreenSaver(RunMode m) { return m == RunMode::ScreenSaver || m == RunMode::HostedScreenSaver; }
// Nobody reads the window's messages, so they also go to stderr, where a log
// keeps them (the self-test writes only its own log).
inline bool messagesOnStderr(RunMode m) { return isScreenSaver(m) || m == RunMode::Film || m == RunMode::Shot; }
// Nobody waits on the loop: its bands may be long and it composites only what
// is read back. A screen saver is watched.
inline bool nobodyWatches(RunMode m) { return m == RunMode::InputTest || m == RunMode::Film || m == RunMode::Shot; }

struct AppState {
  FractalParams params;            // the current record
  Camera camera;
  AppSettings settings;
  History history;
  Renderer renderer;
  platform::Window* window = nullptr;

  RunMode mode = RunMode::Interactive;
  bool launchedWithOptions = false;  // suppresses saving the settings
  bool deepForced = false;           // --deep
  int targetSamples = 0;             // 0 = the settings' sample count
  bool uiHidden = false;
  int activeTab = 0;
  DiveState dive;
  LiveState live;
  FractalParams liveShown;           // while live: the morphed copy frameInputOf hands the renderer
  // The palette scrolling through the colours ("Цвет" tab): a display
  // effect, never part of the record.
  struct PaletteAnimation {
    bool on = false;
    double speed = 0.05;             // palette lengths per second
    double phase = 0;
  } paletteAnim;
  int fitCountdown = 0;              // frames of fitting to the frame still allowed
  bool focusLocked = false;          // a pick leaves the focus distance alone
  // Every draw the program makes (random seeds and types, mutation, the
  // dive's turns); seeded once, or by a film's --random-seed.
  RandomEngine rng{std::random_device{}()};

  bool cameraWasMoving = false;      // for the history step when motion ends
  double lastFrameTime = -1;
  std::string toastText;             // the transient message line
  double toastUntil = 0;             // platform::now() until which it shows

  InputState input;
  PanelState panel;                // the side panel's widgets, sections and fields
  std::unique_ptr<UiContext> ui;   // the interface's drawing layer, once initInterface built it
  bool helpShown = false;            // the help overlay (F1, "/")
  double dpiScale = 1;
  bool redraw = false;               // something changed: draw the next frame at once
  bool quitRequested = false;        // the screen saver ends, or a photo's close asked to quit
  bool photoRunning = false;         // a photo render holds the loop
  // Work a panel button asked for that must not run inside the interface's
  // frame (a photo redraws the window while it runs); done once the frame is drawn.
  std::function<void(AppState&)> afterFrame;
  PathRecorder recorder;             // "Записать путь": the camera path being recorded
};

// The record with the live camera pose, as history and shots store it.
FractalParams liveParams(const AppState& s);
// Mutation and crossbreeding take 32 random bits at a time from an MT19937:
// each gets a fresh one, seeded from the application's engine.
std::mt19937 mutationDraws(AppState& s);
// Snapshot of the live state into the undo history.
void pushState(AppState& s);
// Makes `p` the current record with its camera (snapped), pushes it into the
// history and hands it to the renderer. False with `error` when the fractal's
// program does not build; the record is current either way.
bool makeCurrent(AppState& s, const FractalParams& p, std::string& error);
// The message pill's text for 3 seconds; where nobody reads the window it
// also goes to stderr (messagesOnStderr).
void showMessage(AppState& s, const std::string& text);
// Left edge of the side panel in client pixels: the client width less the
// panel's scaled width while the interface is shown, else the client width.
int panelLeftEdge(const AppState& s, int clientWidth);
bool overPanel(const AppState& s, float x, int clientWidth);
// The side panel is drawn over the picture: the interface is built, not
// hidden, and this is no screen saver.
bool panelShown(const AppState& s);
// The image shift, in client pixels, that keeps the fractal in the middle of
// what the panel leaves free: half the panel's width while it shows, else 0.
// It follows from the layout alone, so the renderer has it before the panel is drawn.
double imageShift(const AppState& s, int clientWidth);
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
// The quality settings as the renderer reads them.
RenderQuality renderQuality(const AppSettings& settings);
// What the frame driver and the photo render get for the current state.
FrameInput frameInputOf(AppState& s, double now, bool moving);
// The traced picture as navigation sees it, and how to read its depths.
PictureFrame pictureOf(const AppState& s);
DepthReader depthReaderOf(AppState& s);
