// Programs built while frames go on: the driver's "is it done" answer is
// played by the test, so the states (building, linked, failed) come in the
// order the test chooses whatever the driver does with its threads.
#include "gl_fixture.h"

#include "model/tables.h"
#include "platform/platform.h"
#include "render/programs.h"
#include "render/shader_text.h"

#include <set>

namespace {

// A renderer of its own in background mode, as a window runs it.
struct BackgroundRun {
  Renderer r;
  bool linked = true;  // what the driver answers when asked whether a program is done
  BackgroundRun() {
    std::string error;
    EXPECT_TRUE(initRenderer(r, platform::glProcAddress, error)) << error;
    r.builder.parallel = r.builder.background = true;
    r.builder.done = [this](Program) { return linked; };
  }
  ~BackgroundRun() { destroyRenderer(r); }
};

std::vector<float> accumulated(const Renderer& r) { return readFloatTarget(r.accumA, 24, 16); }

}  // namespace

TEST_F(RenderGl, TypeSwitchKeepsThePictureUntilTheProgramLinks) {
  BackgroundRun run;
  Renderer& r = run.r;
  RenderQuality s;
  const uint32_t fbo = platform::defaultFramebuffer(window);
  const FractalParams sierpinski = defaultsForType("sierpinski"), menger = defaultsForType("menger");
  std::string error;
  ASSERT_TRUE(setFractal(r, sierpinski, error)) << error;
  ASSERT_TRUE(accumulate(r, stillFrame(sierpinski, s, 24, 16, fbo), 1));
  const std::vector<float> first = accumulated(r);

  // Pending: the switch returns at once, frames trace nothing and ask for
  // more, and a key already building is not started again.
  run.linked = false;
  ASSERT_TRUE(setFractal(r, menger, error)) << error;
  FrameInput in = stillFrame(menger, s, 24, 16, fbo);
  int started = 0;
  for (int f = 0; f < 4; ++f, in.now += 1) {
    EXPECT_TRUE(renderFrame(r, in));
    EXPECT_TRUE(renderStatus(r).building);
    EXPECT_EQ(renderStatus(r).samples, 0);
    if (f == 0) started = r.builder.started;
  }
  EXPECT_EQ(r.builder.started, started);
  EXPECT_EQ(r.builder.building.count("trace:menger") + r.builder.building.count("prepass:menger"), 2u);
  EXPECT_EQ(compareImages("building_keeps", accumulated(r), first, 24, 16, 0).differing, 0);

  // Ready: the next frames trace with it.
  run.linked = true;
  ASSERT_TRUE(accumulate(r, in, 1));
  EXPECT_FALSE(renderStatus(r).building);
  EXPECT_NE(r.programs.at("trace:menger").id, 0u);
  EXPECT_GT(compareImages("built_draws", accumulated(r), first, 24, 16, 0).differing, 0);
  const std::vector<float> second = accumulated(r);

  // A failed link: the error is shown once, and the menger picture stays.
  run.linked = false;
  const FractalParams kifs = defaultsForType("kifs");
  started = r.builder.started;
  startProgramBuild(r, "trace:kifs", fullscreenVertexSource(), "#version 430 core\nvoid main() { nonsense; }\n");
  startProgramBuild(r, "trace:kifs", fullscreenVertexSource(), composeFractalSource("kifs", Pass::Trace));
  EXPECT_EQ(r.builder.started, started + 1);  // the second start of a key already building is ignored
  in = stillFrame(kifs, s, 24, 16, fbo);
  renderFrame(r, in);
  EXPECT_TRUE(renderStatus(r).building);
  EXPECT_EQ(takeShaderMessage(r), "");
  run.linked = true;
  in.now += 1;
  EXPECT_FALSE(renderFrame(r, in));
  EXPECT_EQ(takeShaderMessage(r).rfind("Ошибка шейдера: ", 0), 0u);
  EXPECT_EQ(r.programs.at("trace:kifs").id, 0u);
  in.now += 1;
  renderFrame(r, in);
  EXPECT_EQ(takeShaderMessage(r), "");
  EXPECT_FALSE(renderStatus(r).building);
  EXPECT_EQ(compareImages("failed_keeps", accumulated(r), second, 24, 16, 0).differing, 0);

  // An unattended frame (a film planned from the window) waits for its
  // program, though the driver never says it is done.
  run.linked = false;
  const FractalParams qjulia = defaultsForType("qjulia");
  ASSERT_TRUE(setFractal(r, qjulia, error)) << error;
  EXPECT_EQ(r.builder.building.count("trace:qjulia"), 1u);
  in = stillFrame(qjulia, s, 24, 16, fbo);
  in.unattended = true;
  renderFrame(r, in);
  EXPECT_FALSE(renderStatus(r).building);
  EXPECT_TRUE(r.builder.building.empty());
  EXPECT_TRUE(accumulate(r, in, 1));
}

TEST_F(RenderGl, ProgramsAreBuiltAheadOnlyWhileThePictureIsFinal) {
  BackgroundRun run;
  Renderer& r = run.r;
  // Each program is done the second time it is asked: a driver that really
  // compiles in its own threads.
  std::set<uint32_t> asked;
  r.builder.done = [&asked](Program program) { return !asked.insert(program.id).second; };
  RenderQuality s;
  s.samples = 1;
  const FractalParams p = defaultsForType("sierpinski");
  std::string error;
  ASSERT_TRUE(setFractal(r, p, error)) << error;
  FrameInput in = stillFrame(p, s, 24, 16, platform::defaultFramebuffer(window));
  in.cameraMoving = true;  // a moving camera: its frames are left alone
  for (int f = 0; f < 6; ++f, in.now += 0.01) renderFrame(r, in);
  EXPECT_EQ(r.programs.count("trace:menger") + r.programs.count("trace:kifs"), 0u);
  EXPECT_EQ(r.builder.started, 2);  // the view's own trace and prepass

  in.cameraMoving = false;
  in.now += 1;
  int frames = 0;
  while (renderFrame(r, in) && frames < 40) {
    ++frames;
    in.now += 0.01;
    EXPECT_LE(r.builder.building.size(), 1u);  // one at a time
  }
  EXPECT_LT(frames, 40);
  // Its deep program and its neighbours in the type list; the prepass is
  // the view's own, built already.
  EXPECT_NE(r.programs.at("deep:sierpinski").id, 0u);
  EXPECT_NE(r.programs.at("trace:menger").id, 0u);
  EXPECT_NE(r.programs.at("trace:kifs").id, 0u);
  EXPECT_EQ(r.builder.started, 5);
  EXPECT_TRUE(r.errorText.empty()) << r.errorText;
}
