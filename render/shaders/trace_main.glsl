// Trace pass: the float march of one sample per pixel, after the float
// library, the estimators, the view uniforms and the shading. One call adds
// one sample per pixel to the running mean in uPrev.

// [SECTION] Normal, shadow, occlusion and bounce

// Tetrahedral central difference: four estimates instead of six.
vec3 calcNormal(vec3 p, float e) {
  const vec2 k = vec2(1.0, -1.0);
  return normalize(k.xyy * map(p + k.xyy * e) + k.yyx * map(p + k.yyx * e)
                 + k.yxy * map(p + k.yxy * e) + k.xxx * map(p + k.xxx * e));
}

// Penumbra estimate along the light ray (improved variant that uses the
// previous step's distance to locate the closest approach).
float softShadow(vec3 ro, vec3 rd, float tmin, float tmax, float k, int maxSteps) {
  float res = 1.0;
  float ph = 1e10;
  float t = tmin;
  for (int i = 0; i < maxSteps; i++) {
    float h = map(ro + rd * t);
    res = penumbra(res, h, ph, t, k);
    ph = h;
    t += clamp(h, tmin, tmax * 0.08);
    if (res < 0.002 || t > tmax) break;
  }
  return shadowFactor(res);
}

float calcAO(vec3 p, vec3 n, float sc, int taps) {
  float occ = 0.0;
  float w = 1.0;
  for (int i = 0; i < taps; i++) {
    float h = sc * (0.01 + 0.11 * float(i));
    occ += (h - map(p + n * h)) * w;
    w *= 0.8;
  }
  return clamp(1.0 - 2.2 * occ / sc, 0.0, 1.0);
}

// One honest diffuse bounce for photo renders: a cosine-weighted ray from the
// hit point, lit by the sun (with shadow) where it lands, else by the sky.
vec3 giBounce(vec3 p, vec3 n, float eps, float pix, float t, vec2 q, vec3 L,
              vec3 sunCol, vec3 ambCol, int shadowSteps) {
  float phi = 6.2831853 * q.x;
  vec3 tu = normalize(cross(n, abs(n.y) < 0.99 ? vec3(0.0, 1.0, 0.0) : vec3(1.0, 0.0, 0.0)));
  vec3 tv = cross(n, tu);
  float sq = sqrt(q.y);
  vec3 bd = normalize(tu * cos(phi) * sq + tv * sin(phi) * sq + n * sqrt(1.0 - q.y));
  vec3 bo = p + n * eps * 3.0;
  float tb = eps * 2.0;
  for (int i = 0; i < 96; i++) {
    float d = map(bo + bd * tb);
    if (d < max(pix * (t + tb), 1e-6) * 0.5) {
      float trapB = gTrap;
      vec3 pb = bo + bd * tb;
      vec3 nb = calcNormal(pb, eps);
      float db = max(dot(nb, L), 0.0);
      float sb = db > 0.0 ? softShadow(pb + nb * eps * 3.0, L, eps * 4.0, uSceneScale * 2.0, 32.0, shadowSteps) : 0.0;
      return albedo(trapB) * (sunCol * db * sb * 1.7 + ambCol * 0.1);
    }
    tb += d * STEP_K;
    if (tb > uSceneScale * 3.0) break;
  }
  return bg(bd, L) + ambCol * (0.35 + 0.75 * max(bd.y, 0.0));
}

// [SECTION] Main: camera ray, lens, light jitter, bounds and march

