// platform_sdl.cpp — the Linux backend of the platform seam: SDL2 for windows,
// GL contexts, events, clipboard and message boxes; SDL's offscreen driver
// (EGL) when there is no display or a headless run is asked for.
//
// Index
//   [SECTION] Window record and video start-up
//   [SECTION] Window icon
//   [SECTION] Window creation
//   [SECTION] Window queries and control
//   [SECTION] Key codes
//   [SECTION] Event translation
//   [SECTION] Posting synthetic events
//   [SECTION] Desktop services
//   [SECTION] Folders
#include "platform/platform.h"
#include "platform/standin_framebuffer.h"

#include <GL/glcorearb.h>
#include <SDL2/SDL.h>
#include <SDL2/SDL_syswm.h>  // the X display, for the Xft.dpi resource and the title
#if defined(SDL_VIDEO_DRIVER_X11)
#include <X11/Xatom.h>
#endif

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace platform {

// [SECTION] Window record and video start-up

struct Window {
  SDL_Window* window = nullptr;
  SDL_GLContext context = nullptr;
  bool headless = false;
  bool host = false;  // drawing into a screen-saver host's window
  StandIn standIn;  // headless only; its size is the client size
  uint32_t mods = 0;  // modifier state as carried by the last key event
  // Several files dropped at once arrive one event each; only the first opens.
  bool dropping = false, dropTaken = false;
  double hostCheckedAt = 0;  // when the host's window was last seen alive
};

// The Windows icon file, embedded at build time (window_icon_data.cpp).
extern const unsigned char kIconFile[];
extern const size_t kIconFileSize;

namespace {

bool displayAvailable() {
  const char* x = std::getenv("DISPLAY");
  const char* wl = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (wl && *wl);
}

// Starts SDL's video with the wanted driver. A previous start with another
// driver is shut down first, so a test can make a headless context after a
// windowed one.
bool startVideo(bool offscreen, std::string& error) {
  const char* current = SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetCurrentVideoDriver() : nullptr;
  if (current) {
    bool isOffscreen = std::string(current) == "offscreen";
    if (isOffscreen == offscreen) return true;
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
  if (offscreen) setenv("SDL_VIDEODRIVER", "offscreen", 1);
  // The window's class (X11) and app id (Wayland) name the desktop entry, so
  // that the desktop shows the entry's name and icon for the window whatever
  // the executable is called (the screen saver's link, a build folder).
  setenv("SDL_VIDEO_X11_WMCLASS", kWindowClass, 0);
  setenv("SDL_VIDEO_WAYLAND_WMCLASS", kWindowClass, 0);
  SDL_SetHint(SDL_HINT_VIDEO_MINIMIZE_ON_FOCUS_LOSS, "0");
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    error = std::string("SDL: ") + SDL_GetError();
    return false;
  }
  return true;
}

void setContextAttributes() {
  SDL_GL_ResetAttributes();
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 4);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
  SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
  SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 0);
  SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
}

// [SECTION] Window icon

