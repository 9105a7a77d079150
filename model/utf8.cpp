// UTF-8 decoding and encoding shared by the interface, the files and JSON.
#include "model/utf8.h"

namespace {

bool isSurrogate(uint32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }

bool isContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

}  // namespace

size_t utf8SequenceAt(std::string_view s, size_t i, uint32_t& cp, Surrogates surrogates) {
  const unsigned char b0 = static_cast<unsigned char>(s[i]);
  // The length a lead byte announces; 0 for a byte that cannot lead.
  const size_t len = b0 < 0x80 ? 1 : b0 >= 0xC2 && b0 <= 0xDF ? 2 : b0 >= 0xE0 && b0 <= 0xEF ? 3
                   : b0 >= 0xF0 && b0 <= 0xF4 ? 4 : 0;
  if (len == 0 || i + len > s.size()) return 0;
  uint32_t v = len == 1 ? b0 : b0 & (0x7F >> len);
  for (size_t k = 1; k < len; ++k) {
    const unsigned char b = static_cast<unsigned char>(s[i + k]);
    if (!isContinuation(b)) return 0;
    v = (v << 6) | (b & 0x3F);
  }
  static constexpr uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
  if (v < kMin[len] || v > 0x10FFFF) return 0;
  if (isSurrogate(v) && surrogates == Surrogates::Refused) return 0;
  cp = v;
  return len;
}

uint32_t nextCodepoint(std::string_view s, size_t& i) {
  uint32_t cp = kReplacementChar;
  const size_t len = utf8SequenceAt(s, i, cp);
  i += len ? len : 1;
  return len ? cp : kReplacementChar;
}

void appendUtf8(std::string& out, uint32_t cp, Surrogates surrogates) {
  if (cp > 0x10FFFF || (isSurrogate(cp) && surrogates == Surrogates::Refused)) cp = kReplacementChar;
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | (cp >> 6));
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | (cp >> 12));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | (cp >> 18));
    out += char(0x80 | ((cp >> 12) & 0x3F));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

size_t utf8Boundary(std::string_view s, size_t n) {
  if (n >= s.size()) return s.size();
  while (n > 0 && isContinuation(static_cast<unsigned char>(s[n]))) --n;
  return n;
}

std::vector<uint32_t> decodeUtf8(std::string_view text) {
  std::vector<uint32_t> out;
  for (size_t i = 0; i < text.size();) out.push_back(nextCodepoint(text, i));
  return out;
}

std::string encodeUtf8(const std::vector<uint32_t>& cps) {
  std::string out;
  for (uint32_t cp : cps) appendUtf8(out, cp);
  return out;
}
