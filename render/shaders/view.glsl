// The view uniforms of the fractal programs: render size and poster tile,
// camera, accumulation, march budget, lighting and post. One list for every
// pass; a pass that does not read one leaves it to the compiler to drop.

// [SECTION] Picture and accumulation
uniform sampler2D uPrev;  // accumulated image, rgb + first sample's depth
uniform sampler2D uPre;   // depth prepass, one texel per 4x4 block
uniform int uUsePre;
uniform int uFast;
uniform int uGI;
uniform vec2 uRes;        // the full render size, in the prepass too
uniform vec2 uPixelOffset;  // a poster tile: where the target's corner sits in the picture
uniform vec2 uJitter;
uniform float uShift;
uniform int uFrame;
uniform int uSeq;
uniform float uHistory;

// [SECTION] Camera and march
uniform vec4 uFrustum;    // left, right, bottom, top tangents; x == y: none
uniform vec3 uCamPos;
uniform mat3 uCam;        // columns right, up, forward
uniform float uTanFov;
uniform float uAperture;
uniform float uFocus;
uniform float uBound;
uniform float uMaxDist;
uniform int uMaxSteps;
uniform float uDetail;
uniform float uSceneScale;

// [SECTION] Light and surface
uniform vec3 uLightDir;
uniform float uLight;
uniform float uAmbient;
uniform float uSpec;
uniform float uShadowSoft;
uniform int uShadows;
uniform int uAO;
uniform float uMetal;
uniform float uIrid;
uniform float uGlow;
uniform vec3 uGlowCol;
uniform float uFog;
uniform vec3 uBgTop;
uniform vec3 uBgBot;

out vec4 fragColor;