uint32_t readLe(const unsigned char* p, int bytes) {
  uint32_t v = 0;
  for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

// The icon file's largest 32-bit image. Each is a DIB: a 40-byte header,
// then rows bottom-up of B, G, R, A (then a mask, which the alpha makes moot).
SDL_Surface* iconSurface() {
  const unsigned char* f = kIconFile;
  if (kIconFileSize < 6 || readLe(f + 2, 2) != 1) return nullptr;
  uint32_t count = readLe(f + 4, 2), bestSize = 0, bestOffset = 0;
  for (uint32_t i = 0; i < count && 6 + 16 * (i + 1) <= kIconFileSize; ++i) {
    const unsigned char* e = f + 6 + 16 * i;
    uint32_t size = e[0] ? e[0] : 256, offset = readLe(e + 12, 4);
    bool dib32 = offset + 40 <= kIconFileSize && readLe(f + offset, 4) == 40 && readLe(f + offset + 14, 2) == 32;
    if (dib32 && offset + 40 + size * size * 4 <= kIconFileSize && size > bestSize) {
      bestSize = size;
      bestOffset = offset;
    }
  }
  if (bestSize == 0) return nullptr;
  int n = int(bestSize);
  SDL_Surface* icon = SDL_CreateRGBSurfaceWithFormat(0, n, n, 32, SDL_PIXELFORMAT_ARGB8888);
  if (!icon) return nullptr;
  const unsigned char* rows = f + bestOffset + 40;
  for (int y = 0; y < n; ++y)  // B, G, R, A in memory is ARGB8888 read as little-endian words
    std::memcpy(static_cast<unsigned char*>(icon->pixels) + size_t(y) * icon->pitch,
                rows + size_t(n - 1 - y) * n * 4, size_t(n) * 4);
  return icon;
}

void setWindowIcon(SDL_Window* window) {
  if (SDL_Surface* icon = iconSurface()) {
    SDL_SetWindowIcon(window, icon);
    SDL_FreeSurface(icon);
  }
}

// [SECTION] Window creation

SDL_Rect allDisplaysRect() {
  SDL_Rect all{0, 0, 0, 0};
  int n = SDL_GetNumVideoDisplays();
  for (int i = 0; i < n; ++i) {
    SDL_Rect r;
    if (SDL_GetDisplayBounds(i, &r) != 0) continue;
    if (all.w == 0) all = r;
    else SDL_UnionRect(&all, &r, &all);
  }
  if (all.w == 0) all = {0, 0, 1600, 950};
  return all;
}

#if defined(SDL_VIDEO_DRIVER_X11)
bool gHostWindowBad = false;
int noteHostWindowError(Display*, XErrorEvent*) {
  gHostWindowBad = true;
  return 0;
}
#endif

// A stale or mistyped host window id must not end the process: Xlib's default
// error handler would exit at the first request on it. The host may also
// destroy its window at any moment (xscreensaver does when the user comes
// back), so once adopted the handler stays: the run then ends as if closed
// (hostWindowGone) instead of dying of the next request's error.
SDL_Window* adoptHostWindow(uint64_t id) {
  SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, "1");
  void* handle = reinterpret_cast<void*>(static_cast<uintptr_t>(id));
#if defined(SDL_VIDEO_DRIVER_X11)
  gHostWindowBad = false;
  XErrorHandler previous = XSetErrorHandler(noteHostWindowError);
  SDL_Window* w = SDL_CreateWindowFrom(handle);
  if (w && gHostWindowBad) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    bool x11 = SDL_GetWindowWMInfo(w, &info) && info.subsystem == SDL_SYSWM_X11;
    SDL_DestroyWindow(w);
    w = nullptr;
    if (x11) XSync(info.info.x11.display, False);  // its errors arrive while ours is the handler
  }
  if (!w) {
    XSetErrorHandler(previous);
    SDL_SetError("no such window");
  }
  return w;
#else
  return SDL_CreateWindowFrom(handle);
#endif
}

SDL_Window* openSdlWindow(const WindowDesc& d, WindowKind kind) {
  int w = d.width > 0 ? d.width : 1600, h = d.height > 0 ? d.height : 950;
  Uint32 flags = SDL_WINDOW_OPENGL;
  if (kind == WindowKind::ScreenSaver && d.hostWindow != 0) {
    // The host owns the window's size, placement and input; we only draw.
    return adoptHostWindow(d.hostWindow);
  }
  if (kind == WindowKind::Headless) {
    // The pbuffer behind the offscreen "window" is never drawn to.
    return SDL_CreateWindow(d.title.c_str(), 0, 0, 1, 1, flags | SDL_WINDOW_HIDDEN);
  }
  if (kind == WindowKind::ScreenSaver) {
    SDL_Rect all = allDisplaysRect();
    flags |= SDL_WINDOW_BORDERLESS | SDL_WINDOW_ALWAYS_ON_TOP | SDL_WINDOW_SKIP_TASKBAR;
    return SDL_CreateWindow(d.title.c_str(), all.x, all.y, all.w, all.h, flags);
  }
  flags |= SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI;
  return SDL_CreateWindow(d.title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, w, h, flags);
}

