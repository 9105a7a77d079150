// Double-precision estimators of the deep-zoom program, after the float
// library. Positions and orbits start in double and continue in the float
// library's steps once the stretched orbit no longer needs double (SWITCH).
// Exactly one DE is compiled in, chosen by a DE_* define as in the float
// estimators.
//
// Index: double helpers; DE per family (mixed precision); map.

// Surface tolerance of the current estimate; decides when double is no
// longer needed. Every caller of map() sets it first.
double gEps = 1e-30LF;
const double SWITCH = 1e-4LF;

// [SECTION] Double helpers

dvec3 bulb8d(dvec3 z) {
  double x = z.y;
  double y = z.z;
  double q = z.x;
  double x2 = x * x;
  double x4 = x2 * x2;
  double y2 = y * y;
  double y4 = y2 * y2;
  double z2 = q * q;
  double z4 = z2 * z2;
  double k3 = max(x2 + z2, 1e-30LF);
  double s1 = 1.0LF / sqrt(k3);
  double k2 = s1 * s1 * s1 * s1 * s1 * s1 * s1;
  double k1 = x4 + y4 + z4 - 6.0LF * y2 * z2 - 6.0LF * x2 * y2 + 2.0LF * z2 * x2;
  double k4 = x2 - y2 + z2;
  dvec3 o;
  o.x = 64.0LF * x * y * q * (x2 - z2) * k4 * (x4 - 6.0LF * x2 * z2 + z4) * k1 * k2;
  o.y = -16.0LF * y2 * k3 * k4 * k4 + k1 * k1;
  o.z = -8.0LF * y * k4 * (x4 * x4 - 28.0LF * x4 * x2 * z2 + 70.0LF * x4 * z4
        - 28.0LF * x2 * z2 * z4 + z4 * z4) * k1 * k2;
  return dvec3(o.z, o.x, o.y);
}

double boxStepD(inout dvec3 z, inout double dr, double s, dvec3 c) {
  z = clamp(z, -1.0LF, 1.0LF) * 2.0LF - z;
  double r2 = dot(z, z);
  if (r2 < 0.25LF) {
    z *= 4.0LF;
    dr *= 4.0LF;
  } else if (r2 < 1.0LF) {
    double inv = 1.0LF / r2;
    z *= inv;
    dr *= inv;
  }
  z = dmat3(uRot) * z;
  z = z * s + c;
  dr = dr * abs(s) + 1.0LF;
  return r2;
}

dvec3 sierpFoldD(dvec3 p) {
  if (p.x + p.y < 0.0LF) p.xy = -p.yx;
  if (p.x + p.z < 0.0LF) p.xz = -p.zx;
  if (p.y + p.z < 0.0LF) p.zy = -p.yz;
  return p;
}

dvec3 sortFoldD(dvec3 p) {
  p = abs(p);
  if (p.x < p.y) p.xy = p.yx;
  if (p.x < p.z) p.xz = p.zx;
  if (p.y < p.z) p.yz = p.zy;
  return p;
}

dvec3 mengerScaleD(dvec3 p, double s) {
  dvec3 F = dvec3(uFold);
  double h = 0.5LF * F.z * (s - 1.0LF) / s;
  p.z = h - abs(p.z - h);
  return dvec3(s * p.x - F.x * (s - 1.0LF), s * p.y - F.y * (s - 1.0LF), s * p.z);
}

// Logarithms have no double overload: take them in float, floored at 1e-30.
double logD(double x) {
  return double(log(max(float(x), 1e-30)));
}

// [SECTION] Distance estimators (mixed precision)

