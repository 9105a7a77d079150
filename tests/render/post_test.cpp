// Post-processing on synthetic accumulation images (bloom width, bright
// pass, exposure, tone curve, vignette, used part), and the background's
// orientation in both fractal programs.
#include "gl_fixture.h"

#include "model/tables.h"
#include "render/gl.h"

#include <cmath>

namespace {

// A float accumulation of w×h filled by `value(x, y)` (grey), with the
// renderer's post targets for a window of the same size.
struct PostScene {
  RenderTarget accum, bloom0, bloom1, out;
  int w, h;
  template <class F>
  PostScene(int width, int height, F value) : w(width), h(height) {
    createTarget(accum, w, h, TargetFormat::Float32, true);
    createTarget(bloom0, (w + 3) / 4, (h + 3) / 4, TargetFormat::Float32, true);
    createTarget(bloom1, (w + 3) / 4, (h + 3) / 4, TargetFormat::Float32, true);
    createTarget(out, w, h, TargetFormat::Unorm8, false);
    std::vector<float> px(size_t(w) * h * 4);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int c = 0; c < 4; ++c) px[(size_t(y) * w + x) * 4 + c] = c < 3 ? float(value(x, y)) : 10000;
    gl.BindTexture(GL_TEXTURE_2D, accum.tex.id);
    gl.TexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, GL_RGBA, GL_FLOAT, px.data());
    gl.BindTexture(GL_TEXTURE_2D, 0);
  }
  ~PostScene() {
    for (RenderTarget* t : {&accum, &bloom0, &bloom1, &out}) deleteTarget(*t);
  }
  // Post-processes the used usedW×usedH part; returns the 8-bit picture.
  std::vector<uint8_t> run(Renderer& r, int usedW = 0, int usedH = 0) {
    postPass(r, accum, usedW ? usedW : w, usedH ? usedH : h, bloom0, bloom1, out.fbo, w, h);
    std::vector<uint8_t> px;
    readWindowPixels(r, out.fbo, w, h, px);
    return px;
  }
};

Lighting postOnly(float exposure, float bloom, float vignette) {
  Lighting l;
  l.exposure = exposure, l.bloom = bloom, l.vignette = vignette;
  return l;
}

int green(const std::vector<uint8_t>& px, int w, int x, int y) { return px[(size_t(y) * w + x) * 4 + 1]; }

// Spread of the bloom along one axis through its centre, in bloom texels.
double spread(const std::vector<float>& b, int bw, int bh, bool horizontal) {
  double sum = 0, second = 0;
  const int n = horizontal ? bw : bh;
  for (int i = 0; i < n; ++i) {
    const int x = horizontal ? i : bw / 2, y = horizontal ? bh / 2 : i;
    const double v = b[(size_t(y) * bw + x) * 4];
    const double d = i + 0.5 - n / 2.0;
    sum += v;
    second += v * d * d;
  }
  return sum > 0 ? std::sqrt(second / sum) : 0;
}

}  // namespace

// A bright 4 × 4 spot: the three blur rounds (radii 1, 2, 4 quarter-size
// texels) spread it to a halo of about 7.5 texels' standard deviation along
// each axis; without the last round it would be 3.8, without any vertical
// step about 0.5 vertically.
TEST_F(RenderGl, BloomHaloReachesItsWidthAndOnlyBrightPartsGlow) {
  Renderer& r = *renderer;
  const Lighting saved = r.lighting;
  const int w = 256, h = 256;
  PostScene spot(w, h, [&](int x, int y) { return std::abs(x - w / 2 + 0.5) < 2 && std::abs(y - h / 2 + 0.5) < 2 ? 40.0 : 0.0; });
  r.lighting = postOnly(1, 1, 0);
  const std::vector<uint8_t> bloomed = spot.run(r);
  const std::vector<float> b = readFloatTarget(spot.bloom0, w / 4, h / 4);
  for (bool horizontal : {true, false}) {
    const double s = spread(b, w / 4, h / 4, horizontal);
    EXPECT_GT(s, 6.5) << (horizontal ? "horizontal" : "vertical");
    EXPECT_LT(s, 9.0) << (horizontal ? "horizontal" : "vertical");
  }
  // The halo lights the picture around the spot; without bloom it is dark.
  r.lighting = postOnly(1, 0, 0);
  const std::vector<uint8_t> plain = spot.run(r);
  EXPECT_GT(green(bloomed, w, w / 2 + 24, h / 2), green(plain, w, w / 2 + 24, h / 2) + 10);
  EXPECT_LE(green(plain, w, w / 2 + 24, h / 2), 1);

  // Luminance 0.9 is the threshold: it adds nothing; 1.8 adds half its colour.
  r.lighting = postOnly(1, 1, 0);
  for (const auto& [grey, expected] : {std::pair{0.9, 0.0}, {1.8, 0.9}}) {
    PostScene flat(64, 64, [&](int, int) { return grey; });
    flat.run(r);
    const std::vector<float> fb = readFloatTarget(flat.bloom0, 16, 16);
    EXPECT_NEAR(fb[(8 * 16 + 8) * 4], expected, 0.01) << grey;
  }
  r.lighting = saved;
}

