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
// The preset text of the first "Quorvantelix" iTXt chunk, or empty.
std::string presetTextFromPng(std::string_view bytes);
