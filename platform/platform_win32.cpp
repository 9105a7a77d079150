// platform_win32.cpp — the Windows backend of the platform seam: Win32
// windows and messages, WGL for the OpenGL 4.3 core context, the clipboard,
// message boxes, known folders. Glyphs (GDI), PNG pixels (WIC), file dialogs
// and the entry point live in the other *_win32.cpp files.
//
// Index
//   [SECTION] Window record and process start-up
//   [SECTION] WGL context
//   [SECTION] Window creation
//   [SECTION] Window queries and control
//   [SECTION] Key codes
//   [SECTION] Window procedure
//   [SECTION] Message pump
//   [SECTION] Posting synthetic events
//   [SECTION] Desktop services
//   [SECTION] Folders
#include "platform/platform.h"
#include "platform/standin_framebuffer.h"
#include "platform/win32_common.h"

#include <GL/glcorearb.h>
#include <knownfolders.h>
#include <shellapi.h>
#include <shlobj.h>

#include <cstdio>
#include <cstring>

namespace platform {

// [SECTION] Window record and process start-up

namespace {

constexpr wchar_t kClassName[] = L"Quorvantelix3D";

// Key messages that postEvent makes carry this reserved lParam bit, with the
// event's modifiers in the three bits above it: a posted key never changes
// the keyboard state that GetKeyState reports, so the modifiers must travel
// with the message. Such keys are not translated into characters either; a
// posted text event brings its own.
constexpr LPARAM kSyntheticKey = LPARAM(1) << 25;
constexpr int kSyntheticModShift = 26;

}  // namespace

struct Window {
  HWND hwnd = nullptr;
  HDC dc = nullptr;
  HGLRC context = nullptr;
  bool headless = false;
  bool saver = false;
  bool cursorHidden = false;  // ShowCursor keeps a count: undo only our own hide
  // A minimised window has an empty client area; its last real size stands in.
  mutable int shownWidth = 0, shownHeight = 0;
  StandIn standIn;  // headless only; its size is the client size
  std::vector<InputEvent> queue;  // filled by the window procedure
  wchar_t highSurrogate = 0;      // first half of a character outside the BMP
  bool fullscreen = false;
  WINDOWPLACEMENT savedPlacement{};
};

namespace {

using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
using SetDpiContextFn = BOOL(WINAPI*)(HANDLE);
using CreateContextAttribsFn = HGLRC(WINAPI*)(HDC, HGLRC, const int*);
using SwapIntervalFn = BOOL(WINAPI*)(int);

HWND gMainWindow = nullptr;
CreateContextAttribsFn gCreateContextAttribs = nullptr;
SwapIntervalFn gSwapInterval = nullptr;

LRESULT CALLBACK windowProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);

// Per-monitor DPI awareness (version 2) where the system has it, else the
// system-wide kind; then the window class. Once per process.
bool startProcess(std::string& error) {
  static bool done = false, ok = false;
  static std::string failure;
  if (done) {
    if (!ok) error = failure;
    return ok;
  }
  done = true;
  HMODULE user32 = GetModuleHandleW(L"user32.dll");
  auto setContext = reinterpret_cast<SetDpiContextFn>(
      reinterpret_cast<void*>(GetProcAddress(user32, "SetProcessDpiAwarenessContext")));
  if (!setContext || !setContext(reinterpret_cast<HANDLE>(intptr_t(-4)))) SetProcessDPIAware();
  win32::ensureCom();

  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  wc.style = CS_OWNDC | CS_DBLCLKS;
  wc.lpfnWndProc = windowProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.hIcon = LoadIconW(wc.hInstance, MAKEINTRESOURCEW(1));
  wc.lpszClassName = kClassName;
  ok = RegisterClassExW(&wc) != 0;
  if (!ok) error = failure = "RegisterClassExW failed (" + std::to_string(GetLastError()) + ")";
  return ok;
}

Window* fromHwnd(HWND hwnd) { return reinterpret_cast<Window*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA)); }

// [SECTION] WGL context

constexpr int kWglContextMajor = 0x2091, kWglContextMinor = 0x2092;
constexpr int kWglProfileMask = 0x9126, kWglCoreProfileBit = 0x1;

bool choosePixelFormat(HDC dc) {
  PIXELFORMATDESCRIPTOR pfd{};
  pfd.nSize = sizeof pfd;
  pfd.nVersion = 1;
  pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  pfd.iPixelType = PFD_TYPE_RGBA;
  pfd.cColorBits = 32;
  int format = ChoosePixelFormat(dc, &pfd);
  return format != 0 && SetPixelFormat(dc, format, &pfd);
}

