// Depth prepass: one conservative cone per 4x4 block of pixels, so that the
// trace pass crosses empty space once per block instead of once per pixel.
// Writes (start distance or NO_HIT when the cone escaped, steps, 0, 1).
// Follows the float library, the estimators and the view uniforms; a poster
// tile's uPixelOffset is a multiple of 4 here.

void main() {
  // gl_FragCoord sits at the texel centre, so fc is the middle of the block.
  vec2 fc = gl_FragCoord.xy * 4.0 + uPixelOffset;
  vec2 uv = (2.0 * fc - uRes) / uRes.y + vec2(uShift, 0.0);
  vec3 ro = uCamPos;
  vec3 rd = normalize(uCam * vec3(uv * uTanFov, 1.0));

  float tmin = 0.0;
  float tmax = uMaxDist;
  if (uBound > 0.0) {
    float b = dot(ro, rd);
    float h = b * b - dot(ro, ro) + uBound * uBound;
    if (h < 0.0) {
      fragColor = vec4(NO_HIT, 0.0, 0.0, 1.0);
      return;
    }
    float sh = sqrt(h);
    tmin = max(0.0, -b - sh);
    tmax = min(tmax, -b + sh);
    if (tmax < 0.0) {
      fragColor = vec4(NO_HIT, 0.0, 0.0, 1.0);
      return;
    }
  }

  // Half the diagonal of a 4x4 block plus a margin for the sub-pixel jitter.
  float cone = 2.0 * uTanFov / uRes.y * 3.6;
  float pix = 2.0 * uTanFov / uRes.y * uDetail;
  float t = tmin;
  float steps = 0.0;
  bool escaped = false;
  for (int i = 0; i < uMaxSteps; i++) {
    float d = map(ro + rd * t);
    float cr = cone * t + 0.000001;
    steps += 1.0;
    if (d < 2.0 * cr || d < pix * t) break;
    t += (d - cr) * STEP_K;
    if (t > tmax) {
      escaped = true;
      break;
    }
  }
  // Back off slightly so that no pixel of the block starts behind the surface.
  fragColor = vec4(escaped ? NO_HIT : max(tmin, t * 0.995), steps, 0.0, 1.0);
}
