// The preset inside a PNG: one iTXt chunk with the keyword "Quorvantelix"
// right after IHDR. Pure byte work; the pixel encoder lives behind the platform seam.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

uint32_t crc32(const uint8_t* data, size_t size, uint32_t crc = 0);
std::string makePresetChunk(std::string_view presetText);
// Inserts the chunk at offset 33 (after the signature and IHDR). Returns false
// when `png` is shorter than 33 bytes. An empty text adds nothing.
bool splicePresetChunk(std::string& png, std::string_view presetText);
enum class PngPreset {
  Found,
  Missing,    // a whole PNG without our chunk
  Damaged,    // our chunk is there but its CRC does not match its bytes
  Truncated,  // the chunks run past the end of the file before our chunk or IEND
};
// Walks the chunks for the first "Quorvantelix" iTXt chunk. Only a chunk
// whose CRC matches gives its text: a flipped bit must never turn into a
// different fractal.
PngPreset findPresetInPng(std::string_view bytes, std::string& text);
// The preset text of the first intact "Quorvantelix" iTXt chunk, or empty.
std::string presetTextFromPng(std::string_view bytes);
