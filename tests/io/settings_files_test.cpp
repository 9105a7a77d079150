#include "io/files.h"
#include "io/json.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "io/settings.h"
#include "model/seed.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

// A fresh folder per test, removed afterwards.
class TempDir : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = fs::temp_directory_path() /
          ("qtx_io_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  std::string file(const std::string& name, const std::string& content) {
    std::string p = (dir / name).string();
    std::ofstream(p, std::ios::binary) << content;
    return p;
  }
  size_t entries() const { return static_cast<size_t>(std::distance(fs::directory_iterator(dir), {})); }

  fs::path dir;
};

using Settings = TempDir;
using Files = TempDir;

std::string pngWithPreset(const std::string& text) {
  std::string png("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
  png += std::string(17, '\0');
  png += std::string("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  splicePresetChunk(png, text);
  return png;
}

}  // namespace

TEST_F(Settings, LoadingAppliesWhatItCanRead) {
  FractalParams p;
  AppSettings s;
  std::vector<RecentSeed> recent = {{"old", "menger"}};
  EXPECT_FALSE(loadState((dir / "missing.json").string(), p, s, recent));
  EXPECT_EQ(p, FractalParams{});
  EXPECT_EQ(s, AppSettings{});

  EXPECT_TRUE(loadState(file("q.json", R"({"quality": {"samples": 64.9, "deep": -1.7,
      "resScale": 1.5, "shadows": 0, "gi": true, "vsync": "no", "maxSteps": 1e12}})"), p, s, recent));
  AppSettings expected;
  expected.samples = 64, expected.deep = -1, expected.resScale = 1.5, expected.gi = true;
  expected.maxSteps = INT32_MAX;
  EXPECT_EQ(s, expected);
  EXPECT_EQ(p, FractalParams{});
  EXPECT_EQ(recent.size(), 1u);

  EXPECT_TRUE(loadState(file("h.json", R"({"history": [{"seed": "abc"}, 3, {"seed": 5, "type": "kifs"}]})"),
                        p, s, recent));
  EXPECT_EQ(recent, (std::vector<RecentSeed>{{"abc", "mandelbulb"}, {"", "kifs"}}));

  // A hand-edited list longer than the recent list's cap keeps the newest 20.
  std::string many = R"({"history": [)";
  for (int i = 0; i < 25; ++i) many += (i ? "," : "") + std::string(R"({"seed": "s)") + std::to_string(i) + R"("})";
  EXPECT_TRUE(loadState(file("many.json", many + "]}"), p, s, recent));
  ASSERT_EQ(recent.size(), 20u);
  EXPECT_EQ(recent.front().seed, "s0");
  EXPECT_EQ(recent.back().seed, "s19");

  // A cut file applies nothing (the parse is whole-file); a preset that fails
  // stops loading before quality and history.
  const AppSettings before = s;
  std::string text = stateText(generateFromSeed("abc", "menger"), AppSettings{}, {});
  EXPECT_FALSE(loadState(file("cut.json", text.substr(0, text.size() / 2)), p, s, recent));
  EXPECT_FALSE(loadState(file("bad.json", R"({"preset": [], "quality": {"samples": 1}})"), p, s, recent));
  EXPECT_EQ(s, before);
  EXPECT_EQ(p, FractalParams{});
}

TEST_F(Settings, SaveLoadRoundTripIsAtomic) {
  FractalParams current = generateFromSeed("мир", "hybrid");
  AppSettings settings;
  settings.precision = 0.75, settings.vsync = false;
  std::vector<RecentSeed> history = {{"мир", "hybrid"}, {"x", "kifs"}};
  std::string path = file("state.json", "old contents");
  ASSERT_TRUE(saveState(path, current, settings, history));
  EXPECT_EQ(entries(), 1u);  // no temporary file is left behind

  FractalParams p;
  AppSettings s;
  std::vector<RecentSeed> recent;
  ASSERT_TRUE(loadState(path, p, s, recent));
  EXPECT_EQ(presetText(p, 2), presetText(current, 2));  // numbers keep ten digits
  EXPECT_EQ(s, settings);
  EXPECT_EQ(recent, history);

  const JsonValue root = parseJson(stateText(current, settings, history));
  std::string keys;
  for (const auto& m : root.members[1].second.members) keys += m.first + " ";
  EXPECT_EQ(keys, "resScale samples maxSteps precision deep diveSpeed mutation shadows ao adaptive "
                  "autoIter prepass gi vsync ");
}

TEST_F(Files, WriteAndReadWholeFiles) {
  std::string path = (dir / "a.bin").string();
  std::string bytes("\0\x89 binary \r\n", 12);
  ASSERT_TRUE(writeFileAtomic(path, bytes));
  std::string back;
  ASSERT_TRUE(readWholeFile(path, back));
  EXPECT_EQ(back, bytes);
  EXPECT_EQ(entries(), 1u);

  EXPECT_FALSE(readWholeFile((dir / "none").string(), back));
  EXPECT_EQ(back, bytes);  // untouched on failure
  // A target that cannot be replaced (a folder) fails and leaves no temporary file.
  fs::create_directory(dir / "sub");
  fs::create_directory(dir / "sub" / "x");
  EXPECT_FALSE(writeFileAtomic((dir / "sub" / "x").string(), "data"));
  EXPECT_EQ(static_cast<size_t>(std::distance(fs::directory_iterator(dir / "sub"), {})), 1u);
}

TEST_F(Files, LoadMessages) {
  FractalParams p = generateFromSeed("keep", "kifs");
  const FractalParams before = p;
  std::string msg;
  auto fails = [&](const std::string& path) {
    msg.clear();
    return !loadPresetFile(path, p, msg);
  };
  EXPECT_TRUE(fails((dir / "missing.json").string()));
  EXPECT_EQ(msg, "Не удалось прочитать файл");
  EXPECT_TRUE(fails(file("empty.json", "")));
  EXPECT_EQ(msg, "Не удалось открыть: неожиданный конец JSON");
  EXPECT_TRUE(fails(file("arr.json", "[1]")));
  EXPECT_EQ(msg, "Не удалось открыть: неверный формат пресета");
  EXPECT_TRUE(fails(file("other.png", pngWithPreset(""))));
  EXPECT_EQ(msg, "В этом PNG нет параметров Quorvan Telix");
  // A compressed text fails as JSON; so does a file with 0x89 too short to be a PNG.
  EXPECT_TRUE(fails(file("bad.png", pngWithPreset("x\x9c"))) && fails(file("short", "\x89PNG")));
  EXPECT_EQ(msg, "Не удалось открыть: неверное значение JSON");
  EXPECT_EQ(p, before);
}

TEST_F(Files, LoadAndSavePresets) {
  FractalParams p;
  std::string msg;
  FractalParams stored = generateFromSeed("abc", "juliabox");
  ASSERT_TRUE(loadPresetFile(file("looks.json", pngWithPreset(presetText(stored, 0))), p, msg));
  EXPECT_EQ(presetText(p, 2), presetText(stored, 2));

  ASSERT_TRUE(loadPresetFile(file("web.json", R"({"seed": "abc", "type": 3})"), p, msg));
  EXPECT_EQ(p, generateFromSeed("abc", "menger"));
}

TEST(SafeNames, LettersOfAnyScriptStay) {
  EXPECT_EQ(proposedPresetName("мир 2/3"), "fractal_мир_2_3.json");
  EXPECT_EQ(safeFileName("a-b_c.d"), "a-b_c_d");
  EXPECT_EQ(safeFileName(""), "fractal");
  EXPECT_EQ(safeFileName("x\xF0\x9F\x98\x80y"), "x_y");   // an emoji is one character
  EXPECT_EQ(safeFileName("a\xFF\xD0z"), "a__z");           // broken bytes, one '_' each
  EXPECT_EQ(safeFileName("\xE0\x80\x80"), "___");          // overlong form
  std::string cyr;
  for (int i = 0; i < 45; ++i) cyr += "ж";
  EXPECT_EQ(safeFileName(cyr).size(), 80u);  // forty characters, two bytes each
}
