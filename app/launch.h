// The parsed command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// --frames: a span "A-B" (0-based, inclusive) or a share "K/N" (1-based):
// the frames are cut into blocks of kFilmBlock and share K takes blocks
// K, K+N, K+2N, … so N processes split a film evenly whatever its length.
inline constexpr int kFilmBlock = 8;
struct FrameSelection {
  int first = 0, last = -1;   // span; last −1 = to the end
  int share = 0, shares = 0;  // share K of N; 0 = no share
  bool given = false;
};

struct LaunchOptions {
  std::string shot;          // --shot PATH
  std::string seed;          // --seed TEXT
  std::string type;          // --type KEY
  int32_t tab = -1;          // --tab N
  double dist = 0.0;         // --dist D
  double dive = 0.0;         // --dive SECONDS
  double diveSpeed = 1.2;    // --dive-speed
  double diveUntil = 0.0;    // --dive-until DISTANCE
  int32_t samples = 0;       // --samples N
  bool deep = false;         // --deep
  bool hideUi = false;       // --hide-ui

  // Films
  std::string video;         // --video FILE (.mp4 .webm .mkv) or DIR/ (numbered PNGs)
  int32_t fps = 0;           // --fps N; 0: the path's own rate, 30 for a dive
  double duration = 0;       // --duration S (0: the whole path, or the --dive time)
  std::string pathFile;      // --path FILE: render a recorded path
  FrameSelection frames;     // --frames A-B | K/N
  int64_t randomSeed = -1;   // --random-seed N (−1: drawn, and printed)
  double shutter = 0;        // --shutter S: motion blur over S of a frame's time
  std::string fromFrames;    // --from-frames DIR: encode a finished PNG folder

  bool screensaver = false;  // /s, -s
  bool preview = false;      // /p…: exit at once
  bool configure = false;    // /c…: information box, exit
  bool inputTest = false;    // --input-test
  std::string windowId;      // -window-id ID (or $XSCREENSAVER_WINDOW)
  bool root = false;         // -root: xscreensaver's hack switch (its window, else the desktop's)

  // Beyond the classic switches.
  bool printPreset = false;  // --print-preset [FILE]
  std::string file;          // positional FILE (also the argument of --print-preset)
  int width = 0, height = 0; // --size WxH
  bool headless = false;     // --headless
  bool help = false;         // --help
  bool version = false;      // --version
  bool shotAsked = false;    // --shot given at all, even without a usable path
  // --thumbnail IN OUT SIZE: a file manager's thumbnail of the preset IN
  // (kept in `file`), SIZE×SIZE pixels, written to OUT.
  bool thumbnailAsked = false;
  std::string thumbnail;
  int thumbnailSize = 0;
  // Posters and parts for cluster schedulers.
  bool poster = false;       // --poster: the shot rendered in tiles, any size
  int partIndex = 0, partCount = 0;  // --part K/N (from 1): rows of part K
  std::string assemble;      // --assemble OUT PARTS...
  std::vector<std::string> assembleParts;
  // One Russian line per option that could not be taken (unknown, missing
  // or malformed value, out of range); the option keeps its default.
  std::vector<std::string> problems;
  // Lines that only inform, whatever the run (an unknown --type falls back).
  std::vector<std::string> warnings;
  // The first problem when the run is unattended (shot, print, self-test):
  // such a run stops with it as a usage error instead of guessing.
  std::string error;
};

// argv[0] is skipped. Matching is case-blind; values are taken as they stand
// and numbers are checked against the range table.
LaunchOptions parseCommandLine(const std::vector<std::string>& args);
// A shot, --print-preset or the self-test: nobody is there to see a warning.
bool isUnattended(const LaunchOptions& o);
// --video, --path or --from-frames: a film run.
bool isFilm(const LaunchOptions& o);
// Why the film options do not make a film together; empty when they do.
std::string filmOptionsProblem(const LaunchOptions& o);
std::string usageText();
std::string versionText();
// --print-preset: writes the preset (indent 2) to `out`, or an error line to
// `err`; returns the exit status.
int runPrintPreset(const LaunchOptions& o, std::string& out, std::string& err);