void main() {
  vec2 f = gl_FragCoord.xy + uPixelOffset;
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  vec2 fc = f + uJitter;
  vec2 uv = (2.0 * fc - uRes) / uRes.y + vec2(uShift, 0.0);
  vec3 ro = uCamPos;
  vec3 rd = normalize(uCam * vec3(uv * uTanFov, 1.0));
  if (uFrustum.y != uFrustum.x) {
    // One eye of a stereo pair: an asymmetric frustum.
    rd = normalize(uCam * vec3(mix(uFrustum.x, uFrustum.y, fc.x / uRes.x),
                               mix(uFrustum.z, uFrustum.w, fc.y / uRes.y), 1.0));
  }

  // The first still sample stays deterministic: it supplies the picked depth.
  bool stochastic = uFrame > 0 || uHistory > 0.0;
  float seq = float(uSeq);
  vec2 rnd = hash22(f + seq * vec2(17.13, 31.71));
  vec3 L = uLightDir;
  if (uAperture > 0.0 && stochastic) {
    float a = 6.2831853 * rnd.x;
    float radius = sqrt(rnd.y) * uAperture * uSceneScale * 0.05;
    vec3 fp = ro + rd * (uFocus / dot(rd, uCam[2]));
    ro += (uCam[0] * cos(a) + uCam[1] * sin(a)) * radius;
    rd = normalize(fp - ro);
  }
  if (stochastic) L = jitterLight(L, f, seq);

  float tmin = 0.0;
  float tmax = uMaxDist;
  bool inBounds = true;
  if (uBound > 0.0) {
    float b = dot(ro, rd);
    float c = dot(ro, ro) - uBound * uBound;
    float h = b * b - c;
    if (h < 0.0) {
      inBounds = false;
    } else {
      float sh = sqrt(h);
      tmin = max(0.0, -b - sh);
      tmax = min(tmax, -b + sh);
      if (tmax < 0.0) inBounds = false;
    }
  }

  float pix = 2.0 * uTanFov / uRes.y * uDetail;
  float t = tmin;
  float eps = max(pix * t, 1e-6);
  float steps = 0.0;
  float trap = 0.0;
  bool hit = false;
  bool march = inBounds;
  if (inBounds && uUsePre == 1) {
    vec4 pre = texelFetch(uPre, pixel / 4, 0);
    steps = pre.g;
    if (pre.r >= HIT_LIMIT) march = false;  // the block's cone escaped
    else t = max(t, pre.r);
  }
  if (march) {
    for (int i = 0; i < uMaxSteps; i++) {
      float d = map(ro + rd * t);
      eps = max(pix * t, 1e-6);
      steps += 1.0;
      if (d < eps * 0.5) {
        hit = true;
        trap = gTrap;
        break;
      }
      t += d * STEP_K;
      if (t > tmax) break;
    }
  }

  // [SECTION] Shading
  vec3 sunCol = sunColour();
  vec3 ambCol = ambientColour();
  vec3 sky = bg(rd, L);
  vec3 col = sky;
  if (hit) {
    vec3 p = ro + rd * t;
    vec3 n = calcNormal(p, eps * 0.5);
    vec3 alb = albedo(trap);
    int shadowSteps = (uFast == 1) ? 24 : 64;

    float dif = max(dot(n, L), 0.0);
    float sh = 1.0;
    if (uShadows == 1 && dif > 0.0) {
      sh = softShadow(p + n * eps * 2.0, L, eps * 4.0, uSceneScale * 2.5, uShadowSoft, shadowSteps);
    }
    float ao = 1.0;
    if (uAO == 1) ao = calcAO(p, n, uSceneScale * 0.12, (uFast == 1) ? 3 : 5);

    vec3 lin;
    if (uGI == 1) {
      vec2 q = hash22(f * 0.731 + seq * 13.17);
      vec3 li = giBounce(p, n, eps, pix, t, q, L, sunCol, ambCol, shadowSteps);
      lin = sunCol * dif * sh * 1.7 + li * (0.6 + 0.6 * uAmbient);
    } else {
      lin = directLight(n, rd, alb, dif, sh, ao, sunCol, ambCol);
    }
    col = shadeSurface(n, rd, L, alb, trap, dif, sh, ao, lin, sunCol, ambCol);
    col = fog(col, sky, t / uSceneScale);
  }

  fragColor = accumulate(glow(col, steps), hit ? t : NO_HIT);
}
