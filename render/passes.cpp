// passes.cpp — targets, trace pass, depth prepass, bloom and composite.
//
// Index:
//   [SECTION] Targets
//   [SECTION] Depth prepass
//   [SECTION] Trace
//   [SECTION] Post
#include "render/passes.h"

#include "render/frame_math.h"
#include "render/gl.h"
#include "render/programs.h"

#include <cmath>

// [SECTION] Targets

void createTarget(RenderTarget& t, int w, int h, TargetFormat format, bool linear) {
  deleteTarget(t);
  const GLint filter = linear ? GL_LINEAR : GL_NEAREST;
  gl.GenTextures(1, &t.tex.id);
  gl.BindTexture(GL_TEXTURE_2D, t.tex.id);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  if (format == TargetFormat::Float32)
    gl.TexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, w, h, 0, GL_RGBA, GL_FLOAT, nullptr);
  else
    gl.TexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, w, h, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  gl.BindTexture(GL_TEXTURE_2D, 0);
  gl.GenFramebuffers(1, &t.fbo.id);
  gl.BindFramebuffer(GL_FRAMEBUFFER, t.fbo.id);
  gl.FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, t.tex.id, 0);
  // A fresh target must not feed garbage (or NaN) into a history blend; the
  // interface may have left its clipping rectangle on.
  gl.Disable(GL_SCISSOR_TEST);
  gl.ClearColor(0, 0, 0, 0);
  gl.Clear(GL_COLOR_BUFFER_BIT);
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  t.width = w;
  t.height = h;
}

void deleteTarget(RenderTarget& t) {
  if (t.fbo.id) gl.DeleteFramebuffers(1, &t.fbo.id);
  if (t.tex.id) gl.DeleteTextures(1, &t.tex.id);
  t = RenderTarget{};
}

