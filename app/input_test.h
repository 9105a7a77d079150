// The scripted input self-test (--input-test). The widget-driven script
// needs the interface and the key bindings; until they are in, the test
// runs no steps and its log says so, while the loop, the scene set-up and
// the log file already follow the full flow.
#pragma once

#include "app/app_state.h"

#include <string>

struct InputTestState {
  AppState* app = nullptr;
  int step = 0;
  bool finished = false;
  std::string log;
};

// One step per frame; sets `finished` after the last.
void inputTestStep(InputTestState& t);
