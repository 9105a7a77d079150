precision highp float;
precision highp int;
// Single-precision distance estimators shared by the trace, prepass and volume
// programs. Exactly one DE is compiled in, chosen by a DE_* define (plus JULIA
// or BURNING). Kept valid GLSL ES 3.00 because the browser edition of the
// explorer compiles this same text: no doubles, no implicit int->float.
//
// Index: fractal uniforms; bulb steps (bulb8, bulbStep); fold and box helpers;
// DE per family; map (warp); albedo (palette).

// [SECTION] Fractal uniforms
uniform int uIter;
uniform float uPower;
uniform float uScale;
uniform vec4 uJulia;
uniform vec3 uFold;
uniform mat3 uRot;
uniform float uWarp;
uniform float uColShift;
uniform float uColScale;
uniform ivec4 uSlotF;
uniform vec4 uSlotK;
uniform int uSlotN;
uniform int uJMode;
uniform int uDEMode;
uniform sampler2D uPal;

// Orbit trap of the last DE call, roughly in [0, 2]; colours the surface.
float gTrap = 0.0;

// [SECTION] Bulb steps

// z -> z^8 in spherical coordinates without acos/atan/pow. The axes are
// rotated so that it matches bulbStep's trigonometric form exactly at power 8
// and the shape does not jump when the power crosses 8.
vec3 bulb8(vec3 z) {
  float x = z.y;
  float y = z.z;
  float q = z.x;
  float x2 = x * x;
  float x4 = x2 * x2;
  float y2 = y * y;
  float y4 = y2 * y2;
  float z2 = q * q;
  float z4 = z2 * z2;
  float k3 = max(x2 + z2, 1e-10);  // finite on the polar axis
  float s1 = 1.0 / sqrt(k3);
  float k2 = s1 * s1 * s1 * s1 * s1 * s1 * s1;
  float k1 = x4 + y4 + z4 - 6.0 * y2 * z2 - 6.0 * x2 * y2 + 2.0 * z2 * x2;
  float k4 = x2 - y2 + z2;
  vec3 o;
  o.x = 64.0 * x * y * q * (x2 - z2) * k4 * (x4 - 6.0 * x2 * z2 + z4) * k1 * k2;
  o.y = -16.0 * y2 * k3 * k4 * k4 + k1 * k1;
  o.z = -8.0 * y * k4 * (x4 * x4 - 28.0 * x4 * x2 * z2 + 70.0 * x4 * z4
        - 28.0 * x2 * z2 * z4 + z4 * z4) * k1 * k2;
  return vec3(o.z, o.x, o.y);
}

// One bulb iteration of power k with its running derivative.
void bulbStep(inout vec3 z, float r, inout float dr, vec3 c, float k) {
  if (abs(k - 8.0) < 0.0001) {
    float r2 = r * r;
    dr = 8.0 * r2 * r2 * r2 * r * dr + 1.0;
    z = bulb8(z) + c;
    return;
  }
  float theta = acos(clamp(z.z / max(r, 1e-9), -1.0, 1.0)) * k;
  float phi = atan(z.y, z.x) * k;
  float rp = pow(r, k - 1.0);
  dr = rp * k * dr + 1.0;
  z = rp * r * vec3(sin(theta) * cos(phi), sin(theta) * sin(phi), cos(theta)) + c;
}

// [SECTION] Fold and box helpers

float sdBox(vec3 p, vec3 b) {
  vec3 q = abs(p) - b;
  return length(max(q, 0.0)) + min(max(q.x, max(q.y, q.z)), 0.0);
}

// Mandelbox iteration of scale s; returns |z|^2 before the inversion (trap).
float boxStep(inout vec3 z, inout float dr, float s, vec3 c) {
  z = clamp(z, -1.0, 1.0) * 2.0 - z;
  float r2 = dot(z, z);
  if (r2 < 0.25) {
    z *= 4.0;
    dr *= 4.0;
  } else if (r2 < 1.0) {
    float inv = 1.0 / r2;
    z *= inv;
    dr *= inv;
  }
  z = uRot * z;
  z = z * s + c;
  dr = dr * abs(s) + 1.0;
  return r2;
}

