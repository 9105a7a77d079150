// Building, splicing and finding the preset's iTXt chunk in PNG bytes. Reading
// must survive any file a user drops on the window, so every offset is checked
// against the size in 64-bit arithmetic before it is used.
#include "io/png_chunk.h"

#include <array>
#include <cstring>

namespace {

constexpr char kKeyword[] = "Quorvantelix";  // 12 letters; the terminator is part of the match
constexpr size_t kKeywordWithZero = 13;
constexpr size_t kSpliceOffset = 33;  // signature (8) + IHDR chunk (25)

const std::array<uint32_t, 256>& crcTable() {
  static const std::array<uint32_t, 256> table = [] {
    std::array<uint32_t, 256> t{};
    for (uint32_t n = 0; n < 256; ++n) {
      uint32_t c = n;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[n] = c;
    }
    return t;
  }();
  return table;
}

void appendBigEndian(std::string& out, uint32_t v) {
  out += static_cast<char>(v >> 24);
  out += static_cast<char>(v >> 16);
  out += static_cast<char>(v >> 8);
  out += static_cast<char>(v);
}

uint32_t readBigEndian(std::string_view b, size_t at) {
  auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(b[at + i])); };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

// The text of an iTXt data field that carries our keyword, or nothing.
bool textFromChunkData(std::string_view data, std::string& text) {
  if (data.size() < kKeywordWithZero + 2) return false;
  if (std::memcmp(data.data(), kKeyword, kKeywordWithZero) != 0) return false;
  // The compression flag is not honoured: a compressed text fails later as JSON.
  size_t langEnd = data.find('\0', kKeywordWithZero + 2);
  if (langEnd == std::string_view::npos) return false;
  size_t translatedEnd = data.find('\0', langEnd + 1);
  if (translatedEnd == std::string_view::npos) return false;
  text.assign(data.substr(translatedEnd + 1));
  return true;
}

}  // namespace

uint32_t crc32(const uint8_t* data, size_t size, uint32_t crc) {
  const auto& table = crcTable();
  uint32_t c = crc ^ 0xFFFFFFFFu;
  for (size_t i = 0; i < size; ++i) c = table[(c ^ data[i]) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

std::string makePresetChunk(std::string_view presetText) {
  std::string chunk;
  chunk.reserve(presetText.size() + 29);
  appendBigEndian(chunk, static_cast<uint32_t>(kKeywordWithZero + 4 + presetText.size()));
  chunk += "iTXt";
  chunk.append(kKeyword, kKeywordWithZero);  // keyword and its terminator
  chunk.append(4, '\0');  // uncompressed, method 0, empty language, empty translated keyword
  chunk += presetText;
  auto typeAndData = reinterpret_cast<const uint8_t*>(chunk.data() + 4);
  appendBigEndian(chunk, crc32(typeAndData, chunk.size() - 4));
  return chunk;
}

bool splicePresetChunk(std::string& png, std::string_view presetText) {
  if (png.size() < kSpliceOffset) return false;
  if (!presetText.empty()) png.insert(kSpliceOffset, makePresetChunk(presetText));
  return true;
}

PngPreset findPresetInPng(std::string_view bytes, std::string& text) {
  const uint64_t size = bytes.size();
  if (size < 4 || bytes.substr(1, 3) != "PNG") return PngPreset::Missing;
  uint64_t offset = 8;
  for (;;) {
    if (offset + 12 > size) return PngPreset::Truncated;
    const uint64_t length = readBigEndian(bytes, offset);
    std::string_view type = bytes.substr(offset + 4, 4);
    if (type == "IEND") return PngPreset::Missing;
    if (offset + 12 + length > size) return PngPreset::Truncated;
    if (type == "iTXt" && textFromChunkData(bytes.substr(offset + 8, length), text)) {
      auto typeAndData = reinterpret_cast<const uint8_t*>(bytes.data() + offset + 4);
      if (crc32(typeAndData, length + 4) != readBigEndian(bytes, offset + 8 + length)) {
        text.clear();
        return PngPreset::Damaged;
      }
      return PngPreset::Found;
    }
    offset += length + 12;
  }
}

std::string presetTextFromPng(std::string_view bytes) {
  std::string text;
  return findPresetInPng(bytes, text) == PngPreset::Found ? text : std::string();
}
