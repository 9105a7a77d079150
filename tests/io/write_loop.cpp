// qtx_write_loop — rewrites one file again and again, alternating two
// versions, until it is killed; or checks that a file is exactly one of the
// two versions. tools/kill_loop.sh kills it at random moments to show that a
// kill during a write never leaves a truncated file nor a pile of temporary
// files.
//
//   qtx_write_loop write|check state|png PATH [named]
//
// "named" writes without unnamed temporary files, as on systems that lack them.
#include "io/files.h"
#include "io/os_files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "io/settings.h"
#include "model/seed.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

FractalParams stateRecord(int which) {
  return generateFromSeed(which ? "второй, длиннее" : "first", which ? "hybrid" : "menger");
}

const std::vector<RecentSeed> kRecent = {{"abc", "kifs"}};

std::string stateVersion(int which) { return stateText(stateRecord(which), AppSettings{}, kRecent); }

// A PNG-framed file of 12 or 15 MB: the size of a big shot, with the preset
// chunk after IHDR as the program writes it, so --print-preset can judge it.
std::string pngVersion(int which) {
  std::string png("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
  png += std::string(17, '\0');
  const size_t idat = which ? 15u << 20 : 12u << 20;
  png += std::string("\0\0\0\0IDAT", 8);
  png.replace(png.size() - 8, 4, std::string{char(idat >> 24), char(idat >> 16), char(idat >> 8), char(idat)});
  png += std::string(idat, char('a' + which));
  png += std::string(4, '\0');  // IDAT CRC: only the preset chunk's is checked
  png += std::string("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  splicePresetChunk(png, presetText(generateFromSeed(which ? "b" : "a", "mandelbulb"), 0));
  return png;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(stderr, "usage: qtx_write_loop write|check state|png PATH [named]\n");
    return 2;
  }
  if (argc == 5) osUseUnnamedTempFiles(false);
  const bool state = !std::strcmp(argv[2], "state");
  const std::string path = argv[3];
  const std::string versions[2] = {state ? stateVersion(0) : pngVersion(0), state ? stateVersion(1) : pngVersion(1)};
  if (!std::strcmp(argv[1], "check")) {
    std::string bytes, reason;
    if (!readFileLimited(path, kPngFileLimit, bytes, reason)) {
      std::fprintf(stderr, "%s: %s\n", path.c_str(), reason.c_str());
      return 1;
    }
    if (bytes == versions[0] || bytes == versions[1]) return 0;
    std::fprintf(stderr, "%s: %zu bytes, neither version\n", path.c_str(), bytes.size());
    return 1;
  }
  for (unsigned i = 0;; ++i) {
    std::string reason;
    // The settings go through the very call the program makes at quit.
    bool ok = state ? saveState(path, stateRecord(int(i % 2)), AppSettings{}, kRecent, &reason)
                    : writeFileAtomic(path, versions[i % 2], &reason);
    if (!ok) {
      std::fprintf(stderr, "%s: %s\n", path.c_str(), reason.c_str());
      return 1;
    }
  }
}
