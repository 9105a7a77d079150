// Drawing layer without GL: atlas packing and shapes, the emitters' layers
// and clips, scissor arithmetic, the status line and the message pill.
#include "ui/atlas.h"
#include "ui/help.h"
#include "ui/status.h"
#include "ui/ui_context.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The line with room for every fragment.
std::string wholeLine(const StatusInfo& st) {
  return statusLineWithin(st, 1e9f, [](const std::string&) { return 0.0f; });
}

// Every code point of the set present with `advance`, one pixel of coverage
// 200 at (left 1, top 3), except `missing`.
RasterFont fakeFont(int height, int advance, uint32_t missing = 0) {
  RasterFont f;
  f.metrics.face = "Fake";
  f.metrics.height = height;
  f.metrics.ascent = height * 3 / 4;
  f.pixelHeight = height;
  for (uint32_t cp : atlasGlyphSet()) {
    platform::GlyphBitmap g;
    g.codepoint = cp;
    g.present = cp != missing;
    g.advance = advance;
    g.width = g.height = 1;
    g.left = 1;
    g.top = 3;
    g.coverage = {200};
    f.glyphs.push_back(g);
  }
  return f;
}

int pixelAt(const AtlasResult& a, float u, float v, int dx = 0, int dy = 0) {
  const int x = int(std::lround(u * kAtlasSize)) + dx, y = int(std::lround(v * a.height)) + dy;
  return a.pixels[size_t(y) * kAtlasSize + x];
}

// A context whose atlas is the fake fonts, as the emitters see it.
UiContext fakeContext(double scale = 1) {
  const RasterFont fonts[kFontCount] = {fakeFont(20, 10, 'q'), fakeFont(20, 11), fakeFont(18, 9)};
  AtlasResult a;
  packAtlas(a, fonts);
  UiContext ui;
  ui.scale = scale;
  for (int f = 0; f < kFontCount; ++f) ui.fonts[f] = a.fonts[f];
  ui.discUv = a.discUv;
  return ui;
}

}  // namespace

TEST(Atlas, FontsPackInRowsThatWrapBefore1024InFontOrder) {
  const RasterFont fonts[kFontCount] = {fakeFont(20, 10, 'q'), fakeFont(20, 11), fakeFont(18, 9)};
  AtlasResult a;
  packAtlas(a, fonts);
  const UiFont& body = a.fonts[kFontBody];
  ASSERT_EQ(body.glyphs.size(), atlasGlyphSet().size() - 1);  // 'q' left out
  EXPECT_EQ(findGlyph(body, 'q'), nullptr);
  float lastBodyRow = 0;
  for (const Glyph& g : body.glyphs) {
    EXPECT_LT(g.u1 * kAtlasSize, 1024.0f);
    lastBodyRow = std::max(lastBodyRow, g.v1);
  }
  EXPECT_GT(lastBodyRow, findGlyph(body, ' ')->v1);  // more than one row
  // Each font's rows start below the previous font's, so no cells overlap.
  EXPECT_GE(findGlyph(a.fonts[kFontHeading], ' ')->v0, lastBodyRow);
  EXPECT_GT(findGlyph(a.fonts[kFontSmall], ' ')->v0, findGlyph(a.fonts[kFontHeading], 0x2013)->v0);
  EXPECT_EQ(findGlyph(a.fonts[kFontSmall], 0x2013)->advance, 9);
  // The bitmap lands 2 pixels into its cell, at its bearing.
  const Glyph* zhe = findGlyph(body, 0x0416);
  EXPECT_EQ(pixelAt(a, zhe->u0, zhe->v0, 2 + 1, 3), 200);
  EXPECT_EQ(pixelAt(a, zhe->u0, zhe->v0, 2, 3), 0);
}

TEST(Atlas, GlyphsTooLargeForOnePageDoubleTheHeightAndLoseNothing) {
  const RasterFont fonts[kFontCount] = {fakeFont(90, 40), fakeFont(90, 40), fakeFont(80, 36)};
  AtlasResult a;
  packAtlas(a, fonts);
  EXPECT_GT(a.height, kAtlasSize);
  EXPECT_EQ(a.pixels.size(), size_t(kAtlasSize) * a.height);
  for (const UiFont& f : a.fonts) {
    ASSERT_EQ(f.glyphs.size(), atlasGlyphSet().size());
    for (const Glyph& g : f.glyphs) EXPECT_LE(g.v1, 1.0f);
  }
  const Glyph* last = findGlyph(a.fonts[kFontSmall], 8734);
  EXPECT_EQ(pixelAt(a, last->u0, last->v0, 3, 3), 200);  // v maps to the taller page
  EXPECT_NEAR((a.discUv[3] - a.discUv[1]) * a.height, 128, 1e-3);
  EXPECT_EQ(pixelAt(a, a.discUv[0], a.discUv[1], 64, 64), 255);
}

