// The window's events turned into the application's input: per-frame fields
// for the interface, camera gestures, and the commands bound to keys. The
// interface has the first claim on the mouse (over the panel or when a widget
// wants it) and on the keyboard (a focused text field takes the letters).
#pragma once

#include "app/app_state.h"
#include "platform/platform.h"

// Handles one event; sets s.redraw whenever anything may have changed and
// s.quitRequested when the screen saver must end.
void dispatchEvent(AppState& s, const platform::InputEvent& e);
