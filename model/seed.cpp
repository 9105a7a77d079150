// The seed generator: one SHA-256 digest, each field read from its own byte.
// Every multiplier, addend and the order of every sum below is part of the
// seed contract (users share seeds, not presets); an innocent-looking
// reassociation moves a floor() and changes someone's fractal.
#include "model/seed.h"

#include "model/sha256.h"
#include "model/tables.h"

#include <algorithm>
#include <cmath>

namespace {

using Digest = std::array<uint8_t, 32>;

// floor(d*M + A)*S, the shared quantiser of every drawn field.
double q(uint8_t d, double m, double a, double s) {
  return std::floor(static_cast<double>(d) * m + a) * s;
}

// d/255 as the generator has always computed it, for gates and thresholds.
double u(uint8_t d) { return static_cast<double>(d) * 0.00392156862745098; }

// Three fields quantised alike from three consecutive digest bytes.
void drawTriple(double& x, double& y, double& z, const Digest& d, int first, double m, double a,
                double s) {
  x = q(d[first], m, a, s);
  y = q(d[first + 1], m, a, s);
  z = q(d[first + 2], m, a, s);
}

double roundMilli(double v) { return std::floor(v * 1000 + 0.5) * 0.001; }

double length3(double x, double y, double z) { return std::sqrt(x * x + y * y + z * z); }

bool hasFixedFraming(const std::string& key) {
  return fractalTypes()[typeIndex(key)].flags & kFlagFixedFraming;
}

constexpr double kPowers[12] = {8, 8, 8, 7, 9, 6, 10, 5, 4, 12, 3, 11};
constexpr double kBoxScales[8] = {-1.5, -1.77, -2.0, -2.2, -2.5, 2.0, 2.5, 3.0};
constexpr double kQJulia[6][4] = {
    {-0.291, -0.399, 0.339, 0.437},  {-0.2, 0.6, 0.2, 0.2},
    {-0.45, 0.447, 0.181, 0.306},    {-0.137, -0.63, -0.475, -0.046},
    {-0.218, -0.113, -0.181, -0.496}, {0.185, 0.478, 0.125, -0.392},
};

void drawBulb(FractalParams& p, const Digest& d) {
  const double base = kPowers[d[15] % 12];
  p.power = base;
  if (u(d[16]) < 0.3) p.power = roundMilli(u(d[17]) + base - 0.5);
  if (p.type == "juliabulb") {
    drawTriple(p.jx, p.jy, p.jz, d, 18, 7.058823529411765, -899.5, 0.001);
  }
}

void drawBox(FractalParams& p, const Digest& d) {
  p.scale = roundMilli(d[16] * 0.0006274509803921569 - 0.08 + kBoxScales[d[15] & 7]);
  if (u(d[17]) < 0.45) {
    drawTriple(p.rx, p.ry, p.rz, d, 18, 0.09411764705882353, -11.5, 1);
  }
  if (p.type == "juliabox") {
    drawTriple(p.jx, p.jy, p.jz, d, 21, 4.705882352941176, -599.5, 0.001);
  }
}

// Menger and Sierpinski draw the same fields from the same bytes, each with
// its own intervals; about a third of seeds keep the classic shape.
struct FoldDraws {
  double scaleM, scaleA;  // scale from d16
  double offsetM, offsetA;  // ox, oy, oz from d17..d19
  double rotationGate;  // rotation drawn when u(d20) is below this
  double rotationM, rotationA;  // rx, ry, rz from d21..d23
};
constexpr FoldDraws kMengerDraws{1.7647058823529418, 2400.5, 0.9411764705882352, 880.5,
                                 0.6, 0.0784313725490196, -9.5};
constexpr FoldDraws kSierpinskiDraws{0.9411764705882352, 1720.5, 0.4705882352941176, 940.5,
                                     0.3, 0.023529411764705882, -2.5};

void drawFold(FractalParams& p, const Digest& d, const FoldDraws& k) {
  if (u(d[15]) < 0.35) return;
  p.scale = q(d[16], k.scaleM, k.scaleA, 0.001);
  drawTriple(p.ox, p.oy, p.oz, d, 17, k.offsetM, k.offsetA, 0.001);
  if (u(d[20]) < k.rotationGate) drawTriple(p.rx, p.ry, p.rz, d, 21, k.rotationM, k.rotationA, 1);
}

void drawKifs(FractalParams& p, const Digest& d) {
  p.scale = q(d[15], 1.568627450980392, 1600.5, 0.001);
  p.ox = q(d[17], 0.9803921568627446, 900.5, 0.001);
  p.oy = q(d[18], 1.176470588235294, 0.5, 0.001);
  p.oz = q(d[19], 0.9803921568627451, 0.5, 0.001);
  drawTriple(p.rx, p.ry, p.rz, d, 21, 0.11764705882352941, -14.5, 1);
}

void drawQJulia(FractalParams& p, const Digest& d) {
  const double* row = kQJulia[d[15] % 6];
  p.jx = roundMilli(d[16] * 0.0004705882352941176 + row[0] - 0.06);
  p.jy = roundMilli(d[17] * 0.0004705882352941176 + row[1] - 0.06);
  p.jz = roundMilli(d[18] * 0.0004705882352941176 + row[2] - 0.06);
  p.jw = roundMilli(d[19] * 0.0004705882352941176 + row[3] - 0.06);
}

void drawHybrid(FractalParams& p, const Digest& d) {
  const int count = 2 + (d[15] & 1);
  p.slots.clear();
  for (int i = 0; i < count; ++i) {
    // The first link draws x from 0..0.5 only, so a chain never opens with a
    // Menger or tetrahedron fold.
    const double x = i == 0 ? d[16] * 0.00196078431372549 : u(d[2 * i + 16]);
    p.slots.push_back(hybridSlotFromDraw(x, u(d[2 * i + 17])));
  }
  const double jm = u(d[22]);
  p.jmode = jm < 0.7 ? 0 : (jm < 0.85 ? 1 : 2);
  drawTriple(p.jx, p.jy, p.jz, d, 23, 3.9215686274509802, -499.5, 0.001);
  p.oy = q(d[26], 1.176470588235294, 0.5, 0.001);
  p.oz = q(d[27], 0.9803921568627451, 0.5, 0.001);
  if (u(d[28]) < 0.5) {
    drawTriple(p.rx, p.ry, p.rz, d, 29, 0.0784313725490196, -9.5, 1);
  }
}

void drawShape(FractalParams& p, const Digest& d) {
  const std::string& t = p.type;
  if (t == "mandelbulb" || t == "burningbulb" || t == "juliabulb") drawBulb(p, d);
  else if (t == "mandelbox" || t == "juliabox") drawBox(p, d);
  else if (t == "menger") drawFold(p, d, kMengerDraws);
  else if (t == "sierpinski") drawFold(p, d, kSierpinskiDraws);
  else if (t == "kifs") drawKifs(p, d);
  else if (t == "apollonian") p.scale = q(d[15], 1.4509803921568623, 1050.5, 0.001);
  else if (t == "qjulia") drawQJulia(p, d);
  else if (t == "hybrid") drawHybrid(p, d);
}

void drawWarp(FractalParams& p, const Digest& d) {
  const std::string& t = p.type;
  if (t == "menger" || t == "sierpinski" || t == "kifs" || u(d[24]) >= 0.18) p.warp = 0;
  else p.warp = q(d[25], 1.5686274509803924, 100.5, 0.001);
}

void drawLook(FractalParams& p, const Digest& d) {
  const auto& pals = palettes();
  p.palette = pals[d[4] % (pals.size() - 1)].key;
  p.colShift = q(d[5], 3.9215686274509802, 0.5, 0.001);
  p.colScale = q(d[6], 4.313725490196079, 700.5, 0.001);
  p.lightYaw = q(d[12], 1.4117647058823528, 0.5, 1);
  p.lightPitch = q(d[13], 0.21568627450980393, 15.5, 1);
  p.glow = q(d[26], 1.5686274509803924, 50.5, 0.001);
  if (u(d[27]) >= 0.5) p.metal = std::floor((d[28] * 2.1568627450980395 + 350.0) + 0.5) * 0.001;
  else p.metal = q(d[28], 1.372549019607843, 0.5, 0.001);
  p.irid = u(d[29]) >= 0.3 ? 0 : q(d[30], 2.3529411764705883, 200.5, 0.001);
  p.yaw = q(d[7], 1.4117647058823528, 0.5, 1);
  p.pitch = q(d[8], 0.19607843137254902, -4.5, 1);
}

void drawDistance(FractalParams& p, const Digest& d) {
  const double camDist = fractalTypes()[typeIndex(p.type)].camDist;
  const double r = sceneRadius(p);
  const double reach = (r > 0 && !hasFixedFraming(p.type)) ? std::max(r * 1.9, camDist) : camDist;
  p.dist = std::floor((d[9] * 0.9803921568627451 + 950.0) * reach + 0.5) * 0.001;
  p.focus = p.dist;
}

// Box-fold radius shared by the scene radius and the hybrid framing; the two
// callers differ in how a negative scale is widened.
double boxRadius(double s) { return (2 * s + 2) / (s - 1); }

}  // namespace

