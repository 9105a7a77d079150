// The application on a headless window, for tests that travel the way a
// user's input does: events posted to the window, drained and dispatched,
// frames run on the software renderer. Settings and pictures go to a scratch
// home folder, never the user's.
#pragma once

#include "app/app_state.h"
#include "app/commands.h"
#include "app/dispatch.h"
#include "app/frame.h"
#include "platform/platform.h"
#include "../support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

class HeadlessApp : public ::testing::Test {
 protected:
  static constexpr int kW = 160, kH = 100;

  static void SetUpTestSuite() {
    home = std::filesystem::temp_directory_path() / ("qtx_app_" + std::to_string(getpid()));
    std::filesystem::create_directories(home);
    setenv("XDG_CONFIG_HOME", home.c_str(), 1);
    setenv("HOME", home.c_str(), 1);
    window = openHeadless(kW, kH, skipReason);
  }
  static void TearDownTestSuite() {
    if (window) platform::destroyWindow(window);
    window = nullptr;
    std::error_code ec;
    std::filesystem::remove_all(home, ec);
  }

  // The classic bulb at distance 3.4, seen from yaw 35°, pitch 22°, with the
  // interface hidden unless a test shows it.
  void SetUp() override {
    if (!window) GTEST_SKIP() << skipReason;
    platform::pollEvents(window);  // nothing left over from another test
    s = std::make_unique<AppState>();
    s->window = window;
    s->uiHidden = true;
    s->targetSamples = 2;
    std::string error;
    ASSERT_TRUE(initRenderer(s->renderer, platform::glProcAddress, error)) << error;
    LaunchOptions o;
    o.seed = "classic";
    o.type = "mandelbulb";
    o.dist = 3.4;
    applyLaunchOptions(*s, o);
    s->camera.yaw = s->camera.goalYaw = 35;
    s->camera.pitch = s->camera.goalPitch = 22;
    ASSERT_TRUE(setFractal(s->renderer, s->params, error)) << error;
  }
  // The window at this size with the interface shown at 100 %; the
  // panel tests put the size back in their TearDown.
  void showInterface(int w, int h) {
    platform::setHeadlessSize(window, w, h);
    s->uiHidden = false;
    s->dpiScale = 1;
  }
  void TearDown() override {
    if (s) destroyRenderer(s->renderer);
  }

  void post(platform::InputEvent e) { platform::postEvent(window, e); }
  void key(int32_t k, uint32_t mods = 0, bool repeat = false) {
    platform::InputEvent e;
    e.type = platform::EventType::KeyDown;
    e.key = k;
    e.mods = mods;
    e.repeat = repeat;
    post(e);
    if (repeat) return;  // an auto-repeat is a key down alone
    e.type = platform::EventType::KeyUp;
    post(e);
  }
  void mouse(platform::EventType t, int x, int y, int button = 1, int clicks = 1) {
    platform::InputEvent e;
    e.type = t;
    e.x = x;
    e.y = y;
    e.button = button;
    e.clicks = clicks;
    post(e);
  }
  void wheel(int x, int y, float notches) {
    platform::InputEvent e;
    e.type = platform::EventType::MouseWheel;
    e.x = x;
    e.y = y;
    e.wheel = notches;
    post(e);
  }
  // The loop's part: drain and dispatch; the frame's fields stay for the checks.
  void pump() {
    clearFrameInput(s->input);
    for (const auto& e : platform::pollEvents(window)) dispatchEvent(*s, e);
  }
  // Frames until the camera rests and the picture has its samples.
  void settle() {
    for (int i = 0; i < 400; ++i) {
      bool more = runFrame(*s);
      if (!more && !s->cameraWasMoving) return;
    }
  }

  static inline platform::Window* window = nullptr;
  static inline std::string skipReason;
  static inline std::filesystem::path home;
  std::unique_ptr<AppState> s;
};
