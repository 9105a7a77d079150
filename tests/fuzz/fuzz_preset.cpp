// Any JSON document through the preset reader: no crash, and once a record
// has been through the writer it survives further round trips unchanged.
#include "tests/fuzz/fuzz_limits.h"
#include "io/json.h"
#include "io/preset.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  FractalParams first;
  try {
    first = presetFromJson(parseJson(text));
  } catch (const std::runtime_error&) {
    return 0;
  }
  FractalParams second = presetFromJson(parseJson(presetText(first, 2)));
  FractalParams third = presetFromJson(parseJson(presetText(second, 0)));
  if (!(second == third)) std::abort();
  return 0;
}
