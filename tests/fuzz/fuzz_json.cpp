// Any bytes: the reader either throws std::runtime_error or returns a tree
// that the writer prints in a form the reader takes back. Ten significant
// digits may turn a fraction into a whole number that then prints without an
// exponent, so the text is compared from the second round on.
#include "tests/fuzz/fuzz_limits.h"
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
    std::string once = writeJson(parseJson(writeJson(v, indent)), indent);  // must not throw
    std::string twice = writeJson(parseJson(once), indent);
    if (once != twice) std::abort();
  }
  return 0;
}
