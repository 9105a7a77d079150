#!/bin/sh
# Posters end to end: a poster made in one process equals, byte for byte, the
# same poster assembled from parts made by separate processes; the assembly
# refuses a set with a part missing and writes nothing; --part needs --shot
# and refuses a dive; the report states the peak memory.
# Usage: poster_test.sh PROGRAM
set -u
prog=$1
. "$(dirname "$0")/common.sh"

args="--seed classic --type mandelbulb --size 160x90 --samples 3"
"$prog" --shot "$dir/whole.png" --poster $args 2>"$dir/stderr"
expect_success $? "$dir/stderr" "whole poster"
grep -q "^peak memory: [0-9]* MiB$" "$dir/whole.png.log" || { cat "$dir/whole.png.log"; fail "no peak memory in the report"; }
grep -qx "poster: 160x90, samples 3, rows 0-90" "$dir/whole.png.log" || fail "report does not describe the poster"

for k in 1 2 3 4; do
  "$prog" --shot "$dir/part$k.png" --part "$k/4" $args 2>"$dir/stderr"
  expect_success $? "$dir/stderr" "part $k"
done
"$prog" --assemble "$dir/assembled.png" "$dir/part4.png" "$dir/part2.png" "$dir/part1.png" "$dir/part3.png" \
  >"$dir/stdout" 2>"$dir/stderr" || { cat "$dir/stderr"; fail "assembly failed"; }
grep -qx "собрано: $dir/assembled.png 160×90 из 4 частей" "$dir/stdout" || { cat "$dir/stdout"; fail "no summary"; }
cmp "$dir/whole.png" "$dir/assembled.png" || fail "the assembled poster differs from the one made in one process"

"$prog" --assemble "$dir/gap.png" "$dir/part1.png" "$dir/part2.png" "$dir/part4.png" 2>"$dir/stderr" &&
  fail "an assembly with a part missing succeeded"
grep -q "не хватает части 3/4" "$dir/stderr" || { cat "$dir/stderr"; fail "no message for the missing part"; }
[ ! -e "$dir/gap.png" ] || fail "a refused assembly wrote a file"

"$prog" --part 1/2 $args 2>"$dir/stderr"
[ $? -eq 2 ] || fail "--part without --shot is not a usage error"
"$prog" --shot "$dir/x.png" --part 1/2 --dive 2 $args 2>"$dir/stderr"
[ $? -eq 2 ] && grep -q "dive" "$dir/stderr" || fail "--part with --dive accepted"
echo "ok: posters"