#if defined(DE_BULB)
#define STEP_K 0.9
float DE(dvec3 p) {
  dvec3 z = p;
  double dr = 1.0LF;
  double r = length(z);
  float m2 = 1e9;
  float ty = 1e9;
#if defined(JULIA)
  dvec3 c = dvec3(uJulia.xyz);
#else
  dvec3 c = p;
#endif
  int i = 0;
  for (; i < uIter; i++) {
    if (r > 4.0LF || dr * gEps > SWITCH) break;
#if defined(BURNING)
    z.xy = abs(z.xy);
#endif
    double r2 = r * r;
    dr = 8.0LF * r2 * r2 * r2 * r * dr + 1.0LF;
    z = bulb8d(z) + c;
    r = length(z);
    m2 = min(m2, float(r * r));
    ty = min(ty, float(abs(z.y)));
  }
  if (i < uIter && r <= 4.0LF) {
    vec3 zf = vec3(z);
    vec3 cf = vec3(c);
    float drf = float(dr);
    float rf = float(r);
    for (; i < uIter; i++) {
      if (rf > 4.0) break;
#if defined(BURNING)
      zf.xy = abs(zf.xy);
#endif
      float r2 = rf * rf;
      drf = 8.0 * r2 * r2 * r2 * rf * drf + 1.0;
      zf = bulb8(zf) + cf;
      rf = length(zf);
      m2 = min(m2, rf * rf);
      ty = min(ty, abs(zf.y));
    }
    gTrap = 0.5 * sqrt(min(m2, 4.0)) + 0.9 * ty;
    return 0.5 * log(max(rf, 1e-30)) * rf / drf;
  }
  gTrap = 0.5 * sqrt(min(m2, 4.0)) + 0.9 * ty;
  return float(0.5LF * logD(r) * r / dr);
}

#elif defined(DE_BOX)
#define STEP_K 0.95
float DE(dvec3 p) {
  dvec3 z = p;
  double dr = 1.0LF;
  float trap = 1e9;
#if defined(JULIA)
  dvec3 c = p + dvec3(uJulia.xyz);
#else
  dvec3 c = p;
#endif
  double s = double(uScale);
  int i = 0;
  for (; i < uIter; i++) {
    if (abs(dr) * gEps > SWITCH) break;
    trap = min(trap, float(boxStepD(z, dr, s, c)));
  }
  gTrap = sqrt(min(trap, 4.0)) * 0.55;
  if (i >= uIter) return float(length(z) / abs(dr));
  vec3 zf = vec3(z);
  vec3 cf = vec3(c);
  float drf = float(dr);
  for (; i < uIter; i++) {
    trap = min(trap, boxStep(zf, drf, uScale, cf));
  }
  gTrap = sqrt(min(trap, 4.0)) * 0.55;
  return length(zf) / abs(drf);
}

#elif defined(DE_MENGER) || defined(DE_SIERP) || defined(DE_KIFS)
#define STEP_K 1.0
// The leaf shape at the end of the orbit, before the division by the scale.
float foldLeaf(vec3 p) {
#if defined(DE_SIERP)
  float d = max(max(-p.x - p.y - p.z, p.x + p.y - p.z), max(-p.x + p.y + p.z, p.x - p.y + p.z));
  return (d - 1.0) * 0.57735;
#elif defined(DE_MENGER)
  return sdBox(p, vec3(1.0));
#else
  return (abs(p.x) + abs(p.y) + abs(p.z) - 1.0) * 0.57735;
#endif
}

// The same leaf in double, for orbits that never reached the switch: there
// the leaf value is small against |p| and float would swamp it.
double foldLeafD(dvec3 p) {
#if defined(DE_SIERP)
  double d = max(max(-p.x - p.y - p.z, p.x + p.y - p.z), max(-p.x + p.y + p.z, p.x - p.y + p.z));
  return (d - 1.0LF) * 0.57735LF;
#elif defined(DE_MENGER)
  dvec3 q = abs(p) - 1.0LF;
  return length(max(q, 0.0LF)) + min(max(q.x, max(q.y, q.z)), 0.0LF);
#else
  return (abs(p.x) + abs(p.y) + abs(p.z) - 1.0LF) * 0.57735LF;
#endif
}

float DE(dvec3 p) {
  double S = double(uScale);
  dvec3 F = dvec3(uFold);
  dmat3 R = dmat3(uRot);
  double s = 1.0LF;
  float trap = 1e9;
  int i = 0;
  for (; i < uIter; i++) {
    if (s * gEps > SWITCH) break;
#if defined(DE_SIERP)
    p = R * sierpFoldD(p);
    p = p * S - F * (S - 1.0LF);
#elif defined(DE_MENGER)
    p = mengerScaleD(R * sortFoldD(p), S);
#else
    p = R * sortFoldD(p);
    p = p * S - F * (S - 1.0LF);
#endif
    s *= S;
    trap = min(trap, float(length(p.yz)));
  }
  gTrap = 2.0 * trap;
  if (i >= uIter) return float(foldLeafD(p) / s);
  vec3 pf = vec3(p);
  float sf = float(s);
  for (; i < uIter; i++) {
#if defined(DE_SIERP)
    pf = uRot * sierpFold(pf);
    pf = pf * uScale - uFold * (uScale - 1.0);
#elif defined(DE_MENGER)
    pf = mengerScale(uRot * sortFold(pf), uScale);
#else
    pf = uRot * sortFold(pf);
    pf = pf * uScale - uFold * (uScale - 1.0);
#endif
    sf *= uScale;
    trap = min(trap, length(pf.yz));
  }
  gTrap = 2.0 * trap;
  return foldLeaf(pf) / sf;
}

