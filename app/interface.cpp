// interface.cpp — the interface's start-up and per-frame drawing, reading
// the application record into the plain records ui/ draws from.
#include "app/interface.h"

#include "app/command_table.h"
#include "app/panel.h"
#include "model/tables.h"
#include "nav/camera.h"
#include "platform/platform.h"
#include "ui/help.h"
#include "ui/status.h"
#include "ui/ui_context.h"

#include <memory>

bool initInterface(AppState& s, std::string& error) {
  auto ui = std::make_unique<UiContext>();
  if (!initUi(*ui, s.dpiScale, error)) {
    destroyUi(*ui);
    return false;
  }
  s.ui = std::move(ui);
  return true;
}

void destroyInterface(AppState& s) {
  if (s.ui) destroyUi(*s.ui);
  s.ui.reset();
}

StatusInfo statusInfo(const AppState& s, int width, int height, double now) {
  const RenderStatus rs = renderStatus(s.renderer);
  StatusInfo st;
  st.clientWidth = width;
  st.clientHeight = height;
  st.interfaceShown = !s.uiHidden;
  st.samples = rs.samples;
  st.targetSamples = rs.targetSamples;
  st.done = rs.done;
  st.fps = rs.fps;
  st.renderWidth = rs.renderWidth;
  st.renderHeight = rs.renderHeight;
  st.iterations = rs.iterations;
  st.cameraDistance = cameraDistance(s.camera);
  // The type's own framing distance over the current one (typeIndex always names a row).
  const double framing = fractalTypes()[size_t(typeIndex(s.params.type))].camDist;
  st.zoom = st.cameraDistance > 0 ? framing / st.cameraDistance : 1.0;
  st.deep = rs.deep;
  st.deepRefused = rs.deepRefused;
  st.building = rs.building;
  // The last message is kept after it expires; it is copied only while shown.
  st.messageShown = now < s.toastUntil && !s.toastText.empty();
  if (st.messageShown) st.message = s.toastText;
  return st;
}

void drawInterface(AppState& s, int width, int height, uint32_t fbo) {
  if (!s.ui || isScreenSaver(s.mode) || width <= 0 || height <= 0) return;
  UiContext& ui = *s.ui;
  beginFrame(ui, width, height);
  drawPanel(s, ui, width, height);
  if (s.helpShown) drawHelp(ui, helpLines(), width, height, panelLeftEdge(s, width));
  drawStatus(ui, statusInfo(s, width, height, platform::now()));
  flushUi(ui, width, height, fbo);
}

void showPhotoProgress(AppState& s, const std::string& text) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  if (w <= 0 || h <= 0) return;
  const uint32_t fbo = platform::defaultFramebuffer(s.window);
  presentPicture(s.renderer, Framebuffer{fbo}, w, h);
  // The pill is the message line's. The panel is drawn as it stands, with
  // no press and nothing hovered (no tooltip over the pill).
  s.toastText = text;
  s.toastUntil = platform::now() + 3.0;
  clearFrameInput(s.input);
  const float x = s.input.mouseX, y = s.input.mouseY;
  s.input.mouseX = s.input.mouseY = -1;
  drawInterface(s, w, h, fbo);
  s.input.mouseX = x, s.input.mouseY = y;
  platform::swapBuffers(s.window);
}
