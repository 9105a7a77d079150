// Any bytes: the reader either throws std::runtime_error or returns a tree
// that the writer prints in a form the reader takes back unchanged.
#include "io/json.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  JsonValue v;
  try {
    v = parseJson(text);
  } catch (const std::runtime_error&) {
    return 0;
  }
  for (int indent : {0, 2}) {
    std::string once = writeJson(v, indent);
    std::string twice = writeJson(parseJson(once), indent);  // must not throw
    if (once != twice) std::abort();
  }
  return 0;
}
