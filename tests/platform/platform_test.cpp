// Platform seam: PNG encoding, folder rules and the headless GL context.
#include "platform/platform.h"
#include "../support/test_support.h"

#include <GL/glcorearb.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

struct Decoded {
  int width = 0, height = 0, channels = 0;
  std::vector<uint8_t> pixels;  // top-down, as stored in the file
};

Decoded decodePng(const std::string& bytes) {
  Decoded d;
  png_image img{};
  img.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&img, bytes.data(), bytes.size())) return d;
  d.channels = PNG_IMAGE_SAMPLE_CHANNELS(img.format);
  img.format = PNG_FORMAT_RGBA;
  d.width = int(img.width);
  d.height = int(img.height);
  d.pixels.resize(PNG_IMAGE_SIZE(img));
  if (!png_image_finish_read(&img, nullptr, d.pixels.data(), 0, nullptr)) d.pixels.clear();
  return d;
}

std::string tempFolder(const char* tag) {
  auto p = std::filesystem::temp_directory_path() / (std::string("qtx_platform_") + tag + "_" + std::to_string(getpid()));
  std::filesystem::remove_all(p);
  std::filesystem::create_directories(p);
  return p.string();
}

}  // namespace

TEST(PngEncoder, RoundTripFlipsRowsAndForcesOpaqueAlpha) {
  const int w = 7, h = 5;  // odd width: rows are not 4-byte aligned in the file
  std::vector<uint8_t> glRows(size_t(w) * h * 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint8_t* p = &glRows[(size_t(y) * w + x) * 4];
      p[0] = uint8_t(x * 30);
      p[1] = uint8_t(y * 50);
      p[2] = uint8_t(x * y);
      p[3] = uint8_t(x * 10);  // translucent on purpose
    }
  std::string png;
  ASSERT_TRUE(platform::encodePngPixels(glRows.data(), w, h, png));
  Decoded d = decodePng(png);
  ASSERT_TRUE(d.width == w && d.height == h && d.pixels.size() == size_t(w) * h * 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const uint8_t* file = &d.pixels[(size_t(y) * w + x) * 4];
      const uint8_t* gl = &glRows[(size_t(h - 1 - y) * w + x) * 4];
      ASSERT_TRUE(file[0] == gl[0] && file[1] == gl[1] && file[2] == gl[2] && file[3] == 255) << x << "," << y;
    }
}

// Settings and cache follow their XDG variable only when it is absolute;
// otherwise the folder under HOME, and no relative folder is made.
TEST(Folders, SettingsAndCacheHonourOnlyAbsoluteXdgVariables) {
  struct Case { const char* var; const char* sub; const char* fallback; std::string (*folder)(); };
  for (const Case& c : {Case{"XDG_CONFIG_HOME", "cfg", "/home/.config/Quorvantelix", platform::settingsFolder},
                        Case{"XDG_CACHE_HOME", "cache", "/home/.cache/Quorvantelix", platform::cacheFolder}}) {
    EnvGuard xdg(c.var), home("HOME");
    std::string root = tempFolder(c.sub);
    setenv("HOME", (root + "/home").c_str(), 1);
    setenv(c.var, (root + "/" + c.sub).c_str(), 1);
    EXPECT_EQ(c.folder(), root + "/" + c.sub + "/Quorvantelix");
    EXPECT_TRUE(std::filesystem::is_directory(root + "/" + c.sub + "/Quorvantelix"));
    setenv(c.var, (std::string("relative/") + c.sub).c_str(), 1);
    EXPECT_EQ(c.folder(), root + c.fallback);
    EXPECT_FALSE(std::filesystem::exists("relative"));
    unsetenv(c.var);
    EXPECT_EQ(c.folder(), root + c.fallback);
    std::filesystem::remove_all(root);
  }
}

TEST(Folders, PicturesFolderFollowsUserDirsThenPicturesThenHome) {
  EnvGuard xdg("XDG_CONFIG_HOME"), home("HOME");
  std::string root = tempFolder("pictures");
  std::string h = root + "/home";
  std::filesystem::create_directories(h);
  setenv("HOME", h.c_str(), 1);
  setenv("XDG_CONFIG_HOME", (root + "/cfg").c_str(), 1);

  EXPECT_EQ(platform::picturesFolder(), h + "/Quorvan Telix");  // nothing else exists
  std::filesystem::create_directories(h + "/Pictures");
  EXPECT_EQ(platform::picturesFolder(), h + "/Pictures/Quorvan Telix");

  std::filesystem::create_directories(root + "/cfg");
  std::ofstream(root + "/cfg/user-dirs.dirs") << "# written by xdg-user-dirs-update\n"
                                                 "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                                                 "XDG_PICTURES_DIR=\"$HOME/Картинки\"\n";
  EXPECT_EQ(platform::picturesFolder(), h + "/Картинки/Quorvan Telix");
  EXPECT_TRUE(std::filesystem::is_directory(h + "/Картинки/Quorvan Telix"));
  std::filesystem::remove_all(root);
}

