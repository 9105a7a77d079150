// Volume pass: renders the fractal as a glowing fog instead of a surface.
// Density falls off with the estimated distance, the orbit trap colours the
// emission, and a short two-tap march towards the light attenuates it.
// Writes the same accumulation format as the trace pass (rgb, first depth).
// Follows the float library, the estimators, the view uniforms and the shading.

// Extinction per unit length: dense (optical depth 1 over 3% of the scene
// scale) inside, fading over a thin shell outside.
float shellWidth() {
  return uSceneScale * 0.005;
}

float density(float d) {
  return exp(-max(d, 0.0) / shellWidth()) / (uSceneScale * 0.03);
}

void main() {
  vec2 f = gl_FragCoord.xy + uPixelOffset;
  bool stochastic = uFrame > 0 || uHistory > 0.0;
  vec2 rnd = hash22(f + float(uSeq) * vec2(17.13, 31.71));
  vec2 jitter = stochastic ? rnd - 0.5 : vec2(0.0);
  vec2 uv = (2.0 * (f + jitter) - uRes) / uRes.y + vec2(uShift, 0.0);
  vec3 ro = uCamPos;
  vec3 rd = normalize(uCam * vec3(uv * uTanFov, 1.0));
  vec3 L = uLightDir;

  float tmin = 0.0;
  float tmax = uMaxDist;
  bool inBounds = true;
  if (uBound > 0.0) {
    float b = dot(ro, rd);
    float h = b * b - dot(ro, ro) + uBound * uBound;
    inBounds = h >= 0.0;
    float sh = sqrt(max(h, 0.0));
    tmin = max(0.0, -b - sh);
    tmax = min(tmax, -b + sh);
    inBounds = inBounds && tmax >= 0.0;
  }

  // Sphere-trace through empty space, take short fixed steps in the shell;
  // a jittered start turns the step pattern into noise that accumulates away.
  float shellStep = shellWidth();
  float t = tmin + shellStep * (stochastic ? rnd.y : 0.5);
  float transmit = 1.0;
  float depth = NO_HIT;
  vec3 col = vec3(0.0);
  for (int i = 0; i < uMaxSteps; i++) {
    if (!inBounds || t > tmax || transmit < 0.01) break;
    vec3 p = ro + rd * t;
    float d = map(p);
    float trap = gTrap;
    float dt = max(d - shellStep * 3.0, 0.0) * STEP_K + shellStep;
    float a = 1.0 - exp(-density(d) * dt);
    if (a > 1e-5) {
      float tau = density(map(p + L * uSceneScale * 0.03)) * uSceneScale * 0.03
                + density(map(p + L * uSceneScale * 0.1)) * uSceneScale * 0.07;
      vec3 emit = albedo(trap) * (uLight * exp(-tau) * 1.5 + 0.15) + uGlowCol * 0.2;
      col += transmit * a * emit;
      transmit *= 1.0 - a;
      if (depth == NO_HIT && transmit < 0.5) depth = t;
    }
    t += dt;
  }
  col += transmit * bg(rd, L);

  fragColor = accumulate(col, depth);
}