Window* createKind(const WindowDesc& d, WindowKind kind, std::string& error) {
  if (!startVideo(kind == WindowKind::Headless, error)) return nullptr;
  setContextAttributes();
  auto* w = new Window;
  w->headless = kind == WindowKind::Headless;
  w->host = kind == WindowKind::ScreenSaver && d.hostWindow != 0;
  w->window = openSdlWindow(d, kind);
  if (w->window) w->context = SDL_GL_CreateContext(w->window);
  if (!w->context || SDL_GL_MakeCurrent(w->window, w->context) != 0) {
    error = std::string("OpenGL 4.3: ") + SDL_GetError();
    destroyWindow(w);
    return nullptr;
  }
  if (!loadStandInGl(w->standIn.gl)) {
    error = "OpenGL 4.3: framebuffer entry points missing";
    destroyWindow(w);
    return nullptr;
  }
  if (w->headless &&
      !makeStandIn(w->standIn, d.width > 0 ? d.width : 1600, d.height > 0 ? d.height : 950, error)) {
    destroyWindow(w);
    return nullptr;
  }
  if (kind == WindowKind::ScreenSaver) {
    SDL_ShowCursor(SDL_DISABLE);
    // A window manager may map a new window without the focus; the saver
    // needs the keyboard at once, since any key ends it.
    if (!w->host) {
      SDL_RaiseWindow(w->window);
      SDL_SetWindowInputFocus(w->window);
    }
  }
  if (kind != WindowKind::Headless && !w->host) setWindowIcon(w->window);
  if (kind != WindowKind::Headless) SDL_StartTextInput();
  return w;
}

}  // namespace

Window* createWindow(const WindowDesc& desc, std::string& error) {
  bool headless = desc.kind == WindowKind::Headless || desc.forceHeadless || !displayAvailable();
  if (headless) return createKind(desc, WindowKind::Headless, error);
  Window* w = nullptr;
  if (desc.kind == WindowKind::ScreenSaver && desc.hostWindow != 0) {
    w = createKind(desc, desc.kind, error);
    if (w) return w;
    std::fprintf(stderr, "screen-saver host window 0x%llx: %s\n",
                 static_cast<unsigned long long>(desc.hostWindow), error.c_str());
  }
  WindowDesc own = desc;
  own.hostWindow = 0;
  w = createKind(own, desc.kind, error);
  if (w) return w;
  // A display that is named but cannot be opened (a stale DISPLAY) should not
  // stop a run that can do without one.
  std::string second;
  w = createKind(desc, WindowKind::Headless, second);
  if (w) error.clear();
  return w;
}

void destroyWindow(Window* w) {
  if (!w) return;
  if (w->context) {
    releaseStandIn(w->standIn);
    SDL_GL_MakeCurrent(w->window, nullptr);
    SDL_GL_DeleteContext(w->context);
  }
  if (w->window) SDL_DestroyWindow(w->window);
  delete w;
}

// [SECTION] Window queries and control

bool isHeadless(const Window* w) { return !w || w->headless; }

bool drawsIntoHost(const Window* w) { return w && w->host; }

uint64_t screenSaverHostWindow() {
  const char* env = std::getenv("XSCREENSAVER_WINDOW");
  return env ? std::strtoull(env, nullptr, 0) : 0;
}

uint64_t rootWindow() {
#if defined(SDL_VIDEO_DRIVER_X11)
  if (!displayAvailable()) return 0;
  Display* d = XOpenDisplay(nullptr);
  if (!d) return 0;
  uint64_t id = DefaultRootWindow(d);
  XCloseDisplay(d);
  return id;
#else
  return 0;
#endif
}

void* glProcAddress(const char* name) {
  // SDL answers only once video is up; before that there is no GL library.
  if (!SDL_WasInit(SDL_INIT_VIDEO)) return nullptr;
  return SDL_GL_GetProcAddress(name);
}

uint32_t defaultFramebuffer(const Window* w) { return w && w->headless ? w->standIn.fbo : 0; }

void swapBuffers(Window* w) {
  if (!w) return;
  // Headless frames go nowhere; finishing keeps the loop paced by the GPU
  // instead of queueing frames without end.
  if (w->headless) w->standIn.gl.finish();
  else SDL_GL_SwapWindow(w->window);
}

bool setSwapInterval(Window* w, int interval) {
  if (!w || w->headless) return false;
  return SDL_GL_SetSwapInterval(interval) == 0;
}

namespace {

// SDL2 leaves _NET_WM_NAME as it was when the window was made and writes
// WM_NAME as Latin-1, so a changed title (the photo's progress, with its dash
// and Cyrillic) would not show at all under most window managers and come
// out garbled under the rest: both are written here as UTF-8.
void setX11Title(SDL_Window* window, const std::string& utf8) {
#if defined(SDL_VIDEO_DRIVER_X11)
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!SDL_GetWindowWMInfo(window, &info) || info.subsystem != SDL_SYSWM_X11) return;
  Display* d = info.info.x11.display;
  Atom utf8Type = XInternAtom(d, "UTF8_STRING", False);
  Atom netName = XInternAtom(d, "_NET_WM_NAME", False);
  auto bytes = reinterpret_cast<const unsigned char*>(utf8.data());
  XChangeProperty(d, info.info.x11.window, netName, utf8Type, 8, PropModeReplace, bytes, int(utf8.size()));
  XChangeProperty(d, info.info.x11.window, XA_WM_NAME, utf8Type, 8, PropModeReplace, bytes, int(utf8.size()));
  XFlush(d);
#else
  (void)window;
  (void)utf8;
#endif
}

}  // namespace