TEST(Atlas, DiscIsSmoothAndClearOfTheFonts) {
  const RasterFont fonts[kFontCount] = {fakeFont(20, 10), fakeFont(20, 10), fakeFont(18, 9)};
  AtlasResult a;
  packAtlas(a, fonts);
  // The disc sits in a 128-pixel box below the last font row.
  EXPECT_FLOAT_EQ((a.discUv[2] - a.discUv[0]) * kAtlasSize, 128);
  EXPECT_GT(a.discUv[1], findGlyph(a.fonts[kFontSmall], 8734)->v1);
  const int top = a.shapesTop;
  double discArea = 0;
  for (int y = top; y < top + 128; ++y)
    for (int x = 8; x < 136; ++x) discArea += a.pixels[size_t(y) * kAtlasSize + x] / 255.0;
  EXPECT_NEAR(discArea, 3.14159265 * 64 * 64, 40);  // coverage, not a jagged count
  EXPECT_EQ(pixelAt(a, a.discUv[0], a.discUv[1]), 0);  // box corner
}

TEST(Atlas, SystemFontsGiveEveryCyrillicLetterAtBothScales) {
  for (double scale : {1.0, 2.0}) {
    AtlasResult a;
    std::string error;
    ASSERT_TRUE(buildAtlas(a, scale, error)) << error;
    for (int f = 0; f < kFontCount; ++f) {
      const UiFont& font = a.fonts[f];
      EXPECT_FALSE(font.face.empty());
      EXPECT_NEAR(font.pixelHeight, std::lround((f == kFontSmall ? 13.5 : 15) * scale), 0);
      EXPECT_GT(font.height, font.ascent);
      for (uint32_t cp = 0x0410; cp <= 0x044F; ++cp) EXPECT_NE(findGlyph(font, cp), nullptr) << cp;
      const Glyph* zhe = findGlyph(font, 0x0416);
      int lit = 0;
      for (int y = 0; y < zhe->cellH; ++y)
        for (int x = 0; x < zhe->cellW; ++x) lit += pixelAt(a, zhe->u0, zhe->v0, x, y) > 128;
      EXPECT_GT(lit, 10 * scale) << "Ж drew nothing in font " << f;
    }
    EXPECT_GT(findGlyph(a.fonts[kFontBody], 'W')->advance, findGlyph(a.fonts[kFontBody], 'i')->advance);
    EXPECT_LT(a.shapesTop + 128, kAtlasSize);
  }
}

TEST(Layers, ScissorFromClipRoundsOutwardAndNegativeIsEmpty) {
  DrawCommand c{0, 6, 10.5f, 20.2f, 30.7f, 40.9f};
  ScissorBox b = scissorFor(c, 100);
  EXPECT_EQ(b.x, 10);
  EXPECT_EQ(b.y, 100 - 41);
  EXPECT_EQ(b.w, 21);
  EXPECT_EQ(b.h, 21);
  c = {0, 6, 30, 40, 10, 20};
  b = scissorFor(c, 100);
  EXPECT_EQ(b.w, 0);
  EXPECT_EQ(b.h, 0);

  // Disjoint nested clips intersect to a negative rectangle: empty, no error.
  UiContext ui = fakeContext();
  beginFrame(ui, 200, 100);
  pushClip(ui, 0, 0, 50, 50);
  pushClip(ui, 100, 60, 20, 20);
  addRect(ui, 0, 0, 200, 100, 0xffffffff);
  const DrawCommand& last = ui.layers[0].commands.back();
  EXPECT_EQ(scissorFor(last, 100).w, 0);
  EXPECT_EQ(scissorFor(last, 100).h, 0);
}

