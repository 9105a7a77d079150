// Navigation against the real trace (Mesa's software renderer, no display):
// the depth box comes back the right way up, and a picked texel unprojects to
// the surface point that the centre ray then hits after centring on it.
#include "app/app_state.h"
#include "nav/picture.h"
#include "platform/platform.h"
#include "render/renderer.h"
#include "tests/render/gl_fixture.h"

#include "model/seed.h"

#include <gtest/gtest.h>

namespace {

constexpr int kW = 97, kH = 65;  // odd: the middle texel's centre is the forward ray

}  // namespace

TEST_F(RenderGl, DepthBoxAndPickingAgreeWithTheTrace) {
  Renderer& r = *renderer;
  FractalParams p = generateFromSeed("classic", "mandelbulb");
  // Looking right of and above the bulb puts it in the lower left of the picture.
  p.tx = 0.9, p.ty = 0.6, p.tz = 0, p.yaw = 0, p.pitch = 0, p.dist = 3.4;
  Camera c;
  setCameraFromParams(c, p);
  RenderQuality s;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  FrameInput in = stillFrame(p, s, kW, kH, platform::defaultFramebuffer(window));  // the view of `c`
  ASSERT_TRUE(accumulate(r, in, 1));

  std::vector<float> depth;
  ASSERT_TRUE(readDepthBox(r, 0, 0, kW, kH, depth));
  int left = 0, right = 0, top = 0, bottom = 0;
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x)
      if (isHit(depth[size_t(y) * kW + x])) (x < kW / 2 ? left : right)++, (y < kH / 2 ? top : bottom)++;
  EXPECT_GT(left, 4 * right + 10);
  EXPECT_GT(bottom, 4 * top + 10);
  // Both read-backs name the same texel; the box is clipped at the edges.
  std::vector<float> corner;
  ASSERT_TRUE(readDepthBox(r, kW - 30, kH - 20, 40, 30, corner));
  EXPECT_EQ(corner[0], depth[size_t(kH - 20) * kW + kW - 30]);
  EXPECT_EQ(corner[size_t(19) * 40 + 29], depth[size_t(kH - 1) * kW + kW - 1]);
  EXPECT_EQ(corner[size_t(19) * 40 + 30], kNoHit);
  EXPECT_EQ(depthAt(r, 30.5 / kW, 45.5 / kH), depth[size_t(45) * kW + 30]);

  // Pick a surface texel well off the centre, centre on it, trace again: the
  // middle ray now meets the surface at the picked distance, from the same eye.
  const PictureFrame f = pictureFrame(c, p.fov, kW, kH, 0, kH);
  const DepthReader read = [&r](int x0, int y0, int w, int h, std::vector<float>& out) {
    return readDepthBox(r, x0, y0, w, h, out);
  };
  Pick pick;
  for (int x = 20; x < kW / 2 && !pick.hit; ++x) pick = pickPixel(f, read, x + 0.5, 48.5);
  ASSERT_TRUE(pick.hit);
  ASSERT_TRUE(centreOnPick(c, pick));
  cameraUpdate(c, 10.0);  // land at once
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(cameraPose(c).eye[i], f.pose.eye[i], 1e-9);
  resetAccumulation(r);
  in.camera = cameraViewOf(c, p.fov);  // the trace's view, as the shell builds it
  ASSERT_TRUE(accumulate(r, in, 1));
  std::vector<float> centre;
  ASSERT_TRUE(readDepthBox(r, kW / 2, kH / 2, 1, 1, centre));
  EXPECT_NEAR(centre[0], pick.distance, pick.distance * 0.01);
}
