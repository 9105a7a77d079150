// The interface at start-up and per frame, CPU only (no GL): the atlas must
// build in well under 150 ms, and a frame's draw lists must stay far below
// 1 ms so the interface never costs the fractal a frame.
#include "app/app_state.h"
#include "app/command_table.h"
#include "app/interface.h"
#include "app/panel.h"
#include "ui/atlas.h"
#include "ui/help.h"
#include "ui/status.h"
#include "ui/ui_context.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

UiContext& context() {
  static UiContext ui = [] {
    UiContext c;
    std::vector<uint8_t> pixels;
    std::string error;
    if (!buildUiCpu(c, 1.0, pixels, error)) {
      std::fprintf(stderr, "%s\n", error.c_str());
      std::exit(1);
    }
    return c;
  }();
  return ui;
}

StatusInfo busyStatus() {
  StatusInfo st;
  st.clientWidth = 1920;
  st.clientHeight = 1080;
  st.samples = 17;
  st.targetSamples = 64;
  st.fps = 58.3;
  st.renderWidth = 1548;
  st.renderHeight = 1080;
  st.iterations = 14;
  st.zoom = 1234.5;
  st.deep = true;
  st.cameraDistance = 1e-6;
  st.message = "Загружено: космический риф сигма";
  st.messageShown = true;
  return st;
}

}  // namespace

// Fonts through the platform's rasteriser, packing and the disc.
static void BM_BuildAtlas(benchmark::State& state) {
  const double scale = double(state.range(0)) / 100;
  for (auto _ : state) {
    AtlasResult a;
    std::string error;
    if (!buildAtlas(a, scale, error)) state.SkipWithError(error.c_str());
    benchmark::DoNotOptimize(a.pixels.data());
  }
}
BENCHMARK(BM_BuildAtlas)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);

// The status line and the message pill: what every frame draws.
static void BM_StatusFrame(benchmark::State& state) {
  UiContext& ui = context();
  const StatusInfo st = busyStatus();
  for (auto _ : state) {
    beginFrame(ui, st.clientWidth, st.clientHeight);
    drawStatus(ui, st);
    benchmark::DoNotOptimize(ui.layers[0].vertices.data());
  }
  state.counters["vertices"] = double(ui.layers[0].vertices.size());
}
BENCHMARK(BM_StatusFrame)->Unit(benchmark::kMicrosecond);

// The heaviest overlay: help card with every binding, over the status line.
static void BM_HelpFrame(benchmark::State& state) {
  UiContext& ui = context();
  const StatusInfo st = busyStatus();
  for (auto _ : state) {
    beginFrame(ui, st.clientWidth, st.clientHeight);
    drawHelp(ui, helpLines(), st.clientWidth, st.clientHeight, st.clientWidth - int(scaled(ui, ui.metrics.panelWidth)));
    drawStatus(ui, st);
    benchmark::DoNotOptimize(ui.layers[0].vertices.data());
  }
  state.counters["vertices"] = double(ui.layers[0].vertices.size());
}
BENCHMARK(BM_HelpFrame)->Unit(benchmark::kMicrosecond);

// A whole interface frame as the shell builds it, per tab: the side panel,
// the status line and a message (the flush's GL upload is not counted).
static void BM_PanelFrame(benchmark::State& state) {
  UiContext& ui = context();
  auto s = std::make_unique<AppState>();
  s->activeTab = int(state.range(0));
  s->toastText = "Пресет сохранён";
  s->toastUntil = 1e18;
  size_t vertices = 0;
  for (auto _ : state) {
    beginFrame(ui, 1920, 1080);
    drawPanel(*s, ui, 1920, 1080);
    drawStatus(ui, statusInfo(*s, 1920, 1080, 0));
    vertices = ui.layers[0].vertices.size() + ui.layers[1].vertices.size();
    benchmark::DoNotOptimize(ui.layers[0].vertices.data());
  }
  state.counters["vertices"] = double(vertices);
}
BENCHMARK(BM_PanelFrame)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
