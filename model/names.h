// Names the program makes itself: random seed names, seed stems, mutant and
// offspring names.
#pragma once

#include "model/random.h"

#include <cstdint>
#include <string>

// adjective_noun_greekNN from four draws of `rng`.
std::string randomSeedName(RandomEngine& rng);
// The same from a process-wide MT19937 seeded once from std::random_device,
// for a preset read without a seed (there is no application to ask).
std::string randomSeedName();
// The seed up to the first "·" or "×", cut to 32 bytes; empty becomes "forge".
std::string seedStem(const std::string& seed);
// stem + "·" + three base-36 digits of n (0..46655).
std::string mutantName(const std::string& seed, uint32_t n);
// stem(a) + "×" + stem(b), cut to 48 bytes.
std::string offspringName(const std::string& seedA, const std::string& seedB);