TEST(HeadlessWindow, GivesCurrentCoreContextAndSizedFramebuffer) {
  std::string skip;
  platform::Window* w = openHeadless(64, 48, skip);
  if (!w) GTEST_SKIP() << skip;
  EXPECT_TRUE(platform::isHeadless(w));
  int width = 0, height = 0;
  platform::drawableSize(w, width, height);
  EXPECT_EQ(width, 64);
  EXPECT_EQ(height, 48);
  ASSERT_NE(platform::defaultFramebuffer(w), 0u);

  auto getIntegerv = reinterpret_cast<PFNGLGETINTEGERVPROC>(platform::glProcAddress("glGetIntegerv"));
  auto clearColor = reinterpret_cast<PFNGLCLEARCOLORPROC>(platform::glProcAddress("glClearColor"));
  auto clear = reinterpret_cast<PFNGLCLEARPROC>(platform::glProcAddress("glClear"));
  auto bind = reinterpret_cast<PFNGLBINDFRAMEBUFFERPROC>(platform::glProcAddress("glBindFramebuffer"));
  auto readPixels = reinterpret_cast<PFNGLREADPIXELSPROC>(platform::glProcAddress("glReadPixels"));
  ASSERT_TRUE(getIntegerv && clearColor && clear && bind && readPixels);
  GLint major = 0, minor = 0;
  getIntegerv(GL_MAJOR_VERSION, &major);
  getIntegerv(GL_MINOR_VERSION, &minor);
  EXPECT_GE(major * 10 + minor, 43);

  // The stand-in must hold what is drawn into it, also after a resize.
  platform::setHeadlessSize(w, 20, 10);
  platform::drawableSize(w, width, height);
  EXPECT_EQ(width, 20);
  bind(GL_FRAMEBUFFER, platform::defaultFramebuffer(w));
  clearColor(1.0f, 0.5f, 0.0f, 1.0f);
  clear(GL_COLOR_BUFFER_BIT);
  uint8_t px[4] = {};
  readPixels(19, 9, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, px);
  EXPECT_EQ(px[0], 255);
  EXPECT_NEAR(px[1], 128, 1);
  EXPECT_EQ(px[2], 0);
  platform::swapBuffers(w);
  EXPECT_FALSE(platform::setSwapInterval(w, 1));  // no display to sync to
  platform::destroyWindow(w);
}

TEST(HeadlessWindow, PostedEventsComeBackThroughTheTranslation) {
  std::string skip;
  platform::Window* w = openHeadless(320, 200, skip);
  if (!w) GTEST_SKIP() << skip;
  platform::pollEvents(w);  // whatever start-up queued

  using platform::EventType;
  auto make = [](EventType t) {
    platform::InputEvent e;
    e.type = t;
    return e;
  };
  platform::InputEvent shift = make(EventType::KeyDown), down = make(EventType::MouseDown),
                       wheel = make(EventType::MouseWheel), letter = make(EventType::KeyUp),
                       drop = make(EventType::DropFile), close = make(EventType::Close);
  shift.key = platform::kKeyShift, shift.mods = platform::kModShift;
  down.x = 100, down.y = 50, down.button = 3, down.clicks = 2;
  wheel.x = 7, wheel.y = 9, wheel.wheel = -1.5f;
  letter.key = 'w', letter.mods = platform::kModCtrl;
  drop.text = "/tmp/фрактал.json";
  for (const auto& e : {shift, down, wheel, letter, drop, close}) platform::postEvent(w, e);

  std::vector<platform::InputEvent> got = platform::pollEvents(w);
  ASSERT_EQ(got.size(), 6u);
  EXPECT_EQ(got[0].key, platform::kKeyShift);
  // Mouse events carry the modifiers of the key stream they travel in.
  EXPECT_TRUE(got[1].type == EventType::MouseDown && got[1].button == 3 && got[1].clicks == 2 &&
              got[1].x == 100 && got[1].y == 50 && got[1].mods == platform::kModShift);
  EXPECT_TRUE(got[2].type == EventType::MouseWheel && got[2].wheel == -1.5f && got[2].x == 7);
  EXPECT_TRUE(got[3].type == EventType::KeyUp && got[3].key == 'w' && got[3].mods == platform::kModCtrl);
  EXPECT_EQ(got[4].text, "/tmp/фрактал.json");
  EXPECT_EQ(got[5].type, EventType::Close);
  platform::destroyWindow(w);
}
