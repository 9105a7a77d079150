// Reporting of failed QTX_ASSERT checks: stop in strict builds, warn once per
// place in release builds.
#include "model/assert.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

namespace qtx {

void assertFailed(const char* condition, const char* what, const char* file, int line) {
#if !defined(NDEBUG) || defined(QTX_STRICT_ASSERTS)
  std::fprintf(stderr, "%s:%d: проверка не прошла: %s (%s)\n", file, line, condition, what);
  std::abort();
#else
  static std::mutex lock;
  static std::set<std::string> reported;
  std::lock_guard<std::mutex> hold(lock);
  if (reported.insert(std::string(file) + ":" + std::to_string(line)).second)
    std::fprintf(stderr, "%s:%d: проверка не прошла: %s (%s)\n", file, line, condition, what);
#endif
}

}  // namespace qtx
