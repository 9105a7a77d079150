#!/bin/sh
# A dive before the shot, end to end: the camera sinks below the asked depth
# within the time given, the report gives that distance, and the picture
# still shows surface detail (no flat colour, no black inside the solid).
# The seed's bulb has power 8, the one the double-precision program can take
# past the 4e-5 where single precision gives out.
# Usage: dive_test.sh PROGRAM PNG_STATS
set -u
prog=$1 stats=$2
. "$(dirname "$0")/common.sh"

out="$dir/d.png"
"$prog" --shot "$out" --seed abyss --type mandelbulb --dive 120 --dive-speed 1.5 --dive-until 1e-6 \
  --size 320x180 --samples 4 2>"$dir/stderr"
expect_success $? "$dir/stderr"
dist=$(sed -n 's/^dist: //p' "$out.log")
[ -n "$dist" ] || fail "no distance in the report"
awk -v d="$dist" 'BEGIN { exit !(d + 0 < 1e-6 && d + 0 > 0) }' || fail "the dive ended at $dist, not below 1e-6"
set -- $("$stats" "$out") || fail "the PNG cannot be read"
awk -v sd="$1" -v lv="$2" 'BEGIN { exit !(sd > 8 && lv > 40) }' ||
  fail "the picture is flat (luma deviation $1, $2 grey levels)"
echo "ok: dist $dist, luma deviation $1, $2 grey levels"
