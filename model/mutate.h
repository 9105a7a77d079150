// "Мутант" and "Скрестить…": new records made from existing ones.
//
// Both are deterministic for a given engine state: every draw comes from the
// raw 32-bit outputs of the MT19937 passed in (never from the standard
// library's distributions, whose results differ between implementations), so
// a test or a replay with a fixed-seed engine gets the same record everywhere.
// Every value they produce stays inside the slider range of its field.
#pragma once

#include "model/params.h"

#include <random>

// A draw in [0, 1) with 53 random bits, from two engine outputs.
double randomUnit(std::mt19937& rng);

// Perturbs only the shape parameters the record's type uses (its flags), plus
// gentle colour and light changes. `strength` is the "Сила мутаций" setting,
// 0 (tiny nudges) to 1 (bold). The seed becomes a mutant name of the old one.
FractalParams mutate(const FractalParams& p, double strength, std::mt19937& rng);

// An offspring ("Потомок") of `a`, the current record, and `b`, a second one.
// Same type: each shape field is taken from one parent or blended. Different
// types: the whole shape comes from one parent. Colour and light mix both;
// the viewing choices (exposure, bloom, lens) stay those of `a`.
FractalParams crossbreed(const FractalParams& a, const FractalParams& b, std::mt19937& rng);
