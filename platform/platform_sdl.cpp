// platform_sdl.cpp — the Linux backend of the platform seam: SDL2 for windows,
// GL contexts, events, clipboard and message boxes; SDL's offscreen driver
// (EGL) when there is no display or a headless run is asked for.
//
// Index
//   [SECTION] Window record and video start-up
//   [SECTION] Headless stand-in framebuffer
//   [SECTION] Window creation
//   [SECTION] Window queries and control
//   [SECTION] Key codes
//   [SECTION] Event translation
//   [SECTION] Posting synthetic events
//   [SECTION] Desktop services
//   [SECTION] Folders
#include "platform/platform.h"

#include <GL/glcorearb.h>
#include <SDL2/SDL.h>

#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace platform {

// [SECTION] Window record and video start-up

namespace {

// The few GL entry points the platform itself needs for the headless
// framebuffer; the renderer loads its own table through glProcAddress.
struct PlatformGl {
  PFNGLGENFRAMEBUFFERSPROC genFramebuffers = nullptr;
  PFNGLDELETEFRAMEBUFFERSPROC deleteFramebuffers = nullptr;
  PFNGLBINDFRAMEBUFFERPROC bindFramebuffer = nullptr;
  PFNGLFRAMEBUFFERRENDERBUFFERPROC framebufferRenderbuffer = nullptr;
  PFNGLCHECKFRAMEBUFFERSTATUSPROC checkFramebufferStatus = nullptr;
  PFNGLGENRENDERBUFFERSPROC genRenderbuffers = nullptr;
  PFNGLDELETERENDERBUFFERSPROC deleteRenderbuffers = nullptr;
  PFNGLBINDRENDERBUFFERPROC bindRenderbuffer = nullptr;
  PFNGLRENDERBUFFERSTORAGEPROC renderbufferStorage = nullptr;
  PFNGLFINISHPROC finish = nullptr;
};

}  // namespace

struct Window {
  SDL_Window* window = nullptr;
  SDL_GLContext context = nullptr;
  bool headless = false;
  int width = 0, height = 0;  // headless client size
  GLuint fbo = 0, colour = 0;
  PlatformGl gl;
  uint32_t mods = 0;  // modifier state as carried by the last key event
};

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

template <class Fn>
bool loadGl(Fn& fn, const char* name) {
  fn = reinterpret_cast<Fn>(SDL_GL_GetProcAddress(name));
  return fn != nullptr;
}

bool loadPlatformGl(PlatformGl& gl) {
  return loadGl(gl.genFramebuffers, "glGenFramebuffers") &&
         loadGl(gl.deleteFramebuffers, "glDeleteFramebuffers") &&
         loadGl(gl.bindFramebuffer, "glBindFramebuffer") &&
         loadGl(gl.framebufferRenderbuffer, "glFramebufferRenderbuffer") &&
         loadGl(gl.checkFramebufferStatus, "glCheckFramebufferStatus") &&
         loadGl(gl.genRenderbuffers, "glGenRenderbuffers") &&
         loadGl(gl.deleteRenderbuffers, "glDeleteRenderbuffers") &&
         loadGl(gl.bindRenderbuffer, "glBindRenderbuffer") &&
         loadGl(gl.renderbufferStorage, "glRenderbufferStorage") &&
         loadGl(gl.finish, "glFinish");
}

// [SECTION] Headless stand-in framebuffer

void releaseStandIn(Window& w) {
  if (w.fbo) w.gl.deleteFramebuffers(1, &w.fbo);
  if (w.colour) w.gl.deleteRenderbuffers(1, &w.colour);
  w.fbo = w.colour = 0;
}

// An RGBA8 renderbuffer behind an FBO plays the window's back buffer, so the
// renderer's composite and the shot's readback work the same with no display.
bool makeStandIn(Window& w, std::string& error) {
  releaseStandIn(w);
  w.gl.genRenderbuffers(1, &w.colour);
  w.gl.bindRenderbuffer(GL_RENDERBUFFER, w.colour);
  w.gl.renderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, w.width, w.height);
  w.gl.bindRenderbuffer(GL_RENDERBUFFER, 0);
  w.gl.genFramebuffers(1, &w.fbo);
  w.gl.bindFramebuffer(GL_FRAMEBUFFER, w.fbo);
  w.gl.framebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, w.colour);
  GLenum status = w.gl.checkFramebufferStatus(GL_FRAMEBUFFER);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    error = "headless framebuffer incomplete (status " + std::to_string(status) + ")";
    releaseStandIn(w);
    return false;
  }
  return true;
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

