// win32_common.h — what the Windows backend's files share: UTF-8 ⇄ UTF-16 at
// the system boundary, COM start-up, and the window the desktop services hang
// their dialogs and clipboard on. Included only by platform/*_win32.cpp.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#include <objbase.h>

#include <string>

namespace platform::win32 {

inline std::wstring widen(const std::string& utf8) {
  if (utf8.empty()) return {};
  int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), nullptr, 0);
  std::wstring w(size_t(n > 0 ? n : 0), L'\0');
  if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), w.data(), n);
  return w;
}

inline std::string narrow(const wchar_t* wide, int units = -1) {
  if (!wide || units == 0) return {};
  if (units < 0) units = int(wcslen(wide));
  int n = WideCharToMultiByte(CP_UTF8, 0, wide, units, nullptr, 0, nullptr, nullptr);
  std::string s(size_t(n > 0 ? n : 0), '\0');
  if (n > 0) WideCharToMultiByte(CP_UTF8, 0, wide, units, s.data(), n, nullptr, nullptr);
  return s;
}

inline std::string narrow(const std::wstring& wide) { return narrow(wide.c_str(), int(wide.size())); }

// The imaging component and the common dialogs need COM on this thread; the
// program has one thread, so the first caller starts it for good. A runtime
// already started in another mode is still usable.
inline void ensureCom() {
  static const bool started = [] {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
    return true;
  }();
  (void)started;
}

// The program's top-level window, once there is one (dialog owner, clipboard
// owner); nullptr before.
HWND mainWindow();

}  // namespace platform::win32
