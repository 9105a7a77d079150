// The interface's program and flush on a headless context (Mesa's software
// renderer in CI): text lands where its glyphs are and nowhere past its clip.
#include "platform/platform.h"
#include "render/gl.h"
#include "ui/ui_context.h"
#include "../support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr int kW = 160, kH = 48;

class UiGl : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    window = openHeadless(kW, kH, skip);
    if (!window) return;
    std::string missing;
    if (!loadGlFunctions(platform::glProcAddress, missing)) {
      skip = "GL entry point missing: " + missing;
      return;
    }
    ui = new UiContext;
    linked = initUi(*ui, 1.0, initError);
    makeTarget();
  }
  static void TearDownTestSuite() {
    if (ui) destroyUi(*ui);
    delete ui;
    ui = nullptr;
    if (fbo) gl.DeleteFramebuffers(1, &fbo);
    if (tex) gl.DeleteTextures(1, &tex);
    if (window) platform::destroyWindow(window);
    window = nullptr;
  }
  void SetUp() override {
    if (!skip.empty()) GTEST_SKIP() << skip;
    ASSERT_TRUE(linked) << initError;
    gl.BindFramebuffer(GL_FRAMEBUFFER, fbo);
    gl.Viewport(0, 0, kW, kH);
    gl.ClearColor(0, 0, 0, 1);
    gl.Clear(GL_COLOR_BUFFER_BIT);
    beginFrame(*ui, kW, kH);
  }

  static void makeTarget() {
    gl.GenTextures(1, &tex);
    gl.BindTexture(GL_TEXTURE_2D, tex);
    gl.TexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kW, kH, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    gl.GenFramebuffers(1, &fbo);
    gl.BindFramebuffer(GL_FRAMEBUFFER, fbo);
    gl.FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, tex, 0);
  }

  // Red channel, rows top-down (client coordinates).
  static std::vector<uint8_t> readRed() {
    std::vector<uint8_t> px(size_t(kW) * kH * 4);
    gl.BindFramebuffer(GL_FRAMEBUFFER, fbo);
    gl.ReadPixels(0, 0, kW, kH, GL_RGBA, GL_UNSIGNED_BYTE, px.data());
    std::vector<uint8_t> red(size_t(kW) * kH);
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) red[size_t(y) * kW + x] = px[(size_t(kH - 1 - y) * kW + x) * 4];
    return red;
  }

  // Lit pixels (red above 64) inside and outside a client rectangle.
  static std::pair<int, int> litInOut(const std::vector<uint8_t>& red, int x0, int y0, int x1, int y1) {
    int in = 0, out = 0;
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) {
        if (red[size_t(y) * kW + x] <= 64) continue;
        (x >= x0 && x < x1 && y >= y0 && y < y1 ? in : out)++;
      }
    return {in, out};
  }

  static platform::Window* window;
  static UiContext* ui;
  static bool linked;
  static std::string skip, initError;
  static GLuint fbo, tex;
};

platform::Window* UiGl::window = nullptr;
UiContext* UiGl::ui = nullptr;
bool UiGl::linked = false;
std::string UiGl::skip, UiGl::initError;
GLuint UiGl::fbo = 0, UiGl::tex = 0;

}  // namespace

TEST_F(UiGl, ProgramLinksAndTextCoversItsGlyphsOnly) {
  EXPECT_NE(ui->program, 0u);
  EXPECT_NE(ui->texture, 0u);
  const float w = addText(*ui, kFontBody, 10, 8, "Жук", 0xffff0000);
  flushUi(*ui, kW, kH, fbo);
  const auto [in, out] = litInOut(readRed(), 10 - 2, 8, 10 + int(w) + 2, 8 + int(lineHeight(*ui, kFontBody)));
  EXPECT_GT(in, 30) << "the glyphs drew too little";
  EXPECT_EQ(out, 0) << "pixels lit outside the run's cells";
  EXPECT_EQ(ui->layers[0].vertices.size(), 0u);  // the flush empties the layers
}

TEST_F(UiGl, ClipWidthAndClipRectangleStopTheRun) {
  addText(*ui, kFontBody, 10, 4, "ШШШШШШШШШШ", 0xffff0000, 30);
  pushClip(*ui, 0, 24, 60, 24);
  addText(*ui, kFontBody, 10, 26, "ШШШШШШШШШШ", 0xffff0000);
  popClip(*ui);
  flushUi(*ui, kW, kH, fbo);
  const auto red = readRed();
  EXPECT_GT(litInOut(red, 0, 0, 40, 24).first, 20);
  EXPECT_EQ(litInOut(red, 40, 0, kW, 24).first, 0) << "past the clip width";
  EXPECT_GT(litInOut(red, 0, 24, 60, kH).first, 20);
  EXPECT_EQ(litInOut(red, 60, 24, kW, kH).first, 0) << "past the clip rectangle";
}

TEST_F(UiGl, SolidFillsAndNegativeClipDrawNothingOutside) {
  addRect(*ui, 20, 10, 30, 20, 0xffff0000);
  pushClip(*ui, 100, 10, -20, 10);  // negative: empty, not an error
  addRect(*ui, 0, 0, kW, kH, 0xffff0000);
  popClip(*ui);
  flushUi(*ui, kW, kH, fbo);
  EXPECT_EQ(gl.GetError(), GLenum(GL_NO_ERROR));
  const auto [in, out] = litInOut(readRed(), 20, 10, 50, 30);
  EXPECT_EQ(in, 30 * 20);
  EXPECT_EQ(out, 0);
}
