#version 300 es
// Bloom source: the parts of the accumulation above the threshold, at a
// quarter size; the four-tap mean is also the downsampling filter.
precision highp float;

uniform sampler2D uSrc;
uniform vec2 uUvScale;  // used part of the accumulation texture
uniform vec2 uUvBias;   // a poster tile: its bloom corner in the tile's accumulation; 0 otherwise
uniform vec2 uTexel;
uniform float uThreshold;

in vec2 vUv;
out vec4 fragColor;

void main() {
  vec2 uv = vUv * uUvScale + uUvBias;
  vec3 c = texture(uSrc, uv + uTexel * vec2(-1.0, -1.0)).rgb
         + texture(uSrc, uv + uTexel * vec2(1.0, -1.0)).rgb
         + texture(uSrc, uv + uTexel * vec2(-1.0, 1.0)).rgb
         + texture(uSrc, uv + uTexel * vec2(1.0, 1.0)).rgb;
  c *= 0.25;
  float l = dot(c, vec3(0.2126, 0.7152, 0.0722));
  float k = max(l - uThreshold, 0.0) / max(l, 0.0001);
  fragColor = vec4(c * k, 1.0);
}
