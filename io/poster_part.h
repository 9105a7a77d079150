// A poster split into parts for a cluster: part K of N is a PNG strip of
// the poster's rows that says what it is in one more chunk after the
// preset, so that the assembly can check that the parts belong together
// and cover the picture exactly once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct PosterPart {
  int index = 0, count = 0;      // K of N, from 1
  int width = 0, height = 0;     // the whole poster
  int samples = 0;
  int firstRow = 0, endRow = 0;  // the poster's rows in this part, from the top
  uint32_t presetCrc = 0;        // CRC-32 of the preset text
};

// Rows of part `index` (1..count): even shares of the height, from the top.
void posterPartRows(int height, int index, int count, int& firstRow, int& endRow);

// "K/N" with 1 <= K <= N <= 65535; anything else is false.
bool parsePartSpec(std::string_view text, int& index, int& count);

// The chunk's text, one "name value" a line, and back. Reading refuses
// anything incomplete or inconsistent (rows outside the height, K above N).
std::string describePosterPart(const PosterPart& p);
bool readPosterPart(std::string_view text, PosterPart& p);

// The whole chunk: tEXt with the keyword "QuorvantelixPart".
std::string makePosterPartChunk(const PosterPart& p);
// Walks the chunks of a PNG's beginning (up to the first IDAT) for it.
bool findPosterPartInPng(std::string_view head, std::string& text);
