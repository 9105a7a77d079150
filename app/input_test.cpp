#include "app/input_test.h"

void inputTestStep(InputTestState& t) {
  if (t.finished) return;
  if (t.step == 0) t.log += "самотест ввода: сценарий ещё не подключён, шаги не выполнялись\n";
  ++t.step;
  t.finished = true;
}
