// Settings and file helpers: state round trips, atomic writes, refusals and messages.
#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "io/settings.h"
#include "model/seed.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>

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
  expected.samples = 64, expected.deep = 0, expected.resScale = 1.5, expected.gi = true;
  expected.maxSteps = 2000;  // the frame driver's own ceiling
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

  // The remembered photo choices and folder travel too; out-of-range choices
  // from a hand-edited file are brought into the pills' range.
  settings.photoSize = 4, settings.photoSamples = 5, settings.lastFolder = "/tmp/снимки";
  settings.filmSeconds = 42.5, settings.filmFps = 2, settings.filmSize = 1, settings.filmSamples = 3;
  ASSERT_TRUE(saveState(path, current, settings, history));
  ASSERT_TRUE(loadState(path, p, s, recent));
  EXPECT_EQ(s, settings);
  ASSERT_TRUE(loadState(file("photo.json", R"({"quality": {"photoSize": 9, "photoSamples": -3, "lastFolder": 7, "filmSeconds": 1e9, "filmFps": -1}})"),
                        p, s, recent));
  EXPECT_EQ(s.photoSize, 5);
  EXPECT_EQ(s.photoSamples, 0);
  EXPECT_EQ(s.filmSeconds, 120);
  EXPECT_EQ(s.filmFps, 0);
  EXPECT_EQ(s.lastFolder, "/tmp/снимки");
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

// What sits at a path decides what a write may do there; each refusal says
// why and changes nothing, and no write leaves a temporary file behind.
TEST_F(Files, WritingReplacesOnlyRegularFiles) {
  std::string reason;
  auto content = [](const fs::path& p) {
    std::string back;
    readWholeFile(p.string(), back);
    return back;
  };
  // A symbolic link is written through: the link stays, its target changes.
  std::string target = file("target.json", "old");
  fs::create_symlink("target.json", dir / "link.json");
  ASSERT_TRUE(writeFileAtomic((dir / "link.json").string(), "new", &reason)) << reason;
  EXPECT_TRUE(fs::is_symlink(dir / "link.json"));
  EXPECT_EQ(content(target), "new");
  // A dangling link creates its target.
  fs::create_symlink("later.json", dir / "dangling.json");
  ASSERT_TRUE(writeFileAtomic((dir / "dangling.json").string(), "made", &reason)) << reason;
  EXPECT_EQ(content(dir / "later.json"), "made");

  // Permission bits of the replaced file are kept.
  std::string kept = file("kept.json", "old");
  fs::permissions(kept, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read,
                  fs::perm_options::replace);
  ASSERT_TRUE(writeFileAtomic(kept, "new"));
  EXPECT_EQ(fs::status(kept).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);

  // A read-only file is not replaced, even where the folder would allow it.
  std::string locked = file("locked.json", "keep me");
  fs::permissions(locked, fs::perms::owner_read, fs::perm_options::replace);
  EXPECT_FALSE(writeFileAtomic(locked, "lost", &reason));
  EXPECT_EQ(reason, "файл только для чтения");
  EXPECT_EQ(content(locked), "keep me");
  EXPECT_FALSE(canWriteFile(locked, reason));

  // A device or a folder at the path is never replaced.
  EXPECT_FALSE(writeFileAtomic("/dev/null", "x", &reason));
  EXPECT_EQ(reason, "это не обычный файл");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_FALSE(canWriteFile(dir.string(), reason));
  EXPECT_EQ(reason, "это папка, а не файл");

  // A temporary file left by a crash is taken over, not added to.
  std::string crashed = file(".kept.json.qtx-tmp", "half");
  ASSERT_TRUE(writeFileAtomic(kept, "again"));
  EXPECT_FALSE(fs::exists(crashed));
  for (const auto& e : fs::directory_iterator(dir))
    EXPECT_EQ(e.path().string().find("qtx-tmp"), std::string::npos) << e.path();
}