vec3 sierpFold(vec3 p) {
  if (p.x + p.y < 0.0) p.xy = -p.yx;
  if (p.x + p.z < 0.0) p.xz = -p.zx;
  if (p.y + p.z < 0.0) p.zy = -p.yz;
  return p;
}

// Mirror into the wedge x >= y >= z >= 0 (Menger and KIFS).
vec3 sortFold(vec3 p) {
  p = abs(p);
  if (p.x < p.y) p.xy = p.yx;
  if (p.x < p.z) p.xz = p.zx;
  if (p.y < p.z) p.yz = p.zy;
  return p;
}

// Menger scaling: z is folded about h instead of offset, which keeps the
// sponge's middle layers.
vec3 mengerScale(vec3 p, float s) {
  float h = 0.5 * uFold.z * (s - 1.0) / s;
  p.z = h - abs(p.z - h);
  return vec3(s * p.x - uFold.x * (s - 1.0), s * p.y - uFold.y * (s - 1.0), s * p.z);
}

// [SECTION] Distance estimators

#if defined(DE_BULB)
#define STEP_K 0.9
float DE(vec3 p) {
  vec3 z = p;
  float dr = 1.0;
  float r = length(z);
  float m2 = 1e9;
  float ty = 1e9;
#if defined(JULIA)
  vec3 c = uJulia.xyz;
#else
  vec3 c = p;
#endif
  for (int i = 0; i < uIter; i++) {
    if (r > 4.0) break;
#if defined(BURNING)
    z.xy = abs(z.xy);
#endif
    bulbStep(z, r, dr, c, uPower);
    r = length(z);
    m2 = min(m2, r * r);
    ty = min(ty, abs(z.y));
  }
  gTrap = 0.5 * sqrt(min(m2, 4.0)) + 0.9 * ty;
  return 0.5 * log(max(r, 1e-9)) * r / dr;
}

#elif defined(DE_BOX)
#define STEP_K 0.95
float DE(vec3 p) {
  vec3 z = p;
  float dr = 1.0;
  float trap = 1e9;
#if defined(JULIA)
  // A pure constant would give a solid cube; an offset to p gives shapes.
  vec3 c = p + uJulia.xyz;
#else
  vec3 c = p;
#endif
  for (int i = 0; i < uIter; i++) {
    trap = min(trap, boxStep(z, dr, uScale, c));
  }
  gTrap = sqrt(min(trap, 4.0)) * 0.55;
  return length(z) / abs(dr);
}

#elif defined(DE_MENGER) || defined(DE_SIERP) || defined(DE_KIFS)
#define STEP_K 1.0
float DE(vec3 p) {
  float s = 1.0;
  float trap = 1e9;
  for (int i = 0; i < uIter; i++) {
#if defined(DE_SIERP)
    p = uRot * sierpFold(p);
    p = p * uScale - uFold * (uScale - 1.0);
#elif defined(DE_MENGER)
    p = mengerScale(uRot * sortFold(p), uScale);
#else
    p = uRot * sortFold(p);
    p = p * uScale - uFold * (uScale - 1.0);
#endif
    s *= uScale;
    trap = min(trap, length(p.yz));
  }
  gTrap = 2.0 * trap;
#if defined(DE_SIERP)
  float d = max(max(-p.x - p.y - p.z, p.x + p.y - p.z), max(-p.x + p.y + p.z, p.x - p.y + p.z));
  return (d - 1.0) * 0.57735 / s;
#elif defined(DE_MENGER)
  return sdBox(p, vec3(1.0)) / s;
#else
  // An octahedron: copies pushed towards a vertex keep touching, so the form
  // does not crumble into dust.
  return (abs(p.x) + abs(p.y) + abs(p.z) - 1.0) * 0.57735 / s;
#endif
}

