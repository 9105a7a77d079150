// interface.h — the hooks between the shell and the interface: start-up
// (atlas and program) and each frame's drawing after the fractal composite:
// side panel, help overlay, status line and message, then the flush. The
// interface's drawing layer (ui/) knows nothing of the application; what it
// shows of the application record is gathered here.
#pragma once

#include "app/app_state.h"

#include <cstdint>
#include <string>

struct UiContext;
struct StatusInfo;

// Builds the atlas at the window's DPI scale and the interface program.
// False with "Не удалось собрать шейдер интерфейса" (or the font error).
bool initInterface(AppState& s, std::string& error);
// Draws the interface over the composited picture in `fbo`. Nothing in
// screen-saver mode or before initInterface succeeded.
void drawInterface(AppState& s, int width, int height, uint32_t fbo);
void destroyInterface(AppState& s);
// While a photo renders: the last picture, the interface and `text` in the
// message pill, swapped to the screen at once.
void showPhotoProgress(AppState& s, const std::string& text);

// What the status line and the message pill show, from the record.
StatusInfo statusInfo(const AppState& s, int width, int height, double now);
