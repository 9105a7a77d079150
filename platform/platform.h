// platform.h — the only door to the operating system.
//
// Everything outside platform/ talks to windows, GL contexts, events, files'
// folders, message boxes and the PNG pixel encoder through these records and
// free functions. One implementation file per backend is chosen by CMake
// (platform_sdl.cpp on Linux). Error convention: functions that can fail
// return false / an empty value and, where useful, fill an error string;
// nothing here throws.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace platform {

// [SECTION] Window and GL context

enum class WindowKind {
  Normal,       // 1600×950 client area (or the requested size), resizable
  ScreenSaver,  // borderless, topmost, over all displays, cursor hidden
  Headless,     // no window: an offscreen GL 4.3 core context
};

struct WindowDesc {
  WindowKind kind = WindowKind::Normal;
  int width = 1600;   // client size; 0 = default
  int height = 950;
  std::string title = "Quorvan Telix 3D";
  bool forceHeadless = false;  // --headless: offscreen even when a display exists
  // A screen-saver host's window to draw into (an X window id); 0 = none.
  // When it cannot be used the program makes its own window instead.
  uint64_t hostWindow = 0;
};

struct Window;  // opaque

// Creates the window (or headless context) with a current OpenGL 4.3 core
// context. With no display available a Normal request falls back to Headless.
// Returns nullptr and fills `error` on failure. A headless size beyond what
// the GPU can draw fails with an error that begins with kErrorFrameTooLarge
// and says the limit: the context is fine, so no driver advice follows.
Window* createWindow(const WindowDesc& desc, std::string& error);
inline constexpr const char* kErrorFrameTooLarge = "размер кадра больше, чем позволяет видеокарта";
void destroyWindow(Window* w);

bool isHeadless(const Window* w);
// Whether the window is a screen-saver host's (see WindowDesc::hostWindow).
bool drawsIntoHost(const Window* w);
// The desktop's root window as a host window id, for a screen saver started
// with xscreensaver's "-root" outside xscreensaver; 0 where there is none.
uint64_t rootWindow();
// The window a screen-saver host names for its hack to draw into
// (xscreensaver's XSCREENSAVER_WINDOW, decimal or 0x-hex); 0 when it names none.
uint64_t screenSaverHostWindow();
// The window class (X11) and app id (Wayland): the desktop entry's name.
inline constexpr const char* kWindowClass = "quorvantelix3d";
// Address of a GL entry point (core and extension), nullptr when absent.
void* glProcAddress(const char* name);
// The framebuffer the program should treat as "the window": 0 for a real
// window; for a headless context an FBO of the client size made by the
// platform (re-created on resize). Bind it instead of 0.
uint32_t defaultFramebuffer(const Window* w);
void swapBuffers(Window* w);
// Returns false when the driver refuses; never fatal.
bool setSwapInterval(Window* w, int interval);
void setTitle(Window* w, const std::string& utf8);
void drawableSize(const Window* w, int& width, int& height);
// Headless only: changes the size of the stand-in framebuffer.
void setHeadlessSize(Window* w, int width, int height);
double dpiScale(const Window* w);
void toggleFullscreen(Window* w);
bool isFullscreen(const Window* w);

// [SECTION] Events

enum class EventType {
  None, MouseMove, MouseDown, MouseUp, MouseWheel, KeyDown, KeyUp, Text,
  DropFile, Resize, Close, FocusLost,
};

enum Modifier : uint32_t { kModShift = 1, kModCtrl = 2, kModAlt = 4 };

