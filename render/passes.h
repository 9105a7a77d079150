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
  // A poster tile: the targets hold only the part of the picture whose
  // bottom-left corner is `offset` (a multiple of 4, so prepass blocks stay
  // on the picture's grid) and whose size is target×; width and height above
  // stay the picture's. Target size 0 = the targets are the whole picture.
  int offset[2] = {0, 0};
  int targetWidth = 0, targetHeight = 0;
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
              RenderTarget& bloom1, Framebuffer dest, int destW, int destH);

// One poster tile's share of the picture's post-processing. All rectangles
// are in picture pixels (x, y from the bottom-left). `accum` holds the
// picture's pixels from accumX/accumY on; the bloom targets hold the bloom
// texels from bloomX/bloomY on (the picture's bloom is bloomSide(w) ×
// bloomSide(h)); the composite writes the pixels from destX/destY on into
// `dest`, destW×destH. With margins wide enough (posterBloomMargin) the
// result equals the whole picture's post-processing at those pixels.
struct PostWindow {
  int pictureW = 0, pictureH = 0;
  int accumX = 0, accumY = 0;
  int bloomX = 0, bloomY = 0;
  int destX = 0, destY = 0;
};
void postPassWindow(Renderer& r, const RenderTarget& accum, RenderTarget& bloom0, RenderTarget& bloom1,
                    Framebuffer dest, int destW, int destH, const PostWindow& win);
