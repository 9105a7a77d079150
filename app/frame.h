// One frame of the application apart from the interface: the dive, the
// camera, the live morph, the history step when motion ends, the renderer's
// frame and the fit to the frame.
#pragma once

#include "app/app_state.h"

// What the dive step reads of the application at this moment: its clock,
// speed, precision, the deepest point of the picture, and a new seed after
// surfacing.
DiveContext diveContext(AppState& s, double dt, double now);
// Everything before drawing; returns what the renderer is to draw.
FrameInput beginFrame(AppState& s);
// Everything after the renderer's frame (`more`: its own wish for another);
// returns whether another frame is wanted at once.
bool finishFrame(AppState& s, const FrameInput& in, bool more);
// The whole frame without an interface (tests, and the loop's shape).
bool runFrame(AppState& s);
