#!/usr/bin/env bash
# The screen saver as xscreensaver runs it: a window made by the test (the
# host's) is passed with -window-id; the program must draw into it (its
# pixels change, and change again as the dive moves) and must leave, with
# status 0, once the host destroys the window. On a virtual X server of its
# own; skipped where Xvfb is missing.
# Usage: saver_host_test.sh PROGRAM HOST_WINDOW_HELPER
set -euo pipefail
prog=$1 helper=$2
. "$(dirname "$0")/../e2e/common.sh"
command -v Xvfb >/dev/null || { echo "Xvfb missing; skipped"; exit 77; }

pids=()
trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$dir"' EXIT
Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3>"$dir/display" 2>"$dir/xvfb.log" &
pids+=($!)
for _ in $(seq 100); do [ -s "$dir/display" ] && break; sleep 0.1; done
[ -s "$dir/display" ] || { cat "$dir/xvfb.log"; fail "Xvfb did not start"; }
export DISPLAY=:$(cat "$dir/display")

mkfifo "$dir/host"
"$helper" create 320 240 <"$dir/host" >"$dir/id" &
pids+=($!)
exec 7>"$dir/host"
for _ in $(seq 100); do [ -s "$dir/id" ] && break; sleep 0.1; done
id=$(cat "$dir/id")
[ -n "$id" ] || fail "no host window"
blank=$("$helper" sum "$id")

"$prog" -window-id "$id" 2>"$dir/saver.err" 7>&- &
saver=$!
pids+=($saver)

# wait_for_change SUM SECONDS: the window's pixels once they differ from SUM
# and make a picture (many neighbouring pixels differ), not a plain fill.
wait_for_change() {
  local now
  for _ in $(seq $(( $2 * 2 ))); do
    if ! kill -0 $saver 2>/dev/null; then
      set +e; wait $saver; local status=$?; set -e
      expect_success $status "$dir/saver.err" "screen saver"
      fail "the screen saver left while its window was still there"
    fi
    now=$("$helper" sum "$id")
    [ "$now" != "$1" ] && [ "${now#* }" -gt 1000 ] && { echo "$now"; return; }
    sleep 0.5
  done
  cat "$dir/saver.err"
  fail "the host's window did not change in $2 s"
}
# Start-up builds shaders on the software renderer: generous limits.
first=$(wait_for_change "$blank" 150)
wait_for_change "$first" 60 >/dev/null
echo "drawn into host window $id: $blank, then $first"

exec 7>&-  # the host destroys its window
for _ in $(seq 120); do kill -0 $saver 2>/dev/null || break; sleep 0.5; done
kill -0 $saver 2>/dev/null && fail "still running 60 s after its window went away"
set +e; wait $saver; status=$?; set -e
[ $status -eq 0 ] || { cat "$dir/saver.err"; fail "left with status $status after its window went away"; }
echo "saver host: ok"