#elif defined(DE_APOLLO)
#define STEP_K 1.0
float DE(dvec3 p) {
  double s = 1.0LF;
  float trap = 1e9;
  for (int i = 0; i < uIter; i++) {
    p = -1.0LF + 2.0LF * fract(0.5LF * p + 0.5LF);
    double r2 = dot(p, p);
    trap = min(trap, float(r2));
    double k = double(uScale) / max(r2, 1e-12LF);
    p *= k;
    s *= k;
  }
  gTrap = sqrt(trap);
  return float(0.25LF * abs(p.y) / s);
}

#elif defined(DE_QJULIA)
#define STEP_K 0.9
float DE(dvec3 p) {
  dvec4 z = dvec4(p, 0.0LF);
  dvec4 c = dvec4(uJulia);
  double md2 = 1.0LF;
  double mz2 = dot(z, z);
  float trap = 1e9;
  for (int i = 0; i < uIter; i++) {
    md2 *= 4.0LF * mz2;
    z = dvec4(z.x * z.x - dot(z.yzw, z.yzw), 2.0LF * z.x * z.yzw) + c;
    mz2 = dot(z, z);
    trap = min(trap, float(mz2));
    if (mz2 > 4.0LF) break;
  }
  gTrap = sqrt(min(trap, 4.0)) * 0.7;
  return float(0.25LF * sqrt(mz2 / md2) * logD(mz2));
}

#elif defined(DE_HYBRID)
#define STEP_K 0.85
// One link of the chain in double; bulb links are always power 8 here.
void hybridStepD(int f, double k, inout dvec3 z, double r, inout double dr, dvec3 c) {
  dvec3 F = dvec3(uFold);
  dmat3 R = dmat3(uRot);
  if (f <= 1) {
    if (f == 1) z.xy = abs(z.xy);
    double r2 = r * r;
    dr = 8.0LF * r2 * r2 * r2 * r * dr + 1.0LF;
    z = bulb8d(z) + c;
  } else if (f == 2) {
    boxStepD(z, dr, k, c);
  } else if (f == 5) {
    z = R * sierpFoldD(z);
    z = z * k - F * (k - 1.0LF);
    dr *= k;
  } else {
    z = R * sortFoldD(z);
    z = (f == 4) ? mengerScaleD(z, k) : z * k - F * (k - 1.0LF);
    dr *= k;
  }
}

float DE(dvec3 p) {
  dvec3 z = p;
  double dr = 1.0LF;
  double r = length(z);
  float trap = 1e9;
  float ty = 1e9;
  dvec3 c = p;
  if (uJMode == 1) c = dvec3(uJulia.xyz);
  else if (uJMode == 2) c = p + dvec3(uJulia.xyz);
  double bail = (uDEMode == 0) ? 4.0LF : 64.0LF;
  int n = max(uSlotN, 1);
  for (int i = 0; i < uIter; i++) {
    if (r > bail) break;
    int s = i - (i / n) * n;
    hybridStepD(uSlotF[s], double(uSlotK[s]), z, r, dr, c);
    r = length(z);
    trap = min(trap, float(r));
    ty = min(ty, float(abs(z.y)));
  }
  gTrap = 0.5 * clamp(trap, 0.0, 2.0) + 0.6 * min(ty, 2.0);
  if (uDEMode == 0) return float(0.5LF * logD(r) * r / abs(dr));
  if (uDEMode == 1) return float(r / abs(dr));
  return float((r - 1.0LF) / abs(dr));
}

#else
#error "no distance estimator selected (define one DE_* switch)"
#endif

// [SECTION] Warp

// The warp offset is computed in float from the float position: it limits
// precision at extreme zoom but does not break the picture.
float map(dvec3 p) {
  if (uWarp > 0.0) {
    vec3 pf = vec3(p);
    p += dvec3(uWarp * 0.15 * sin(pf.yzx * 3.0 + uFold * 2.0));
    return DE(p) * (1.0 / (1.0 + 0.45 * uWarp));
  }
  return DE(p);
}
