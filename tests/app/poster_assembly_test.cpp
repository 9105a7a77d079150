// Assembling a poster from parts: the parts are written the way --part
// writes them (a PNG strip with the preset and the part's description), with
// rows that say where they belong, so a misplaced row shows.
#include "app/poster.h"
#include "io/png_chunk.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kW = 37, kH = 50, kParts = 3;
const std::string kPreset = "{\"seed\": \"classic\"}";

// Row y of the poster: red is the row, green the column.
std::vector<uint8_t> posterRow(int y) {
  std::vector<uint8_t> row(size_t(kW) * 4);
  for (int x = 0; x < kW; ++x) {
    row[size_t(x) * 4 + 0] = uint8_t(y);
    row[size_t(x) * 4 + 1] = uint8_t(x * 5);
    row[size_t(x) * 4 + 2] = 90;
    row[size_t(x) * 4 + 3] = 255;
  }
  return row;
}

struct Parts : ::testing::Test {
  fs::path dir = fs::temp_directory_path() / ("qtx_parts_" + std::to_string(getpid()));
  void SetUp() override { fs::create_directories(dir); }
  void TearDown() override { fs::remove_all(dir); }

  std::string part(int k, const std::string& preset = kPreset, int samples = 8, int count = kParts) {
    PosterPart p{k, count, kW, kH, samples, 0, 0, crc32(reinterpret_cast<const uint8_t*>(preset.data()), preset.size())};
    posterPartRows(kH, k, count, p.firstRow, p.endRow);
    const std::string path = (dir / ("part" + std::to_string(k) + "_" + std::to_string(count) + "_" +
                                     std::to_string(samples) + "_" + std::to_string(preset.size()) + ".png"))
                                 .string();
    PosterFile f;
    std::string problem;
    EXPECT_TRUE(f.begin(path, kW, p.endRow - p.firstRow, preset, makePosterPartChunk(p), problem)) << problem;
    for (int y = p.firstRow; y < p.endRow; ++y) EXPECT_TRUE(f.rows(posterRow(y).data(), 1));
    EXPECT_TRUE(f.finish(problem)) << problem;
    return path;
  }

  // Refused, naming `names`, and nothing at `out`.
  void refused(const std::vector<std::string>& parts, const std::string& names) {
    const std::string out = (dir / "poster.png").string();
    std::string problem, summary;
    EXPECT_FALSE(assemblePoster(out, parts, problem, summary));
    EXPECT_NE(problem.find(names), std::string::npos) << problem;
    EXPECT_FALSE(fs::exists(out)) << problem;
    EXPECT_FALSE(fs::exists(out + ".tmp")) << problem;
  }
};

}  // namespace

TEST_F(Parts, AssembleInAnyOrderIntoTheWholePosterWithItsPreset) {
  const std::string out = (dir / "poster.png").string();
  std::string problem, summary;
  ASSERT_TRUE(assemblePoster(out, {part(3), part(1), part(2)}, problem, summary)) << problem;
  EXPECT_EQ(summary, "собрано: " + out + " 37×50 из 3 частей");
  std::ifstream in(out, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  EXPECT_EQ(presetTextFromPng(bytes), kPreset);
  int w = 0, h = 0;
  std::string reason;
  platform::PngRowReader* r = platform::openPngRows(out, w, h, reason);
  ASSERT_NE(r, nullptr) << reason;
  EXPECT_EQ(w, kW);
  EXPECT_EQ(h, kH);
  std::vector<uint8_t> row(size_t(kW) * 4);
  for (int y = 0; y < kH; ++y) {
    ASSERT_TRUE(platform::readPngRows(r, row.data(), 1, reason));
    EXPECT_EQ(row, posterRow(y)) << "row " << y;
  }
  platform::closePngRows(r);
}

TEST_F(Parts, RefuseMissingDuplicateForeignTruncatedAndStrangers) {
  const std::string p1 = part(1), p2 = part(2), p3 = part(3);
  refused({p1, p3}, "не хватает части 2/3 (строки 16–33)");
  refused({p1, p2, p3, p2}, "часть 2/3 дана дважды");
  refused({p1, part(2, "{\"seed\": \"other\"}"), p3}, "от другого постера: другой пресет");
  refused({p1, p2, part(3, kPreset, 16)}, "сэмплов 16, а не 8");
  refused({p1, p2, part(3, kPreset, 8, 4)}, "частей 4, а не 3");

  // Cut short: the bytes stop inside the pixels.
  const std::string cut = (dir / "cut.png").string();
  fs::copy_file(p2, cut);
  fs::resize_file(cut, fs::file_size(cut) - 40);
  refused({p1, cut, p3}, "часть 2/3 (" + cut + ") обрывается");

  // Damaged inside: the end is there but a pixel chunk's bytes were changed.
  const std::string bent = (dir / "bent.png").string();
  fs::copy_file(p2, bent);
  {
    std::fstream f(bent, std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(std::streamoff(fs::file_size(bent) - 30));
    f.put('\x55');
  }
  refused({p1, bent, p3}, "часть 2/3 (" + bent + ")");

  // An ordinary picture, and a file that is not there.
  const std::string plain = (dir / "plain.png").string();
  {
    PosterFile f;
    std::string problem;
    ASSERT_TRUE(f.begin(plain, kW, 1, kPreset, "", problem));
    ASSERT_TRUE(f.rows(posterRow(0).data(), 1));
    ASSERT_TRUE(f.finish(problem));
  }
  refused({p1, plain, p3}, plain + " — не часть постера");
  refused({p1, p2, (dir / "nowhere.png").string()}, "nowhere.png");

  // A refusal leaves an existing poster as it was.
  const std::string out = (dir / "poster.png").string();
  std::ofstream(out) << "old";
  std::string problem, summary;
  EXPECT_FALSE(assemblePoster(out, {p1, p3}, problem, summary));
  std::ifstream in(out);
  std::string kept((std::istreambuf_iterator<char>(in)), {});
  EXPECT_EQ(kept, "old");
}