namespace {

Mat3 cameraMatrix(const CameraView& c) {
  Mat3 m;
  for (int i = 0; i < 9; ++i) m.m[i] = c.basis[i];
  return m;
}

double maxDistance(double sceneScale, double bound, const double pos[3]) {
  if (bound <= 0) return sceneScale * 25;
  return std::sqrt(pos[0] * pos[0] + pos[1] * pos[1] + pos[2] * pos[2]) + bound;
}

// The view's rectangle; a width of 0 means the whole render size.
Tile scissorRect(const TraceView& v) {
  if (v.scissor[2] <= 0) return {0, 0, v.targetWidth > 0 ? v.targetWidth : v.width,
                                  v.targetHeight > 0 ? v.targetHeight : v.height};
  return {v.scissor[0], v.scissor[1], v.scissor[2], v.scissor[3]};
}

// No record carries a bounding radius, so rays are bounded by distance only.
constexpr float kBound = 0;

// [SECTION] Depth prepass

bool depthPrepass(Renderer& r, const TraceTargets& t, const TraceView& v, const FractalParams& p) {
  const Program prog = fractalProgram(r, p.type, Pass::Prepass);
  if (!prog.id) return false;
  const int pw = prepassSide(v.targetWidth > 0 ? v.targetWidth : v.width);
  const int ph = prepassSide(v.targetHeight > 0 ? v.targetHeight : v.height);
  if (t.prepass->width != pw || t.prepass->height != ph || !t.prepass->fbo.id)
    createTarget(*t.prepass, pw, ph, TargetFormat::Float32, false);
  gl.UseProgram(prog.id);
  gl.BindVertexArray(r.vao);
  gl.Disable(GL_BLEND);
  gl.BindFramebuffer(GL_FRAMEBUFFER, t.prepass->fbo.id);
  gl.Viewport(0, 0, pw, ph);
  const Tile s = scissorRect(v);
  gl.Enable(GL_SCISSOR_TEST);
  gl.Scissor(s.x / 4, s.y / 4, (s.x + s.w + 3) / 4 - s.x / 4, (s.y + s.h + 3) / 4 - s.y / 4);
  const CameraView& c = v.camera;
  setUniform(r, prog, "uRes", Vec2{float(v.width), float(v.height)});
  setUniform(r, prog, "uPixelOffset", Vec2{float(v.offset[0]), float(v.offset[1])});
  setUniform(r, prog, "uShift", v.shift);
  setUniform(r, prog, "uCamPos", Vec3{float(c.pos[0]), float(c.pos[1]), float(c.pos[2])});
  setUniform(r, prog, "uCam", cameraMatrix(c));
  setUniform(r, prog, "uTanFov", float(c.tanHalfFov));
  setUniform(r, prog, "uBound", kBound);
  setUniform(r, prog, "uMaxDist", float(maxDistance(c.distance, kBound, c.pos)));
  setUniform(r, prog, "uMaxSteps", int32_t(v.maxSteps));
  setUniform(r, prog, "uDetail", v.detail);
  setFractalUniforms(r, prog, p, v.iterations);
  gl.DrawArrays(GL_TRIANGLES, 0, 3);
  gl.Disable(GL_SCISSOR_TEST);
  return true;
}

// Runs the prepass when this sample needs a fresh one; says whether the
// trace may start from its result.
bool preparePrepass(Renderer& r, const TraceTargets& t, const TraceView& v, const FractalParams& p,
                    const RenderOptions& o) {
  if (!t.prepass || !t.prepassValid) return false;
  // A texture left from an earlier accumulation belongs to another view: a
  // sample that may not use the prepass forgets it, so that turning it back
  // on later in the same accumulation cannot start rays from stale depths.
  if (v.deep || !o.prepass || !v.allowPrepass || r.lighting.aperture > 0)
    return *t.prepassValid = false;
  if (v.frame == 0 || v.history > 0) *t.prepassValid = depthPrepass(r, t, v, p);
  return *t.prepassValid;
}

// [SECTION] Trace

void setViewUniforms(Renderer& r, Program prog, const TraceView& v, bool usePre) {
  const CameraView& c = v.camera;
  float jitter[2];
  sampleJitter(v.frame, v.sequenceBase, v.history, jitter);
  setUniform(r, prog, "uUsePre", int32_t(usePre));
  setUniform(r, prog, "uFast", int32_t(v.fast));
  setUniform(r, prog, "uGI", int32_t(v.gi && !v.deep));
  setUniform(r, prog, "uFrustum", Vec4{v.frustum[0], v.frustum[1], v.frustum[2], v.frustum[3]});
  setUniform(r, prog, "uRes", Vec2{float(v.width), float(v.height)});
  setUniform(r, prog, "uPixelOffset", Vec2{float(v.offset[0]), float(v.offset[1])});
  setUniform(r, prog, "uJitter", Vec2{jitter[0], jitter[1]});
  setUniform(r, prog, "uShift", v.shift);
  setUniform(r, prog, "uFrame", int32_t(v.frame));
  setUniform(r, prog, "uSeq", int32_t((uint32_t(v.frame) + v.sequenceBase) % 100000u));
  setUniform(r, prog, "uHistory", v.history);
  setUniform(r, prog, "uMetal", r.lighting.metal);
  setUniform(r, prog, "uIrid", r.lighting.irid);
  if (v.deep) setUniform(r, prog, "uCamPosD", DVec3{c.pos[0], c.pos[1], c.pos[2]});
  else setUniform(r, prog, "uCamPos", Vec3{float(c.pos[0]), float(c.pos[1]), float(c.pos[2])});
  setUniform(r, prog, "uCam", cameraMatrix(c));
  setUniform(r, prog, "uTanFov", float(c.tanHalfFov));
  setUniform(r, prog, "uAperture", r.lighting.aperture);
  setUniform(r, prog, "uFocus", v.focus);
  setUniform(r, prog, "uBound", kBound);
  setUniform(r, prog, "uMaxDist", float(maxDistance(c.distance, kBound, c.pos)));
  setUniform(r, prog, "uMaxSteps", int32_t(v.maxSteps));
  setUniform(r, prog, "uDetail", v.detail);
  setUniform(r, prog, "uSceneScale", float(c.distance));
}

void setLightUniforms(Renderer& r, Program prog, const RenderOptions& o) {
  const Lighting& l = r.lighting;
  setUniform(r, prog, "uLightDir", Vec3{l.lightDir[0], l.lightDir[1], l.lightDir[2]});
  setUniform(r, prog, "uLight", l.light);
  setUniform(r, prog, "uAmbient", l.ambient);
  setUniform(r, prog, "uSpec", l.spec);
  setUniform(r, prog, "uShadowSoft", l.shadowSoft);
  setUniform(r, prog, "uShadows", int32_t(o.shadows));
  setUniform(r, prog, "uAO", int32_t(o.ao));
  setUniform(r, prog, "uGlow", l.glow);
  setUniform(r, prog, "uGlowCol", Vec3{l.glowCol[0], l.glowCol[1], l.glowCol[2]});
  setUniform(r, prog, "uFog", l.fog);
  setUniform(r, prog, "uBgTop", Vec3{l.bgTop[0], l.bgTop[1], l.bgTop[2]});
  setUniform(r, prog, "uBgBot", Vec3{l.bgBot[0], l.bgBot[1], l.bgBot[2]});
}

}  // namespace

