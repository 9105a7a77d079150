// The reference is deliberately plain: every estimator is written from its
// formula with its own small vector type, the bulb always takes the
// trigonometric form (the renderer's closed form must agree with it at power
// 8 and must not be used anywhere else), and the fold rotation is built by
// multiplying the three axis rotations instead of a pre-expanded matrix.
#include "reference_march.h"

#include "model/tables.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace {

struct V3 {
  double x = 0, y = 0, z = 0;
};
V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 operator*(V3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double dot(V3 a, V3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double len(V3 a) { return std::sqrt(dot(a, a)); }
V3 vabs(V3 a) { return {std::fabs(a.x), std::fabs(a.y), std::fabs(a.z)}; }

struct M3 {
  double m[3][3];  // row, column
};
V3 operator*(const M3& a, V3 v) {
  return {a.m[0][0] * v.x + a.m[0][1] * v.y + a.m[0][2] * v.z,
          a.m[1][0] * v.x + a.m[1][1] * v.y + a.m[1][2] * v.z,
          a.m[2][0] * v.x + a.m[2][1] * v.y + a.m[2][2] * v.z};
}
M3 operator*(const M3& a, const M3& b) {
  M3 o{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) o.m[i][j] += a.m[i][k] * b.m[k][j];
  return o;
}

// Turns about X, then Y, then Z by the record's angles in degrees.
M3 foldRotation(const FractalParams& p) {
  const double d = M_PI / 180;
  const double ax = p.rx * d, ay = p.ry * d, az = p.rz * d;
  const M3 rx{{{1, 0, 0}, {0, std::cos(ax), -std::sin(ax)}, {0, std::sin(ax), std::cos(ax)}}};
  const M3 ry{{{std::cos(ay), 0, std::sin(ay)}, {0, 1, 0}, {-std::sin(ay), 0, std::cos(ay)}}};
  const M3 rz{{{std::cos(az), -std::sin(az), 0}, {std::sin(az), std::cos(az), 0}, {0, 0, 1}}};
  return rz * (ry * rx);
}

struct Shape {
  const FractalParams& p;
  std::string de;       // estimator family
  std::string variant;  // "JULIA", "BURNING" or ""
  int iter;
  M3 rot;
  V3 fold, julia;
};

// [SECTION] Per-formula steps

void bulbPower(V3& z, double r, double& dr, V3 c, double k) {
  const double theta = std::acos(std::clamp(z.z / std::max(r, 1e-9), -1.0, 1.0)) * k;
  const double phi = std::atan2(z.y, z.x) * k;
  const double rp = std::pow(r, k - 1);
  dr = rp * k * dr + 1;
  z = V3{std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)} *
          (rp * r) + c;
}

double clamp1(double v) { return std::clamp(v, -1.0, 1.0); }

void boxIteration(const Shape& s, V3& z, double& dr, double scale, V3 c) {
  z = V3{clamp1(z.x), clamp1(z.y), clamp1(z.z)} * 2 - z;
  const double r2 = dot(z, z);
  if (r2 < 0.25) {
    z = z * 4;
    dr *= 4;
  } else if (r2 < 1) {
    z = z * (1 / r2);
    dr /= r2;
  }
  z = s.rot * z;
  z = z * scale + c;
  dr = dr * std::fabs(scale) + 1;
}

V3 sierpinskiFold(V3 p) {
  if (p.x + p.y < 0) p = {-p.y, -p.x, p.z};
  if (p.x + p.z < 0) p = {-p.z, p.y, -p.x};
  if (p.y + p.z < 0) p = {p.x, -p.z, -p.y};
  return p;
}

V3 sortFold(V3 p) {
  p = vabs(p);
  if (p.x < p.y) std::swap(p.x, p.y);
  if (p.x < p.z) std::swap(p.x, p.z);
  if (p.y < p.z) std::swap(p.y, p.z);
  return p;
}

V3 mengerScale(V3 p, V3 f, double s) {
  const double h = 0.5 * f.z * (s - 1) / s;
  p.z = h - std::fabs(p.z - h);
  return {s * p.x - f.x * (s - 1), s * p.y - f.y * (s - 1), s * p.z};
}

V3 offsetScale(V3 p, V3 f, double s) { return p * s - f * (s - 1); }

// [SECTION] Estimators

double bulbDE(const Shape& s, V3 p) {
  V3 z = p;
  double dr = 1, r = len(z);
  const V3 c = s.variant == "JULIA" ? s.julia : p;
  for (int i = 0; i < s.iter && r <= 4; ++i) {
    if (s.variant == "BURNING") z.x = std::fabs(z.x), z.y = std::fabs(z.y);
    bulbPower(z, r, dr, c, s.p.power);
    r = len(z);
  }
  return 0.5 * std::log(std::max(r, 1e-9)) * r / dr;
}

double boxDE(const Shape& s, V3 p) {
  V3 z = p;
  double dr = 1;
  const V3 c = s.variant == "JULIA" ? p + s.julia : p;
  for (int i = 0; i < s.iter; ++i) boxIteration(s, z, dr, s.p.scale, c);
  return len(z) / std::fabs(dr);
}

double foldDE(const Shape& s, V3 p) {
  const double S = s.p.scale;
  double scale = 1;
  for (int i = 0; i < s.iter; ++i) {
    if (s.de == "DE_SIERP") {
      p = offsetScale(s.rot * sierpinskiFold(p), s.fold, S);
    } else if (s.de == "DE_MENGER") {
      p = mengerScale(s.rot * sortFold(p), s.fold, S);
    } else {
      p = offsetScale(s.rot * sortFold(p), s.fold, S);
    }
    scale *= S;
  }
  if (s.de == "DE_SIERP") {
    const double d = std::max(std::max(-p.x - p.y - p.z, p.x + p.y - p.z),
                              std::max(-p.x + p.y + p.z, p.x - p.y + p.z));
    return (d - 1) * 0.57735 / scale;
  }
  if (s.de == "DE_MENGER") {
    const V3 q = vabs(p) - V3{1, 1, 1};
    const V3 outside{std::max(q.x, 0.0), std::max(q.y, 0.0), std::max(q.z, 0.0)};
    return (len(outside) + std::min(std::max(q.x, std::max(q.y, q.z)), 0.0)) / scale;
  }
  return (std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z) - 1) * 0.57735 / scale;
}

