#include "app/commands.h"

#include "model/seed.h"

#include "platform/platform.h"

// Placeholders so that the panel can link against the commands while they
// are being filled in.
void applySeed(AppState&, const std::string&) {}
void randomSeed(AppState&, bool) {}
void mutateCurrent(AppState&) {}
void selectType(AppState&, int) {}
void regenerate(AppState&) {}
void recordEdited(AppState&, bool) {}
void undo(AppState&) {}
void redo(AppState&) {}
void toggleDive(AppState&) {}
void toggleLive(AppState&) {}
void toggleFlight(AppState&) {}
void toggleRotation(AppState&) {}
void returnCamera(AppState&) {}
void requestFit(AppState&) {}
void toggleHelp(AppState& s) { s.helpShown = !s.helpShown; }
void toggleInterface(AppState& s) { s.uiHidden = !s.uiHidden; }
void applyVsync(AppState& s) { platform::setSwapInterval(s.window, s.settings.vsync ? 1 : 0); }
void savePresetFlow(AppState&) {}
void openFileFlow(AppState&) {}
bool savePresetTo(AppState&, const std::string&) { return false; }
bool openPath(AppState&, const std::string&) { return false; }
void crossbreedFlow(AppState&) {}
void photoFlow(AppState&, int, int, int) {}
