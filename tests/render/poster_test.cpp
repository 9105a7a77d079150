// Posters: the tile layout's arithmetic, and on the software renderer a
// poster cut into tiles with margins against the one-piece photo.
#include "gl_fixture.h"

#include "model/seed.h"
#include "platform/platform.h"
#include "render/frame_math.h"

#include <algorithm>
#include <cstdlib>

// Every pixel belongs to exactly one tile, rows come top first, the traced
// window holds its tile and starts on the prepass grid, and with bloom it
// reaches the margin (or the picture's edge) on every side.
TEST(PosterTiles, CoverThePictureOnceWithMarginsOnTheGrid) {
  for (const auto& [w, h, side, bloom] : {std::tuple{1001, 777, 256, true}, std::tuple{70, 45, 16, false},
                                         std::tuple{7680, 4320, 1024, true}, std::tuple{5, 3, 1024, true}}) {
    std::vector<int> covered(size_t(w) * h, 0);
    auto rows = posterTileRows(w, h, side, bloom);
    int lastTop = h;
    for (const auto& row : rows) {
      ASSERT_FALSE(row.empty());
      EXPECT_EQ(row[0].y + row[0].h, lastTop) << "rows run top-down without gaps";
      lastTop = row[0].y;
      for (const PosterTile& t : row) {
        EXPECT_EQ(t.accumX % 4, 0);
        EXPECT_EQ(t.accumY % 4, 0);
        EXPECT_LE(t.accumX, t.x);
        EXPECT_LE(t.accumY, t.y);
        EXPECT_GE(t.accumX + t.accumW, t.x + t.w);
        EXPECT_GE(t.accumY + t.accumH, t.y + t.h);
        if (bloom) {
          const double step = double(w) / bloomSide(w);
          EXPECT_TRUE(t.bloomX == 0 || t.x / step - t.bloomX >= kPosterBloomMargin - 1);
          EXPECT_TRUE(t.bloomX + t.bloomW == bloomSide(w) ||
                      t.bloomX + t.bloomW - (t.x + t.w) / step >= kPosterBloomMargin - 1);
          // The bright pass's taps of the outermost bloom texels lie inside the traced window.
          EXPECT_TRUE(t.accumX == 0 || t.bloomX * step - 2.5 >= t.accumX);
          EXPECT_TRUE(t.accumX + t.accumW == w || (t.bloomX + t.bloomW) * step + 2.5 <= t.accumX + t.accumW);
        } else {
          EXPECT_EQ(t.bloomW, 0);
          EXPECT_LT(t.x - t.accumX, 4);
        }
        for (int y = t.y; y < t.y + t.h; ++y)
          for (int x = t.x; x < t.x + t.w; ++x) ++covered[size_t(y) * w + x];
      }
    }
    EXPECT_EQ(lastTop, 0);
    EXPECT_TRUE(std::all_of(covered.begin(), covered.end(), [](int c) { return c == 1; })) << w << "x" << h;
  }
}

namespace {

// The poster's rows [first, end), top-down RGBA.
std::vector<uint8_t> posterRows(Renderer& r, int w, int h, int samples, const FrameInput& in, int first, int end) {
  std::vector<uint8_t> out;
  EXPECT_TRUE(renderPoster(r, w, h, samples, in, first, end,
                           [&](const uint8_t* rows, int n) {
                             out.insert(out.end(), rows, rows + size_t(n) * w * 4);
                             return true;
                           },
                           nullptr));
  EXPECT_EQ(out.size(), size_t(end - first) * w * 4);
  return out;
}

// Largest per-channel difference between a top-down poster and a bottom-up photo (RGB only).
int worstDifference(const std::vector<uint8_t>& poster, const std::vector<uint8_t>& photo, int w, int h) {
  int worst = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c)
        worst = std::max(worst, std::abs(poster[(size_t(y) * w + x) * 4 + c] -
                                         photo[(size_t(h - 1 - y) * w + x) * 4 + c]));
  return worst;
}

}  // namespace

// With strong bloom and vignette, posters of several tile grids equal the
// one-piece photo within one level; a band made on its own equals the same
// rows of the whole poster byte for byte. The picture is wider than two
// bloom margins, so inner tiles really trace only their window.
TEST_F(RenderGl, TiledPosterEqualsOnePiecePhoto) {
  Renderer& r = *renderer;
  FractalParams p = generateFromSeed("classic", "mandelbulb");
  p.light = 4;    // highlights well above the bloom threshold
  p.ambient = 2;
  p.bloom = 1.0;
  p.vignette = 0.8;
  RenderQuality s;
  const FrameInput in = stillFrame(p, s, 64, 48, platform::defaultFramebuffer(window));
  const int w = 480, h = 122, samples = 2;
  renderFrame(r, in);  // fills the palette texture from the record
  r.sequence = 0;
  std::vector<uint8_t> photo;
  ASSERT_TRUE(renderPhoto(r, w, h, samples, in, photo, nullptr));

  // The bloom is really there: without it the picture differs.
  FractalParams dull = p;
  dull.bloom = 0;
  const FrameInput dullIn = stillFrame(dull, s, 64, 48, platform::defaultFramebuffer(window));
  std::vector<uint8_t> noBloom;
  ASSERT_TRUE(renderPhoto(r, w, h, samples, dullIn, noBloom, nullptr));
  int changed = 0;
  for (size_t i = 0; i < photo.size(); ++i) changed += std::abs(photo[i] - noBloom[i]) > 3;
  ASSERT_GT(changed, w * h / 20) << "the scene must bloom for this test to mean anything";

  std::vector<uint8_t> whole;
  for (int side : {96, 160, 1024}) {
    r.posterTile = side;
    std::vector<uint8_t> poster = posterRows(r, w, h, samples, in, 0, h);
    EXPECT_LE(worstDifference(poster, photo, w, h), 1) << "tiles of " << side;
    if (side == 96) whole = poster;
  }
  r.posterTile = 96;
  const int first = 37, end = 83;  // cuts through tile rows on both sides
  std::vector<uint8_t> band = posterRows(r, w, h, samples, in, first, end);
  EXPECT_TRUE(std::equal(band.begin(), band.end(), whole.begin() + size_t(first) * w * 4));

  // Without bloom the tiles need no margins and still agree.
  r.posterTile = 32;
  std::vector<uint8_t> plain = posterRows(r, w, h, samples, dullIn, 0, h);
  EXPECT_LE(worstDifference(plain, noBloom, w, h), 1);
}
