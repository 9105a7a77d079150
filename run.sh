#!/usr/bin/env bash
# Sets up, builds and runs Quorvan Telix 3D.
# With a display: the interactive explorer. Without one: renders the classic
# fractal to out/classic.png (with its preset inside) and says where it is.
# Any arguments are passed to the program instead.
set -euo pipefail
cd "$(dirname "$0")"
tools/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DQTX_TESTS=OFF >/dev/null
cmake --build build --target quorvantelix3d
if [ $# -gt 0 ]; then
  exec build/app/quorvantelix3d "$@"
elif [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec build/app/quorvantelix3d
else
  mkdir -p out
  build/app/quorvantelix3d --shot out/classic.png --seed classic --type mandelbulb --size 960x540 --samples 64 --hide-ui
  echo "No display: rendered out/classic.png (report in out/classic.png.log)."
fi