// A legacy context only to reach wglCreateContextAttribsARB; the 4.3 core
// context replaces it at once.
HGLRC createCoreContext(HDC dc, std::string& error) {
  HGLRC legacy = wglCreateContext(dc);
  if (!legacy || !wglMakeCurrent(dc, legacy)) {
    error = "wglCreateContext failed (" + std::to_string(GetLastError()) + ")";
    if (legacy) wglDeleteContext(legacy);
    return nullptr;
  }
  gCreateContextAttribs = reinterpret_cast<CreateContextAttribsFn>(
      reinterpret_cast<void*>(wglGetProcAddress("wglCreateContextAttribsARB")));
  HGLRC core = nullptr;
  if (gCreateContextAttribs) {
    const int attributes[] = {kWglContextMajor, 4, kWglContextMinor, 3, kWglProfileMask, kWglCoreProfileBit, 0};
    core = gCreateContextAttribs(dc, nullptr, attributes);
  }
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(legacy);
  if (!core || !wglMakeCurrent(dc, core)) {
    error = gCreateContextAttribs ? "no OpenGL 4.3 core context" : "wglCreateContextAttribsARB missing";
    if (core) wglDeleteContext(core);
    return nullptr;
  }
  gSwapInterval = reinterpret_cast<SwapIntervalFn>(reinterpret_cast<void*>(wglGetProcAddress("wglSwapIntervalEXT")));
  return core;
}

// [SECTION] Window creation

RECT virtualScreen() {
  RECT r;
  r.left = GetSystemMetrics(SM_XVIRTUALSCREEN);
  r.top = GetSystemMetrics(SM_YVIRTUALSCREEN);
  r.right = r.left + GetSystemMetrics(SM_CXVIRTUALSCREEN);
  r.bottom = r.top + GetSystemMetrics(SM_CYVIRTUALSCREEN);
  if (r.right <= r.left || r.bottom <= r.top) r = RECT{0, 0, 1600, 950};
  return r;
}

HWND openHwnd(Window* w, const WindowDesc& d, WindowKind kind) {
  std::wstring title = win32::widen(d.title);
  HINSTANCE instance = GetModuleHandleW(nullptr);
  if (kind == WindowKind::ScreenSaver) {
    RECT r = virtualScreen();
    return CreateWindowExW(WS_EX_TOPMOST, kClassName, title.c_str(), WS_POPUP, r.left, r.top, r.right - r.left,
                           r.bottom - r.top, nullptr, nullptr, instance, w);
  }
  // The size asked for is the client area's; the frame comes on top.
  DWORD style = WS_OVERLAPPEDWINDOW, exStyle = kind == WindowKind::Headless ? 0 : WS_EX_ACCEPTFILES;
  RECT r{0, 0, d.width > 0 ? d.width : 1600, d.height > 0 ? d.height : 950};
  AdjustWindowRectEx(&r, style, FALSE, exStyle);
  return CreateWindowExW(exStyle, kClassName, title.c_str(), style, CW_USEDEFAULT, CW_USEDEFAULT, r.right - r.left,
                         r.bottom - r.top, nullptr, nullptr, instance, w);
}

Window* createKind(const WindowDesc& d, WindowKind kind, std::string& error) {
  if (!startProcess(error)) return nullptr;
  auto* w = new Window;
  w->headless = kind == WindowKind::Headless;
  w->saver = kind == WindowKind::ScreenSaver;
  w->shownWidth = d.width > 0 ? d.width : 1600;
  w->shownHeight = d.height > 0 ? d.height : 950;
  w->savedPlacement.length = sizeof(WINDOWPLACEMENT);
  w->hwnd = openHwnd(w, d, kind);
  if (!w->hwnd) {
    error = "CreateWindowExW failed (" + std::to_string(GetLastError()) + ")";
    destroyWindow(w);
    return nullptr;
  }
  w->dc = GetDC(w->hwnd);
  if (!choosePixelFormat(w->dc)) {
    error = "no OpenGL pixel format (" + std::to_string(GetLastError()) + ")";
    destroyWindow(w);
    return nullptr;
  }
  w->context = createCoreContext(w->dc, error);
  if (!w->context || !loadStandInGl(w->standIn.gl)) {
    if (error.empty()) error = "OpenGL 4.3: framebuffer entry points missing";
    destroyWindow(w);
    return nullptr;
  }
  if (w->headless) {
    if (!makeStandIn(w->standIn, w->shownWidth, w->shownHeight, error)) {
      destroyWindow(w);
      return nullptr;
    }
    return w;
  }
  if (!w->saver) DragAcceptFiles(w->hwnd, TRUE);
  gMainWindow = w->hwnd;
  ShowWindow(w->hwnd, SW_SHOW);
  if (w->saver) {
    ShowCursor(FALSE);
    w->cursorHidden = true;
    // The keyboard must reach the saver at once: any key ends it.
    SetForegroundWindow(w->hwnd);
    SetFocus(w->hwnd);
  }
  UpdateWindow(w->hwnd);
  return w;
}

}  // namespace