bool tracePass(Renderer& r, const TraceTargets& t, const TraceView& v, const FractalParams& p,
               const RenderOptions& o) {
  const Program prog = fractalProgram(r, p.type, v.deep ? Pass::Deep : Pass::Trace);
  if (!prog.id) return false;
  const bool usePre = preparePrepass(r, t, v, p, o);
  gl.UseProgram(prog.id);
  gl.BindVertexArray(r.vao);
  gl.Disable(GL_BLEND);  // the interface draws blended; the accumulation never is
  gl.BindFramebuffer(GL_FRAMEBUFFER, t.accumB->fbo.id);
  gl.Viewport(0, 0, v.targetWidth > 0 ? v.targetWidth : v.width, v.targetHeight > 0 ? v.targetHeight : v.height);
  const Tile s = scissorRect(v);
  gl.Enable(GL_SCISSOR_TEST);
  gl.Scissor(s.x, s.y, s.w, s.h);
  gl.ActiveTexture(GL_TEXTURE2);
  gl.BindTexture(GL_TEXTURE_2D, t.prepass ? t.prepass->tex.id : 0);
  gl.ActiveTexture(GL_TEXTURE0);
  gl.BindTexture(GL_TEXTURE_2D, t.accumA->tex.id);
  setUniform(r, prog, "uPrev", int32_t(0));
  setFractalUniforms(r, prog, p, v.iterations);
  setUniform(r, prog, "uPre", int32_t(2));
  setViewUniforms(r, prog, v, usePre);
  setLightUniforms(r, prog, o);
  gl.DrawArrays(GL_TRIANGLES, 0, 3);
  gl.Disable(GL_SCISSOR_TEST);
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, t.accumB->fbo.id);
  gl.BindFramebuffer(GL_DRAW_FRAMEBUFFER, t.accumA->fbo.id);
  gl.BlitFramebuffer(s.x, s.y, s.x + s.w, s.y + s.h, s.x, s.y, s.x + s.w, s.y + s.h,
                     GL_COLOR_BUFFER_BIT, GL_NEAREST);
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  return true;
}

// [SECTION] Post

namespace {

void bloomPasses(Renderer& r, const RenderTarget& accum, Vec2 uvScale, Vec2 uvBias, RenderTarget& b0,
                 RenderTarget& b1) {
  const Program bright = r.brightPass, blur = r.blur;
  gl.UseProgram(bright.id);
  gl.BindFramebuffer(GL_FRAMEBUFFER, b0.fbo.id);
  gl.Viewport(0, 0, b0.width, b0.height);
  gl.ActiveTexture(GL_TEXTURE0);
  gl.BindTexture(GL_TEXTURE_2D, accum.tex.id);
  setUniform(r, bright, "uSrc", int32_t(0));
  setUniform(r, bright, "uUvScale", uvScale);
  setUniform(r, bright, "uUvBias", uvBias);
  setUniform(r, bright, "uTexel", Vec2{1.0f / accum.width, 1.0f / accum.height});
  setUniform(r, bright, "uThreshold", 0.9f);
  gl.DrawArrays(GL_TRIANGLES, 0, 3);
  gl.UseProgram(blur.id);
  setUniform(r, blur, "uSrc", int32_t(0));
  for (float radius : {1.0f, 2.0f, 4.0f}) {
    gl.BindFramebuffer(GL_FRAMEBUFFER, b1.fbo.id);
    gl.BindTexture(GL_TEXTURE_2D, b0.tex.id);
    setUniform(r, blur, "uDir", Vec2{radius / b0.width, 0});
    gl.DrawArrays(GL_TRIANGLES, 0, 3);
    gl.BindFramebuffer(GL_FRAMEBUFFER, b0.fbo.id);
    gl.BindTexture(GL_TEXTURE_2D, b1.tex.id);
    setUniform(r, blur, "uDir", Vec2{0, radius / b0.height});
    gl.DrawArrays(GL_TRIANGLES, 0, 3);
  }
}

// What the window's composite and a poster tile's share: the program, the
// destination, the accumulation and bloom textures and the lighting. The
// caller sets where the picture lies; the program is returned for that.
Program beginComposite(Renderer& r, const RenderTarget& accum, const RenderTarget& bloom0, Framebuffer dest,
                       int destW, int destH, bool bloom) {
  const Program comp = r.composite;
  gl.UseProgram(comp.id);
  gl.BindFramebuffer(GL_FRAMEBUFFER, dest.id);
  gl.Viewport(0, 0, destW, destH);
  gl.ActiveTexture(GL_TEXTURE1);
  gl.BindTexture(GL_TEXTURE_2D, bloom0.tex.id);
  gl.ActiveTexture(GL_TEXTURE0);
  gl.BindTexture(GL_TEXTURE_2D, accum.tex.id);
  setUniform(r, comp, "uAccum", int32_t(0));
  setUniform(r, comp, "uBloomTex", int32_t(1));
  setUniform(r, comp, "uExposure", r.lighting.exposure);
  setUniform(r, comp, "uBloom", bloom ? r.lighting.bloom : 0.0f);
  setUniform(r, comp, "uVignette", r.lighting.vignette);
  return comp;
}

}  // namespace

