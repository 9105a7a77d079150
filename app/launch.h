// The parsed command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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

  bool screensaver = false;  // /s, -s
  bool preview = false;      // /p…: exit at once
  bool configure = false;    // /c…: information box, exit
  bool inputTest = false;    // --input-test
  std::string windowId;      // -window-id ID (or $XSCREENSAVER_WINDOW)

  // Beyond the classic switches.
  bool printPreset = false;  // --print-preset [FILE]
  std::string file;          // positional FILE (also the argument of --print-preset)
  int width = 0, height = 0; // --size WxH
  bool headless = false;     // --headless
  bool help = false;         // --help
  bool version = false;      // --version
  bool shotAsked = false;    // --shot given at all, even without a usable path
  // Posters and parts for cluster schedulers.
  bool poster = false;       // --poster: the shot rendered in tiles, any size
  int partIndex = 0, partCount = 0;  // --part K/N (from 1): rows of part K
  std::string assemble;      // --assemble OUT PARTS...
  std::vector<std::string> assembleParts;
  // One Russian line per option that could not be taken (unknown, missing
  // or malformed value, out of range); the option keeps its default.
  std::vector<std::string> problems;
  // The first problem when the run is unattended (shot, print, self-test):
  // such a run stops with it as a usage error instead of guessing.
  std::string error;
};

// argv[0] is skipped. Matching is case-blind; values are taken as they stand
// and numbers are checked against the range table.
LaunchOptions parseCommandLine(const std::vector<std::string>& args);
// A shot, --print-preset or the self-test: nobody is there to see a warning.
bool isUnattended(const LaunchOptions& o);
std::string usageText();
std::string versionText();
// --print-preset: writes the preset (indent 2) to `out`, or an error line to
// `err`; returns the exit status.
int runPrintPreset(const LaunchOptions& o, std::string& out, std::string& err);