namespace win32 {
HWND mainWindow() { return gMainWindow; }
}  // namespace win32

// A screen-saver host's window (hostWindow) is not drawn into on Windows: the
// system asks for a preview with "/p", which the program declines.
Window* createWindow(const WindowDesc& desc, std::string& error) {
  WindowKind kind = desc.forceHeadless ? WindowKind::Headless : desc.kind;
  return createKind(desc, kind, error);
}

void destroyWindow(Window* w) {
  if (!w) return;
  if (w->context) {
    wglMakeCurrent(w->dc, w->context);
    releaseStandIn(w->standIn);
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(w->context);
  }
  if (w->cursorHidden) ShowCursor(TRUE);
  if (w->hwnd) {
    if (w->dc) ReleaseDC(w->hwnd, w->dc);
    SetWindowLongPtrW(w->hwnd, GWLP_USERDATA, 0);
    DestroyWindow(w->hwnd);
    if (gMainWindow == w->hwnd) gMainWindow = nullptr;
  }
  delete w;
}

// [SECTION] Window queries and control

bool isHeadless(const Window* w) { return !w || w->headless; }

bool drawsIntoHost(const Window*) { return false; }

uint64_t rootWindow() { return 0; }

// Windows hosts ask for a preview with "/p" instead, which the program declines.
uint64_t screenSaverHostWindow() { return 0; }

void* glProcAddress(const char* name) {
  // wglGetProcAddress knows only what lies beyond GL 1.1 (and answers some
  // failures with small non-null values); opengl32 exports the rest.
  auto p = reinterpret_cast<intptr_t>(reinterpret_cast<void*>(wglGetProcAddress(name)));
  if (p > 3 || p < -1) return reinterpret_cast<void*>(p);
  static HMODULE opengl32 = LoadLibraryW(L"opengl32.dll");
  return opengl32 ? reinterpret_cast<void*>(GetProcAddress(opengl32, name)) : nullptr;
}

uint32_t defaultFramebuffer(const Window* w) { return w && w->headless ? w->standIn.fbo : 0; }

void swapBuffers(Window* w) {
  if (!w) return;
  // Headless frames go nowhere; finishing keeps the loop paced by the GPU.
  if (w->headless) w->standIn.gl.finish();
  else SwapBuffers(w->dc);
}

bool setSwapInterval(Window* w, int interval) {
  if (!w || w->headless || !gSwapInterval) return false;
  return gSwapInterval(interval) != FALSE;
}

void setTitle(Window* w, const std::string& utf8) {
  if (w && w->hwnd && !w->headless) SetWindowTextW(w->hwnd, win32::widen(utf8).c_str());
}

void drawableSize(const Window* w, int& width, int& height) {
  width = height = 0;
  if (!w) return;
  if (w->headless) {
    width = w->standIn.width;
    height = w->standIn.height;
    return;
  }
  RECT r;
  if (GetClientRect(w->hwnd, &r) && r.right > 0 && r.bottom > 0) {
    w->shownWidth = r.right;
    w->shownHeight = r.bottom;
  }
  width = w->shownWidth;
  height = w->shownHeight;
}

void setHeadlessSize(Window* w, int width, int height) {
  if (w && w->headless) resizeStandIn(w->standIn, width, height);
}

double dpiScale(const Window* w) {
  if (!w || w->headless) return 1.0;
  static const auto getDpi = reinterpret_cast<GetDpiForWindowFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
  UINT dpi = getDpi ? getDpi(w->hwnd) : 0;
  if (dpi == 0) dpi = UINT(GetDeviceCaps(w->dc, LOGPIXELSX));
  double s = dpi > 0 ? dpi / 96.0 : 1.0;
  return s < 0.5 ? 1.0 : (s > 4.0 ? 4.0 : s);
}