void postPass(Renderer& r, const RenderTarget& accum, int usedW, int usedH, RenderTarget& bloom0,
              RenderTarget& bloom1, Framebuffer dest, int destW, int destH) {
  gl.BindVertexArray(r.vao);
  gl.Disable(GL_SCISSOR_TEST);
  gl.Disable(GL_BLEND);
  const Vec2 uvScale{float(usedW) / accum.width, float(usedH) / accum.height};
  const bool bloom = r.lighting.bloom > 0.001f;
  if (bloom) bloomPasses(r, accum, uvScale, Vec2{0, 0}, bloom0, bloom1);
  const Program comp = beginComposite(r, accum, bloom0, dest, destW, destH, bloom);
  setUniform(r, comp, "uUvScale", uvScale);
  setUniform(r, comp, "uUvMax", Vec2{(usedW - 0.5f) / accum.width, (usedH - 0.5f) / accum.height});
  setUniform(r, comp, "uAspect", float(destW) / float(destH));
  // A poster tile may have left its window on the shared program.
  setUniform(r, comp, "uUvBias", Vec2{0, 0});
  setUniform(r, comp, "uTile", Vec4{0, 0, 0, 0});
  setUniform(r, comp, "uBloomMap", Vec4{0, 0, 0, 0});
  gl.DrawArrays(GL_TRIANGLES, 0, 3);
  gl.ActiveTexture(GL_TEXTURE0);
}

void postPassWindow(Renderer& r, const RenderTarget& accum, RenderTarget& bloom0, RenderTarget& bloom1,
                    Framebuffer dest, int destW, int destH, const PostWindow& win) {
  gl.BindVertexArray(r.vao);
  gl.Disable(GL_SCISSOR_TEST);
  gl.Disable(GL_BLEND);
  const double W = win.pictureW, H = win.pictureH;
  const double bw = bloomSide(win.pictureW), bh = bloomSide(win.pictureH);
  const double aw = accum.width, ah = accum.height;
  const bool bloom = r.lighting.bloom > 0.001f;
  if (bloom) {
    // The bloom texel j of the picture samples the accumulation at picture uv
    // (j + 0.5)/bw; here texel j sits at bloomX + vUv·width of the tile's
    // bloom, and the accumulation starts at accumX.
    const Vec2 scale{float(bloom0.width * W / (bw * aw)), float(bloom0.height * H / (bh * ah))};
    const Vec2 bias{float((win.bloomX * W / bw - win.accumX) / aw), float((win.bloomY * H / bh - win.accumY) / ah)};
    bloomPasses(r, accum, scale, bias, bloom0, bloom1);
  }
  const Program comp = beginComposite(r, accum, bloom0, dest, destW, destH, bloom);
  setUniform(r, comp, "uUvScale", Vec2{float(destW / aw), float(destH / ah)});
  setUniform(r, comp, "uUvBias", Vec2{float((win.destX - win.accumX) / aw), float((win.destY - win.accumY) / ah)});
  setUniform(r, comp, "uUvMax", Vec2{float((aw - 0.5) / aw), float((ah - 0.5) / ah)});
  setUniform(r, comp, "uAspect", float(W / H));
  setUniform(r, comp, "uTile", Vec4{float(win.destX), float(win.destY), float(W), float(H)});
  setUniform(r, comp, "uBloomMap", Vec4{float(bw / bloom0.width), float(bh / bloom0.height),
                                        float(-win.bloomX / double(bloom0.width)),
                                        float(-win.bloomY / double(bloom0.height))});
  gl.DrawArrays(GL_TRIANGLES, 0, 3);
  gl.ActiveTexture(GL_TEXTURE0);
}
