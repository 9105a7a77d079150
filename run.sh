#!/usr/bin/env bash
# Sets up, builds and runs Quorvan Telix 3D.
# With a display: the interactive explorer. Without one: renders the classic
# fractal to out/classic.png (with its preset inside) and says where it is.
# Any arguments are passed to the program instead.
# Each step prints one line; apt's and CMake's own output goes to
# build/run.log, which is named when a step fails.
set -euo pipefail
cd "$(dirname "$0")"
mkdir -p build
log=$PWD/build/run.log
: >"$log"

source tools/steps.sh

# progress: on a terminal the program's "рендер N%" lines rewrite one line,
# which is cleared at the end; elsewhere (a log) they are left out. Any other
# line is printed as it comes.
progress() {
  local line shown=""
  while IFS= read -r line; do
    if [[ $line != рендер* ]]; then
      [ -n "$shown" ] && printf '\r\033[K'
      echo "$line"
      shown=""
    elif [ -t 1 ]; then
      printf '\r\033[K%s' "$line"
      shown=1
    fi
  done
  [ -n "$shown" ] && printf '\r\033[K'
  return 0
}

tools/deps.sh --check || step "Устанавливаю пакеты…" tools/deps.sh
step "Настраиваю сборку…" cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DQTX_TESTS=OFF
step "Собираю…" cmake --build build --target quorvantelix3d
if [ $# -gt 0 ]; then
  exec build/app/quorvantelix3d "$@"
elif [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  echo "Запускаю…"
  exec build/app/quorvantelix3d
else
  mkdir -p out
  echo "Дисплея нет: рисую классический фрактал в out/classic.png…"
  build/app/quorvantelix3d --shot out/classic.png --seed classic --type mandelbulb --size 960x540 --samples 64 \
    --hide-ui 2>&1 | progress
  echo "Готово: out/classic.png (отчёт в out/classic.png.log)."
fi
