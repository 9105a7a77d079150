// Light and colour shared by the trace, deep and volume passes, all in float
// (the deep pass shades relative to its hit point): the jitter hash, the sky,
// the area light, the shadow penumbra, the surface at a hit, fog, glow and
// the blend into the running mean. Follows the view uniforms.

// [SECTION] Noise and sky

vec2 hash22(vec2 p) {
  vec3 p3 = fract(vec3(p.x, p.y, p.x) * vec3(0.1031, 0.1030, 0.0973));
  p3 += dot(p3, p3.yzx + 33.33);
  return fract(vec2(p3.x + p3.y, p3.x + p3.z) * vec2(p3.z, p3.y));
}

// Sky gradient plus a broad and a tight sun highlight.
vec3 bg(vec3 rd, vec3 L) {
  float sun = max(dot(rd, L), 0.0);
  vec3 sky = mix(uBgBot, uBgTop, smoothstep(-0.3, 0.9, rd.y));
  return sky + vec3(1.0, 0.85, 0.65) * (pow(sun, 24.0) * 0.06 + pow(sun, 400.0) * 0.4) * uLight;
}

// An area light by accumulation: each sample sees a slightly moved sun.
vec3 jitterLight(vec3 L, vec2 f, float seq) {
  vec2 q = hash22(f.yx * 1.37 + seq * 7.7) - 0.5;
  vec3 tx = normalize(cross(L, abs(L.y) < 0.99 ? vec3(0.0, 1.0, 0.0) : vec3(1.0, 0.0, 0.0)));
  vec3 ty = cross(L, tx);
  return normalize(L + (tx * q.x + ty * q.y) * 0.06);
}

// [SECTION] Shadow

// One step of the penumbra estimate along a light ray: `h` the distance at
// ray distance `t`, `ph` the previous step's, which locates the closest
// approach between the two (the improved variant of the soft shadow).
float penumbra(float res, float h, float ph, float t, float k) {
  float y = h * h / (2.0 * ph);
  float d = sqrt(max(h * h - y * y, 0.0));
  return min(res, k * d / max(0.0, t - y));
}

// The march's darkest penumbra as a light factor, smoothed.
float shadowFactor(float res) {
  res = clamp(res, 0.0, 1.0);
  return res * res * (3.0 - 2.0 * res);
}

// [SECTION] Surface

vec3 sunColour() {
  return vec3(1.0, 0.94, 0.86) * uLight;
}

vec3 ambientColour() {
  return mix(vec3(0.55, 0.65, 0.9), uBgTop * 4.0, 0.3) * uAmbient;
}

// The light reaching a surface point without a traced bounce: sun, sky dome,
// the bounce from below and a rim.
vec3 directLight(vec3 n, vec3 rd, vec3 alb, float dif, float sh, float ao, vec3 sunCol, vec3 ambCol) {
  float rim = pow(clamp(1.0 + dot(n, rd), 0.0, 1.0), 3.0);
  float skyK = 0.5 + 0.5 * n.y;
  float bounce = clamp(0.5 - 0.5 * n.y, 0.0, 1.0);
  return sunCol * dif * sh * 1.7 + ambCol * skyK * ao * 0.8
       + alb * bounce * ao * 0.3 * uAmbient + ambCol * rim * ao * 0.6;
}

// The colour of a hit lit by `lin`: diffuse, a Fresnel-weighted highlight,
// metal and an iridescent film.
vec3 shadeSurface(vec3 n, vec3 rd, vec3 L, vec3 alb, float trap, float dif, float sh, float ao,
                  vec3 lin, vec3 sunCol, vec3 ambCol) {
  vec3 H = normalize(L - rd);
  // clamp: dot() of unit vectors may exceed 1 by rounding, and pow() of a
  // negative base is undefined.
  float fres = pow(clamp(1.0 - max(dot(H, L), 0.0), 0.0, 1.0), 5.0);
  float spe = pow(max(dot(n, H), 0.0), 40.0) * dif * sh * (0.04 + 0.96 * fres);

  // Metal: Schlick Fresnel against a bright studio dome and a broad sun
  // spot, so that metal does not go black against a dark background.
  float ndv = max(dot(n, -rd), 0.0);
  vec3 F0 = mix(vec3(0.04), alb, uMetal);
  vec3 F = F0 + (1.0 - F0) * pow(clamp(1.0 - ndv, 0.0, 1.0), 5.0);
  vec3 r = reflect(rd, n);
  vec3 env = bg(r, L) + ambCol * (0.35 + 0.75 * max(r.y, 0.0))
           + sunCol * pow(max(dot(r, L), 0.0), 6.0) * 0.8 * sh;
  vec3 col = alb * lin * (0.35 + 0.65 * ao) * (1.0 - 0.6 * uMetal)
           + sunCol * spe * uSpec * 5.0 * mix(vec3(1.0), alb * 1.5, uMetal)
           + env * F * ao * (0.3 + 1.1 * uMetal);

  if (uIrid > 0.0) {
    // Thin-film tint that shifts with the viewing angle (temper colours).
    vec3 film = 0.5 + 0.5 * cos(6.2831853 * (vec3(0.0, 0.33, 0.67) + ndv * 2.2 + trap * 0.6));
    float edge = (1.0 - ndv) * (1.0 - ndv);
    col += film * film * uIrid * (0.12 + 0.6 * edge) * ao * (0.4 + 0.6 * dif * sh);
  }
  return col;
}

// Distance fog towards the sky; `tf` is the hit distance in scene scales.
vec3 fog(vec3 col, vec3 sky, float tf) {
  float fogK = 1.0 - exp(-uFog * tf * tf * 0.35);
  return mix(col, sky, fogK);
}

// [SECTION] Glow, guard and accumulation

// Steps spent near the surface bring out thin branches and give a halo.
vec3 glow(vec3 col, float steps) {
  float g = steps / float(max(uMaxSteps, 1));
  return col + uGlowCol * uGlow * g * g * 2.0;
}

// One sample blended into the running mean in uPrev; the first sample of a
// still picture supplies the depth.
vec4 accumulate(vec3 col, float depth) {
  if (any(isnan(col)) || any(isinf(col))) col = vec3(0.0);
  col = min(col, vec3(32.0));  // single fireflies must not dominate the mean
  vec4 prev = texelFetch(uPrev, ivec2(gl_FragCoord.xy), 0);
  if (uFrame == 0) {
    // A history weight leaves a soft trail while the view moves.
    return (uHistory > 0.0) ? vec4(mix(col, prev.rgb, uHistory), depth) : vec4(col, depth);
  }
  return vec4(mix(prev.rgb, col, 1.0 / float(uFrame + 1)), prev.a);
}