void setTitle(Window* w, const std::string& utf8) {
  if (!w || !w->window || w->headless || w->host) return;  // a host's window keeps its own title
  SDL_SetWindowTitle(w->window, utf8.c_str());
  setX11Title(w->window, utf8);
}

void drawableSize(const Window* w, int& width, int& height) {
  width = height = 0;
  if (!w) return;
  if (w->headless) {
    width = w->standIn.width;
    height = w->standIn.height;
  } else {
    SDL_GL_GetDrawableSize(w->window, &width, &height);
  }
}

void setHeadlessSize(Window* w, int width, int height) {
  if (w && w->headless) resizeStandIn(w->standIn, width, height);
}

namespace {

// The desktop's chosen text DPI ("Xft.dpi" in the X resource database), or 0.
// SDL2's own display DPI comes from the monitor's physical size, which
// ignores the scale the user set for the desktop, so the resource comes first.
double xftDpi(SDL_Window* window) {
#if defined(SDL_VIDEO_DRIVER_X11)
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!SDL_GetWindowWMInfo(window, &info) || info.subsystem != SDL_SYSWM_X11) return 0;
  const char* db = XResourceManagerString(info.info.x11.display);
  const char* at = db ? std::strstr(db, "Xft.dpi:") : nullptr;
  // Only a resource at the start of a line counts ("*Xft.dpi" is another key).
  while (at && at != db && at[-1] != '\n') at = std::strstr(at + 1, "Xft.dpi:");
  return at ? std::strtod(at + 8, nullptr) : 0;
#else
  (void)window;
  return 0;
#endif
}

}  // namespace

double dpiScale(const Window* w) {
  if (!w || w->headless) return 1.0;
  double dpi = xftDpi(w->window);
  if (dpi <= 0) {
    int display = SDL_GetWindowDisplayIndex(w->window);
    float hdpi = 0;
    if (display < 0 || SDL_GetDisplayDPI(display, nullptr, &hdpi, nullptr) != 0 || hdpi <= 0) return 1.0;
    dpi = hdpi;
  }
  double s = dpi / 96.0;
  return s < 0.5 ? 1.0 : (s > 4.0 ? 4.0 : s);
}

