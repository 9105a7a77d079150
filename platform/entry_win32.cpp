// entry_win32.cpp — the Windows entry point. The program's own main() is
// compiled under the name qtxMain on Windows (see app/CMakeLists.txt, the
// same arrangement SDL uses for SDL_main), and this main() hands it the
// command line as UTF-8: the C runtime's argv is in the ANSI code page, which
// cannot carry a Cyrillic seed.
#include "platform/win32_common.h"

#include <shellapi.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <vector>

int qtxMain(int argc, char** argv);

namespace {

// A GUI program starts without a console. When it was started from one and
// its output is not redirected, print there; redirected output is kept as it
// is. Output is binary either way: the preset printed on Windows must equal
// the one printed elsewhere byte for byte, with no CR added before each LF.
void connectOutput() {
  auto valid = [](DWORD which) {
    HANDLE h = GetStdHandle(which);
    return h != nullptr && h != INVALID_HANDLE_VALUE;
  };
  bool out = valid(STD_OUTPUT_HANDLE), err = valid(STD_ERROR_HANDLE);
  if ((!out || !err) && AttachConsole(ATTACH_PARENT_PROCESS)) {
    SetConsoleOutputCP(CP_UTF8);
    if (!out) std::freopen("CONOUT$", "w", stdout);
    if (!err) std::freopen("CONOUT$", "w", stderr);
  }
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

std::vector<std::string> utf8Arguments() {
  std::vector<std::string> args;
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!wide) return args;
  for (int i = 0; i < count; ++i) args.push_back(platform::win32::narrow(wide[i]));
  LocalFree(wide);
  return args;
}

}  // namespace

int main(int, char**) {
  connectOutput();
  std::vector<std::string> args = utf8Arguments();
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  return qtxMain(int(args.size()), argv.data());
}
