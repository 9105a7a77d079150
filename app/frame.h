// One frame of the application apart from the interface: the dive, the
// camera, the live morph, the history step when motion ends, the renderer's
// frame and the fit to the frame.
#pragma once

#include "app/app_state.h"

// One dive step and what it asked for: the search over the picture, and a
// new seed after surfacing (`keepRecord`: a film keeps its fractal and only
// surfaces to its framing again).
void stepDive(AppState& s, double dt, double now, bool keepRecord);
// Everything before drawing; returns what the renderer is to draw.
FrameInput beginFrame(AppState& s);
// Everything after the renderer's frame (`more`: its own wish for another);
// returns whether another frame is wanted at once.
bool finishFrame(AppState& s, const FrameInput& in, bool more);
// The whole frame without an interface (tests, and the loop's shape).
bool runFrame(AppState& s);
