// standin_framebuffer.cpp — the headless stand-in back buffer of both backends.
#include "platform/standin_framebuffer.h"

#include "platform/platform.h"

#include <algorithm>

namespace platform {

namespace {

template <class Fn>
bool loadGl(Fn& fn, const char* name) {
  fn = reinterpret_cast<Fn>(glProcAddress(name));
  return fn != nullptr;
}

}  // namespace

bool loadStandInGl(StandInGl& gl) {
  return loadGl(gl.genFramebuffers, "glGenFramebuffers") &&
         loadGl(gl.deleteFramebuffers, "glDeleteFramebuffers") &&
         loadGl(gl.bindFramebuffer, "glBindFramebuffer") &&
         loadGl(gl.framebufferRenderbuffer, "glFramebufferRenderbuffer") &&
         loadGl(gl.checkFramebufferStatus, "glCheckFramebufferStatus") &&
         loadGl(gl.genRenderbuffers, "glGenRenderbuffers") &&
         loadGl(gl.deleteRenderbuffers, "glDeleteRenderbuffers") &&
         loadGl(gl.bindRenderbuffer, "glBindRenderbuffer") &&
         loadGl(gl.renderbufferStorage, "glRenderbufferStorage") &&
         loadGl(gl.finish, "glFinish") && loadGl(gl.getIntegerv, "glGetIntegerv");
}

void releaseStandIn(StandIn& s) {
  if (s.fbo) s.gl.deleteFramebuffers(1, &s.fbo);
  if (s.colour) s.gl.deleteRenderbuffers(1, &s.colour);
  s.fbo = s.colour = 0;
}

bool fitsGpuLimits(const StandInGl& gl, int width, int height, std::string& error) {
  GLint side = 0, viewport[2] = {0, 0};
  gl.getIntegerv(GL_MAX_RENDERBUFFER_SIZE, &side);
  gl.getIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  const int maxW = std::min(side, viewport[0]), maxH = std::min(side, viewport[1]);
  if (width <= maxW && height <= maxH) return true;
  error = std::string(kErrorFrameTooLarge) + ": " + std::to_string(width) + "x" + std::to_string(height) +
          ", предел " + std::to_string(maxW) + "x" + std::to_string(maxH);
  return false;
}

bool makeStandIn(StandIn& s, int width, int height, std::string& error) {
  releaseStandIn(s);  // the old stand-in goes even when the new size is refused
  s.width = width;
  s.height = height;
  if (!fitsGpuLimits(s.gl, width, height, error)) return false;
  s.gl.genRenderbuffers(1, &s.colour);
  s.gl.bindRenderbuffer(GL_RENDERBUFFER, s.colour);
  s.gl.renderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
  s.gl.bindRenderbuffer(GL_RENDERBUFFER, 0);
  s.gl.genFramebuffers(1, &s.fbo);
  s.gl.bindFramebuffer(GL_FRAMEBUFFER, s.fbo);
  s.gl.framebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, s.colour);
  GLenum status = s.gl.checkFramebufferStatus(GL_FRAMEBUFFER);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    error = "headless framebuffer incomplete (status " + std::to_string(status) + ")";
    releaseStandIn(s);
    return false;
  }
  return true;
}

void resizeStandIn(StandIn& s, int width, int height) {
  if (width < 1 || height < 1 || (width == s.width && height == s.height)) return;
  std::string ignored;
  makeStandIn(s, width, height, ignored);
}

}  // namespace platform