double apollonianDE(const Shape& s, V3 p) {
  double scale = 1;
  auto wrap = [](double v) {  // into [-1, 1)
    const double h = 0.5 * v + 0.5;
    return -1 + 2 * (h - std::floor(h));
  };
  for (int i = 0; i < s.iter; ++i) {
    p = {wrap(p.x), wrap(p.y), wrap(p.z)};
    const double k = s.p.scale / std::max(dot(p, p), 1e-6);
    p = p * k;
    scale *= k;
  }
  return 0.25 * std::fabs(p.y) / scale;
}

double quaternionJuliaDE(const Shape& s, V3 p) {
  double z[4] = {p.x, p.y, p.z, 0};
  const double c[4] = {s.p.jx, s.p.jy, s.p.jz, s.p.jw};
  double md2 = 1, mz2 = p.x * p.x + p.y * p.y + p.z * p.z;
  for (int i = 0; i < s.iter; ++i) {
    md2 *= 4 * mz2;
    const double v2 = z[1] * z[1] + z[2] * z[2] + z[3] * z[3];
    const double next[4] = {z[0] * z[0] - v2, 2 * z[0] * z[1], 2 * z[0] * z[2], 2 * z[0] * z[3]};
    mz2 = 0;
    for (int j = 0; j < 4; ++j) {
      z[j] = next[j] + c[j];
      mz2 += z[j] * z[j];
    }
    if (mz2 > 4) break;
  }
  return 0.25 * std::sqrt(mz2 / md2) * std::log(std::max(mz2, 1e-9));
}