TEST(Layers, ClipChangesStartCommandsOnlyAfterDrawingAndLayersStaySeparate) {
  UiContext ui = fakeContext();
  beginFrame(ui, 200, 100);
  pushClip(ui, 10, 10, 50, 50);  // nothing drawn yet: the first command takes it
  ASSERT_EQ(ui.layers[0].commands.size(), 1u);
  addRect(ui, 0, 0, 20, 20, 0x80ff0000);
  pushClip(ui, 0, 0, 30, 30);
  popClip(ui);
  addRect(ui, 0, 0, 20, 20, 0x80ff0000);
  // A clip pushed and popped with nothing drawn costs no draw call.
  const auto& cmds = ui.layers[0].commands;
  ASSERT_EQ(cmds.size(), 1u);
  EXPECT_EQ(cmds[0].vertexCount, 12u);
  EXPECT_FLOAT_EQ(cmds[0].x1, 60);
  pushClip(ui, 0, 0, 30, 30);
  addRect(ui, 0, 0, 20, 20, 0x80ff0000);
  popClip(ui);
  addRect(ui, 0, 0, 20, 20, 0x80ff0000);
  ASSERT_EQ(cmds.size(), 3u);
  EXPECT_EQ(cmds[1].firstVertex, 12u);
  EXPECT_FLOAT_EQ(cmds[1].x1, 30);
  EXPECT_EQ(cmds[2].firstVertex, 18u);
  EXPECT_FLOAT_EQ(cmds[2].x1, 60);  // back to the outer clip

  setLayer(ui, 1);
  addDisc(ui, 50, 50, 10, 0xffffffff);
  EXPECT_EQ(ui.layers[1].vertices.size(), 6u);
  EXPECT_FLOAT_EQ(ui.layers[1].vertices[0].u, ui.discUv[0]);
  EXPECT_EQ(ui.layers[0].vertices.size(), 24u);
}

TEST(Layers, RoundShapesStayInsideTheirBox) {
  UiContext ui = fakeContext();
  beginFrame(ui, 200, 100);
  addRoundRect(ui, 10, 20, 100, 40, 12, 0xff00ff00, 0xffff0000, 2);
  const auto& vs = ui.layers[0].vertices;
  ASSERT_FALSE(vs.empty());
  for (const UiVertex& v : vs) {
    EXPECT_GE(v.x, 10);
    EXPECT_LE(v.x, 110);
    EXPECT_GE(v.y, 20);
    EXPECT_LE(v.y, 60);
    if (v.r == 255) continue;  // the border colour
    // The fill is inset by the border.
    EXPECT_TRUE(v.x >= 12 && v.x <= 108 && v.y >= 22 && v.y <= 58) << v.x << ", " << v.y;
  }
  // A radius larger than the box is clamped to a capsule, not inverted.
  beginFrame(ui, 200, 100);
  addRoundRect(ui, 0, 0, 40, 10, 50, 0xffffffff);
  for (const UiVertex& v : ui.layers[0].vertices) EXPECT_LE(v.x, 40);
}

TEST(Text, OutsideTheSetAdvancesNothingAndClipWidthCuts) {
  UiContext ui = fakeContext();
  beginFrame(ui, 400, 100);
  EXPECT_FLOAT_EQ(textWidth(ui, kFontBody, "Жу"), 20);
  EXPECT_FLOAT_EQ(textWidth(ui, kFontBody, "Ж€qу\xff"), 20);  // €, the missing q and a bad byte: nothing
  EXPECT_FLOAT_EQ(addText(ui, kFontBody, 10, 5, "Ж€у", 0xffffffff), 20);
  EXPECT_EQ(ui.layers[0].vertices.size(), 12u);

  beginFrame(ui, 400, 100);
  EXPECT_FLOAT_EQ(addText(ui, kFontBody, 10, 5, "абвгд", 0xffffffff, 25), 50);
  float right = 0;
  for (const UiVertex& v : ui.layers[0].vertices) right = std::max(right, v.x);
  EXPECT_FLOAT_EQ(right, 35);  // the third glyph cut at the clip width, the rest dropped
  EXPECT_EQ(ui.layers[0].vertices.size(), 18u);
}

TEST(Status, PillCentresInTheFreeAreaAndScalesWithTheInterface) {
  UiContext ui = fakeContext(1.0);
  ui.fonts[kFontBody].height = 20;
  const PillGeometry shown = messagePill(ui, 100, 1280, 720, true);
  const PillGeometry hidden = messagePill(ui, 100, 1280, 720, false);
  EXPECT_FLOAT_EQ(hidden.box.x, (1280 - hidden.box.w) / 2);
  EXPECT_LT(shown.box.x + shown.box.w, 1280 - 372);  // left of the panel
  EXPECT_FLOAT_EQ(shown.box.w, hidden.box.w);

  ui.scale = 2;
  ui.fonts[kFontBody].height = 40;
  const PillGeometry twice = messagePill(ui, 200, 2560, 1440, true);
  EXPECT_FLOAT_EQ(twice.box.w, 2 * shown.box.w);
  EXPECT_FLOAT_EQ(twice.box.h, 2 * shown.box.h);
  EXPECT_FLOAT_EQ(1440 - twice.box.y, 2 * (720 - shown.box.y));
  const ProgressGeometry p = progressBar(ui, 0.0, 2560, true);
  EXPECT_FLOAT_EQ(p.fill.w, p.fill.h);  // never thinner than its height
  EXPECT_FLOAT_EQ(progressBar(ui, 3.0, 2560, false).fill.w, progressBar(ui, 3.0, 2560, false).track.w);
}

