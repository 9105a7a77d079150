// The field table of the fractal record and its lookups.
#include "model/fields.h"

#include <cstring>

namespace {

// Distances: the camera's own nearest approach up to where any fractal is a
// dot. Angles of the camera wrap, so they need only be finite and not so large
// that a degree is lost to rounding.
constexpr double kNearest = 5e-12;
constexpr double kFarthest = 1e6;

using G = FieldGroup;
using B = SliderBounds;
using F = FractalParams;

constexpr SliderRange kConstantSlider{.decimals = 3, .bounds = B::TypeConstant};
constexpr SliderRange kFoldSlider{.lo = 0, .hi = 2, .decimals = 3};
constexpr SliderRange kRotationSlider{.lo = -180, .hi = 180, .decimals = 1, .unit = "°"};
// Rotations per iteration beyond a few tens of degrees shred every formula,
// hence the modest span.
constexpr double kRotationSpan = 20;
constexpr double kFoldSpan = 0.25;
// A scale moves by this share of the type's range, the constant by less.
constexpr double kScaleShare = 0.15;
constexpr double kConstantShare = 0.08;

// Quaternion Julia reads all four parts of its constant, but mutation has only
// ever moved its w: x, y and z move for the types with the Julia bit alone.
const NumberField kFields[] = {
    {.key = "iter", .field = &F::iter, .group = G::Shape, .lo = 1, .hi = 400,  // and the type's iterMax
     .label = "Итерации", .slider = {.lo = 1, .decimals = 0, .bounds = B::TypeIter}},
    {.key = "power", .field = &F::power, .group = G::Shape, .lo = 1, .hi = 32,
     .label = "Степень", .slider = {.lo = 2, .hi = 16, .decimals = 2}, .types = kFlagPower,
     .mutation = {.order = 1, .span = 3}},
    {.key = "scale", .field = &F::scale, .group = G::Shape, .lo = -10, .hi = 10,
     .label = "Масштаб", .slider = {.decimals = 3, .bounds = B::TypeScale}, .types = kFlagScale,
     .mutation = {.order = 8, .share = kScaleShare}},
    {.key = "jx", .field = &F::jx, .group = G::Shape, .lo = -4, .hi = 4, .label = "C · x",
     .slider = kConstantSlider, .types = kFlagJulia | kFlagJuliaW,
     .mutation = {.order = 9, .share = kConstantShare, .types = kFlagJulia}},
    {.key = "jy", .field = &F::jy, .group = G::Shape, .lo = -4, .hi = 4, .label = "C · y",
     .slider = kConstantSlider, .types = kFlagJulia | kFlagJuliaW,
     .mutation = {.order = 10, .share = kConstantShare, .types = kFlagJulia}},
    {.key = "jz", .field = &F::jz, .group = G::Shape, .lo = -4, .hi = 4, .label = "C · z",
     .slider = kConstantSlider, .types = kFlagJulia | kFlagJuliaW,
     .mutation = {.order = 11, .share = kConstantShare, .types = kFlagJulia}},
    {.key = "jw", .field = &F::jw, .group = G::Shape, .lo = -4, .hi = 4, .label = "C · w",
     .slider = kConstantSlider, .types = kFlagJuliaW, .mutation = {.order = 12, .share = kConstantShare}},
    {.key = "ox", .field = &F::ox, .group = G::Shape, .lo = -10, .hi = 10, .label = "Смещение складки x",
     .slider = kFoldSlider, .types = kFlagFold, .mutation = {.order = 2, .span = kFoldSpan}},
    {.key = "oy", .field = &F::oy, .group = G::Shape, .lo = -10, .hi = 10, .label = "Смещение складки y",
     .slider = kFoldSlider, .types = kFlagFold, .mutation = {.order = 3, .span = kFoldSpan}},
    {.key = "oz", .field = &F::oz, .group = G::Shape, .lo = -10, .hi = 10, .label = "Смещение складки z",
     .slider = kFoldSlider, .types = kFlagFold, .mutation = {.order = 4, .span = kFoldSpan}},
    {.key = "rx", .field = &F::rx, .group = G::Shape, .lo = -360, .hi = 360, .label = "Вокруг X",
     .slider = kRotationSlider, .types = kFlagRotation, .mutation = {.order = 5, .span = kRotationSpan}},
    {.key = "ry", .field = &F::ry, .group = G::Shape, .lo = -360, .hi = 360, .label = "Вокруг Y",
     .slider = kRotationSlider, .types = kFlagRotation, .mutation = {.order = 6, .span = kRotationSpan}},
    {.key = "rz", .field = &F::rz, .group = G::Shape, .lo = -360, .hi = 360, .label = "Вокруг Z",
     .slider = kRotationSlider, .types = kFlagRotation, .mutation = {.order = 7, .span = kRotationSpan}},
    // Every estimator runs through the warp, so every type reads it.
    {.key = "warp", .field = &F::warp, .group = G::Shape, .lo = -10, .hi = 10, .label = "Деформация",
     .slider = {.lo = 0, .hi = 1, .decimals = 3}},
    {.key = "colShift", .field = &F::colShift, .group = G::Look, .lo = -1000, .hi = 1000,
     .label = "Сдвиг палитры", .slider = {.lo = 0, .hi = 1, .decimals = 3},
     .mutation = {.order = 13, .span = 0.25}},
    {.key = "colScale", .field = &F::colScale, .group = G::Look, .lo = -1000, .hi = 1000,
     .label = "Частота цвета", .slider = {.lo = 0.2, .hi = 4, .decimals = 2},
     .mutation = {.order = 14, .span = 0.4}},
    {.key = "lightYaw", .field = &F::lightYaw, .group = G::Look, .lo = -3600, .hi = 3600,
     .label = "Азимут", .slider = {.lo = 0, .hi = 360, .decimals = 0, .unit = "°"},
     .mutation = {.order = 15, .span = 60, .step = 1, .wraps = true}},
    {.key = "lightPitch", .field = &F::lightPitch, .group = G::Look, .lo = -90, .hi = 90,
     .label = "Высота", .slider = {.lo = -10, .hi = 90, .decimals = 0, .unit = "°"},
     .mutation = {.order = 16, .span = 20, .step = 1}},
    {.key = "light", .field = &F::light, .group = G::Look, .lo = 0, .hi = 100,
     .label = "Яркость", .slider = {.lo = 0, .hi = 3}},
    {.key = "ambient", .field = &F::ambient, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Рассеянный", .slider = {.lo = 0, .hi = 1.5}},
    {.key = "spec", .field = &F::spec, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Блики", .slider = {.lo = 0, .hi = 2}},
    {.key = "shadowSoft", .field = &F::shadowSoft, .group = G::Look, .lo = 0, .hi = 1000,
     .label = "Жёсткость теней", .slider = {.lo = 1, .hi = 64, .decimals = 1}},
    {.key = "metal", .field = &F::metal, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Металл", .slider = {.lo = 0, .hi = 1}, .mutation = {.order = 18, .span = 0.12}},
    {.key = "irid", .field = &F::irid, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Перламутр", .slider = {.lo = 0, .hi = 1}},
    {.key = "glow", .field = &F::glow, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Свечение", .slider = {.lo = 0, .hi = 1}, .mutation = {.order = 17, .span = 0.08}},
    {.key = "fog", .field = &F::fog, .group = G::Look, .lo = 0, .hi = 10,
     .label = "Туман", .slider = {.lo = 0, .hi = 1}},
    {.key = "exposure", .field = &F::exposure, .group = G::View, .lo = 0, .hi = 100,
     .label = "Экспозиция", .slider = {.lo = 0.1, .hi = 4}},
    {.key = "bloom", .field = &F::bloom, .group = G::View, .lo = 0, .hi = 10,
     .label = "Ореол", .slider = {.lo = 0, .hi = 1.5}},
    {.key = "vignette", .field = &F::vignette, .group = G::View, .lo = 0, .hi = 10,
     .label = "Виньетка", .slider = {.lo = 0, .hi = 1}},
    {.key = "fov", .field = &F::fov, .group = G::View, .lo = 0.1, .hi = 179,
     .label = "Поле зрения", .slider = {.lo = 20, .hi = 120, .decimals = 0, .unit = "°"}},
    {.key = "aperture", .field = &F::aperture, .group = G::View, .lo = 0, .hi = 10,
     .label = "Диафрагма", .slider = {.lo = 0, .hi = 0.2, .decimals = 3}},
    {.key = "focus", .field = &F::focus, .group = G::View, .lo = kNearest, .hi = kFarthest,
     .label = "Фокус", .slider = {.lo = 0.001, .hi = 50, .decimals = 3, .logarithmic = true}},
    {.key = "tx", .field = &F::tx, .group = G::Camera, .lo = -1e6, .hi = 1e6},
    {.key = "ty", .field = &F::ty, .group = G::Camera, .lo = -1e6, .hi = 1e6},
    {.key = "tz", .field = &F::tz, .group = G::Camera, .lo = -1e6, .hi = 1e6},
    {.key = "yaw", .field = &F::yaw, .group = G::Camera, .lo = -1e9, .hi = 1e9},
    {.key = "pitch", .field = &F::pitch, .group = G::Camera, .lo = -90, .hi = 90},
    {.key = "dist", .field = &F::dist, .group = G::Camera, .lo = kNearest, .hi = kFarthest},
};

}  // namespace

std::span<const NumberField> numberFields() { return kFields; }

const NumberField* findField(double FractalParams::*field) {
  for (const NumberField& f : kFields)
    if (f.field == field) return &f;
  return nullptr;
}

const NumberField* findField(const char* key) {
  for (const NumberField& f : kFields)
    if (std::strcmp(f.key, key) == 0) return &f;
  return nullptr;
}

void sliderEnds(const NumberField& f, const FractalType& row, double& lo, double& hi) {
  switch (f.slider.bounds) {
    case SliderBounds::Fixed: lo = f.slider.lo, hi = f.slider.hi; return;
    case SliderBounds::TypeIter: lo = f.slider.lo, hi = row.iterMax; return;
    case SliderBounds::TypeScale: lo = row.scaleMin, hi = row.scaleMax; return;
    case SliderBounds::TypeConstant: lo = row.cMin, hi = row.cMax; return;
  }
}
