// Seed generation runs inside key handlers and each time dive mode surfaces:
// these figures say what one costs.
#include "model/mutate.h"
#include "model/seed.h"
#include "model/sha256.h"

#include <benchmark/benchmark.h>

#include <string>

static void BM_Sha256Seed(benchmark::State& state) {
  const std::string text = "seedmap_v3:wild_dragon_alpha42";
  for (auto _ : state) benchmark::DoNotOptimize(sha256(text));
}
BENCHMARK(BM_Sha256Seed);

static void BM_Sha256Megabyte(benchmark::State& state) {
  const std::string text(1 << 20, 'a');
  for (auto _ : state) benchmark::DoNotOptimize(sha256(text));
  state.SetBytesProcessed(state.iterations() * int64_t(text.size()));
}
BENCHMARK(BM_Sha256Megabyte);

static void BM_GenerateFromSeed(benchmark::State& state, const char* type) {
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(generateFromSeed("cosmic_reef_sigma" + std::to_string(i++ & 1023), type));
  }
}
BENCHMARK_CAPTURE(BM_GenerateFromSeed, mandelbulb, "mandelbulb");
BENCHMARK_CAPTURE(BM_GenerateFromSeed, mandelbox, "mandelbox");
BENCHMARK_CAPTURE(BM_GenerateFromSeed, kifs, "kifs");
BENCHMARK_CAPTURE(BM_GenerateFromSeed, hybrid, "hybrid");

static void BM_Mutate(benchmark::State& state) {
  const FractalParams p = generateFromSeed("мир", "hybrid");
  std::mt19937 rng(1);
  for (auto _ : state) benchmark::DoNotOptimize(mutate(p, 0.5, rng));
}
BENCHMARK(BM_Mutate);
