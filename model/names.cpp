// Random seed names, seed stems and the names of mutants and offspring.
#include "model/names.h"

#include <algorithm>
#include <mutex>
#include <random>

namespace {

constexpr const char* kAdjectives[20] = {
    "cosmic", "silent", "neon",   "golden", "frozen", "lunar",  "crimson", "electric", "hollow",  "ancient",
    "velvet", "quantum", "feral", "liquid", "astral", "iron",   "solar",   "phantom",  "crystal", "wild"};
constexpr const char* kNouns[20] = {
    "cat",  "laser", "cathedral", "reef",  "nebula",  "engine", "garden", "spiral", "forge",   "temple",
    "hive", "comet", "lotus",     "abyss", "citadel", "coral",  "storm",  "orchid", "circuit", "dragon"};
constexpr const char* kGreek[10] = {"alpha", "beta",  "gamma", "delta", "sigma",
                                    "omega", "theta", "zeta",  "kappa", "lambda"};

constexpr const char* kMutantMark = "\xC2\xB7";     // U+00B7 MIDDLE DOT
constexpr const char* kOffspringMark = "\xC3\x97";  // U+00D7 MULTIPLICATION SIGN
constexpr size_t kStemBytes = 32;
constexpr size_t kOffspringBytes = 48;

std::string nameOfDraws(const uint32_t e[4]) {
  return std::string(kAdjectives[e[3] % 20]) + "_" + kNouns[e[2] % 20] + "_" + kGreek[e[1] % 10] +
         std::to_string(e[0] % 100);
}

}  // namespace

std::string randomSeedName(RandomEngine& rng) {
  uint32_t e[4];
  for (uint32_t& v : e) v = uint32_t(rng());
  return nameOfDraws(e);
}

std::string randomSeedName() {
  // Seeded once, on first use, for the whole run (a function-local static is
  // initialised exactly once even when two threads race to it); the mutex keeps
  // the four draws of one name together.
  static std::mt19937 engine = [] {
    std::random_device device;
    return std::mt19937(device());
  }();
  static std::mutex drawing;
  uint32_t e[4];
  {
    std::lock_guard<std::mutex> lock(drawing);
    for (uint32_t& v : e) v = engine();
  }
  return nameOfDraws(e);
}

std::string seedStem(const std::string& seed) {
  const size_t end = std::min(seed.find(kMutantMark), seed.find(kOffspringMark));
  std::string stem = seed.substr(0, std::min(end, kStemBytes));
  return stem.empty() ? "forge" : stem;
}

std::string mutantName(const std::string& seed, uint32_t n) {
  static constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  const char suffix[3] = {kDigits[(n / 1296) % 36], kDigits[(n / 36) % 36], kDigits[n % 36]};
  return seedStem(seed) + kMutantMark + std::string(suffix, 3);
}

std::string offspringName(const std::string& seedA, const std::string& seedB) {
  std::string name = seedStem(seedA) + kOffspringMark + seedStem(seedB);
  if (name.size() > kOffspringBytes) name.resize(kOffspringBytes);
  return name;
}
