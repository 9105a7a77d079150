// The GLSL checked without a GL context: the embedding keeps the texts intact,
// and every program text, put together exactly as the renderer puts it
// together, compiles with the reference compiler (glslangValidator).
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "model/tables.h"
#include "render/shader_sources.h"
#include "render/shader_text.h"

namespace {

namespace fs = std::filesystem;

// The header lines the renderer puts before the float library: the version
// line, the type's defines and the no-hit depths.
std::string fractalHeader(const FractalType& type) {
  const std::string text = composeFractalSource(type.key, Pass::Prepass);
  return text.substr(0, text.find(shader_src::floatLibrary));
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

struct Validation {
  int status = -1;
  std::string log;
};

// Writes each (name, text) pair to a scratch folder and compiles them in one
// glslangValidator run; the stage comes from the file extension. The log
// names every file, so a failure shows which program broke.
class ShaderFiles {
 public:
  ShaderFiles() : dir_(fs::temp_directory_path() / ("qtx_shaders_" + std::to_string(getpid()))) {
    fs::create_directories(dir_);
  }
  ~ShaderFiles() {
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
  }
  void add(const std::string& name, const std::string& text) {
    fs::path path = dir_ / name;
    std::ofstream(path, std::ios::binary) << text;
    paths_.push_back(path);
  }
  Validation validate() const {
    std::string command = std::string("\"") + QTX_GLSLANG + "\"";
    for (const fs::path& path : paths_) command += " \"" + path.string() + "\"";
    command += " 2>&1";
    Validation result;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return result;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) result.log.append(buffer.data(), n);
    result.status = pclose(pipe);
    return result;
  }

 private:
  fs::path dir_;
  std::vector<fs::path> paths_;
};

// Not found when configured, or gone since: the checks skip, never pass.
bool haveValidator() {
  std::error_code ignored;
  return std::string(QTX_GLSLANG).size() > 0 && fs::exists(QTX_GLSLANG, ignored);
}

#define REQUIRE_VALIDATOR()                                                              \
  if (!haveValidator()) GTEST_SKIP() << "glslangValidator not found (Debian: glslang-tools)"

}  // namespace

TEST(ShaderEmbedding, EmbeddedTextsAreTheGlslFilesVerbatim) {
  const std::pair<const char*, const char*> pieces[] = {
      {"fullscreen.vert.glsl", shader_src::fullscreenVert},
      {"float_library.glsl", shader_src::floatLibrary},
      {"float_estimators.glsl", shader_src::floatEstimators},
      {"double_library.glsl", shader_src::doubleLibrary},
      {"view.glsl", shader_src::viewUniforms},
      {"shading.glsl", shader_src::shading},
      {"trace_main.glsl", shader_src::traceMain},
      {"prepass_main.glsl", shader_src::prepassMain},
      {"volume_main.glsl", shader_src::volumeMain},
      {"deep_main.glsl", shader_src::deepMain},
      {"bright_pass.frag.glsl", shader_src::brightPass},
      {"blur.frag.glsl", shader_src::blur},
      {"composite.frag.glsl", shader_src::composite},
  };
  for (const auto& [file, embedded] : pieces) {
    std::string expected = readFile(fs::path(QTX_SHADER_DIR) / file);
    ASSERT_FALSE(expected.empty()) << file;
    EXPECT_EQ(std::string(embedded), expected) << file;
  }
}

// Every fractal program and the vertex and post shaders as desktop GLSL 430;
// the vertex and post shaders also as the browser's GLSL ES 3.00.
TEST(ShaderValidation, EveryProgramCompilesAsDesktopGlsl430) {
  REQUIRE_VALIDATOR();
  ShaderFiles files;
  for (const FractalType& type : fractalTypes()) {
    for (Pass pass : {Pass::Trace, Pass::Prepass, Pass::Volume, Pass::Deep}) {
      files.add(std::string(passName(pass)) + "_" + type.key + ".frag", composeFractalSource(type.key, pass));
    }
  }
  files.add("fullscreen.vert", fullscreenVertexSource());
  files.add("fullscreen_es.vert", shader_src::fullscreenVert);
  const std::pair<const char*, const char*> post[] = {
      {"bright_pass", shader_src::brightPass}, {"blur", shader_src::blur}, {"composite", shader_src::composite}};
  for (const auto& [name, text] : post) {
    files.add(std::string(name) + ".frag", swapGlslVersion(text));
    files.add(std::string(name) + "_es.frag", text);
  }
  Validation result = files.validate();
  EXPECT_EQ(result.status, 0) << result.log;
}

// The browser edition compiles the float library as GLSL ES 3.00, which is
// stricter than desktop GLSL (no implicit int->float, no doubles).
TEST(ShaderValidation, FloatLibraryIsValidGlslEs300ForEveryEstimator) {
  REQUIRE_VALIDATOR();
  const std::string probe =
      "out vec4 fragColor;\n"
      "void main() {\n"
      "  float d = map(vec3(gl_FragCoord.xy * 0.01, 0.5));\n"
      "  fragColor = vec4(albedo(gTrap), d * STEP_K);\n"
      "}\n";
  ShaderFiles files;
  for (const FractalType& type : fractalTypes()) {
    std::string header = fractalHeader(type);
    ASSERT_EQ(header.rfind("#version 430 core\n", 0), 0u) << type.key;
    header.replace(0, 18, "#version 300 es\n");
    files.add(std::string("library_es_") + type.key + ".frag",
              header + shader_src::floatLibrary + shader_src::floatEstimators + probe);
  }
  Validation result = files.validate();
  EXPECT_EQ(result.status, 0) << result.log;
}

// Guards against a check that cannot fail: a library built without an
// estimator define must be rejected, with the library's own message.
TEST(ShaderValidation, RejectsAMissingEstimatorDefine) {
  REQUIRE_VALIDATOR();
  for (const char* estimators : {shader_src::floatEstimators, shader_src::doubleLibrary}) {
    ShaderFiles files;
    files.add("no_define.frag", std::string("#version 430 core\n") + shader_src::floatLibrary + estimators);
    Validation result = files.validate();
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.log.find("no distance estimator selected"), std::string::npos) << result.log;
  }
}
