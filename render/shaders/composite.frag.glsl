#version 300 es
// Final picture: accumulation plus bloom, exposure, ACES fit, gamma,
// vignette and dithering.
precision highp float;

uniform sampler2D uAccum;
uniform sampler2D uBloomTex;
uniform vec2 uUvScale;  // used part of the accumulation texture
uniform vec2 uUvBias;   // a poster tile: its corner in the tile's accumulation; 0 otherwise
uniform vec2 uUvMax;    // half a texel inside it, so bilinear taps stay inside
uniform float uExposure;
uniform float uBloom;
uniform float uVignette;
uniform float uAspect;
// A poster tile sees the picture through a window: xy is the viewport's
// corner in the picture and zw the picture's size, in pixels; zw = 0 means
// the viewport is the whole picture. The tile's bloom covers only part of
// the picture's: bloom uv = picture uv · uBloomMap.xy + uBloomMap.zw (xy = 0:
// the bloom texture is the picture's own).
uniform vec4 uTile;
uniform vec4 uBloomMap;

in vec2 vUv;
out vec4 fragColor;

void main() {
  vec2 uv = min(vUv * uUvScale + uUvBias, uUvMax);
  vec2 frag = gl_FragCoord.xy + uTile.xy;
  vec2 pic = uTile.z > 0.0 ? frag / uTile.zw : vUv;
  vec2 bloomUv = uBloomMap.x > 0.0 ? pic * uBloomMap.xy + uBloomMap.zw : pic;
  vec3 c = texture(uAccum, uv).rgb + texture(uBloomTex, bloomUv).rgb * uBloom;
  c *= uExposure;
  c = clamp(c * (2.51 * c + 0.03) / (c * (2.43 * c + 0.59) + 0.14), 0.0, 1.0);
  c = pow(c, vec3(1.0 / 2.2));
  // The edges run from 1.25 down to 0.25 on purpose: 1 in the centre, falling
  // towards the corners.
  vec2 v = (pic - 0.5) * vec2(uAspect, 1.0);
  c *= mix(1.0, smoothstep(1.25, 0.25, length(v)), uVignette);
  // Dither against banding in smooth background gradients.
  float n = fract(sin(dot(frag, vec2(12.9898, 78.233))) * 43758.5453);
  c += (n - 0.5) / 255.0;
  fragColor = vec4(c, 1.0);
}
