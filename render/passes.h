// passes.h — the GL passes: render targets, the trace pass with its
// accumulation blend, the depth prepass, and bloom + composite. The frame
// driver and the photo render both call these with their own targets.
#pragma once

#include "model/params.h"
#include "render/renderer.h"

#include <cstdint>

// [SECTION] Targets

enum class TargetFormat { Float32, Unorm8 };
// (Re)creates the texture and framebuffer at w×h, cleared to zero.
// Clamp-to-edge, no mipmaps; `linear` picks the filter.
void createTarget(RenderTarget& t, int w, int h, TargetFormat format, bool linear);
void deleteTarget(RenderTarget& t);

// [SECTION] Trace

// One trace call's view of the scene (the pass keeps no state of its own).
struct TraceView {
  int width = 0, height = 0;       // render size: the used part of the targets
  CameraView camera;
  int frame = 0;                   // n: samples already in the accumulation
  uint32_t sequenceBase = 0;
  float history = 0;               // weight of the old picture for the first sample
  int maxSteps = 320;
  float detail = 1;                // surface tolerance in pixels
  int iterations = 0;              // 0 = the record's own
  bool fast = false;
  bool gi = false;
  bool deep = false;
  bool allowPrepass = true;
  int scissor[4] = {0, 0, 0, 0};   // x, y, w, h in GL pixels (bottom-left); w 0 = whole target
  float frustum[4] = {0, 0, 0, 0}; // left, right, bottom, top tangents; equal = none
  float shift = 0;                 // horizontal image shift in screen units
  float focus = 2.7f;              // focus distance
};

struct TraceTargets {
  RenderTarget* accumA = nullptr;
  RenderTarget* accumB = nullptr;
  RenderTarget* prepass = nullptr;  // (re)created by the prepass at the right size
  bool* prepassValid = nullptr;
};

struct RenderOptions {
  bool shadows = true, ao = true, prepass = true;
};

// Draws one sample into B and copies the scissor rectangle back to A.
// False when the program could not be built; A is untouched then.
bool tracePass(Renderer& r, const TraceTargets& t, const TraceView& v, const FractalParams& p,
               const RenderOptions& o);

// [SECTION] Post

// Bloom (when the record asks for it) and composite of the used w×h part of
// `accum` into framebuffer `dest` of destW×destH.
void postPass(Renderer& r, const RenderTarget& accum, int usedW, int usedH, RenderTarget& bloom0,
              RenderTarget& bloom1, uint32_t dest, int destW, int destH);
