  // Trace pass, second half (continues main): shading, fog, glow and the
  // blend into the running mean.

  // [SECTION] Shading
  vec3 sunCol = vec3(1.0, 0.94, 0.86) * uLight;
  vec3 ambCol = mix(vec3(0.55, 0.65, 0.9), uBgTop * 4.0, 0.3) * uAmbient;
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

    vec3 H = normalize(L - rd);
    // clamp: dot() of unit vectors may exceed 1 by rounding, and pow() of a
    // negative base is undefined.
    float fres = pow(clamp(1.0 - max(dot(H, L), 0.0), 0.0, 1.0), 5.0);
    float spe = pow(max(dot(n, H), 0.0), 40.0) * dif * sh * (0.04 + 0.96 * fres);
    float rim = pow(clamp(1.0 + dot(n, rd), 0.0, 1.0), 3.0);
    float skyK = 0.5 + 0.5 * n.y;
    float bounce = clamp(0.5 - 0.5 * n.y, 0.0, 1.0);
    vec3 lin;
    if (uGI == 1) {
      vec2 q = hash22(f * 0.731 + seq * 13.17);
      vec3 li = giBounce(p, n, eps, pix, t, q, L, sunCol, ambCol, shadowSteps);
      lin = sunCol * dif * sh * 1.7 + li * (0.6 + 0.6 * uAmbient);
    } else {
      lin = sunCol * dif * sh * 1.7 + ambCol * skyK * ao * 0.8
          + alb * bounce * ao * 0.3 * uAmbient + ambCol * rim * ao * 0.6;
    }

    // Metal: Schlick Fresnel against a bright studio dome and a broad sun
    // spot, so that metal does not go black against a dark background.
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
      // Thin-film tint that shifts with the viewing angle (temper colours).
      vec3 film = 0.5 + 0.5 * cos(6.2831853 * (vec3(0.0, 0.33, 0.67) + ndv * 2.2 + trap * 0.6));
      float edge = (1.0 - ndv) * (1.0 - ndv);
      col += film * film * uIrid * (0.12 + 0.6 * edge) * ao * (0.4 + 0.6 * dif * sh);
    }

    float tf = t / uSceneScale;
    float fogK = 1.0 - exp(-uFog * tf * tf * 0.35);
    col = mix(col, sky, fogK);
  }

  // [SECTION] Glow, guard and accumulation
  // Steps spent near the surface bring out thin branches and give a halo.
  float g = steps / float(max(uMaxSteps, 1));
  col += uGlowCol * uGlow * g * g * 2.0;

  if (any(isnan(col)) || any(isinf(col))) col = vec3(0.0);
  col = min(col, vec3(32.0));  // single fireflies must not dominate the mean

  float depth = hit ? t : 10000.0;
  vec4 prev = texelFetch(uPrev, pixel, 0);
  if (uFrame == 0) {
    // A history weight leaves a soft trail while the view moves.
    fragColor = (uHistory > 0.0) ? vec4(mix(col, prev.rgb, uHistory), depth) : vec4(col, depth);
  } else {
    fragColor = vec4(mix(prev.rgb, col, 1.0 / float(uFrame + 1)), prev.a);
  }
}
