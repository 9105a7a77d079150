// The starting record of each fractal type.
#include "model/params.h"

#include "model/tables.h"

namespace {

const NumberField kNumberFields[] = {
    {"iter", &FractalParams::iter, false},
    {"power", &FractalParams::power, false},
    {"scale", &FractalParams::scale, false},
    {"jx", &FractalParams::jx, false},
    {"jy", &FractalParams::jy, false},
    {"jz", &FractalParams::jz, false},
    {"jw", &FractalParams::jw, false},
    {"ox", &FractalParams::ox, false},
    {"oy", &FractalParams::oy, false},
    {"oz", &FractalParams::oz, false},
    {"rx", &FractalParams::rx, false},
    {"ry", &FractalParams::ry, false},
    {"rz", &FractalParams::rz, false},
    {"warp", &FractalParams::warp, false},
    {"colShift", &FractalParams::colShift, false},
    {"colScale", &FractalParams::colScale, false},
    {"lightYaw", &FractalParams::lightYaw, false},
    {"lightPitch", &FractalParams::lightPitch, false},
    {"light", &FractalParams::light, false},
    {"ambient", &FractalParams::ambient, false},
    {"spec", &FractalParams::spec, false},
    {"shadowSoft", &FractalParams::shadowSoft, false},
    {"metal", &FractalParams::metal, false},
    {"irid", &FractalParams::irid, false},
    {"glow", &FractalParams::glow, false},
    {"fog", &FractalParams::fog, false},
    {"exposure", &FractalParams::exposure, false},
    {"bloom", &FractalParams::bloom, false},
    {"vignette", &FractalParams::vignette, false},
    {"fov", &FractalParams::fov, false},
    {"aperture", &FractalParams::aperture, false},
    {"focus", &FractalParams::focus, false},
    {"tx", &FractalParams::tx, true},
    {"ty", &FractalParams::ty, true},
    {"tz", &FractalParams::tz, true},
    {"yaw", &FractalParams::yaw, true},
    {"pitch", &FractalParams::pitch, true},
    {"dist", &FractalParams::dist, true},
};

}  // namespace

std::span<const NumberField> numberFields() { return kNumberFields; }

FractalParams defaultsForType(const std::string& typeKey) {
  const FractalType& row = fractalTypes()[typeIndex(typeKey)];
  FractalParams p;
  p.type = row.key;
  row.applyDefaults(p);
  p.tx = p.ty = p.tz = 0;
  p.yaw = 35;
  p.pitch = 22;
  p.dist = row.camDist;
  return p;
}
