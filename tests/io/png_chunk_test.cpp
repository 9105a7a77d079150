#include "io/png_chunk.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

std::string bigEndian(uint32_t v) {
  return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
          static_cast<char>(v)};
}

std::string chunk(const std::string& type, const std::string& data) {
  std::string typeAndData = type + data;
  uint32_t crc = crc32(reinterpret_cast<const uint8_t*>(typeAndData.data()), typeAndData.size());
  return bigEndian(static_cast<uint32_t>(data.size())) + typeAndData + bigEndian(crc);
}

// A valid 1 x 1 RGBA image: the IDAT holds a zlib stream with one stored block,
// so no compressor is needed.
std::string tinyPng() {
  std::string ihdr = bigEndian(1) + bigEndian(1) + std::string("\x08\x06\x00\x00\x00", 5);
  std::string raw("\x00\x20\x40\x60\xff", 5);  // filter byte + one pixel
  uint32_t a = 1, b = 0;
  for (unsigned char c : raw) {
    a = (a + c) % 65521;
    b = (b + a) % 65521;
  }
  std::string zlib = std::string("\x78\x01\x01\x05\x00\xfa\xff", 7) + raw + bigEndian(b << 16 | a);
  return std::string("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", ihdr) + chunk("IDAT", zlib) +
         chunk("IEND", "");
}

}  // namespace

TEST(PngChunk, CrcAndChunkBytes) {
  EXPECT_EQ(crc32(reinterpret_cast<const uint8_t*>("123456789"), 9), 0xCBF43926u);

  std::string c = makePresetChunk("{}");
  EXPECT_EQ(c, chunk("iTXt", std::string("Quorvantelix\0\0\0\0\0{}", 19)));
}

TEST(PngChunk, SpliceAndReadBack) {
  std::string png = tinyPng();
  EXPECT_EQ(presetTextFromPng(png), "");  // another program's PNG reaches IEND
  std::string text = "{\"v\": 3,\n\"seed\": \"мир\"}";
  ASSERT_TRUE(splicePresetChunk(png, text));
  EXPECT_EQ(png.substr(33, 8), bigEndian(static_cast<uint32_t>(17 + text.size())) + "iTXt");
  EXPECT_EQ(presetTextFromPng(png), text);

  // A second preset chunk after the first: the first wins.
  std::string twice = png;
  splicePresetChunk(twice, "second");
  EXPECT_EQ(presetTextFromPng(twice), "second");

  std::string empty = tinyPng();
  ASSERT_TRUE(splicePresetChunk(empty, ""));
  EXPECT_EQ(empty, tinyPng());
  std::string tooShort(32, 'x');
  EXPECT_FALSE(splicePresetChunk(tooShort, "x"));

  auto path = std::filesystem::temp_directory_path() / "qtx_png_chunk_test.png";
  std::ofstream(path, std::ios::binary) << png;
  if (std::system("command -v pngcheck > /dev/null 2>&1") == 0) {
    EXPECT_EQ(std::system(("pngcheck -q " + path.string() + " > /dev/null").c_str()), 0);
  }
  std::filesystem::remove(path);
}

TEST(PngChunk, ScanRules) {
  std::string png = tinyPng();
  splicePresetChunk(png, "{}");

  std::string notSignature = png;
  notSignature[0] = 'x';  // only bytes 1..3 are checked
  EXPECT_EQ(presetTextFromPng(notSignature), "{}");
  std::string badLetters = png;
  badLetters[2] = 'n';
  EXPECT_EQ(presetTextFromPng(badLetters), "");
  EXPECT_EQ(presetTextFromPng(png.substr(0, 19)), "");

  // Every truncation ends cleanly; the chunk is found only while it is whole,
  // its CRC included, and until then the cut is told from a missing chunk.
  size_t chunkEnd = 33 + 12 + 17 + 2;
  for (size_t n = 0; n <= png.size(); ++n) {
    std::string text;
    PngPreset found = findPresetInPng(png.substr(0, n), text);
    EXPECT_EQ(found, n < 4 ? PngPreset::Missing : n >= chunkEnd ? PngPreset::Found : PngPreset::Truncated) << n;
    EXPECT_EQ(text, n >= chunkEnd ? "{}" : "") << n;
  }
  std::string bent = png;
  bent[chunkEnd - 1] ^= 0x10;  // the CRC's last byte
  std::string text = "stale";
  EXPECT_EQ(findPresetInPng(bent, text), PngPreset::Damaged);
  EXPECT_EQ(text, "");

  // A length that points past the end stops the walk.
  std::string huge = tinyPng();
  huge.replace(8, 4, bigEndian(0xFFFFFFF0u));
  EXPECT_EQ(presetTextFromPng(huge), "");

  // Another keyword is passed over; ours after it is found.
  std::string other = tinyPng();
  splicePresetChunk(other, "ours");
  other.insert(33, chunk("iTXt", std::string("Comment\0\0\0en\0\0hello", 19)));
  EXPECT_EQ(presetTextFromPng(other), "ours");
}
