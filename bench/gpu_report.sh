#!/usr/bin/env bash
# The figures that matter on a graphics card, as one table:
#   - moving frame rate at 1920×1080 for every type (an orbit through the
#     application's own frame: camera, frame driver, adaptive scale);
#   - time to a converged 3840×2160 photo at 256 samples;
#   - first picture after start (a one-sample shot), with and without the
#     program binaries from an earlier run;
#   - type switch through all eleven types, cold and warm.
# Runs headless (EGL through SDL's offscreen driver): on a machine with the
# vendor's driver nothing else is needed; without a GPU it measures Mesa's
# software renderer.
#
# Usage: bench/gpu_report.sh [BUILD_DIR]   (default build-test, configured
# with -DQTX_BENCH=ON). QUICK=1 shrinks the counts for a software renderer:
# fewer frames, and the photo at 4 samples with the time scaled to 256.
set -u
cd "$(dirname "$0")/.."
build=${1:-build-test}
frames=${FRAMES:-240}
photoSamples=${PHOTO_SAMPLES:-256}
moveSize=${MOVE_SIZE:-1920x1080}
photoSize=${PHOTO_SIZE:-3840x2160}
if [ "${QUICK:-0}" = 1 ]; then
  frames=${FRAMES:-40}
  photoSamples=${PHOTO_SAMPLES:-4}
fi
frames_bin=$build/bench/render/bench_frames
render_bin=$build/bench/render/bench_render
prog=$build/app/quorvantelix3d
for b in "$frames_bin" "$render_bin" "$prog"; do
  [ -x "$b" ] || { echo "missing $b (build with -DQTX_BENCH=ON)" >&2; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Own settings and an empty program cache: "cold" means cold.
export XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache
mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME"

lastline() { tail -n 1; }
field() {  # field NAME < "frames 300, longest 41 ms, median 12 ms, moving scale 0.98, whole samples 97%"
  sed -n "s/.*$1 \([0-9.]*\).*/\1/p"
}
seconds() { date +%s.%N; }

gpu=$("$render_bin" --samples 1 --size 64x64 --type sierpinski 2>/dev/null | head -n 1)
echo "GPU: ${gpu:-unknown}"
echo
printf '%-34s %12s %s\n' "measure" "value" "notes"
printf '%-34s %12s %s\n' "-------" "-----" "-----"

# [section] Moving frame rate per type (programs built before the timed frames)
for t in mandelbulb juliabulb burningbulb mandelbox juliabox menger sierpinski kifs apollonian qjulia hybrid; do
  line=$("$frames_bin" --mode orbit --type "$t" --size "$moveSize" --frames "$frames" 2>/dev/null | lastline)
  median=$(echo "$line" | field median)
  scale=$(echo "$line" | field "moving scale")
  whole=$(echo "$line" | field "whole samples")
  fps=$(awk -v m="${median:-0}" 'BEGIN { if (m > 0) printf "%.0f", 1000 / m; else print "?" }')
  printf '%-34s %12s %s\n' "moving fps $moveSize $t" "$fps" "median ${median:-?} ms, scale ${scale:-?}, whole ${whole:-?}%"
done

# [section] Photo: first picture plus the samples
line=$("$render_bin" --type mandelbulb --size "$photoSize" --samples "$photoSamples" 2>/dev/null | grep '^mandelbulb')
photo=$(echo "$line" | awk '{ printf "%.1f", ($2 + $3 * 256) / 1000 }')
printf '%-34s %12s %s\n' "photo $photoSize 256 samples, s" "$photo" \
  "mandelbulb; measured over $photoSamples samples: $(echo "$line" | awk '{ print $3 }') ms a sample"

# [section] First picture after start, without and with the program cache
for kind in cold warm; do
  [ $kind = cold ] && rm -rf "$XDG_CACHE_HOME"/* 
  t0=$(seconds)
  "$prog" --shot "$work/first.png" --seed classic --type mandelbulb --size "$moveSize" --samples 1 --hide-ui \
    2>/dev/null
  t1=$(seconds)
  printf '%-34s %12s %s\n' "first picture ($kind), s" "$(echo "$t1 - $t0" | bc)" "one-sample shot, process start to exit"
done

# [section] Type switches: the longest of the eleven, cold and warm
rm -rf "$XDG_CACHE_HOME"/*
for kind in cold warm; do
  line=$("$frames_bin" --mode switch --size "$moveSize" --frames 400 2>/dev/null | lastline)
  printf '%-34s %12s %s\n' "type switch ($kind), longest ms" "$(echo "$line" | field longest)" "$line"
done
