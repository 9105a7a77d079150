// Helpers several test programs share: a headless window with an OpenGL 4.3
// context, and an environment variable restored when a test ends.
#pragma once

#include "platform/platform.h"

#include <cstdlib>
#include <string>

// A headless window of w×h, or null with `skipReason` saying why.
inline platform::Window* openHeadless(int w, int h, std::string& skipReason) {
  platform::WindowDesc d;
  d.kind = platform::WindowKind::Headless;
  d.width = w;
  d.height = h;
  std::string error;
  platform::Window* window = platform::createWindow(d, error);
  if (!window) skipReason = "no headless OpenGL 4.3 context: " + error;
  return window;
}

// Restores an environment variable when the scope ends.
struct EnvGuard {
  std::string name;
  bool had;
  std::string value;
  explicit EnvGuard(const char* n) : name(n), had(std::getenv(n) != nullptr), value(had ? std::getenv(n) : "") {}
  ~EnvGuard() {
    if (had) setenv(name.c_str(), value.c_str(), 1);
    else unsetenv(name.c_str());
  }
};
