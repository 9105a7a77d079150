// Double-precision trace program for deep zooms: the whole fragment shader in
// one text (the header supplies the version line and the DE_* defines).
// Positions and ray distances run in double; the estimators start in double
// and continue in float once the stretched orbit no longer needs it (SWITCH).
// Shading runs in float, relative to the hit point.
//
// Index: uniforms; float bulb and fold helpers; double helpers; DE per family
// (mixed precision); map and albedo; lighting helpers; main.

// [SECTION] Uniforms
uniform int uIter;
uniform float uPower;  // not read: only the closed-form power 8 exists here
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

uniform sampler2D uPrev;
uniform int uFast;
uniform vec2 uRes;
uniform vec2 uPixelOffset;  // a poster tile: where the target's corner sits in the picture
uniform vec2 uJitter;
uniform float uShift;
uniform int uFrame;
uniform int uSeq;
uniform float uHistory;
uniform float uMetal;
uniform float uIrid;
uniform dvec3 uCamPosD;
uniform mat3 uCam;
uniform float uTanFov;
uniform int uMaxSteps;
uniform float uDetail;
uniform float uSceneScale;
uniform vec3 uLightDir;
uniform float uLight;
uniform float uAmbient;
uniform float uSpec;
uniform float uShadowSoft;
uniform int uShadows;
uniform int uAO;
uniform float uGlow;
uniform vec3 uGlowCol;
uniform float uFog;
uniform vec3 uBgTop;
uniform vec3 uBgBot;

out vec4 fragColor;

float gTrap = 0.0;
// Surface tolerance of the current estimate; decides when double is no
// longer needed. Every caller of map() sets it first.
double gEps = 1e-30LF;
const double SWITCH = 1e-4LF;

// [SECTION] Float helpers (the continuation after the switch)

