// The program's one kind of random engine. The application owns a single one,
// seeded once (from the system, or from a film's --random-seed so that the
// film can be made again), and hands it to whatever draws.
#pragma once

#include <random>

// A film's dive turns are drawn from it, so its kind fixes every film made so
// far: changing it changes what a --random-seed gives.
using RandomEngine = std::minstd_rand;
