// Single-precision distance estimators of the trace, prepass and volume
// programs, after the float library. Exactly one DE is compiled in, chosen by
// a DE_* define (plus JULIA or BURNING). Valid GLSL ES 3.00 like the library.
//
// Index: DE per family; map (warp).

// Only the float bulb has powers other than 8.
uniform float uPower;

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

// [SECTION] Warp

// The warp bends space; dividing by its Lipschitz estimate keeps the march
// from stepping through the deformed surface.
float map(vec3 p) {
  if (uWarp > 0.0) {
    p += uWarp * 0.15 * sin(p.yzx * 3.0 + uFold * 2.0);
    return DE(p) * (1.0 / (1.0 + 0.45 * uWarp));
  }
  return DE(p);
}