// Borderless over the whole monitor the window is on (taskbar included), and
// back to the exact placement it had, maximised or not.
void toggleFullscreen(Window* w) {
  if (!w || w->headless || w->saver) return;
  LONG style = GetWindowLongW(w->hwnd, GWL_STYLE);
  if (!w->fullscreen) {
    MONITORINFO mi{};
    mi.cbSize = sizeof mi;
    if (!GetWindowPlacement(w->hwnd, &w->savedPlacement) ||
        !GetMonitorInfoW(MonitorFromWindow(w->hwnd, MONITOR_DEFAULTTOPRIMARY), &mi))
      return;
    SetWindowLongW(w->hwnd, GWL_STYLE, style & ~LONG(WS_OVERLAPPEDWINDOW));
    const RECT& m = mi.rcMonitor;
    SetWindowPos(w->hwnd, HWND_TOP, m.left, m.top, m.right - m.left, m.bottom - m.top,
                 SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
    w->fullscreen = true;
  } else {
    SetWindowLongW(w->hwnd, GWL_STYLE, style | LONG(WS_OVERLAPPEDWINDOW));
    SetWindowPlacement(w->hwnd, &w->savedPlacement);
    SetWindowPos(w->hwnd, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
    w->fullscreen = false;
  }
}

bool isFullscreen(const Window* w) { return w && w->fullscreen; }

// [SECTION] Key codes

namespace {

// Letters, digits and punctuation by their physical position (set-1 scan
// codes), so that WASD and the shortcuts stay put on a Russian layout.
struct ScanPair {
  uint8_t scan;
  int32_t key;
};
constexpr ScanPair kScanKeys[] = {
    {0x1E, 'a'}, {0x30, 'b'}, {0x2E, 'c'}, {0x20, 'd'}, {0x12, 'e'}, {0x21, 'f'}, {0x22, 'g'},
    {0x23, 'h'}, {0x17, 'i'}, {0x24, 'j'}, {0x25, 'k'}, {0x26, 'l'}, {0x32, 'm'}, {0x31, 'n'},
    {0x18, 'o'}, {0x19, 'p'}, {0x10, 'q'}, {0x13, 'r'}, {0x1F, 's'}, {0x14, 't'}, {0x16, 'u'},
    {0x2F, 'v'}, {0x11, 'w'}, {0x2D, 'x'}, {0x15, 'y'}, {0x2C, 'z'}, {0x02, '1'}, {0x03, '2'},
    {0x04, '3'}, {0x05, '4'}, {0x06, '5'}, {0x07, '6'}, {0x08, '7'}, {0x09, '8'}, {0x0A, '9'},
    {0x0B, '0'}, {0x0C, kKeyMinus}, {0x0D, kKeyEquals}, {0x1A, kKeyLeftBracket},
    {0x1B, kKeyRightBracket}, {0x33, kKeyComma}, {0x34, kKeyPeriod}, {0x35, kKeySlash},
};

// Keys whose virtual-key code does not depend on the layout.
struct VkPair {
  UINT vk;
  int32_t key;
};
constexpr VkPair kNamedKeys[] = {
    {VK_ESCAPE, kKeyEscape}, {VK_RETURN, kKeyEnter},   {VK_TAB, kKeyTab},       {VK_BACK, kKeyBackspace},
    {VK_DELETE, kKeyDelete}, {VK_SPACE, kKeySpace},    {VK_LEFT, kKeyLeft},     {VK_RIGHT, kKeyRight},
    {VK_UP, kKeyUp},         {VK_DOWN, kKeyDown},      {VK_HOME, kKeyHome},     {VK_END, kKeyEnd},
    {VK_PRIOR, kKeyPageUp},  {VK_NEXT, kKeyPageDown},  {VK_SHIFT, kKeyShift},   {VK_CONTROL, kKeyCtrl},
    {VK_MENU, kKeyAlt},      {VK_SUBTRACT, kKeyMinus}, {VK_ADD, kKeyEquals},
};

int32_t keyFromMessage(WPARAM vk, LPARAM lp) {
  auto scan = uint8_t((lp >> 16) & 0xFF);
  bool extended = (lp >> 24) & 1;
  if (!extended)
    for (const ScanPair& p : kScanKeys)
      if (p.scan == scan) return p.key;
  if (vk >= VK_F1 && vk <= VK_F12) return kKeyF1 + int32_t(vk - VK_F1);
  for (const VkPair& p : kNamedKeys)
    if (p.vk == vk) return p.key;
  // A message with no scan code (some remote or synthetic input).
  if (vk >= 'A' && vk <= 'Z') return int32_t('a' + (vk - 'A'));
  if (vk >= '0' && vk <= '9') return int32_t(vk);
  return kKeyUnknown;
}

// The virtual key and scan code a user's press of `key` would carry (US
// layout virtual keys for letters and digits).
bool messageFromKey(int32_t key, UINT& vk, UINT& scan) {
  for (const ScanPair& p : kScanKeys)
    if (p.key == key) {
      scan = p.scan;
      vk = key >= 'a' && key <= 'z' ? UINT('A' + (key - 'a')) : key >= '0' && key <= '9' ? UINT(key) : 0;
      if (vk == 0) vk = MapVirtualKeyW(scan, MAPVK_VSC_TO_VK);
      return true;
    }
  vk = 0;
  if (key >= kKeyF1 && key <= kKeyF12) vk = VK_F1 + UINT(key - kKeyF1);
  for (const VkPair& p : kNamedKeys)
    if (p.key == key && vk == 0) vk = p.vk;
  scan = vk ? MapVirtualKeyW(vk, MAPVK_VK_TO_VSC) : 0;
  return vk != 0;
}

uint32_t keyboardMods() {
  uint32_t m = 0;
  if (GetKeyState(VK_SHIFT) & 0x8000) m |= kModShift;
  if (GetKeyState(VK_CONTROL) & 0x8000) m |= kModCtrl;
  if (GetKeyState(VK_MENU) & 0x8000) m |= kModAlt;
  return m;
}

uint32_t keyMods(LPARAM lp) {
  if (lp & kSyntheticKey) return uint32_t((lp >> kSyntheticModShift) & 7);
  return keyboardMods();
}

// Mouse messages carry Shift and Ctrl themselves; Alt only the keyboard state has.
uint32_t mouseMods(WPARAM wp) {
  uint32_t m = 0;
  if (wp & MK_SHIFT) m |= kModShift;
  if (wp & MK_CONTROL) m |= kModCtrl;
  if (GetKeyState(VK_MENU) & 0x8000) m |= kModAlt;
  return m;
}

// [SECTION] Window procedure

// WM_CHAR brings UTF-16 units one at a time; a pair becomes one code point.
// Control characters are keys (Enter, Backspace), not text.
void onChar(Window& w, wchar_t unit) {
  if (unit >= 0xD800 && unit <= 0xDBFF) {
    w.highSurrogate = unit;
    return;
  }
  wchar_t units[2] = {w.highSurrogate, unit};
  const bool low = unit >= 0xDC00 && unit <= 0xDFFF;
  if (low && !w.highSurrogate) return;
  w.highSurrogate = 0;
  if (unit < 32 || unit == 127) return;
  InputEvent e;
  e.type = EventType::Text;
  e.text = low ? win32::narrow(units, 2) : win32::narrow(units + 1, 1);
  w.queue.push_back(std::move(e));
}

void onKey(Window& w, bool down, WPARAM wp, LPARAM lp) {
  InputEvent e;
  e.type = down ? EventType::KeyDown : EventType::KeyUp;
  e.key = keyFromMessage(wp, lp);
  e.mods = keyMods(lp);
  e.repeat = down && ((lp >> 30) & 1);
  // A key with no code of ours still counts as input (it ends the screen saver).
  w.queue.push_back(e);
}

void onButton(Window& w, int button, bool down, int clicks, WPARAM wp, LPARAM lp) {
  InputEvent e;
  e.type = down ? EventType::MouseDown : EventType::MouseUp;
  e.button = button;
  e.clicks = clicks;
  e.x = short(LOWORD(lp));
  e.y = short(HIWORD(lp));
  e.mods = mouseMods(wp);
  w.queue.push_back(e);
  // A drag that leaves the window keeps reporting until the last button is up.
  if (down) SetCapture(w.hwnd);
  else if ((wp & (MK_LBUTTON | MK_RBUTTON | MK_MBUTTON)) == 0) ReleaseCapture();
}

void onWheel(Window& w, WPARAM wp, LPARAM lp) {
  POINT p{short(LOWORD(lp)), short(HIWORD(lp))};  // screen coordinates
  ScreenToClient(w.hwnd, &p);
  InputEvent e;
  e.type = EventType::MouseWheel;
  e.wheel = float(short(HIWORD(wp))) / WHEEL_DELTA;
  e.x = p.x;
  e.y = p.y;
  e.mods = mouseMods(LOWORD(wp));
  w.queue.push_back(e);
}

// Only the first of several dropped files is opened.
void onDrop(Window& w, HDROP drop) {
  UINT length = DragQueryFileW(drop, 0, nullptr, 0);
  std::wstring path(length, L'\0');
  if (length > 0 && DragQueryFileW(drop, 0, path.data(), length + 1) == length) {
    InputEvent e;
    e.type = EventType::DropFile;
    e.text = win32::narrow(path);
    w.queue.push_back(std::move(e));
  }
  DragFinish(drop);
}

void pushSimple(Window& w, EventType type) {
  InputEvent e;
  e.type = type;
  w.queue.push_back(e);
}

// Returns true when the message was handled and `result` is the answer.
bool handleInput(Window& w, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
    case WM_MOUSEMOVE: {
      InputEvent e;
      e.type = EventType::MouseMove;
      e.x = short(LOWORD(lp));
      e.y = short(HIWORD(lp));
      e.mods = mouseMods(wp);
      w.queue.push_back(e);
      return true;
    }
    case WM_LBUTTONDOWN: onButton(w, 1, true, 1, wp, lp); return true;
    case WM_LBUTTONDBLCLK: onButton(w, 1, true, 2, wp, lp); return true;
    case WM_LBUTTONUP: onButton(w, 1, false, 1, wp, lp); return true;
    case WM_MBUTTONDOWN: onButton(w, 2, true, 1, wp, lp); return true;
    case WM_MBUTTONDBLCLK: onButton(w, 2, true, 2, wp, lp); return true;
    case WM_MBUTTONUP: onButton(w, 2, false, 1, wp, lp); return true;
    case WM_RBUTTONDOWN: onButton(w, 3, true, 1, wp, lp); return true;
    case WM_RBUTTONDBLCLK: onButton(w, 3, true, 2, wp, lp); return true;
    case WM_RBUTTONUP: onButton(w, 3, false, 1, wp, lp); return true;
    case WM_MOUSEWHEEL: onWheel(w, wp, lp); return true;
    case WM_CHAR: onChar(w, wchar_t(wp)); return true;
    case WM_DROPFILES: onDrop(w, reinterpret_cast<HDROP>(wp)); return true;
    default: return false;
  }
}

bool handleWindow(Window& w, UINT msg, WPARAM wp, LPARAM lp, LRESULT& result) {
  result = 0;
  switch (msg) {
    case WM_CLOSE: pushSimple(w, EventType::Close); return true;  // the program decides and destroys
    case WM_ERASEBKGND: result = 1; return true;
    case WM_SIZE:
      if (wp != SIZE_MINIMIZED && LOWORD(lp) > 0 && HIWORD(lp) > 0) {
        InputEvent e;
        e.type = EventType::Resize;
        e.width = LOWORD(lp);
        e.height = HIWORD(lp);
        w.queue.push_back(e);
      }
      return true;
    case WM_ACTIVATEAPP:
      if (!wp) pushSimple(w, EventType::FocusLost);
      return false;  // default handling as well
    case WM_SETCURSOR:
      if (w.saver && LOWORD(lp) == HTCLIENT) {
        SetCursor(nullptr);
        result = TRUE;
        return true;
      }
      return false;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
      onKey(w, true, wp, lp);
      return wp == VK_F10;  // F10 would open the window menu
    case WM_KEYUP:
    case WM_SYSKEYUP: onKey(w, false, wp, lp); return true;
    default: return handleInput(w, msg, wp, lp);
  }
}

LRESULT CALLBACK windowProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_NCCREATE) {
    auto* create = reinterpret_cast<CREATESTRUCTW*>(lp);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  Window* w = fromHwnd(hwnd);
  LRESULT result = 0;
  if (w && handleWindow(*w, msg, wp, lp, result)) return result;
  return DefWindowProcW(hwnd, msg, wp, lp);
}

// [SECTION] Message pump

void pump(Window* w) {
  MSG m;
  while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) {
    if (m.message == WM_QUIT) {
      if (w) pushSimple(*w, EventType::Close);
      continue;
    }
    bool syntheticKey = (m.message == WM_KEYDOWN || m.message == WM_SYSKEYDOWN) && (m.lParam & kSyntheticKey);
    if (!syntheticKey) TranslateMessage(&m);
    DispatchMessageW(&m);
  }
}

