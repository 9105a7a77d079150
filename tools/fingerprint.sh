#!/usr/bin/env bash
# Prints one line per output of a fixed set of runs: presets for a list of
# seeds and small shots of every fractal type, shallow and deep, plus a dive.
# Run it on two builds and diff the outputs to show a change left seeds,
# presets and pictures byte for byte as they were.
#   tools/fingerprint.sh BUILD/app/quorvantelix3d OUT_DIR > fingerprint.txt
set -euo pipefail
bin=$(realpath "$1")
out=$2
mkdir -p "$out"
types="mandelbulb juliabulb burningbulb mandelbox juliabox menger sierpinski kifs apollonian qjulia hybrid"
seeds="classic abc lantern abyss 0 Zz9 фрактал 'quote\" long-seed-with-many-characters-1234567890"
export LIBGL_ALWAYS_SOFTWARE=1

for s in $seeds; do
  for t in "" $types; do
    name="preset_${s//[^A-Za-z0-9]/_}_${t:-auto}.json"
    if [ -n "$t" ]; then "$bin" --print-preset --seed "$s" --type "$t" >"$out/$name"
    else "$bin" --print-preset --seed "$s" >"$out/$name"; fi
  done
done
shot() {  # NAME ARGS...
  local name=$1; shift
  "$bin" --shot "$out/$name.png" --size 96x64 --samples 2 --hide-ui "$@" >/dev/null 2>&1
}
for t in $types; do
  shot "shot_$t" --seed classic --type "$t"
  shot "deep_$t" --seed classic --type "$t" --dist 0.5 --deep
  shot "deeper_$t" --seed lantern --type "$t" --dist 1e-6 --deep
done
shot dive_menger --seed lantern --type menger --dive-until 2e-6
cd "$out"
for f in *.json *.png; do echo "$(sha256sum <"$f" | cut -c1-16) $f"; done
