#version 300 es
// One triangle that covers the viewport, drawn without a vertex buffer:
// vertices 0, 1, 2 give p = (0,0), (2,0), (0,2).
out vec2 vUv;

void main() {
  int id = gl_VertexID;
  vec2 p = vec2(float((id << 1) & 2), float(id & 2));
  vUv = p;
  gl_Position = vec4(p * 2.0 - 1.0, 0.0, 1.0);
}