vec3 bulb8f(vec3 z) {
  float x = z.y;
  float y = z.z;
  float q = z.x;
  float x2 = x * x;
  float x4 = x2 * x2;
  float y2 = y * y;
  float y4 = y2 * y2;
  float z2 = q * q;
  float z4 = z2 * z2;
  // The float floor, not the double one: 1e-30 would overflow s1^7 in float
  // and turn points on the polar axis into NaN.
  float k3 = max(x2 + z2, 1e-10);
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

float sdBox(vec3 p, vec3 b) {
  vec3 q = abs(p) - b;
  return length(max(q, 0.0)) + min(max(q.x, max(q.y, q.z)), 0.0);
}

float boxStepF(inout vec3 z, inout float dr, float s, vec3 c) {
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

vec3 sierpFoldF(vec3 p) {
  if (p.x + p.y < 0.0) p.xy = -p.yx;
  if (p.x + p.z < 0.0) p.xz = -p.zx;
  if (p.y + p.z < 0.0) p.zy = -p.yz;
  return p;
}

vec3 sortFoldF(vec3 p) {
  p = abs(p);
  if (p.x < p.y) p.xy = p.yx;
  if (p.x < p.z) p.xz = p.zx;
  if (p.y < p.z) p.yz = p.zy;
  return p;
}

vec3 mengerScaleF(vec3 p, float s) {
  float h = 0.5 * uFold.z * (s - 1.0) / s;
  p.z = h - abs(p.z - h);
  return vec3(s * p.x - uFold.x * (s - 1.0), s * p.y - uFold.y * (s - 1.0), s * p.z);
}

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
      zf = bulb8f(zf) + cf;
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
    trap = min(trap, boxStepF(zf, drf, uScale, cf));
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
    pf = uRot * sierpFoldF(pf);
    pf = pf * uScale - uFold * (uScale - 1.0);
#elif defined(DE_MENGER)
    pf = mengerScaleF(uRot * sortFoldF(pf), uScale);
#else
    pf = uRot * sortFoldF(pf);
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

// [SECTION] Warp and colour

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

vec3 albedo(float trap) {
  vec3 c = texture(uPal, vec2(trap * uColScale + uColShift, 0.5)).rgb;
  return pow(c, vec3(2.2));
}

// [SECTION] Lighting helpers

vec2 hash22(vec2 p) {
  vec3 p3 = fract(vec3(p.x, p.y, p.x) * vec3(0.1031, 0.1030, 0.0973));
  p3 += dot(p3, p3.yzx + 33.33);
  return fract(vec2(p3.x + p3.y, p3.x + p3.z) * vec2(p3.z, p3.y));
}

vec3 bg(vec3 rd, vec3 L) {
  float sun = max(dot(rd, L), 0.0);
  vec3 sky = mix(uBgBot, uBgTop, smoothstep(-0.3, 0.9, rd.y));
  return sky + vec3(1.0, 0.85, 0.65) * (pow(sun, 24.0) * 0.06 + pow(sun, 400.0) * 0.4) * uLight;
}

vec3 calcNormal(dvec3 p, double e) {
  gEps = e;
  const vec2 k = vec2(1.0, -1.0);
  return normalize(k.xyy * map(p + dvec3(k.xyy) * e) + k.yyx * map(p + dvec3(k.yyx) * e)
                 + k.yxy * map(p + dvec3(k.yxy) * e) + k.xxx * map(p + dvec3(k.xxx) * e));
}

// As in the float trace; t runs in double so that the shadow ray still moves
// at scales far below float's resolution of the position.
float softShadow(dvec3 ro, vec3 rd, double tmin, double tmax, float k, int maxSteps) {
  float res = 1.0;
  float ph = 1e10;
  double t = tmin;
  for (int i = 0; i < maxSteps; i++) {
    gEps = max(tmin, t * 0.001LF);
    float h = map(ro + dvec3(rd) * t);
    float y = h * h / (2.0 * ph);
    float d = sqrt(max(h * h - y * y, 0.0));
    res = min(res, k * d / max(0.0, float(t) - y));
    ph = h;
    t += clamp(double(h), tmin, tmax * 0.08LF);
    if (res < 0.002 || t > tmax) break;
  }
  res = clamp(res, 0.0, 1.0);
  return res * res * (3.0 - 2.0 * res);
}

float calcAO(dvec3 p, vec3 n, float sc, int taps) {
  float occ = 0.0;
  float w = 1.0;
  for (int i = 0; i < taps; i++) {
    float h = sc * (0.01 + 0.11 * float(i));
    gEps = double(0.05 * h);
    occ += (h - map(p + dvec3(n * h))) * w;
    w *= 0.8;
  }
  return clamp(1.0 - 2.2 * occ / sc, 0.0, 1.0);
}

// [SECTION] Main: camera ray, light jitter and march
// Like the float trace, without stereo frustum, lens, bound, prepass or GI.

void main() {
  vec2 f = gl_FragCoord.xy + uPixelOffset;
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  vec2 fc = f + uJitter;
  vec2 uv = (2.0 * fc - uRes) / uRes.y + vec2(uShift, 0.0);
  dvec3 ro = uCamPosD;
  vec3 rd = normalize(uCam * vec3(uv * uTanFov, 1.0));
  dvec3 drd = dvec3(rd);

  bool stochastic = uFrame > 0 || uHistory > 0.0;
  float seq = float(uSeq);
  vec3 L = uLightDir;
  if (stochastic) {
    vec2 q = hash22(f.yx * 1.37 + seq * 7.7) - 0.5;
    vec3 tx = normalize(cross(L, abs(L.y) < 0.99 ? vec3(0.0, 1.0, 0.0) : vec3(1.0, 0.0, 0.0)));
    vec3 ty = cross(L, tx);
    L = normalize(L + (tx * q.x + ty * q.y) * 0.06);
  }

  double tmax = double(uSceneScale) * 25.0LF;
  double pix = double(2.0 * uTanFov / uRes.y * uDetail);
  double t = 0.0LF;
  double eps = 1e-30LF;
  float steps = 0.0;
  float trap = 0.0;
  bool hit = false;
  for (int i = 0; i < uMaxSteps; i++) {
    eps = max(pix * t, 1e-30LF);
    gEps = eps;
    float d = map(ro + drd * t);
    steps += 1.0;
    if (double(d) < eps * 0.5LF) {
      hit = true;
      trap = gTrap;
      break;
    }
    t += double(d * STEP_K);
    if (t > tmax) break;
  }

  // [SECTION] Shading (float, relative to the hit point)
  vec3 sunCol = vec3(1.0, 0.94, 0.86) * uLight;
  vec3 ambCol = mix(vec3(0.55, 0.65, 0.9), uBgTop * 4.0, 0.3) * uAmbient;
  vec3 sky = bg(rd, L);
  vec3 col = sky;
  if (hit) {
    dvec3 p = ro + drd * t;
    vec3 n = calcNormal(p, eps * 0.5LF);
    vec3 alb = albedo(trap);

    float dif = max(dot(n, L), 0.0);
    float sh = 1.0;
    if (uShadows == 1 && dif > 0.0) {
      sh = softShadow(p + dvec3(n) * eps * 2.0LF, L, eps * 4.0LF,
                      double(uSceneScale) * 2.5LF, uShadowSoft, (uFast == 1) ? 20 : 48);
    }
    float ao = 1.0;
    if (uAO == 1) ao = calcAO(p, n, uSceneScale * 0.12, (uFast == 1) ? 3 : 5);

    vec3 H = normalize(L - rd);
    float fres = pow(clamp(1.0 - max(dot(H, L), 0.0), 0.0, 1.0), 5.0);
    float spe = pow(max(dot(n, H), 0.0), 40.0) * dif * sh * (0.04 + 0.96 * fres);
    float rim = pow(clamp(1.0 + dot(n, rd), 0.0, 1.0), 3.0);
    float skyK = 0.5 + 0.5 * n.y;
    float bounce = clamp(0.5 - 0.5 * n.y, 0.0, 1.0);
    vec3 lin = sunCol * dif * sh * 1.7 + ambCol * skyK * ao * 0.8
             + alb * bounce * ao * 0.3 * uAmbient + ambCol * rim * ao * 0.6;

    float ndv = max(dot(n, -rd), 0.0);
    vec3 F0 = mix(vec3(0.04), alb, uMetal);
    vec3 F = F0 + (1.0 - F0) * pow(clamp(1.0 - ndv, 0.0, 1.0), 5.0);
    vec3 r = reflect(rd, n);
    vec3 env = bg(r, L) + ambCol * (0.35 + 0.75 * max(r.y, 0.0))
             + sunCol * pow(max(dot(r, L), 0.0), 6.0) * 0.8 * sh;
    col = alb * lin * (0.35 + 0.65 * ao) * (1.0 - 0.6 * uMetal)
        + sunCol * spe * uSpec * 5.0 * mix(vec3(1.0), alb * 1.5, uMetal)
        + env * F * ao * (0.3 + 1.1 * uMetal);

    if (uIrid > 0.0) {
      vec3 film = 0.5 + 0.5 * cos(6.2831853 * (vec3(0.0, 0.33, 0.67) + ndv * 2.2 + trap * 0.6));
      float edge = (1.0 - ndv) * (1.0 - ndv);
      col += film * film * uIrid * (0.12 + 0.6 * edge) * ao * (0.4 + 0.6 * dif * sh);
    }

    float tf = float(t / double(uSceneScale));
    float fogK = 1.0 - exp(-uFog * tf * tf * 0.35);
    col = mix(col, sky, fogK);
  }

  // [SECTION] Glow, guard and accumulation
  float g = steps / float(max(uMaxSteps, 1));
  col += uGlowCol * uGlow * g * g * 2.0;

  if (any(isnan(col)) || any(isinf(col))) col = vec3(0.0);
  col = min(col, vec3(32.0));

  float depth = hit ? float(t) : 10000.0;
  vec4 prev = texelFetch(uPrev, pixel, 0);
  if (uFrame == 0) {
    fragColor = (uHistory > 0.0) ? vec4(mix(col, prev.rgb, uHistory), depth) : vec4(col, depth);
  } else {
    fragColor = vec4(mix(prev.rgb, col, 1.0 / float(uFrame + 1)), prev.a);
  }
}