double hybridDE(const Shape& s, V3 p) {
  const std::vector<FormulaSlot>& slots = s.p.slots;
  bool anyBulb = false, anyBox = false;
  for (const FormulaSlot& slot : slots) anyBulb |= slot.f <= 1, anyBox |= slot.f == 2;
  const int mode = anyBulb ? 0 : anyBox ? 1 : 2;
  const int n = std::max(1, int(std::min<size_t>(slots.size(), 4)));
  V3 z = p;
  double dr = 1, r = len(z);
  const V3 c = s.p.jmode == 1 ? s.julia : s.p.jmode == 2 ? p + s.julia : p;
  const double bail = mode == 0 ? 4 : 64;
  for (int i = 0; i < s.iter && r <= bail; ++i) {
    const FormulaSlot slot = slots.empty() ? FormulaSlot{} : slots[i % n];
    const double k = double(float(slot.k));  // the shader receives the coefficient as float
    if (slot.f <= 1) {
      if (slot.f == 1) z.x = std::fabs(z.x), z.y = std::fabs(z.y);
      bulbPower(z, r, dr, c, k);
    } else if (slot.f == 2) {
      boxIteration(s, z, dr, k, c);
    } else if (slot.f == 5) {
      z = offsetScale(s.rot * sierpinskiFold(z), s.fold, k);
      dr *= k;
    } else {
      z = s.rot * sortFold(z);
      z = slot.f == 4 ? mengerScale(z, s.fold, k) : offsetScale(z, s.fold, k);
      dr *= k;
    }
    r = len(z);
  }
  if (mode == 0) return 0.5 * std::log(std::max(r, 1e-9)) * r / std::fabs(dr);
  if (mode == 1) return r / std::fabs(dr);
  return (r - 1) / std::fabs(dr);
}

double estimate(const Shape& s, V3 p) {
  if (s.de == "DE_BULB") return bulbDE(s, p);
  if (s.de == "DE_BOX") return boxDE(s, p);
  if (s.de == "DE_APOLLO") return apollonianDE(s, p);
  if (s.de == "DE_QJULIA") return quaternionJuliaDE(s, p);
  if (s.de == "DE_HYBRID") return hybridDE(s, p);
  return foldDE(s, p);
}

double mapWarped(const Shape& s, V3 p) {
  const double w = s.p.warp;
  if (w <= 0) return estimate(s, p);
  const V3 f = s.fold;
  p = p + V3{std::sin(p.y * 3 + f.x * 2), std::sin(p.z * 3 + f.y * 2), std::sin(p.x * 3 + f.z * 2)} *
              (w * 0.15);
  return estimate(s, p) / (1 + 0.45 * w);
}

Shape shapeOf(const FractalParams& p) {
  const FractalType& t = fractalTypes()[typeIndex(p.type)];
  return {p, t.deDefine, t.variantDefine, int(std::floor(p.iter + 0.5)), foldRotation(p),
          {p.ox, p.oy, p.oz}, {p.jx, p.jy, p.jz}};
}

double stepFactor(const std::string& de) {
  if (de == "DE_BULB" || de == "DE_QJULIA") return 0.9;
  if (de == "DE_BOX") return 0.95;
  if (de == "DE_HYBRID") return 0.85;
  return 1.0;
}

}  // namespace

ReferenceImage referenceMarch(const FractalParams& p, const CameraView& c, int w, int h,
                              int maxSteps, double detail) {
  const Shape s = shapeOf(p);
  const double stepK = stepFactor(s.de);
  const V3 ro{c.pos[0], c.pos[1], c.pos[2]};
  const V3 right{c.basis[0], c.basis[1], c.basis[2]}, up{c.basis[3], c.basis[4], c.basis[5]},
      forward{c.basis[6], c.basis[7], c.basis[8]};
  const double pix = 2 * c.tanHalfFov / h * detail, tmax = c.distance * 25;
  ReferenceImage img{w, h, std::vector<double>(size_t(w) * h, 10000)};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const double u = (2 * (x + 0.5) - w) / h * c.tanHalfFov, v = (2 * (y + 0.5) - h) / h * c.tanHalfFov;
      V3 rd = right * u + up * v + forward;
      rd = rd * (1 / len(rd));
      double t = 0;
      for (int i = 0; i < maxSteps; ++i) {
        const double d = mapWarped(s, ro + rd * t);
        if (d < std::max(pix * t, 1e-6) * 0.5) {
          img.depth[size_t(y) * w + x] = t;
          break;
        }
        t += d * stepK;
        if (t > tmax) break;
      }
    }
  return img;
}
