// dialogs_win32.cpp — the common open and save dialogs. Filters become the
// "name\0pattern;pattern\0…\0" list the dialogs read; the save dialog's
// default extension is the first filter's first pattern.
#include "platform/platform.h"
#include "platform/win32_common.h"

#include <commdlg.h>

namespace platform {

namespace {

std::wstring filterList(const std::vector<FileFilter>& filters) {
  std::wstring list;
  for (const FileFilter& f : filters) {
    std::wstring patterns;
    for (const std::string& p : f.patterns) patterns += (patterns.empty() ? L"" : L";") + win32::widen(p);
    list += win32::widen(f.name) + L'\0' + patterns + L'\0';
  }
  return list + L'\0';
}

std::wstring defaultExtension(const std::vector<FileFilter>& filters) {
  if (filters.empty() || filters.front().patterns.empty()) return {};
  const std::string& p = filters.front().patterns.front();
  size_t dot = p.rfind('.');
  if (dot == std::string::npos || p.find_first_of("*?", dot) != std::string::npos) return {};
  return win32::widen(p.substr(dot + 1));
}

// Folder names with forward slashes are made whole for the dialog.
std::wstring nativePath(const std::string& utf8) {
  std::wstring w = win32::widen(utf8);
  for (wchar_t& c : w)
    if (c == L'/') c = L'\\';
  return w;
}

DialogResult runDialog(bool save, Window*, const std::string& title, const std::vector<FileFilter>& filters,
                       const std::string& folder, const std::string& proposedName, std::string& path) {
  win32::ensureCom();
  std::wstring wTitle = win32::widen(title), list = filterList(filters), start = nativePath(folder);
  std::wstring ext = defaultExtension(filters);
  std::wstring buffer = win32::widen(proposedName);
  buffer.resize(32768, L'\0');  // long paths fit as well

  OPENFILENAMEW ofn{};
  ofn.lStructSize = sizeof ofn;
  ofn.hwndOwner = win32::mainWindow();
  ofn.lpstrFilter = filters.empty() ? nullptr : list.c_str();
  ofn.nFilterIndex = 1;
  ofn.lpstrFile = buffer.data();
  ofn.nMaxFile = DWORD(buffer.size());
  ofn.lpstrInitialDir = start.empty() ? nullptr : start.c_str();
  ofn.lpstrTitle = wTitle.empty() ? nullptr : wTitle.c_str();
  ofn.lpstrDefExt = ext.empty() ? nullptr : ext.c_str();
  ofn.Flags = OFN_EXPLORER | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST |
              (save ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST);
  BOOL chosen = save ? GetSaveFileNameW(&ofn) : GetOpenFileNameW(&ofn);
  if (chosen) {
    path = win32::narrow(buffer.c_str());
    return DialogResult::Chosen;
  }
  // No error code: the user closed the dialog.
  return CommDlgExtendedError() == 0 ? DialogResult::Cancelled : DialogResult::Unavailable;
}

}  // namespace

DialogResult openFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, std::string& path) {
  return runDialog(false, w, title, filters, folder, {}, path);
}

DialogResult saveFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, const std::string& proposedName, std::string& path) {
  return runDialog(true, w, title, filters, folder, proposedName, path);
}

}  // namespace platform