#elif defined(DE_APOLLO)
#define STEP_K 1.0
float DE(vec3 p) {
  float s = 1.0;
  float trap = 1e9;
  for (int i = 0; i < uIter; i++) {
    p = -1.0 + 2.0 * fract(0.5 * p + 0.5);
    float r2 = dot(p, p);
    trap = min(trap, r2);
    float k = uScale / max(r2, 1e-6);
    p *= k;
    s *= k;
  }
  gTrap = sqrt(trap);
  return 0.25 * abs(p.y) / s;
}

#elif defined(DE_QJULIA)
#define STEP_K 0.9
float DE(vec3 p) {
  vec4 z = vec4(p, 0.0);
  float md2 = 1.0;
  float mz2 = dot(z, z);
  float trap = 1e9;
  for (int i = 0; i < uIter; i++) {
    md2 *= 4.0 * mz2;
    z = vec4(z.x * z.x - dot(z.yzw, z.yzw), 2.0 * z.x * z.yzw) + uJulia;
    mz2 = dot(z, z);
    trap = min(trap, mz2);
    if (mz2 > 4.0) break;
  }
  gTrap = sqrt(min(trap, 4.0)) * 0.7;
  return 0.25 * sqrt(mz2 / md2) * log(max(mz2, 1e-9));
}

#elif defined(DE_HYBRID)
#define STEP_K 0.85
// One link of the chain: formula f with coefficient k (power or scale).
void hybridStep(int f, float k, inout vec3 z, float r, inout float dr, vec3 c) {
  if (f <= 1) {
    if (f == 1) z.xy = abs(z.xy);
    bulbStep(z, r, dr, c, k);
  } else if (f == 2) {
    boxStep(z, dr, k, c);
  } else if (f == 5) {
    z = uRot * sierpFold(z);
    z = z * k - uFold * (k - 1.0);
    dr *= k;
  } else {
    z = uRot * sortFold(z);
    z = (f == 4) ? mengerScale(z, k) : z * k - uFold * (k - 1.0);
    dr *= k;
  }
}

float DE(vec3 p) {
  vec3 z = p;
  float dr = 1.0;
  float r = length(z);
  float trap = 1e9;
  float ty = 1e9;
  vec3 c = p;
  if (uJMode == 1) c = uJulia.xyz;
  else if (uJMode == 2) c = p + uJulia.xyz;
  float bail = (uDEMode == 0) ? 4.0 : 64.0;
  int n = max(uSlotN, 1);  // an empty chain must not divide by zero
  for (int i = 0; i < uIter; i++) {
    if (r > bail) break;
    int s = i - (i / n) * n;
    hybridStep(uSlotF[s], uSlotK[s], z, r, dr, c);
    r = length(z);
    trap = min(trap, r);
    ty = min(ty, abs(z.y));
  }
  gTrap = 0.5 * clamp(trap, 0.0, 2.0) + 0.6 * min(ty, 2.0);
  if (uDEMode == 0) return 0.5 * log(max(r, 1e-9)) * r / abs(dr);
  if (uDEMode == 1) return r / abs(dr);
  return (r - 1.0) / abs(dr);
}

#else
#error "no distance estimator selected (define one DE_* switch)"
#endif

// [SECTION] Warp and colour

// The warp bends space; dividing by its Lipschitz estimate keeps the march
// from stepping through the deformed surface.
float map(vec3 p) {
  if (uWarp > 0.0) {
    p += uWarp * 0.15 * sin(p.yzx * 3.0 + uFold * 2.0);
    return DE(p) * (1.0 / (1.0 + 0.45 * uWarp));
  }
  return DE(p);
}

// Palette colours are sRGB-like; lighting runs in linear light. The palette
// texture repeats mirrored, so any trap value maps to a colour.
vec3 albedo(float trap) {
  vec3 c = texture(uPal, vec2(trap * uColScale + uColShift, 0.5)).rgb;
  return pow(c, vec3(2.2));
}