FractalParams generateFromSeed(const std::string& seed, const std::string& typeKey,
                               const FractalParams* base) {
  const Digest d = sha256("seedmap_v3:" + seed);
  FractalParams p = defaultsForType(typeKey);
  if (base) {
    p.exposure = base->exposure;
    p.bloom = base->bloom;
    p.vignette = base->vignette;
    p.fov = base->fov;
    p.aperture = base->aperture;
    p.autoFocus = base->autoFocus;
  }
  p.seed = seed;
  drawShape(p, d);
  drawWarp(p, d);
  drawLook(p, d);
  drawDistance(p, d);
  return p;
}

double sceneRadius(const FractalParams& p) {
  const double w = p.warp * 0.2;
  const std::string& t = p.type;
  if (t == "mandelbulb" || t == "burningbulb") return 1.3 + w;
  if (t == "juliabulb") return 1.6 + w;
  if (t == "qjulia") return 1.8 + w;
  if (t == "mandelbox" || t == "juliabox") {
    const double s = std::fabs(p.scale);
    if (s <= 1.02) return 0;
    double r = boxRadius(s);
    if (p.scale > 0) r = r * 1.75;
    else if (s >= 1.45) r = r * 0.65 + 0.3;
    const double c = t == "juliabox" ? length3(p.jx, p.jy, p.jz) : 0.0;
    return std::min(r, 40.0) + w + c;
  }
  if (t == "menger" || t == "sierpinski" || t == "kifs") {
    if (p.scale <= 1.02) return 0;
    return length3(p.ox, p.oy, p.oz) * 1.02 + 1.75 * std::pow(p.scale, -p.iter) + 0.05 + w;
  }
  return 0;
}