TEST_F(RenderGl, ExposureToneCurveAndVignetteShapeThePicture) {
  Renderer& r = *renderer;
  const Lighting saved = r.lighting;
  const int w = 64, h = 48;
  auto centre = [&](double grey, float exposure) {
    PostScene s(w, h, [&](int, int) { return grey; });
    r.lighting = postOnly(exposure, 0, 0);
    return green(s.run(r), w, w / 2, h / 2);
  };
  // Mid grey 0.18 lands near the middle of the display range; the curve
  // rises with the input and with the exposure, never overflows and keeps
  // black black.
  EXPECT_NEAR(centre(0.18, 1), 140, 3);
  EXPECT_LT(centre(0.05, 1), centre(0.18, 1));
  EXPECT_LT(centre(0.18, 1), centre(0.5, 1));
  EXPECT_LT(centre(0.5, 1), centre(2, 1));
  EXPECT_GT(centre(0.18, 2), centre(0.18, 1) + 20);
  EXPECT_LT(centre(0.18, 0.5), centre(0.18, 1) - 20);
  EXPECT_GE(centre(1000, 1), 254);
  EXPECT_LE(centre(0, 1), 1);

  // The vignette darkens the corners and leaves the centre; off, the picture
  // is even.
  PostScene grey(w, h, [](int, int) { return 0.18; });
  r.lighting = postOnly(1, 0, 0);
  const std::vector<uint8_t> even = grey.run(r);
  r.lighting = postOnly(1, 0, 1);
  const std::vector<uint8_t> vignetted = grey.run(r);
  EXPECT_NEAR(green(even, w, 0, 0), green(even, w, w / 2, h / 2), 1);
  EXPECT_NEAR(green(vignetted, w, w / 2, h / 2), green(even, w, w / 2, h / 2), 1);
  for (const auto& [x, y] : {std::pair{0, 0}, {w - 1, 0}, {0, h - 1}, {w - 1, h - 1}})
    EXPECT_LT(green(vignetted, w, x, y), green(even, w, x, y) * 0.8) << x << "," << y;

  // A reduced render size uses only its part of the accumulation: the
  // bright rest never reaches the picture, not even at the bilinear border.
  PostScene part(w, h, [](int x, int y) { return x < 40 && y < 30 ? 0.18 : 100.0; });
  r.lighting = postOnly(1, 0, 0);
  const std::vector<uint8_t> used = part.run(r, 40, 30);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) ASSERT_NEAR(green(used, w, x, y), 140, 3) << x << "," << y;
  r.lighting = saved;
}

// Looking away from the fractal, the picture is the background: the top
// colour above, the bottom colour below, in the float and the deep program.
TEST_F(RenderGl, BackgroundTopIsUp) {
  Renderer& r = *renderer;
  FractalParams p = defaultsForType("mandelbulb");
  p.bgTop = "#F0F0F0";
  p.bgBot = "#101010";
  p.light = 0;  // no sun highlight
  p.glow = 0;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  const int w = 16, h = 24;
  const double pos[3] = {0, 0, 40};
  const float basis[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};  // looking along +z, away from the origin
  TraceView v;
  v.width = w;
  v.height = h;
  v.camera = cameraAt(pos, basis, 3, 0.6);
  for (bool deep : {false, true}) {
    v.deep = deep;
    OwnTargets t(w, h);
    ASSERT_TRUE(tracePass(r, t.view(), v, p, {false, false, false}));
    const std::vector<float> px = readFloatTarget(t.a, w, h);
    const float bottom = px[(size_t(0) * w + w / 2) * 4 + 1], top = px[(size_t(h - 1) * w + w / 2) * 4 + 1];
    EXPECT_GT(top, bottom * 4) << (deep ? "deep" : "float") << ": top " << top << ", bottom " << bottom;
    EXPECT_EQ(px[3], 10000);
  }
}