void toggleFullscreen(Window* w) {
  if (!w || w->headless) return;
  // SDL keeps the windowed placement itself and restores it on the way back.
  SDL_SetWindowFullscreen(w->window, isFullscreen(w) ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
}

bool isFullscreen(const Window* w) {
  if (!w || w->headless) return false;
  return (SDL_GetWindowFlags(w->window) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
}

// [SECTION] Key codes

namespace {

struct KeyPair {
  SDL_Scancode scancode;
  int32_t key;
};

// Physical positions, so that WASD and the shortcuts stay where they are on a
// Russian layout too.
constexpr KeyPair kNamedKeys[] = {
    {SDL_SCANCODE_ESCAPE, kKeyEscape},     {SDL_SCANCODE_RETURN, kKeyEnter},
    {SDL_SCANCODE_KP_ENTER, kKeyEnter},    {SDL_SCANCODE_TAB, kKeyTab},
    {SDL_SCANCODE_BACKSPACE, kKeyBackspace}, {SDL_SCANCODE_DELETE, kKeyDelete},
    {SDL_SCANCODE_SPACE, kKeySpace},       {SDL_SCANCODE_LEFT, kKeyLeft},
    {SDL_SCANCODE_RIGHT, kKeyRight},       {SDL_SCANCODE_UP, kKeyUp},
    {SDL_SCANCODE_DOWN, kKeyDown},         {SDL_SCANCODE_HOME, kKeyHome},
    {SDL_SCANCODE_END, kKeyEnd},           {SDL_SCANCODE_PAGEUP, kKeyPageUp},
    {SDL_SCANCODE_PAGEDOWN, kKeyPageDown}, {SDL_SCANCODE_LSHIFT, kKeyShift},
    {SDL_SCANCODE_RSHIFT, kKeyShift},      {SDL_SCANCODE_LCTRL, kKeyCtrl},
    {SDL_SCANCODE_RCTRL, kKeyCtrl},        {SDL_SCANCODE_LALT, kKeyAlt},
    {SDL_SCANCODE_RALT, kKeyAlt},          {SDL_SCANCODE_MINUS, kKeyMinus},
    {SDL_SCANCODE_KP_MINUS, kKeyMinus},    {SDL_SCANCODE_EQUALS, kKeyEquals},
    {SDL_SCANCODE_KP_PLUS, kKeyEquals},    {SDL_SCANCODE_LEFTBRACKET, kKeyLeftBracket},
    {SDL_SCANCODE_RIGHTBRACKET, kKeyRightBracket}, {SDL_SCANCODE_COMMA, kKeyComma},
    {SDL_SCANCODE_PERIOD, kKeyPeriod},     {SDL_SCANCODE_SLASH, kKeySlash},
};

int32_t keyFromScancode(SDL_Scancode sc) {
  if (sc >= SDL_SCANCODE_A && sc <= SDL_SCANCODE_Z) return 'a' + (sc - SDL_SCANCODE_A);
  if (sc >= SDL_SCANCODE_1 && sc <= SDL_SCANCODE_9) return '1' + (sc - SDL_SCANCODE_1);
  if (sc == SDL_SCANCODE_0) return '0';
  if (sc >= SDL_SCANCODE_F1 && sc <= SDL_SCANCODE_F12) return kKeyF1 + (sc - SDL_SCANCODE_F1);
  for (const KeyPair& k : kNamedKeys)
    if (k.scancode == sc) return k.key;
  return kKeyUnknown;
}

SDL_Scancode scancodeFromKey(int32_t key) {
  if (key >= 'a' && key <= 'z') return SDL_Scancode(SDL_SCANCODE_A + (key - 'a'));
  if (key >= '1' && key <= '9') return SDL_Scancode(SDL_SCANCODE_1 + (key - '1'));
  if (key == '0') return SDL_SCANCODE_0;
  if (key >= kKeyF1 && key <= kKeyF12) return SDL_Scancode(SDL_SCANCODE_F1 + (key - kKeyF1));
  for (const KeyPair& k : kNamedKeys)
    if (k.key == key) return k.scancode;
  return SDL_SCANCODE_UNKNOWN;
}

uint32_t modsFromSdl(Uint16 m) {
  uint32_t r = 0;
  if (m & KMOD_SHIFT) r |= kModShift;
  if (m & KMOD_CTRL) r |= kModCtrl;
  if (m & KMOD_ALT) r |= kModAlt;
  return r;
}

Uint16 sdlFromMods(uint32_t m) {
  Uint16 r = 0;
  if (m & kModShift) r |= KMOD_LSHIFT;
  if (m & kModCtrl) r |= KMOD_LCTRL;
  if (m & kModAlt) r |= KMOD_LALT;
  return r;
}

// [SECTION] Event translation

// Mouse coordinates come in window units; the program works in drawable
// pixels, which differ on high-density screens.
void windowToPixels(const Window& w, int& x, int& y) {
  int ww = 0, wh = 0, dw = 0, dh = 0;
  SDL_GetWindowSize(w.window, &ww, &wh);
  SDL_GL_GetDrawableSize(w.window, &dw, &dh);
  if (ww > 0 && wh > 0 && (ww != dw || wh != dh)) {
    x = int(int64_t(x) * dw / ww);
    y = int(int64_t(y) * dh / wh);
  }
}

void pixelsToWindow(const Window& w, int& x, int& y) {
  int ww = 0, wh = 0, dw = 0, dh = 0;
  SDL_GetWindowSize(w.window, &ww, &wh);
  SDL_GL_GetDrawableSize(w.window, &dw, &dh);
  if (dw > 0 && dh > 0 && (ww != dw || wh != dh)) {
    x = int(int64_t(x) * ww / dw);
    y = int(int64_t(y) * wh / dh);
  }
}

int buttonFromSdl(Uint8 b) {
  switch (b) {
    case SDL_BUTTON_LEFT: return 1;
    case SDL_BUTTON_MIDDLE: return 2;
    case SDL_BUTTON_RIGHT: return 3;
    default: return 0;
  }
}

bool translateWindowEvent(Window& w, const SDL_WindowEvent& we, InputEvent& e) {
  switch (we.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
      e.type = EventType::Resize;
      drawableSize(&w, e.width, e.height);
      return true;
    case SDL_WINDOWEVENT_CLOSE:
      e.type = EventType::Close;
      return true;
    case SDL_WINDOWEVENT_LEAVE:
      // The pointer left the window: nothing is under it any more (hover,
      // tooltips). A drag keeps its own position until the release.
      if (SDL_GetMouseState(nullptr, nullptr) != 0) return false;
      e.type = EventType::MouseMove;
      e.x = e.y = -1;
      return true;
    case SDL_WINDOWEVENT_FOCUS_LOST:
      // Key-up events of held modifiers go to the other window.
      w.mods = 0;
      e.type = EventType::FocusLost;
      return true;
    default:
      return false;
  }
}

bool translateKey(Window& w, const SDL_KeyboardEvent& k, InputEvent& e) {
  e.type = k.type == SDL_KEYDOWN ? EventType::KeyDown : EventType::KeyUp;
  e.key = keyFromScancode(k.keysym.scancode);
  e.mods = modsFromSdl(k.keysym.mod);
  e.repeat = k.repeat != 0;
  w.mods = e.mods;
  // A key with no code of ours (Insert, keypad digits, Caps Lock, the system
  // key) still counts as input: it ends the screen saver.
  return true;
}

bool translateMouse(Window& w, const SDL_Event& ev, InputEvent& e) {
  e.mods = w.mods;
  if (ev.type == SDL_MOUSEMOTION) {
    e.type = EventType::MouseMove;
    e.x = ev.motion.x;
    e.y = ev.motion.y;
  } else if (ev.type == SDL_MOUSEWHEEL) {
    e.type = EventType::MouseWheel;
    e.wheel = ev.wheel.preciseY;
    if (ev.wheel.direction == SDL_MOUSEWHEEL_FLIPPED) e.wheel = -e.wheel;
    e.x = ev.wheel.mouseX;
    e.y = ev.wheel.mouseY;
  } else {
    e.type = ev.type == SDL_MOUSEBUTTONDOWN ? EventType::MouseDown : EventType::MouseUp;
    e.button = buttonFromSdl(ev.button.button);
    e.clicks = ev.button.clicks;
    e.x = ev.button.x;
    e.y = ev.button.y;
    if (e.button == 0) return false;
  }
  windowToPixels(w, e.x, e.y);
  return true;
}

bool translate(Window& w, SDL_Event& ev, InputEvent& e) {
  switch (ev.type) {
    case SDL_QUIT: e.type = EventType::Close; return true;
    case SDL_WINDOWEVENT: return translateWindowEvent(w, ev.window, e);
    case SDL_KEYDOWN:
    case SDL_KEYUP: return translateKey(w, ev.key, e);
    case SDL_MOUSEMOTION:
    case SDL_MOUSEWHEEL:
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: return translateMouse(w, ev, e);
    case SDL_TEXTINPUT:
      e.type = EventType::Text;
      e.text = ev.text.text;
      return true;
    case SDL_DROPBEGIN:
    case SDL_DROPCOMPLETE:
      w.dropping = ev.type == SDL_DROPBEGIN;
      w.dropTaken = false;
      return false;
    case SDL_DROPFILE: {
      bool later = w.dropping && w.dropTaken;
      w.dropTaken = true;
      e.type = EventType::DropFile;
      e.text = ev.drop.file ? ev.drop.file : "";
      SDL_free(ev.drop.file);
      ev.drop.file = nullptr;  // freed here; drainInto frees only events no window took
      return !later && !e.text.empty();
    }
    default: return false;
  }
}

void drainInto(Window* w, std::vector<InputEvent>& out, SDL_Event& ev) {
  do {
    InputEvent e;
    if (w && translate(*w, ev, e)) out.push_back(std::move(e));
    else if (ev.type == SDL_DROPFILE) SDL_free(ev.drop.file);
  } while (SDL_PollEvent(&ev));
}

// A host's window that is gone ends the run like a close; asked a few times
// a second, since each question is a round trip to the X server.
bool hostWindowGone(Window& w) {
#if defined(SDL_VIDEO_DRIVER_X11)
  if (gHostWindowBad) return true;
  double t = now();
  if (t - w.hostCheckedAt < 0.25) return false;
  w.hostCheckedAt = t;
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!SDL_GetWindowWMInfo(w.window, &info) || info.subsystem != SDL_SYSWM_X11) return false;
  XWindowAttributes a;
  return !XGetWindowAttributes(info.info.x11.display, info.info.x11.window, &a) || gHostWindowBad;
#else
  (void)w;
  return false;
#endif
}

void noteHostGone(Window* w, std::vector<InputEvent>& out) {
  if (!w || !w->host || !hostWindowGone(*w)) return;
  InputEvent e;
  e.type = EventType::Close;
  out.push_back(e);
}

}  // namespace

std::vector<InputEvent> waitEvents(Window* w, int timeoutMs) {
  std::vector<InputEvent> out;
  SDL_Event ev;
  int got = timeoutMs < 0 ? SDL_WaitEvent(&ev) : SDL_WaitEventTimeout(&ev, timeoutMs);
  if (got) drainInto(w, out, ev);
  noteHostGone(w, out);
  return out;
}

std::vector<InputEvent> pollEvents(Window* w) {
  std::vector<InputEvent> out;
  SDL_Event ev;
  if (SDL_PollEvent(&ev)) drainInto(w, out, ev);
  noteHostGone(w, out);
  return out;
}

// [SECTION] Posting synthetic events

namespace {

bool mouseToSdl(const Window& w, const InputEvent& e, SDL_Event& ev) {
  int x = e.x, y = e.y;
  pixelsToWindow(w, x, y);
  Uint32 id = SDL_GetWindowID(w.window);
  static const Uint8 kButtons[] = {0, SDL_BUTTON_LEFT, SDL_BUTTON_MIDDLE, SDL_BUTTON_RIGHT};
  if (e.type == EventType::MouseMove) {
    ev.type = SDL_MOUSEMOTION;
    ev.motion = SDL_MouseMotionEvent{SDL_MOUSEMOTION, SDL_GetTicks(), id, 0, 0, x, y, 0, 0};
  } else if (e.type == EventType::MouseWheel) {
    ev.type = SDL_MOUSEWHEEL;
    ev.wheel.windowID = id;
    ev.wheel.y = int(e.wheel);
    ev.wheel.preciseY = e.wheel;
    ev.wheel.direction = SDL_MOUSEWHEEL_NORMAL;
    ev.wheel.mouseX = x;
    ev.wheel.mouseY = y;
  } else {
    if (e.button < 1 || e.button > 3) return false;
    ev.type = e.type == EventType::MouseDown ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP;
    ev.button.windowID = id;
    ev.button.button = kButtons[e.button];
    ev.button.state = e.type == EventType::MouseDown ? SDL_PRESSED : SDL_RELEASED;
    ev.button.clicks = Uint8(e.clicks > 0 ? e.clicks : 1);
    ev.button.x = x;
    ev.button.y = y;
  }
  return true;
}

bool keyToSdl(const Window& w, const InputEvent& e, SDL_Event& ev) {
  SDL_Scancode sc = scancodeFromKey(e.key);
  if (sc == SDL_SCANCODE_UNKNOWN) return false;
  bool down = e.type == EventType::KeyDown;
  ev.type = down ? SDL_KEYDOWN : SDL_KEYUP;
  ev.key.windowID = SDL_GetWindowID(w.window);
  ev.key.state = down ? SDL_PRESSED : SDL_RELEASED;
  ev.key.repeat = e.repeat ? 1 : 0;
  ev.key.keysym.scancode = sc;
  ev.key.keysym.sym = SDL_GetKeyFromScancode(sc);
  ev.key.keysym.mod = sdlFromMods(e.mods);
  return true;
}

bool toSdl(const Window& w, const InputEvent& e, SDL_Event& ev) {
  Uint32 id = SDL_GetWindowID(w.window);
  switch (e.type) {
    case EventType::MouseMove:
    case EventType::MouseDown:
    case EventType::MouseUp:
    case EventType::MouseWheel: return mouseToSdl(w, e, ev);
    case EventType::KeyDown:
    case EventType::KeyUp: return keyToSdl(w, e, ev);
    case EventType::Text:
      if (e.text.size() >= sizeof(ev.text.text)) return false;
      ev.type = SDL_TEXTINPUT;
      ev.text.windowID = id;
      std::memcpy(ev.text.text, e.text.c_str(), e.text.size() + 1);
      return true;
    case EventType::DropFile:
      ev.type = SDL_DROPFILE;
      ev.drop.windowID = id;
      ev.drop.file = SDL_strdup(e.text.c_str());
      return true;
    case EventType::Resize:
    case EventType::Close:
    case EventType::FocusLost:
      ev.type = SDL_WINDOWEVENT;
      ev.window.windowID = id;
      ev.window.event = e.type == EventType::Resize  ? SDL_WINDOWEVENT_SIZE_CHANGED
                        : e.type == EventType::Close ? SDL_WINDOWEVENT_CLOSE
                                                     : SDL_WINDOWEVENT_FOCUS_LOST;
      ev.window.data1 = e.width;
      ev.window.data2 = e.height;
      return true;
    default: return false;
  }
}

}  // namespace

void postEvent(Window* w, const InputEvent& e) {
  if (!w || !SDL_WasInit(SDL_INIT_VIDEO)) return;
  SDL_Event ev;
  SDL_zero(ev);
  if (!toSdl(*w, e, ev)) return;
  ev.common.timestamp = SDL_GetTicks();
  if (SDL_PushEvent(&ev) != 1 && ev.type == SDL_DROPFILE) SDL_free(ev.drop.file);
}

// [SECTION] Desktop services

std::string clipboardText() {
  if (!SDL_WasInit(SDL_INIT_VIDEO)) return {};
  char* t = SDL_GetClipboardText();
  std::string s = t ? t : "";
  SDL_free(t);
  return s;
}

void setClipboardText(const std::string& utf8) {
  if (SDL_WasInit(SDL_INIT_VIDEO)) SDL_SetClipboardText(utf8.c_str());
}

void messageBox(Window* w, const std::string& title, const std::string& text, bool error) {
  bool canShow = w ? !w->headless : displayAvailable();
  Uint32 flags = error ? SDL_MESSAGEBOX_ERROR : SDL_MESSAGEBOX_INFORMATION;
  if (canShow &&
      SDL_ShowSimpleMessageBox(flags, title.c_str(), text.c_str(), w ? w->window : nullptr) == 0)
    return;
  std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
}

double now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// [SECTION] Folders

std::string homeFolder() {
  const char* h = std::getenv("HOME");
  if (h && *h == '/') return h;
  if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return {};
}

namespace {

// XDG variables count only when absolute; a relative value is to be ignored.
std::string absoluteEnv(const char* name) {
  const char* v = std::getenv(name);
  return v && *v == '/' ? std::string(v) : std::string();
}

std::string configHome() {
  std::string c = absoluteEnv("XDG_CONFIG_HOME");
  if (!c.empty()) return c;
  std::string h = homeFolder();
  return h.empty() ? h : h + "/.config";
}

bool ensureFolder(const std::string& path) {
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  return std::filesystem::is_directory(path, ec);
}

// XDG_PICTURES_DIR="$HOME/Pictures" from user-dirs.dirs.
std::string userDirsPictures(const std::string& home) {
  std::ifstream in(configHome() + "/user-dirs.dirs");
  std::string line;
  const std::string key = "XDG_PICTURES_DIR=";
  while (std::getline(in, line)) {
    if (line.rfind(key, 0) != 0) continue;
    std::string v = line.substr(key.size());
    if (v.size() >= 2 && v.front() == '"' && v.back() == '"') v = v.substr(1, v.size() - 2);
    if (v.rfind("$HOME", 0) == 0) v = home + v.substr(5);
    if (!v.empty() && v.front() == '/' && v != home && v != home + "/") return v;
  }
  return {};
}

}  // namespace

std::string settingsFolder() {
  std::string base = configHome();
  if (base.empty()) return {};
  std::string folder = base + "/Quorvantelix";
  return ensureFolder(folder) ? folder : std::string();
}

std::string cacheFolder() {
  std::string base = absoluteEnv("XDG_CACHE_HOME");
  if (base.empty()) {
    const std::string home = homeFolder();
    if (home.empty()) return {};
    base = home + "/.cache";
  }
  std::string folder = base + "/Quorvantelix";
  return ensureFolder(folder) ? folder : std::string();
}

std::string picturesFolder() {
  std::string home = homeFolder();
  std::string base = userDirsPictures(home);
  std::error_code ec;
  if (base.empty() && !home.empty() && std::filesystem::is_directory(home + "/Pictures", ec))
    base = home + "/Pictures";
  if (base.empty()) base = home;
  if (base.empty()) return {};
  std::string folder = base + "/Quorvan Telix";
  return ensureFolder(folder) ? folder : std::string();
}

}  // namespace platform