double framingDistance(const FractalParams& p) {
  if (p.type == "hybrid") {
    double m = 1.3;
    for (const FormulaSlot& slot : p.slots) {
      double r = 0;
      if (slot.f == 2) {
        const double s = std::fabs(slot.k);
        if (s <= 1.02) continue;
        r = boxRadius(s);
        r = slot.k > 0 ? r * 1.75 : r * 0.65 + 0.3;
        r = std::min(r, 12.0);
      } else if (slot.f >= 3 && slot.f <= 5) {
        r = length3(p.ox, p.oy, p.oz) + 0.3;
      } else {
        continue;
      }
      m = std::max(m, r);
    }
    return m * 2.2;
  }
  const double camDist = fractalTypes()[typeIndex(p.type)].camDist;
  const double r = sceneRadius(p);
  if (hasFixedFraming(p.type) || r <= 0) return camDist;
  return std::max(camDist, r * 1.9);
}

FormulaSlot hybridSlotFromDraw(double x, double y) {
  const int f = static_cast<int>(std::floor(x * 6.0)) % 6;
  const HybridFormula& row = hybridFormulas()[f];
  double p = (row.genMax - row.genMin) * y + row.genMin;
  if (f < 2) p = std::floor(p + 0.5);
  return {f, std::floor(p * 1000 + 0.5) * 0.001};
}