TEST_F(Files, ReadingRefusesWhatIsNotARegularFile) {
  std::string out = "untouched", reason;
  const std::string fifo = (dir / "fifo").string();
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  // Nobody writes to the FIFO: reading must answer at once, not wait.
  EXPECT_FALSE(readFileLimited(fifo, kTextFileLimit, out, reason));
  EXPECT_EQ(reason, "это не обычный файл");
  EXPECT_FALSE(readFileLimited("/dev/zero", kTextFileLimit, out, reason));
  EXPECT_EQ(reason, "это не обычный файл");
  EXPECT_FALSE(readFileLimited(dir.string(), kTextFileLimit, out, reason));
  EXPECT_EQ(reason, "это папка, а не файл");
  std::string big = file("big.json", std::string(2u << 20, ' '));
  EXPECT_FALSE(readFileLimited(big, size_t(1) << 20, out, reason));
  EXPECT_EQ(reason, "файл слишком большой (больше 1 МБ)");
  EXPECT_EQ(out, "untouched");
  ASSERT_TRUE(readFileLimited(big, size_t(2) << 20, out, reason));
  EXPECT_EQ(out.size(), size_t(2) << 20);
  // A preset far larger than any real one is refused before parsing.
  FractalParams p;
  std::string message;
  std::string huge = file("huge.json", std::string(kTextFileLimit + 1, ' '));
  EXPECT_FALSE(loadPresetFile(huge, p, message));
  EXPECT_EQ(message, "Не удалось прочитать файл «" + huge + "»: файл слишком большой для пресета (больше 4 МБ)");
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
  EXPECT_EQ(msg, "Не удалось прочитать файл «" + (dir / "missing.json").string() + "»: нет такого файла или папки");
  auto named = [&](const std::string& name) { return " («" + (dir / name).string() + "»)"; };
  EXPECT_TRUE(fails(file("empty.json", "")));
  EXPECT_EQ(msg, "Не удалось открыть: неожиданный конец JSON" + named("empty.json"));
  EXPECT_TRUE(fails(file("arr.json", "[1]")));
  EXPECT_EQ(msg, "Не удалось открыть: неверный формат пресета" + named("arr.json"));
  EXPECT_TRUE(fails(file("other.png", pngWithPreset(""))));
  EXPECT_EQ(msg, "В этом PNG нет параметров Quorvan Telix" + named("other.png"));
  // A compressed text fails as JSON; a PNG cut short is a damaged PNG, however short.
  EXPECT_TRUE(fails(file("bad.png", pngWithPreset("x\x9c"))));
  EXPECT_EQ(msg, "Не удалось открыть: неверное значение JSON" + named("bad.png"));
  EXPECT_TRUE(fails(file("short", "\x89PNG\r\n\x1a\n")));
  EXPECT_EQ(msg, "Не удалось открыть: повреждённый PNG (файл обрезан)" + named("short"));
  std::string flipped = pngWithPreset(presetText(generateFromSeed("x", "menger"), 0));
  flipped[flipped.find("\"iter\": ") + 8] ^= 1;
  EXPECT_TRUE(fails(file("flipped.png", flipped)));
  EXPECT_EQ(msg, "Не удалось открыть: повреждённый PNG (параметры не сходятся с контрольной суммой)" +
                     named("flipped.png"));
  EXPECT_TRUE(fails(dir.string()));
  EXPECT_EQ(msg, "Не удалось прочитать файл «" + dir.string() + "»: это папка, а не файл");
  EXPECT_EQ(p, before);
}

// A PNG named .json is read by its contents, not its name.
TEST_F(Files, LoadsAPngPresetWhateverItsName) {
  FractalParams p;
  std::string msg;
  FractalParams stored = generateFromSeed("abc", "juliabox");
  ASSERT_TRUE(loadPresetFile(file("looks.json", pngWithPreset(presetText(stored, 0))), p, msg));
  EXPECT_EQ(presetText(p, 2), presetText(stored, 2));
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