// Layout-independent key codes (physical positions, named after US letters).
enum Key : int32_t {
  kKeyUnknown = 0,
  kKeyA = 'a', kKeyZ = 'z',  // letters are their lower-case ASCII
  kKey0 = '0', kKey9 = '9',  // digits likewise
  kKeyEscape = 256, kKeyEnter, kKeyTab, kKeyBackspace, kKeyDelete, kKeySpace,
  kKeyLeft, kKeyRight, kKeyUp, kKeyDown, kKeyHome, kKeyEnd, kKeyPageUp, kKeyPageDown,
  kKeyF1, kKeyF2, kKeyF3, kKeyF4, kKeyF5, kKeyF6, kKeyF7, kKeyF8, kKeyF9, kKeyF10,
  kKeyF11, kKeyF12, kKeyShift, kKeyCtrl, kKeyAlt, kKeyMinus, kKeyEquals,
  kKeyLeftBracket, kKeyRightBracket, kKeyComma, kKeyPeriod, kKeySlash,
};

struct InputEvent {
  EventType type = EventType::None;
  int x = 0, y = 0;         // mouse position in client pixels, top-left origin
  int button = 0;           // 1 left, 2 middle, 3 right
  int clicks = 0;           // 2 for a double click
  float wheel = 0;          // notches, positive away from the user
  int32_t key = kKeyUnknown;
  uint32_t mods = 0;        // Modifier bits taken from the event itself
  bool repeat = false;
  std::string text;         // UTF-8 typed text, or the dropped file's path
  int width = 0, height = 0;  // Resize
};

// Blocks until at least one event arrives (or timeoutMs passes, -1 = forever),
// then returns everything pending.
std::vector<InputEvent> waitEvents(Window* w, int timeoutMs);
std::vector<InputEvent> pollEvents(Window* w);
// Injects a synthetic OS event that travels the same path as a user's.
void postEvent(Window* w, const InputEvent& e);

// [SECTION] Desktop services

std::string clipboardText();
void setClipboardText(const std::string& utf8);
// Message box on the window, or stderr when headless / no window. `error`
// picks the icon.
void messageBox(Window* w, const std::string& title, const std::string& text, bool error);
// Monotonic clock in seconds.
double now();

// Settings folder ($XDG_CONFIG_HOME/Quorvantelix or ~/.config/Quorvantelix)
// and pictures folder (XDG pictures dir, ~/Pictures or ~, + "/Quorvan Telix").
// Each is created when missing; an empty string when no folder can be had.
std::string settingsFolder();
std::string picturesFolder();
// The user's home folder ("~" in a typed path); empty when unknown.
std::string homeFolder();
// Cache folder for what can be rebuilt ($XDG_CACHE_HOME/Quorvantelix or
// ~/.cache/Quorvantelix; %LOCALAPPDATA%\Quorvantelix on Windows), created
// when missing; an empty string when none can be had.
std::string cacheFolder();

// [SECTION] File dialogs

// A filter row of an open/save dialog: the shown name and its patterns
// ("*.json", "*.png").
struct FileFilter {
  std::string name;
  std::vector<std::string> patterns;
};

enum class DialogResult {
  Chosen,       // `path` holds the chosen file (UTF-8, absolute)
  Cancelled,    // the user closed the dialog: do nothing
  Unavailable,  // no dialog could be shown (no portal, no helper program):
                // the caller says how to name a file instead
};

// Modal file dialogs. They never block forever (a helper that stops
// answering is given up after a time limit and reported as Unavailable) and
// keep the window alive meanwhile. `folder` is where the dialog starts;
// `proposedName` is the save dialog's suggested file name.
DialogResult openFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, std::string& path);
DialogResult saveFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, const std::string& proposedName, std::string& path);

// [SECTION] Glyph rasterisation (for the interface's atlas)

// One font to rasterise: a fallback list of family names (the first that
// exists and covers Cyrillic is the main face; a code point it lacks is taken
// from the next face that has it), a weight (400 regular, 600 semibold) and
// the pixel height of the em (the size in logical pixels times the DPI scale).
struct FontRequest {
  std::vector<std::string> families;
  int weight = 400;
  int pixelHeight = 15;
};

