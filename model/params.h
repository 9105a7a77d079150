// The parameter record of one fractal: formula, colouring, lighting, lens and
// camera pose. Field names are the preset's JSON keys; numbers are doubles,
// angles are degrees. Copied by value everywhere (history, morphing, crossing).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One link of the hybrid chain: formula index into hybridFormulas() and its
// own power (bulb links) or scale (fold links).
struct FormulaSlot {
  int32_t f = 0;
  double k = 8;

  bool operator==(const FormulaSlot&) const = default;
};

// Declaration order is the contract: presets, history and tests rely on it.
struct FractalParams {
  std::string seed = "classic";
  std::string type = "mandelbulb";
  double iter = 10;
  double power = 8;
  double scale = 2;
  double jx = 0, jy = 0, jz = 0, jw = 0;
  double ox = 1, oy = 1, oz = 1;
  double rx = 0, ry = 0, rz = 0;
  double warp = 0;
  std::vector<FormulaSlot> slots;
  int32_t jmode = 0;
  std::string palette = "qiv";
  double colShift = 0;
  double colScale = 1;
  std::string customA = "#10131f";
  std::string customB = "#ff4fa3";
  std::string customC = "#ffe08a";
  double lightYaw = 40;
  double lightPitch = 45;
  double light = 1;
  double ambient = 0.5;
  double spec = 0.6;
  double shadowSoft = 10;
  double metal = 0.25;
  double irid = 0;
  double glow = 0.25;
  std::string glowColor = "#5A4FC8";
  double fog = 0.15;
  double exposure = 1;
  double bloom = 0.35;
  double vignette = 0.35;
  std::string bgTop = "#0E4A50";
  std::string bgBot = "#031F23";
  double fov = 50;
  double aperture = 0;
  bool autoFocus = true;
  double focus = 2.7;
  double tx = 0, ty = 0, tz = 0;
  double yaw = 35;
  double pitch = 22;
  double dist = 3.4;

  bool operator==(const FractalParams&) const = default;
};

// The record a new fractal of `typeKey` starts from: defaults, the type's own
// overrides, and the type's default camera. An unknown key gives "mandelbulb".
FractalParams defaultsForType(const std::string& typeKey);
