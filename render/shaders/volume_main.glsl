// Volume pass: renders the fractal as a glowing fog instead of a surface.
// Density falls off with the estimated distance, the orbit trap colours the
// emission, and a short two-tap march towards the light attenuates it.
// Writes the same accumulation format as the trace pass (rgb, first depth).

uniform sampler2D uPrev;
uniform vec2 uRes;
uniform vec2 uPixelOffset;  // a poster tile: where the target's corner sits in the picture
uniform float uShift;
uniform vec3 uCamPos;
uniform mat3 uCam;
uniform float uTanFov;
uniform float uBound;
uniform float uMaxDist;
uniform int uMaxSteps;
uniform float uSceneScale;
uniform vec3 uLightDir;
uniform float uLight;
uniform vec3 uBgTop;
uniform vec3 uBgBot;
uniform vec3 uGlowCol;
uniform int uFrame;
uniform int uSeq;
uniform float uHistory;

out vec4 fragColor;

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
  float depth = 10000.0;
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
      if (depth > 9999.0 && transmit < 0.5) depth = t;
    }
    t += dt;
  }
  col += transmit * bg(rd, L);

  if (any(isnan(col)) || any(isinf(col))) col = vec3(0.0);
  col = min(col, vec3(32.0));
  vec4 prev = texelFetch(uPrev, ivec2(gl_FragCoord.xy), 0);
  if (uFrame == 0) {
    fragColor = (uHistory > 0.0) ? vec4(mix(col, prev.rgb, uHistory), depth) : vec4(col, depth);
  } else {
    fragColor = vec4(mix(prev.rgb, col, 1.0 / float(uFrame + 1)), prev.a);
  }
}
