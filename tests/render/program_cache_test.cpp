// Fractal programs kept as driver binaries: a later run takes them from the
// cache folder instead of the compiler; whatever does not fit this driver or
// was damaged is rebuilt from the text, and a folder that cannot be written
// costs nothing but the cache.
#include "gl_fixture.h"

#include "io/files.h"
#include "model/tables.h"
#include "platform/platform.h"
#include "render/programs.h"
#include "render/shader_text.h"

#include <filesystem>

namespace {

std::string freshFolder(const char* name) {
  const std::string f = std::string(QTX_TEST_OUTPUT_DIR) + "/program_cache_" + name;
  std::filesystem::remove_all(f);
  std::filesystem::create_directories(f);
  return f;
}

// One run of the program: its own renderer on the suite's context.
struct AppRun {
  Renderer r;
  explicit AppRun(const std::string& folder) {
    std::string error;
    EXPECT_TRUE(initRenderer(r, platform::glProcAddress, error)) << error;
    useProgramCache(r, folder);
  }
  ~AppRun() { destroyRenderer(r); }
};

std::vector<float> picture(Renderer& r, uint32_t fbo) {
  const FractalParams p = defaultsForType("sierpinski");
  RenderQuality s;
  std::string error;
  EXPECT_TRUE(setFractal(r, p, error)) << error;
  EXPECT_TRUE(accumulate(r, stillFrame(p, s, 24, 16, fbo), 1));
  return readFloatTarget(r.accumA, 24, 16);
}

}  // namespace

TEST_F(RenderGl, ProgramBinariesAreReusedAcrossRuns) {
  const std::string folder = freshFolder("reuse");
  const uint32_t fbo = platform::defaultFramebuffer(window);
  std::vector<float> built;
  {
    AppRun first(folder);
    if (!first.r.programCache.supported) GTEST_SKIP() << "the driver offers no program binary format";
    built = picture(first.r, fbo);
    EXPECT_EQ(first.r.programCache.loaded, 0);
    EXPECT_GE(first.r.programCache.stored, 1);
  }
  const std::string path = programCachePath(AppRun(folder).r.programCache, fullscreenVertexSource(),
                                            composeFractalSource("sierpinski", Pass::Trace));
  ASSERT_TRUE(std::filesystem::exists(path));
  {
    AppRun second(folder);
    const std::vector<float> loaded = picture(second.r, fbo);
    EXPECT_GE(second.r.programCache.loaded, 1);
    EXPECT_EQ(second.r.linkAttempts, 0);  // nothing compiled
    const ImageDiff d = compareImages("cached_program", loaded, built, 24, 16, 1e-6f);
    EXPECT_EQ(d.differing, 0) << d;
  }

  // Another driver's binary, then a damaged one: rebuilt from the text
  // without a word, and the file made good again.
  std::string file;
  ASSERT_TRUE(readWholeFile(path, file));
  std::string foreign = file;
  const size_t vendor = foreign.find('\n', foreign.find('\n') + 1) + 1;
  foreign.insert(vendor, "Other ");
  std::string flipped = file;
  flipped[flipped.size() - 100] ^= 0x10;
  for (const std::string& bad : {foreign, flipped}) {
    ASSERT_TRUE(writeFileAtomic(path, bad));
    AppRun run(folder);
    ASSERT_NE(fractalProgram(run.r, "sierpinski", Pass::Trace).id, 0u);
    EXPECT_EQ(run.r.programCache.loaded, 0);
    EXPECT_EQ(run.r.linkAttempts, 1);
    EXPECT_TRUE(run.r.errorText.empty()) << run.r.errorText;
    std::string now;
    ASSERT_TRUE(readWholeFile(path, now));
    EXPECT_EQ(now, file);
  }
}

TEST_F(RenderGl, UnwritableCacheFolderCostsOnlyTheCache) {
  const std::string parent = freshFolder("unwritable");
  ASSERT_TRUE(writeFileAtomic(parent + "/plain", "a file, not a folder"));
  AppRun run(parent + "/plain/cache");
  std::vector<float> pic = picture(run.r, platform::defaultFramebuffer(window));
  EXPECT_EQ(run.r.programCache.stored, 0);
  EXPECT_EQ(run.r.programCache.loaded, 0);
  EXPECT_TRUE(run.r.errorText.empty()) << run.r.errorText;
  float lit = 0;
  for (size_t i = 0; i < pic.size(); i += 4) lit += pic[i] + pic[i + 1] + pic[i + 2];
  EXPECT_GT(lit, 0);
}
