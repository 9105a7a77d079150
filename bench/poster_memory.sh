#!/bin/sh
# A poster far beyond any texture limit (20000×20000 by default, 1 sample, on
# whatever GL the machine has — Mesa's software renderer on a server) must
# complete with its peak resident memory inside the README's bound. Prints
# the report (time and "peak memory" from VmHWM) and fails above the bound.
# Minutes on the software renderer, so it is a benchmark, not a test.
# Usage: bench/poster_memory.sh PROGRAM [OUT.png] [WxH] [BOUND_MIB]
set -u
prog=${1:?usage: poster_memory.sh PROGRAM [OUT.png] [WxH] [BOUND_MIB]}
out=${2:-poster_20000.png}
size=${3:-20000x20000}
bound=${4:-768}
# The fractal small in the middle of a wide sky: the sky is cheap to trace,
# and the tiles around the fractal still go through bloom and vignette.
"$prog" --shot "$out" --poster --seed classic --type mandelbulb --dist 8 --size "$size" --samples 1 || exit 1
cat "$out.log"
peak=$(sed -n 's/^peak memory: \([0-9]*\) MiB$/\1/p' "$out.log")
[ -n "$peak" ] || { echo "no peak memory in the report"; exit 1; }
if [ "$peak" -gt "$bound" ]; then
  echo "peak memory $peak MiB is above the bound of $bound MiB"
  exit 1
fi
echo "peak memory $peak MiB, within $bound MiB"
