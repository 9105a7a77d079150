#version 300 es
// One direction of a 9-tap Gaussian, folded into five bilinear taps.
precision highp float;

uniform sampler2D uSrc;
uniform vec2 uDir;  // radius in uv units along one axis

in vec2 vUv;
out vec4 fragColor;

void main() {
  vec3 c = texture(uSrc, vUv).rgb * 0.227027;
  c += (texture(uSrc, vUv + uDir * 1.384615).rgb + texture(uSrc, vUv - uDir * 1.384615).rgb) * 0.316216;
  c += (texture(uSrc, vUv + uDir * 3.230769).rgb + texture(uSrc, vUv - uDir * 3.230769).rgb) * 0.070270;
  fragColor = vec4(c, 1.0);
}
