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
  LaunchOptions o = parse({"--SHOT", "Out.PNG", "--seed", "Мир", "--type", "menger", "--tab", "3",
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
  EXPECT_TRUE(o.error.empty() && o.problems.empty());

  // Values are taken as they stand, even when they look like switches.
  EXPECT_EQ(parse({"--seed", "/s"}).seed, "/s");
  EXPECT_FALSE(parse({"--seed", "/s"}).screensaver);
  // A seed that is not UTF-8 is mended before it can reach a file.
  EXPECT_EQ(parse({"--seed", "a\xff"}).seed, "a\xEF\xBF\xBD");
}

// Each bad option gives one line and keeps the option's default; an
// unattended run turns the first line into its usage error, an interactive
// one only warns.
TEST(CommandLine, BadOptionsAreReported) {
  struct Case {
    std::vector<std::string> args;
    const char* line;
  };
  const Case cases[] = {
      {{"--samples", "4.5"}, "неверное значение --samples: \"4.5\" (нужно целое число от 1 до 65536)"},
      {{"--dist", "nan"}, "неверное значение --dist: \"nan\" (нужно число от 5e-12 до 1e+06)"},
      {{"--dist", "0x10"}, "неверное значение --dist: \"0x10\" (нужно число от 5e-12 до 1e+06)"},
      {{"--dive-speed"}, "у параметра --dive-speed нет значения"},
      {{"--seed", "--deep"}, "у параметра --seed нет значения"},
      {{"--sampels", "4"}, "неизвестный параметр: --sampels"},
      {{"a.json", "b.json"}, "лишний аргумент: b.json (файл уже задан: a.json)"},
      {{"--size", "0x100"}, "неверный размер окна: \"0x100\" (нужно ШxВ, например 1280x720)"},
  };
  for (const Case& c : cases) {
    LaunchOptions interactive = parse(c.args);
    ASSERT_EQ(interactive.problems.size(), 1u) << c.line;
    EXPECT_EQ(interactive.problems[0], c.line);
    EXPECT_TRUE(interactive.error.empty()) << c.line;
    EXPECT_EQ(interactive.samples, 0);
    EXPECT_EQ(interactive.tab, -1);
    EXPECT_EQ(interactive.dist, 0);
    EXPECT_EQ(interactive.diveSpeed, 1.2);
    EXPECT_TRUE(interactive.seed.empty());
    for (const char* mode : {"--print-preset", "--input-test"}) {
      std::vector<std::string> args = c.args;
      args.insert(args.begin(), mode);
      EXPECT_EQ(parse(args).error, c.line) << mode;
    }
  }
  EXPECT_EQ(parse({"--shot", ""}).error, "у параметра --shot пустой путь");
  EXPECT_EQ(parse({"--shot", "--seed", "x"}).error, "у параметра --shot нет значения");
  // Screen-saver hosts pass switches of their own: a warning, not a stop.
  LaunchOptions saver = parse({"/s", "-root"});
  EXPECT_TRUE(saver.screensaver);
  EXPECT_TRUE(saver.error.empty());
}

TEST(CommandLine, SizeAndPositionalFile) {
  LaunchOptions o = parse({"a.json", "--size", "1280X720", "--print-preset"});
  EXPECT_EQ(o.file, "a.json");
  EXPECT_EQ(o.width, 1280);
  EXPECT_EQ(o.height, 720);
  EXPECT_TRUE(o.printPreset);
  EXPECT_EQ(parse({"--print-preset", "x.png"}).file, "x.png");

  for (const char* bad : {"", "abc", "100", "100x", "x100", "0x100", "-5x5", "10x10x10", "1e3x2"}) {
    LaunchOptions b = parse({"--shot", "o.png", "--size", bad});
    EXPECT_FALSE(b.error.empty()) << bad;
    EXPECT_EQ(b.width, 0) << bad;
  }
  EXPECT_FALSE(parse({"--print-preset", "--size"}).error.empty());
}

TEST(CommandLine, PrintPreset) {
  std::string out, err;
  LaunchOptions o = parse({"--print-preset"});
  EXPECT_EQ(runPrintPreset(o, out, err), 0);
  EXPECT_EQ(out, writeJson(presetToJson(generateFromSeed("classic", "mandelbulb")), 2) + "\n");
  EXPECT_TRUE(err.empty());

  auto path = std::filesystem::temp_directory_path() / "qtx_cli_web.json";
  std::ofstream(path) << R"({"Seed": "abc", "Type": 3})";
  o = parse({"--print-preset", path.string()});
  EXPECT_EQ(runPrintPreset(o, out, err), 0);
  EXPECT_EQ(out, presetText(generateFromSeed("abc", "menger"), 2) + "\n");
  std::ofstream(path) << "{";
  out.clear();
  EXPECT_EQ(runPrintPreset(o, out, err), 1);
  EXPECT_EQ(err, "Не удалось открыть: неожиданный конец JSON («" + path.string() + "»)\n");
  EXPECT_TRUE(out.empty());
  std::filesystem::remove(path);

  o.file = "/nonexistent/qtx.json";
  EXPECT_EQ(runPrintPreset(o, out, err), 1);
  EXPECT_EQ(err, "Не удалось прочитать файл «/nonexistent/qtx.json»: нет такого файла или папки\n");
}

// A file manager's thumbnailer entry and xscreensaver's hack switch.
TEST(CommandLine, ThumbnailAndRoot) {
  LaunchOptions o = parse({"--thumbnail", "/tmp/a b.json", "/tmp/out.png", "256"});
  EXPECT_EQ(o.file, "/tmp/a b.json");
  EXPECT_EQ(o.thumbnail, "/tmp/out.png");
  EXPECT_EQ(o.thumbnailSize, 256);
  EXPECT_TRUE(o.error.empty() && o.problems.empty());

  // Nobody watches a thumbnailer: a bad or missing value stops the run.
  EXPECT_EQ(parse({"--thumbnail", "a.json", "o.png", "9"}).error,
            "неверный размер миниатюры: \"9\" (нужно целое число от 16 до 1024)");
  EXPECT_EQ(parse({"--thumbnail", "a.json", "o.png", "2048"}).thumbnailSize, 0);
  EXPECT_EQ(parse({"--thumbnail", "a.json", "o.png"}).error, "у параметра --thumbnail нет значения");

  EXPECT_TRUE(parse({"-root"}).root);
  EXPECT_FALSE(parse({"-root"}).screensaver);
  EXPECT_TRUE(parse({"-root"}).problems.empty());
}

// The film options: values, the frame selections, and the combinations a
// film cannot be made of (each a usage error before any work).
TEST(CommandLine, FilmOptions) {
  LaunchOptions o = parse({"--video", "out/", "--dive", "20", "--fps", "24", "--duration", "12.5", "--frames",
                           "3/8", "--random-seed", "4294967295", "--shutter", "0.5"});
  EXPECT_TRUE(o.error.empty()) << o.error;
  EXPECT_TRUE(isFilm(o) && isUnattended(o));
  EXPECT_EQ(o.video, "out/");
  EXPECT_EQ(o.fps, 24);
  EXPECT_EQ(o.duration, 12.5);
  EXPECT_EQ(o.randomSeed, 4294967295LL);
  EXPECT_EQ(o.shutter, 0.5);
  EXPECT_TRUE(o.frames.given && o.frames.share == 3 && o.frames.shares == 8);
  o = parse({"--video", "f/", "--path", "p.json", "--frames", "10-19"});
  EXPECT_TRUE(o.error.empty()) << o.error;
  EXPECT_TRUE(o.frames.first == 10 && o.frames.last == 19 && o.frames.shares == 0);
  EXPECT_EQ(parse({"--video", "a.mp4", "--from-frames", "f/"}).error, "");
  EXPECT_EQ(parse({"--video", "a.mp4"}).fps, 0);  // the path's own rate, or 30

  const std::pair<std::vector<std::string>, const char*> bad[] = {
      {{"--video", "a.mp4", "--dive", "1", "--fps", "2.5"},
       "неверное значение --fps: \"2.5\" (нужно целое число от 1 до 240)"},
      {{"--video", "a.mp4", "--dive", "1", "--shutter", "2"}, "неверное значение --shutter: \"2\" (нужно число от 0 до 1)"},
      {{"--video", "d/", "--dive", "1", "--frames", "5-2"},
       "неверное значение --frames: \"5-2\" (нужно A-B, номера кадров с нуля, или K/N, доля K из N)"},
      {{"--video", "a.mp4"}, "для фильма нужен --path ФАЙЛ (записанный путь) или --dive СЕКУНДЫ (погружение)"},
      {{"--path", "p.json"}, "не задан --video (файл .mp4, .webm, .mkv или папка с / на конце)"},
      {{"--video", "a.mp4", "--path", "p.json", "--dive", "3"}, "--path и --dive нельзя задать вместе"},
      {{"--video", "a.mp4", "--dive", "3", "--frames", "0-9"},
       "--frames пишет часть кадров: --video должен быть папкой (с / на конце)"},
      {{"--video", "d/", "--from-frames", "f/"},
       "--from-frames кодирует папку кадров в файл: --video должен быть файлом"},
      {{"--video", "a.mp4", "--dive", "3", "--shot", "x.png"}, "--video и --shot нельзя задать вместе"},
  };
  for (const auto& [args, line] : bad) EXPECT_EQ(parse(args).error, line);
}

// Parts count from 1 and make the shot a poster; the assembly takes every
// word up to the next option; a bad part stops an unattended run.
TEST(CommandLine, PartsAndAssembly) {
  LaunchOptions o = parse({"--shot", "p.png", "--part", "2/4", "--samples", "8"});
  EXPECT_EQ(o.partIndex, 2);
  EXPECT_EQ(o.partCount, 4);
  EXPECT_TRUE(o.poster);
  EXPECT_EQ(o.samples, 8);
  EXPECT_TRUE(o.error.empty()) << o.error;
  for (const char* bad : {"0/4", "5/4", "4", "a/b", "1/0", "1/70000", "-1/2"}) {
    o = parse({"--shot", "p.png", "--part", bad});
    EXPECT_EQ(o.partCount, 0) << bad;
    EXPECT_NE(o.error.find("неверная часть"), std::string::npos) << bad << ": " << o.error;
  }
  o = parse({"--assemble", "out.png", "a.png", "b.png", "--headless"});
  EXPECT_EQ(o.assemble, "out.png");
  EXPECT_EQ(o.assembleParts, (std::vector<std::string>{"a.png", "b.png"}));
  EXPECT_TRUE(o.headless);
  EXPECT_TRUE(o.file.empty());
  o = parse({"--assemble", "out.png"});
  EXPECT_NE(o.error.find("нет частей"), std::string::npos) << o.error;
}
