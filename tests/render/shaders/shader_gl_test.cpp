// Shader arithmetic that only shows when the programs run (headless GL).
#include "../gl_fixture.h"

#include "model/tables.h"
#include "render/passes.h"

// Looking straight down the z axis from an odd-sized view, the centre ray runs
// exactly along the closed-form bulb's singular axis, where only the floor of
// x² + z² keeps it finite. The deep program continues in float after the
// switch, so a floor that is fine in double but overflows in float turns the
// whole ray into NaN there and the pixel misses.
TEST_F(RenderGl, DeepAndFloatBothHitAlongTheBulbsPolarAxis) {
  Renderer& r = *renderer;
  FractalParams p = defaultsForType("mandelbulb");
  p.yaw = 0;
  p.pitch = 0;
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  const int w = 33, h = 25;
  TraceView v;
  v.width = w;
  v.height = h;
  v.camera = cameraOf(p);
  float depth[2];
  for (int deep = 0; deep < 2; ++deep) {
    OwnTargets t(w, h);
    v.deep = deep;
    ASSERT_TRUE(tracePass(r, t.view(), v, p, {true, true, false}));
    depth[deep] = readFloatTarget(t.a, w, h)[(size_t(h / 2) * w + w / 2) * 4 + 3];
  }
  EXPECT_LT(depth[0], 10000);
  EXPECT_NEAR(depth[1], depth[0], depth[0] * 1e-3);
}