SDL_Window* openSdlWindow(const WindowDesc& d, WindowKind kind) {
  int w = d.width > 0 ? d.width : 1600, h = d.height > 0 ? d.height : 950;
  Uint32 flags = SDL_WINDOW_OPENGL;
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
  w->width = d.width > 0 ? d.width : 1600;
  w->height = d.height > 0 ? d.height : 950;
  w->window = openSdlWindow(d, kind);
  if (w->window) w->context = SDL_GL_CreateContext(w->window);
  if (!w->context || SDL_GL_MakeCurrent(w->window, w->context) != 0) {
    error = std::string("OpenGL 4.3: ") + SDL_GetError();
    destroyWindow(w);
    return nullptr;
  }
  if (!loadPlatformGl(w->gl)) {
    error = "OpenGL 4.3: framebuffer entry points missing";
    destroyWindow(w);
    return nullptr;
  }
  if (w->headless && !makeStandIn(*w, error)) {
    destroyWindow(w);
    return nullptr;
  }
  if (kind == WindowKind::ScreenSaver) SDL_ShowCursor(SDL_DISABLE);
  if (kind != WindowKind::Headless) SDL_StartTextInput();
  return w;
}

}  // namespace

Window* createWindow(const WindowDesc& desc, std::string& error) {
  bool headless = desc.kind == WindowKind::Headless || desc.forceHeadless || !displayAvailable();
  if (headless) return createKind(desc, WindowKind::Headless, error);
  Window* w = createKind(desc, desc.kind, error);
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
    if (w->fbo || w->colour) releaseStandIn(*w);
    SDL_GL_MakeCurrent(w->window, nullptr);
    SDL_GL_DeleteContext(w->context);
  }
  if (w->window) SDL_DestroyWindow(w->window);
  delete w;
}

// [SECTION] Window queries and control

bool isHeadless(const Window* w) { return !w || w->headless; }

void* glProcAddress(const char* name) {
  // SDL answers only once video is up; before that there is no GL library.
  if (!SDL_WasInit(SDL_INIT_VIDEO)) return nullptr;
  return SDL_GL_GetProcAddress(name);
}

uint32_t defaultFramebuffer(const Window* w) { return w && w->headless ? w->fbo : 0; }

void swapBuffers(Window* w) {
  if (!w) return;
  // Headless frames go nowhere; finishing keeps the loop paced by the GPU
  // instead of queueing frames without end.
  if (w->headless) w->gl.finish();
  else SDL_GL_SwapWindow(w->window);
}

bool setSwapInterval(Window* w, int interval) {
  if (!w || w->headless) return false;
  return SDL_GL_SetSwapInterval(interval) == 0;
}

void setTitle(Window* w, const std::string& utf8) {
  if (w && w->window && !w->headless) SDL_SetWindowTitle(w->window, utf8.c_str());
}

void drawableSize(const Window* w, int& width, int& height) {
  width = height = 0;
  if (!w) return;
  if (w->headless) {
    width = w->width;
    height = w->height;
  } else {
    SDL_GL_GetDrawableSize(w->window, &width, &height);
  }
}

void setHeadlessSize(Window* w, int width, int height) {
  if (!w || !w->headless || width < 1 || height < 1) return;
  if (width == w->width && height == w->height) return;
  w->width = width;
  w->height = height;
  std::string ignored;
  makeStandIn(*w, ignored);
}

double dpiScale(const Window* w) {
  if (!w || w->headless) return 1.0;
  int display = SDL_GetWindowDisplayIndex(w->window);
  float hdpi = 0;
  // SDL prefers Xft.dpi on X11 when the resource is set.
  if (display < 0 || SDL_GetDisplayDPI(display, nullptr, &hdpi, nullptr) != 0 || hdpi <= 0) return 1.0;
  double s = hdpi / 96.0;
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

namespace {

std::string homeFolder() {
  const char* h = std::getenv("HOME");
  if (h && *h == '/') return h;
  if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return {};
}

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
