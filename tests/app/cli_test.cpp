#include "app/launch.h"
#include "io/json.h"
#include "io/preset.h"
#include "model/seed.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

LaunchOptions parse(std::vector<std::string> args) {
  args.insert(args.begin(), "quorvantelix3d");
  return parseCommandLine(args);
}

}  // namespace

TEST(CommandLine, ScreenSaverSwitches) {
  EXPECT_TRUE(parse({"/S"}).screensaver);
  EXPECT_TRUE(parse({"-s"}).screensaver);
  EXPECT_FALSE(parse({"/sx"}).screensaver);
  EXPECT_TRUE(parse({"/p:123"}).preview);
  EXPECT_TRUE(parse({"-P", "4567"}).preview);
  EXPECT_TRUE(parse({"/c:anything"}).configure);
  EXPECT_TRUE(parse({"-Configure"}).configure);

  // Linux paths start with '/': they are files, not switches.
  LaunchOptions file = parse({"/cache/p.png"});
  EXPECT_FALSE(file.configure);
  EXPECT_EQ(file.file, "/cache/p.png");
  EXPECT_FALSE(parse({"/s/x.json"}).screensaver);
  EXPECT_FALSE(parse({"--print-preset"}).preview);
}

TEST(CommandLine, ValuesAndFlags) {
  LaunchOptions o = parse({"--SHOT", "Out.PNG", "--seed", "Мир", "--type", "menger", "--tab", "3x",
                           "--dist", "1.5e-3", "--samples", "64", "--deep", "--dive", "10",
                           "--dive-speed", "0.5", "--dive-until", "1e-6", "--hide-ui",
                           "--input-test", "--headless", "--version", "-h", "-window-id", "0x42"});
  EXPECT_EQ(o.shot, "Out.PNG");
  EXPECT_EQ(o.seed, "Мир");
  EXPECT_EQ(o.type, "menger");
  EXPECT_EQ(o.tab, 3);
  EXPECT_EQ(o.dist, 1.5e-3);
  EXPECT_EQ(o.samples, 64);
  EXPECT_TRUE(o.deep && o.hideUi && o.inputTest && o.headless && o.version && o.help);
  EXPECT_EQ(o.dive, 10);
  EXPECT_EQ(o.diveSpeed, 0.5);
  EXPECT_EQ(o.diveUntil, 1e-6);
  EXPECT_EQ(o.windowId, "0x42");
  EXPECT_TRUE(o.file.empty());
  EXPECT_TRUE(o.error.empty());

  // Values are taken as they stand, even when they look like switches.
  EXPECT_EQ(parse({"--seed", "/s"}).seed, "/s");
  EXPECT_FALSE(parse({"--seed", "/s"}).screensaver);
  // Missing or non-numeric values give 0; defaults stay otherwise.
  EXPECT_EQ(parse({"--tab"}).tab, 0);
  EXPECT_EQ(parse({"--dist", "far"}).dist, 0);
  EXPECT_EQ(parse({"--dive-speed"}).diveSpeed, 0);
  EXPECT_EQ(parse({"--seed"}).seed, "");
  LaunchOptions none = parse({"--bogus", "-x"});
  EXPECT_EQ(none.tab, -1);
  EXPECT_EQ(none.diveSpeed, 1.2);
  EXPECT_TRUE(none.file.empty());
}

TEST(CommandLine, SizeAndPositionalFile) {
  LaunchOptions o = parse({"a.json", "--size", "1280X720", "b.json", "--print-preset"});
  EXPECT_EQ(o.file, "a.json");
  EXPECT_EQ(o.width, 1280);
  EXPECT_EQ(o.height, 720);
  EXPECT_TRUE(o.printPreset);
  EXPECT_EQ(parse({"--print-preset", "x.png"}).file, "x.png");

  for (const char* bad : {"", "abc", "100", "100x", "x100", "0x100", "-5x5", "10x10x10", "1e3x2"}) {
    LaunchOptions b = parse({"--size", bad});
    EXPECT_FALSE(b.error.empty()) << bad;
    EXPECT_EQ(b.width, 0) << bad;
  }
  EXPECT_FALSE(parse({"--size"}).error.empty());
}

TEST(CommandLine, PrintPreset) {
  std::string out, err;
  LaunchOptions o = parse({"--print-preset"});
  EXPECT_EQ(runPrintPreset(o, out, err), 0);
  EXPECT_EQ(out, writeJson(presetToJson(generateFromSeed("classic", "mandelbulb")), 2) + "\n");
  EXPECT_TRUE(err.empty());

  o = parse({"--print-preset", "--seed", "abc", "--type", "kifs"});
  EXPECT_EQ(runPrintPreset(o, out, err), 0);
  EXPECT_EQ(out, presetText(generateFromSeed("abc", "kifs"), 2) + "\n");

  auto path = std::filesystem::temp_directory_path() / "qtx_cli_web.json";
  std::ofstream(path) << R"({"Seed": "abc", "Type": 3})";
  o = parse({"--print-preset", path.string()});
  EXPECT_EQ(runPrintPreset(o, out, err), 0);
  EXPECT_EQ(out, presetText(generateFromSeed("abc", "menger"), 2) + "\n");
  std::ofstream(path) << "{";
  out.clear();
  EXPECT_EQ(runPrintPreset(o, out, err), 1);
  EXPECT_EQ(err, "Не удалось открыть: неожиданный конец JSON\n");
  EXPECT_TRUE(out.empty());
  std::filesystem::remove(path);

  o.file = "/nonexistent/qtx.json";
  EXPECT_EQ(runPrintPreset(o, out, err), 1);
  EXPECT_EQ(err, "Не удалось прочитать файл\n");
}
