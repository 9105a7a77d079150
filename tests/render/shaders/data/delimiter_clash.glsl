// A text that would end the raw literal early: )qtx_glsl"
void main() {}