TEST(Status, FragmentsFollowZoomSpeedSamplesAndPrecision) {
  EXPECT_EQ(zoomText(123456), "зум ×1.2e+05");
  EXPECT_EQ(zoomText(12.4), "зум ×12");
  EXPECT_EQ(zoomText(9.96), "зум ×10.0");
  EXPECT_EQ(zoomText(1.26), "зум ×1.3");
  StatusInfo st;
  st.zoom = 1;
  st.targetSamples = 64;
  st.renderWidth = 640;
  st.renderHeight = 360;
  st.iterations = 9;
  st.fps = 0.5;
  st.done = true;
  st.samples = 64;
  st.deep = true;
  st.cameraDistance = 1e-12;
  EXPECT_EQ(wholeLine(st), "зум ×1.0 · 2.0 с/сэмпл · 64 сэмплов, готово · 640×360 · итераций 9 · fp64, "
                            "предел точности");
  st.fps = 0.0005;  // a measured rate below the floor of 0.001
  st.deep = false;
  st.deepRefused = true;
  EXPECT_NE(wholeLine(st).find("1000.0 с/сэмпл"), std::string::npos);
  EXPECT_NE(wholeLine(st).find(" · предел float (fp64 только для степени 8)"), std::string::npos);
}

TEST(Status, HiddenInterfaceKeepsTheBarAndThePillButNoLine) {
  UiContext ui = fakeContext();
  beginFrame(ui, 800, 600);
  StatusInfo st;
  st.clientWidth = 800;
  st.clientHeight = 600;
  st.interfaceShown = false;
  st.samples = 3;
  st.targetSamples = 10;
  st.message = "Пресет сохранён";
  st.messageShown = true;
  drawStatus(ui, st);
  size_t light = 0;
  for (const UiVertex& v : ui.layers[0].vertices) light += v.r == 0xd3 && v.g == 0xe3;
  EXPECT_GT(light, 0u);                                 // the pill
  EXPECT_EQ(ui.layers[0].vertices[0].a, 0xc8);          // the bar's track comes first
  const size_t withoutLine = ui.layers[0].vertices.size();
  beginFrame(ui, 800, 600);
  st.interfaceShown = true;
  drawStatus(ui, st);
  EXPECT_GT(ui.layers[0].vertices.size(), withoutLine);  // the fragments are drawn too
}

TEST(Status, AMessageWiderThanTheFreeAreaStaysInItAndEndsInAnEllipsis) {
  UiContext ui = fakeContext();
  const std::string text(200, 'a');  // 2000 pixels of text
  const PillGeometry g = messagePill(ui, textWidth(ui, kFontBody, text), 1280, 720, true);
  EXPECT_FLOAT_EQ(g.box.x, 16);
  EXPECT_FLOAT_EQ(g.box.x + g.box.w, 1280 - 372 - 16);
  EXPECT_FLOAT_EQ(g.textWidth, g.box.w - 28);
  beginFrame(ui, 1280, 720);
  StatusInfo st;
  st.clientWidth = 1280;
  st.clientHeight = 720;
  st.interfaceShown = false;
  st.message = text;
  st.messageShown = true;
  drawStatus(ui, st);
  const Glyph* dots = findGlyph(ui.fonts[kFontBody], 8230);
  float right = 0;
  bool ellipsis = false;
  for (const UiVertex& v : ui.layers[0].vertices) {
    right = std::max(right, v.x);
    ellipsis |= v.u == dots->u0 && v.v == dots->v0;
  }
  EXPECT_LE(right, 1280 - 16);
  EXPECT_TRUE(ellipsis);
}

TEST(Help, AShortWindowGetsTwoColumns) {
  const std::vector<HelpLine> lines(18, {"Ctrl+S / Ctrl+O", "сохранить / открыть пресет"});
  UiContext ui = fakeContext();
  auto extent = [&](int height) {
    beginFrame(ui, 1200, height);
    drawHelp(ui, lines, 1200, height, 800);
    float bottom = 0, right = 0;
    const auto& vs = ui.layers[0].vertices;
    for (size_t i = 6; i < vs.size(); ++i) bottom = std::max(bottom, vs[i].y), right = std::max(right, vs[i].x);
    return std::pair{bottom, right};
  };
  const auto [tallBottom, tallRight] = extent(900);
  const auto [shortBottom, shortRight] = extent(400);
  EXPECT_LE(tallBottom, 900);
  EXPECT_LE(shortBottom, 400);
  EXPECT_GT(shortRight, tallRight);  // the second column
}
