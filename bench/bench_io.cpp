// Preset text in and out: what loading a file, undo/redo and every history
// commit pay for one record.
#include "io/json.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "model/seed.h"

#include <benchmark/benchmark.h>

namespace {

const FractalParams& sampleRecord() {
  static const FractalParams p = generateFromSeed("bench", "hybrid");
  return p;
}

void BM_ParsePreset(benchmark::State& state) {
  const std::string text = presetText(sampleRecord(), 2);
  for (auto _ : state) {
    FractalParams p = presetFromJson(parseJson(text));
    benchmark::DoNotOptimize(p);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ParsePreset);

void BM_WritePreset(benchmark::State& state) {
  const FractalParams& p = sampleRecord();
  for (auto _ : state) {
    std::string text = writeJson(presetToJson(p), 2);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_WritePreset);

// A 4 MB image with the chunk near its end is the scan's worst case in practice.
void BM_ScanPng(benchmark::State& state) {
  std::string png("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
  png += std::string(17, '\0');
  for (int i = 0; i < 64; ++i) png += std::string("\0\1\0\0IDAT", 8) + std::string(65536 + 4, 'x');
  png += makePresetChunk(presetText(sampleRecord(), 0));
  png += std::string("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  for (auto _ : state) benchmark::DoNotOptimize(presetTextFromPng(png));
}
BENCHMARK(BM_ScanPng);

// An object of N distinct keys, the last one repeated: the time per key must
// stay flat from 1 to a million (a scan per member made it grow with N).
void BM_ParseManyKeys(benchmark::State& state) {
  const int64_t n = state.range(0);
  std::string text = "{";
  for (int64_t i = 0; i < n; ++i) text += "\"key" + std::to_string(i) + "\": " + std::to_string(i) + ",";
  text += "\"key" + std::to_string(n - 1) + "\": -1}";
  for (auto _ : state) benchmark::DoNotOptimize(parseJson(text));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
  state.counters["ns_per_key"] =
      benchmark::Counter(double(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ParseManyKeys)->Arg(1)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
