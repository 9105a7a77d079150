// Double-precision trace program: placeholder until the fp64 estimators land.
uniform vec3 uBgTop;
out vec4 fragColor;
void main() { fragColor = vec4(uBgTop, 10000.0); }
