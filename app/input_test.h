// The scripted input self-test (--input-test): it drives the real window
// with posted mouse and keyboard events, the same path a user's events take,
// one action per frame, and checks that the panel and the camera reacted.
// Each check adds a line "ОК   …" or "ОШИБКА …" to the log; a widget that
// is not on screen adds "  нет виджета <id>" and fails only its own step.
#pragma once

#include "app/app_state.h"

#include <string>

struct InputTestState {
  AppState* app = nullptr;
  int step = 0;              // index into the script
  int wait = 0;              // frames left before the step's check
  int phase = 0;             // within a step: 0 act, 1 check
  int attempts = 0;          // scrolls tried while looking for a widget
  int stage = 0;             // actions of a step that takes several frames
  bool finished = false;
  bool lastFailed = false;   // the previous action failed (its follow-up is skipped)
  std::string log;
  // What a check compares with, taken when its action began.
  double before[3] = {0, 0, 0};
  std::string beforeText;
};

// One step per frame; sets `finished` after the last.
void inputTestStep(InputTestState& t);
