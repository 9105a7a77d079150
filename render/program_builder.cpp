// Fractal programs built in the driver's own threads while frames go on, and built ahead while the view is idle.
#include "render/program_builder.h"

#include "model/tables.h"
#include "render/gl.h"
#include "render/programs.h"
#include "render/renderer.h"
#include "render/shader_text.h"

#include <algorithm>
#include <chrono>

namespace {

// Longer than this and a start has held a frame of a 60 Hz display.
constexpr double kBlockingStartMs = 16;

double msNow() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

bool driverDone(const ProgramBuilder& b, Program program) {
  if (b.done) return b.done(program);
  GLint done = 0;
  gl.GetProgramiv(program.id, GL_COMPLETION_STATUS_KHR, &done);
  return done != 0;
}

// Starts the program unless the binary cache has it; says whether it is
// known now (built, failed or loaded).
bool startOrLoad(Renderer& r, const std::string& typeKey, Pass pass) {
  const std::string key = programKey(typeKey, pass);
  const std::string vertex = fullscreenVertexSource(), fragment = composeFractalSource(typeKey, pass);
  if (const Program cached = loadCachedProgram(r.programCache, vertex, fragment); cached.id) {
    r.programs.emplace(key, cached);
    return true;
  }
  const double t0 = msNow();
  startProgramBuild(r, key, vertex, fragment);
  // A driver that did the work at once needs no wait; when that work also
  // took a frame's time, it was done in this thread.
  if (!driverDone(r.builder, r.builder.building.at(key).program)) return false;
  if (msNow() - t0 > kBlockingStartMs) r.builder.startsBlock = true;
  finishProgramBuild(r, key);
  return true;
}

}  // namespace

std::string programKey(const std::string& typeKey, Pass pass) {
  return std::string(passName(pass)) + ':' + typeKey;
}

void useBackgroundBuilds(Renderer& r, bool on) {
  ProgramBuilder& b = r.builder;
  b.parallel =
      hasGlExtension("GL_KHR_parallel_shader_compile") || hasGlExtension("GL_ARB_parallel_shader_compile");
  b.background = on && b.parallel;
  if (!b.background) return;
  // As many compiler threads as the driver sees fit.
  if (gl.MaxShaderCompilerThreadsKHR) gl.MaxShaderCompilerThreadsKHR(0xFFFFFFFFu);
  else if (gl.MaxShaderCompilerThreadsARB) gl.MaxShaderCompilerThreadsARB(0xFFFFFFFFu);
}

void startProgramBuild(Renderer& r, const std::string& key, const std::string& vertex,
                       const std::string& fragment) {
  ProgramBuilder& b = r.builder;
  if (r.programs.count(key) || b.building.count(key)) return;
  const PendingProgram p = startProgram(vertex, fragment);
  ++r.linkAttempts;
  ++b.started;
  b.building.emplace(key, ProgramBuild{p.program, p.vertex, p.fragment, vertex, fragment});
}

bool finishProgramBuild(Renderer& r, const std::string& key) {
  const auto it = r.builder.building.find(key);
  if (it == r.builder.building.end()) return false;
  ProgramBuild b = std::move(it->second);
  r.builder.building.erase(it);
  PendingProgram p{b.program, b.vertex, b.fragment};
  const Program program = finishProgram(r.errorText, p);
  storeCachedProgram(r.programCache, program, b.vertexText, b.fragmentText);
  r.programs.emplace(key, program);
  return true;
}

bool programSettled(Renderer& r, const std::string& typeKey, Pass pass) {
  const std::string key = programKey(typeKey, pass);
  if (r.programs.count(key)) return true;
  ProgramBuilder& b = r.builder;
  const auto it = b.building.find(key);
  if (it != b.building.end()) {
    if (!driverDone(b, it->second.program)) return false;
    finishProgramBuild(r, key);
    return true;
  }
  if (!b.background) {
    fractalProgram(r, typeKey, pass);
    return true;
  }
  return startOrLoad(r, typeKey, pass);
}

bool frameProgramsReady(Renderer& r, const FractalParams& p, bool deep, bool prepass) {
  // Both are asked, so that the prepass builds alongside the trace.
  const bool trace = programSettled(r, p.type, deep ? Pass::Deep : Pass::Trace);
  const bool pre = deep || !prepass || programSettled(r, p.type, Pass::Prepass);
  r.builder.waiting = !(trace && pre);
  return !r.builder.waiting;
}

bool buildAhead(Renderer& r, const FractalParams& p, bool deepAllowed, bool idle) {
  ProgramBuilder& b = r.builder;
  if (!b.background || b.startsBlock) return false;
  const std::string current = programKey(p.type, Pass::Trace);
  const auto view = r.programs.find(current);
  if (b.aheadFor != current && view != r.programs.end() && view->second.id) {
    // The deep program waits for the first deep zoom and the prepass for the
    // first still sample; the neighbours in the type list are the ones the
    // number keys and the type pills put one step away.
    b.aheadFor = current;
    b.ahead.clear();
    if (deepAllowed) b.ahead.push_back({p.type, Pass::Deep});
    b.ahead.push_back({p.type, Pass::Prepass});
    const auto& types = fractalTypes();
    const auto at = std::find_if(types.begin(), types.end(), [&](const FractalType& t) { return t.key == p.type; });
    if (at != types.end()) {
      const size_t i = size_t(at - types.begin()), n = types.size();
      b.ahead.push_back({types[(i + 1) % n].key, Pass::Trace});
      b.ahead.push_back({types[(i + n - 1) % n].key, Pass::Trace});
    }
  }
  // Builds in flight are asked whether they are done (their results are
  // kept, failures included), then one more is started.
  for (auto it = b.building.begin(); it != b.building.end();) {
    const std::string key = (it++)->first;
    if (driverDone(b, b.building.at(key).program)) finishProgramBuild(r, key);
  }
  if (idle) {
    const auto known = [&](const ProgramWanted& w) {
      const std::string key = programKey(w.typeKey, w.pass);
      return r.programs.count(key) || b.building.count(key);
    };
    while (!b.ahead.empty() && known(b.ahead.front())) b.ahead.pop_front();
    if (!b.ahead.empty()) {
      startOrLoad(r, b.ahead.front().typeKey, b.ahead.front().pass);
      b.ahead.pop_front();
    }
  }
  // Only an idle loop needs asking back: a busy one comes back anyway, and a
  // failed picture must not spin it.
  return idle && (!b.ahead.empty() || !b.building.empty());
}

void dropProgramBuilds(Renderer& r) {
  for (auto& [key, b] : r.builder.building) {
    gl.DeleteShader(b.vertex.id);
    gl.DeleteShader(b.fragment.id);
    gl.DeleteProgram(b.program.id);
  }
  r.builder = ProgramBuilder{};
}
