// Any bytes as a PNG: the chunk scan and the preset decoder never read out of
// bounds. The same bytes as a preset text spliced into a minimal PNG must be
// found again exactly.
#include "tests/fuzz/fuzz_limits.h"
#include "io/files.h"
#include "io/png_chunk.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

std::string minimalPng() {
  std::string png("\x89PNG\r\n\x1a\n", 8);
  png += std::string("\0\0\0\x0dIHDR\0\0\0\x01\0\0\0\x01\x08\x06\0\0\0", 21);
  png += std::string(4, '\0');  // IHDR CRC, not checked by the scan
  png += std::string("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  return png;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  presetTextFromPng(bytes);
  FractalParams p;
  std::string message;
  decodePresetBytes(bytes, p, message);

  std::string png = minimalPng();
  if (!splicePresetChunk(png, bytes)) std::abort();
  if (presetTextFromPng(png) != bytes) std::abort();
  return 0;
}
