// status.h — what the interface draws outside the side panel: the thin
// accumulation progress bar, the status line of render facts and the
// transient message pill. Reads a plain record so the geometry and the texts
// can be checked without the application.
#pragma once

#include "ui/ui_context.h"

#include <functional>
#include <string>

struct StatusInfo {
  int clientWidth = 0, clientHeight = 0;
  bool interfaceShown = true;     // false after H: no fragments, pill centred on the whole width
  int samples = 0, targetSamples = 0;
  bool done = false;              // the target is reached
  double fps = 0;                 // 0 until the first sample is complete
  int renderWidth = 0, renderHeight = 0, iterations = 0;
  double zoom = 1;                // the type's default distance / the current distance
  bool deep = false;              // fp64 in use
  bool deepRefused = false;       // fp64 wanted but the type has no fp64 path
  double cameraDistance = 1;
  bool building = false;          // a shader program is building: the picture shown is the last one
  std::string message;            // shown while messageShown
  bool messageShown = false;
};

struct RoundRect {
  float x = 0, y = 0, w = 0, h = 0, radius = 0;
};

struct PillGeometry {
  RoundRect box;
  float textX = 0, textY = 0;
  float textWidth = 0;  // room for the text; a longer message is cut with "…"
};

// The pill around a message `textWidth` pixels wide in the body font.
PillGeometry messagePill(const UiContext& ui, float textWidth, int clientWidth, int clientHeight,
                         bool interfaceShown);

struct ProgressGeometry {
  RoundRect track, fill;
};
// The bar for samples / target (clamped to 1); not drawn once it reaches 1.
ProgressGeometry progressBar(const UiContext& ui, double ratio, int clientWidth, bool interfaceShown);

// "зум ×…" with the precision the size of the number deserves.
std::string zoomText(double zoom);
// The fragments in their order on the line, joined by " · ", for `room`
// pixels as `width` measures text: whole fragments are
// left out, least used first (render size, speed, samples, zoom), until it
// fits; the iterations and the precision note stay longest.
std::string statusLineWithin(const StatusInfo& st, float room,
                             const std::function<float(const std::string&)>& width);

// Progress bar, status line (while the interface is shown) and the message.
void drawStatus(UiContext& ui, const StatusInfo& st);
