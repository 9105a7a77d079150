// UTF-8: decoding one code point, encoding, cutting at a sequence boundary.
// Everything that reads or writes text byte by byte goes through here, so
// that malformed input is treated alike everywhere: a byte that starts no
// well-formed sequence (overlong forms, surrogates, values past U+10FFFF,
// a cut-off tail) stands for itself alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

inline constexpr uint32_t kReplacementChar = 0xFFFD;

// Whether the three-byte forms of the surrogate halves count as text. JSON
// keeps them: a lone "\u" escape is stored as such and must read back.
enum class Surrogates : uint8_t { Refused, Kept };

// The length of the well-formed sequence at `i` (1 to 4), with its code point
// in `cp`; 0 when the byte at `i` starts none.
size_t utf8SequenceAt(std::string_view s, size_t i, uint32_t& cp, Surrogates surrogates = Surrogates::Refused);
// The code point at `i`, moving `i` past it; U+FFFD for a byte that starts no
// sequence, and `i` moves one byte.
uint32_t nextCodepoint(std::string_view s, size_t& i);
// Appends the code point. Refused surrogates and values past U+10FFFF are
// written as U+FFFD.
void appendUtf8(std::string& out, uint32_t cp, Surrogates surrogates = Surrogates::Refused);
// The largest n' <= n at which a sequence starts (n itself at the end).
size_t utf8Boundary(std::string_view s, size_t n);

std::vector<uint32_t> decodeUtf8(std::string_view text);
std::string encodeUtf8(const std::vector<uint32_t>& cps);
