// Deep-zoom pass: the march in double for zooms beyond float, after the
// float library, the double estimators, the view uniforms and the shading.
// Like the trace pass without stereo frustum, lens, bound, prepass or GI;
// shading runs in float, relative to the hit point.

uniform dvec3 uCamPosD;

// [SECTION] Normal, shadow and occlusion

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
    res = penumbra(res, h, ph, float(t), k);
    ph = h;
    t += clamp(double(h), tmin, tmax * 0.08LF);
    if (res < 0.002 || t > tmax) break;
  }
  return shadowFactor(res);
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

void main() {
  vec2 f = gl_FragCoord.xy + uPixelOffset;
  vec2 fc = f + uJitter;
  vec2 uv = (2.0 * fc - uRes) / uRes.y + vec2(uShift, 0.0);
  dvec3 ro = uCamPosD;
  vec3 rd = normalize(uCam * vec3(uv * uTanFov, 1.0));
  dvec3 drd = dvec3(rd);

  bool stochastic = uFrame > 0 || uHistory > 0.0;
  float seq = float(uSeq);
  vec3 L = uLightDir;
  if (stochastic) L = jitterLight(L, f, seq);

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
  vec3 sunCol = sunColour();
  vec3 ambCol = ambientColour();
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

    vec3 lin = directLight(n, rd, alb, dif, sh, ao, sunCol, ambCol);
    col = shadeSurface(n, rd, L, alb, trap, dif, sh, ao, lin, sunCol, ambCol);
    col = fog(col, sky, float(t / double(uSceneScale)));
  }

  fragColor = accumulate(glow(col, steps), hit ? float(t) : NO_HIT);
}
