precision highp float;
precision highp int;
// The float library every fractal program starts with: the record's uniforms,
// the bulb, box and fold steps and the palette lookup. The float estimators
// (float_estimators.glsl) build on it, and so does the double-precision
// program, whose orbits continue in float once double is no longer needed.
// Kept valid GLSL ES 3.00 because the browser edition of the explorer compiles
// these same texts: no doubles, no implicit int->float.
//
// Index: fractal uniforms; bulb steps (bulb8, bulbStep); fold and box helpers;
// albedo (palette).

// [SECTION] Fractal uniforms
uniform int uIter;
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

// [SECTION] Colour

// Palette colours are sRGB-like; lighting runs in linear light. The palette
// texture repeats mirrored, so any trap value maps to a colour.
vec3 albedo(float trap) {
  vec3 c = texture(uPal, vec2(trap * uColScale + uColShift, 0.5)).rgb;
  return pow(c, vec3(2.2));
}
