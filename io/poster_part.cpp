// Poster parts for a cluster: writing a strip with its part chunk, checking and assembling the parts.
#include "io/poster_part.h"

#include "io/png_chunk.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr char kKeyword[] = "QuorvantelixPart";

void put32(std::string& out, uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(char((v >> shift) & 0xff));
}

uint32_t get32(std::string_view s, size_t at) {
  uint32_t v = 0;
  for (size_t i = 0; i < 4; ++i) v = (v << 8) | uint8_t(s[at + i]);
  return v;
}

}  // namespace

void posterPartRows(int height, int index, int count, int& firstRow, int& endRow) {
  firstRow = int(int64_t(height) * (index - 1) / count);
  endRow = int(int64_t(height) * index / count);
}

bool parsePartSpec(std::string_view text, int& index, int& count) {
  size_t slash = text.find('/');
  if (slash == std::string_view::npos) return false;
  auto number = [](std::string_view digits, int& out) {
    if (digits.empty() || digits.size() > 5) return false;
    out = 0;
    for (char c : digits) {
      if (c < '0' || c > '9') return false;
      out = out * 10 + (c - '0');
    }
    return true;
  };
  return number(text.substr(0, slash), index) && number(text.substr(slash + 1), count) && index >= 1 &&
         count <= 65535 && index <= count;
}

std::string describePosterPart(const PosterPart& p) {
  char text[256];
  std::snprintf(text, sizeof text, "part %d/%d\nsize %dx%d\nsamples %d\nrows %d-%d\npreset %08x\n", p.index, p.count,
                p.width, p.height, p.samples, p.firstRow, p.endRow, unsigned(p.presetCrc));
  return text;
}

bool readPosterPart(std::string_view text, PosterPart& p) {
  std::string s(text);
  unsigned crc = 0;
  int used = 0;
  PosterPart q;
  if (std::sscanf(s.c_str(), "part %d/%d\nsize %dx%d\nsamples %d\nrows %d-%d\npreset %8x\n%n", &q.index, &q.count,
                  &q.width, &q.height, &q.samples, &q.firstRow, &q.endRow, &crc, &used) != 8 ||
      size_t(used) != s.size())
    return false;
  q.presetCrc = crc;
  int first = 0, end = 0;
  if (q.count < 1 || q.index < 1 || q.index > q.count || q.width < 1 || q.height < 1 || q.width > 65535 ||
      q.height > 65535 || q.samples < 1)
    return false;
  posterPartRows(q.height, q.index, q.count, first, end);
  if (first != q.firstRow || end != q.endRow) return false;
  p = q;
  return true;
}

std::string makePosterPartChunk(const PosterPart& p) {
  std::string data = std::string(kKeyword) + '\0' + describePosterPart(p);
  std::string chunk;
  put32(chunk, uint32_t(data.size()));
  chunk += "tEXt" + data;
  put32(chunk, crc32(reinterpret_cast<const uint8_t*>(chunk.data() + 4), chunk.size() - 4));
  return chunk;
}

bool findPosterPartInPng(std::string_view head, std::string& text) {
  if (head.size() < 8 || head.substr(1, 3) != "PNG") return false;
  size_t at = 8;
  const size_t keyLen = sizeof kKeyword;  // with its terminator
  while (at + 12 <= head.size()) {
    const uint32_t length = get32(head, at);
    std::string_view type = head.substr(at + 4, 4);
    if (type == "IDAT" || type == "IEND" || at + 12 + uint64_t(length) > head.size()) return false;
    std::string_view data = head.substr(at + 8, length);
    if (type == "tEXt" && data.size() >= keyLen && std::memcmp(data.data(), kKeyword, keyLen) == 0) {
      const uint32_t stored = get32(head, at + 8 + length);
      if (crc32(reinterpret_cast<const uint8_t*>(head.data() + at + 4), length + 4) != stored) return false;
      text = std::string(data.substr(keyLen));
      return true;
    }
    at += 12 + length;
  }
  return false;
}
