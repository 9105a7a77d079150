// The constant tables of the fractal model: fractal types, hybrid formulas and
// palettes, each built once on first use and looked up by key.
#pragma once

#include "model/params.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Bits of FractalType::flags. Most say which fields the type reads: a panel
// slider is shown, or a field mutated, only when its bit is set.
enum TypeFlag : uint32_t {
  kFlagAlways = 1,     // every type: iterations, warp, colour, light, lens
  kFlagPower = 2,
  kFlagScale = 4,
  kFlagJulia = 8,      // jx, jy, jz
  kFlagJuliaW = 16,    // jw
  kFlagFold = 32,      // ox, oy, oz
  kFlagRotation = 64,  // rx, ry, rz
  kFlagSlots = 256,    // the hybrid chain
  kFlagJMode = 512,    // how the constant enters
  // The double-precision program draws the type only at power 8.
  kFlagDeepPower8 = 1024,
  // A round body, framed at the type's own camera distance whatever its radius.
  kFlagFixedFraming = 2048,
};

struct FractalType {
  std::string key;
  std::string name;
  std::string deDefine;
  std::string variantDefine;  // "JULIA", "BURNING" or empty
  double camDist;
  int32_t iterMax;
  double iterGrowth;
  uint32_t flags;
  double scaleMin, scaleMax;
  double cMin, cMax;
  void (*applyDefaults)(FractalParams&);
};

struct HybridFormula {
  std::string name;
  double kMin, kMax;
  double genMin, genMax;
};

struct Palette {
  std::string key;
  std::string name;
  std::vector<std::string> stops;  // empty for "custom": the record's own three
};

const std::vector<FractalType>& fractalTypes();
const std::vector<HybridFormula>& hybridFormulas();
const std::vector<Palette>& palettes();

// Index of the row whose key equals `key` byte for byte; 0 when none does.
int typeIndex(const std::string& key);
// Index of the palette row with this key; 0 when none does.
int paletteIndex(const std::string& key);

// The stop texts of the record's palette ("custom": customA, customB, customC).
std::vector<std::string> paletteStops(const FractalParams& p);
// 256 RGBA texels (1024 bytes) of a stop list, smoothstep between stops.
std::array<uint8_t, 1024> paletteTexels(const std::vector<std::string>& stops);
// "#rrggbb" to three floats in 0..1; anything else is black. Returns false for
// text that is not exactly seven characters of '#' and hex digits.
bool parseHexColour(const std::string& text, float rgb[3]);