std::vector<InputEvent> takeQueue(Window* w) {
  std::vector<InputEvent> out;
  if (w) out.swap(w->queue);
  return out;
}

}  // namespace

std::vector<InputEvent> waitEvents(Window* w, int timeoutMs) {
  pump(w);
  if (!w || w->queue.empty()) {
    DWORD limit = timeoutMs < 0 ? INFINITE : DWORD(timeoutMs);
    MsgWaitForMultipleObjectsEx(0, nullptr, limit, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    pump(w);
  }
  return takeQueue(w);
}

std::vector<InputEvent> pollEvents(Window* w) {
  pump(w);
  return takeQueue(w);
}

// [SECTION] Posting synthetic events

namespace {

LPARAM packPoint(int x, int y) { return MAKELPARAM(WORD(short(x)), WORD(short(y))); }

WPARAM mouseFlags(uint32_t mods) {
  WPARAM f = 0;
  if (mods & kModShift) f |= MK_SHIFT;
  if (mods & kModCtrl) f |= MK_CONTROL;
  return f;
}

void postMouse(const Window& w, const InputEvent& e) {
  WPARAM flags = mouseFlags(e.mods);
  if (e.type == EventType::MouseMove) {
    PostMessageW(w.hwnd, WM_MOUSEMOVE, flags, packPoint(e.x, e.y));
  } else if (e.type == EventType::MouseWheel) {
    POINT p{e.x, e.y};
    ClientToScreen(w.hwnd, &p);
    auto delta = WORD(short(e.wheel * WHEEL_DELTA));
    PostMessageW(w.hwnd, WM_MOUSEWHEEL, MAKEWPARAM(WORD(flags), delta), packPoint(p.x, p.y));
  } else if (e.button >= 1 && e.button <= 3) {
    static const UINT kDown[] = {0, WM_LBUTTONDOWN, WM_MBUTTONDOWN, WM_RBUTTONDOWN};
    static const UINT kDouble[] = {0, WM_LBUTTONDBLCLK, WM_MBUTTONDBLCLK, WM_RBUTTONDBLCLK};
    static const UINT kUp[] = {0, WM_LBUTTONUP, WM_MBUTTONUP, WM_RBUTTONUP};
    static const WPARAM kHeld[] = {0, MK_LBUTTON, MK_MBUTTON, MK_RBUTTON};
    bool down = e.type == EventType::MouseDown;
    UINT msg = !down ? kUp[e.button] : e.clicks >= 2 ? kDouble[e.button] : kDown[e.button];
    PostMessageW(w.hwnd, msg, flags | (down ? kHeld[e.button] : 0), packPoint(e.x, e.y));
  }
}

void postKey(const Window& w, const InputEvent& e) {
  UINT vk = 0, scan = 0;
  if (!messageFromKey(e.key, vk, scan)) return;
  bool down = e.type == EventType::KeyDown;
  LPARAM lp = 1 | LPARAM(scan & 0xFF) << 16 | kSyntheticKey | LPARAM(e.mods & 7) << kSyntheticModShift;
  if (!down) lp |= LPARAM(1) << 30 | LPARAM(1) << 31;
  else if (e.repeat) lp |= LPARAM(1) << 30;
  bool alt = (e.mods & kModAlt) != 0;
  UINT msg = down ? (alt ? WM_SYSKEYDOWN : WM_KEYDOWN) : (alt ? WM_SYSKEYUP : WM_KEYUP);
  PostMessageW(w.hwnd, msg, vk, lp);
}

// A drop as the shell makes it: a DROPFILES block with the wide path list,
// freed by the DragFinish of the receiving window procedure.
void postDrop(const Window& w, const std::string& path) {
  std::wstring wide = win32::widen(path);
  size_t bytes = sizeof(DROPFILES) + (wide.size() + 2) * sizeof(wchar_t);
  HGLOBAL block = GlobalAlloc(GHND, bytes);
  if (!block) return;
  auto* df = static_cast<DROPFILES*>(GlobalLock(block));
  df->pFiles = sizeof(DROPFILES);
  df->fWide = TRUE;
  std::memcpy(reinterpret_cast<char*>(df) + sizeof(DROPFILES), wide.c_str(), wide.size() * sizeof(wchar_t));
  GlobalUnlock(block);
  if (!PostMessageW(w.hwnd, WM_DROPFILES, reinterpret_cast<WPARAM>(block), 0)) GlobalFree(block);
}

void postText(const Window& w, const std::string& utf8) {
  for (wchar_t unit : win32::widen(utf8)) PostMessageW(w.hwnd, WM_CHAR, unit, 1);
}

void postResize(const Window& w, int width, int height) {
  RECT r{0, 0, width, height};
  AdjustWindowRectEx(&r, DWORD(GetWindowLongW(w.hwnd, GWL_STYLE)), FALSE, DWORD(GetWindowLongW(w.hwnd, GWL_EXSTYLE)));
  SetWindowPos(w.hwnd, nullptr, 0, 0, r.right - r.left, r.bottom - r.top, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

void postEvent(Window* w, const InputEvent& e) {
  if (!w || !w->hwnd) return;
  switch (e.type) {
    case EventType::MouseMove:
    case EventType::MouseDown:
    case EventType::MouseUp:
    case EventType::MouseWheel: postMouse(*w, e); break;
    case EventType::KeyDown:
    case EventType::KeyUp: postKey(*w, e); break;
    case EventType::Text: postText(*w, e.text); break;
    case EventType::DropFile: postDrop(*w, e.text); break;
    case EventType::Resize:
      if (!w->headless && e.width > 0 && e.height > 0) postResize(*w, e.width, e.height);
      break;
    case EventType::Close: PostMessageW(w->hwnd, WM_CLOSE, 0, 0); break;
    case EventType::FocusLost: PostMessageW(w->hwnd, WM_ACTIVATEAPP, FALSE, 0); break;
    default: break;
  }
}

// [SECTION] Desktop services

std::string clipboardText() {
  std::string text;
  if (!OpenClipboard(gMainWindow)) return text;
  if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    if (auto* units = static_cast<const wchar_t*>(GlobalLock(data))) {
      text = win32::narrow(units);
      GlobalUnlock(data);
    }
  }
  CloseClipboard();
  return text;
}

void setClipboardText(const std::string& utf8) {
  // Without an owner window the system drops the data again at once.
  if (!gMainWindow || !OpenClipboard(gMainWindow)) return;
  std::wstring wide = win32::widen(utf8);
  EmptyClipboard();
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, (wide.size() + 1) * sizeof(wchar_t));
  if (block) {
    std::memcpy(GlobalLock(block), wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    GlobalUnlock(block);
    if (!SetClipboardData(CF_UNICODETEXT, block)) GlobalFree(block);
  }
  CloseClipboard();
}

void messageBox(Window* w, const std::string& title, const std::string& text, bool error) {
  if (w && w->headless) {
    std::fprintf(stderr, "%s: %s\n", title.c_str(), text.c_str());
    return;
  }
  UINT flags = MB_OK | (error ? MB_ICONERROR : MB_ICONINFORMATION);
  MessageBoxW(w ? w->hwnd : nullptr, win32::widen(text).c_str(), win32::widen(title).c_str(), flags);
}

double now() {
  static const double period = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return 1.0 / double(f.QuadPart);
  }();
  LARGE_INTEGER t;
  QueryPerformanceCounter(&t);
  return double(t.QuadPart) * period;
}

// [SECTION] Folders

namespace {

// A known folder with `leaf` inside, created when missing; empty when the
// shell has no such folder for this user.
std::string knownFolder(REFKNOWNFOLDERID id, const wchar_t* leaf) {
  wchar_t* base = nullptr;
  std::wstring folder;
  if (SUCCEEDED(SHGetKnownFolderPath(id, KF_FLAG_CREATE, nullptr, &base)) && base)
    folder = std::wstring(base) + L"\\" + leaf;
  CoTaskMemFree(base);
  if (folder.empty()) return {};
  if (!CreateDirectoryW(folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) return {};
  return win32::narrow(folder);
}

}  // namespace

std::string settingsFolder() { return knownFolder(FOLDERID_RoamingAppData, L"Quorvantelix"); }

std::string picturesFolder() { return knownFolder(FOLDERID_Pictures, L"Quorvan Telix"); }

std::string homeFolder() {
  wchar_t* base = nullptr;
  std::string folder;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_Profile, 0, nullptr, &base)) && base) folder = win32::narrow(base);
  CoTaskMemFree(base);
  return folder;
}

std::string cacheFolder() { return knownFolder(FOLDERID_LocalAppData, L"Quorvantelix"); }

}  // namespace platform