struct GlyphBitmap {
  uint32_t codepoint = 0;
  bool present = false;      // false: no face has it (draws and advances nothing)
  int advance = 0;           // pen advance in pixels
  int width = 0, height = 0; // coverage bitmap size
  int left = 0;              // bitmap's left edge relative to the pen position
  int top = 0;               // bitmap's top row relative to the line's top (ascent line − bearing)
  std::vector<uint8_t> coverage;  // width × height, 0..255, rows top-down, grey antialiasing
};

struct FontMetrics {
  std::string face;          // the face actually used (first that matched)
  int ascent = 0;            // pixels from the line's top to the baseline
  int height = 0;            // line height in pixels (ascent + descent)
};

// Rasterises `codepoints` in order (`out` gets one entry each). False with
// `error` when no face of the list (nor any system sans-serif face) can be
// opened at all.
bool rasterizeGlyphs(const FontRequest& font, const std::vector<uint32_t>& codepoints,
                     std::vector<GlyphBitmap>& out, FontMetrics& metrics, std::string& error);

// [SECTION] PNG pixel encoding

// Encodes RGBA pixels (4 bytes each, rows bottom-up as GL reads them back)
// into PNG bytes, top-down and opaque. Returns false on failure.
bool encodePngPixels(const uint8_t* rgbaBottomUp, int width, int height, std::string& png);

// Decodes a PNG (any bit depth or colour type) into 8-bit RGBA, rows
// bottom-up as encodePngPixels takes them. False when it is not a whole PNG.
bool decodePngPixels(const std::string& png, int& width, int& height, std::vector<uint8_t>& rgbaBottomUp);

// [SECTION] Video writing

// One video file made of frames, like a PNG made of pixels. The container
// and codec follow the extension: ".mp4" H.264 (yuv420p, constant quality,
// index at the front so players start at once); ".webm" and ".mkv" VP9.
// The file is written beside its name and renamed when closed, so it exists
// whole or not at all. Errors are Russian lines for the user.
struct VideoWriter;
// Whether this build can write `path` (its extension); `error` says why not.
bool videoSupported(const std::string& path, std::string& error);
VideoWriter* openVideo(const std::string& path, int width, int height, int fps, std::string& error);
// One frame of width·height RGBA bytes, bottom row first.
bool writeVideoFrame(VideoWriter* v, const uint8_t* rgbaBottomUp, std::string& error);
// Finishes the file and frees the writer; false with `error` leaves no file.
bool closeVideo(VideoWriter* v, std::string& error);
// Frees the writer and removes what it wrote (a cancelled film).
void abandonVideo(VideoWriter* v);
// The encoder's name, for the report ("libx264").
std::string videoEncoderName(const VideoWriter* v);

// [SECTION] PNG rows, a band at a time

// A picture too large to hold is encoded a band of rows at a time: each
// encoded byte goes to `sink` as soon as the encoder lets it go (the preset
// chunk is spliced in on the way by io/). Same encoder settings as
// encodePngPixels. The sink returns false to stop (a full disk).
using PngSink = std::function<bool(const uint8_t* data, size_t size)>;
struct PngRowWriter;
PngRowWriter* beginPngRows(int width, int height, PngSink sink);
// Top-down RGBA rows; alpha is written as 255. False once anything failed.
bool writePngRows(PngRowWriter* w, const uint8_t* rgbaTopDown, int rowCount);
// Ends the file after the last row and frees the writer; false when any
// step failed or rows are missing. abandonPngRows frees without ending.
bool finishPngRows(PngRowWriter* w);
void abandonPngRows(PngRowWriter* w);

// Reads a PNG file back a band of rows at a time as top-down RGBA (for the
// assembly of posters from parts). Open fails with a short Russian reason.
struct PngRowReader;
PngRowReader* openPngRows(const std::string& path, int& width, int& height, std::string& reason);
// False when the file ends early or is damaged (`reason` says so).
bool readPngRows(PngRowReader* r, uint8_t* rgba, int rowCount, std::string& reason);
void closePngRows(PngRowReader* r);

// The process's peak resident memory so far, in bytes (0 where unknown).
uint64_t peakResidentBytes();

}  // namespace platform
