// standin_framebuffer.h — the headless window's stand-in back buffer, shared by
// both backends: an RGBA8 renderbuffer behind an FBO, made with the few GL
// entry points the platform needs itself (the renderer loads its own table).
// GL only: no OS header comes in here.
#pragma once

#include <GL/glcorearb.h>

#include <string>

namespace platform {

struct StandInGl {
  PFNGLGENFRAMEBUFFERSPROC genFramebuffers = nullptr;
  PFNGLDELETEFRAMEBUFFERSPROC deleteFramebuffers = nullptr;
  PFNGLBINDFRAMEBUFFERPROC bindFramebuffer = nullptr;
  PFNGLFRAMEBUFFERRENDERBUFFERPROC framebufferRenderbuffer = nullptr;
  PFNGLCHECKFRAMEBUFFERSTATUSPROC checkFramebufferStatus = nullptr;
  PFNGLGENRENDERBUFFERSPROC genRenderbuffers = nullptr;
  PFNGLDELETERENDERBUFFERSPROC deleteRenderbuffers = nullptr;
  PFNGLBINDRENDERBUFFERPROC bindRenderbuffer = nullptr;
  PFNGLRENDERBUFFERSTORAGEPROC renderbufferStorage = nullptr;
  PFNGLFINISHPROC finish = nullptr;
  PFNGLGETINTEGERVPROC getIntegerv = nullptr;
};

struct StandIn {
  GLuint fbo = 0, colour = 0;
  int width = 0, height = 0;  // the size last asked for: the headless window's client size
  StandInGl gl;
};

// Through glProcAddress, so the context must be current. False when any
// entry point is missing.
bool loadStandInGl(StandInGl& gl);
void releaseStandIn(StandIn& s);
// Whether a width x height frame is within the GPU's renderbuffer and viewport
// limits; if not, `error` begins with kErrorFrameTooLarge and names the limit.
bool fitsGpuLimits(const StandInGl& gl, int width, int height, std::string& error);
// Replaces the stand-in with one of the given size, bound as the draw target;
// a size beyond the GPU's limits is refused (see fitsGpuLimits).
bool makeStandIn(StandIn& s, int width, int height, std::string& error);
// A headless window's new client size: the same size keeps the stand-in, a
// size under 1x1 is ignored, a refused one leaves no stand-in behind.
void resizeStandIn(StandIn& s, int width, int height);

}  // namespace platform
