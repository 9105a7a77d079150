#!/bin/sh
# Kills a process that rewrites one file at random moments (kill -9), ROUNDS
# times, and checks after every kill that the file is whole (exactly one of
# the versions written) and that at most one temporary file is left beside
# it. Not part of the test suite: it takes a minute or two.
# Usage: kill_loop.sh BUILD_DIR [ROUNDS] [named]
# "named": the fallback for systems without unnamed temporary files.
set -u
build=$1 rounds=${2:-60} named=${3:-}
writer="$build/tests/io/qtx_write_loop"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
status=0
for mode in state png; do
  mkdir "$dir/$mode"
  target="$dir/$mode/$mode.out"
  bad=0 maxTemps=0 sawTemp=0
  "$writer" write "$mode" "$target" $named & pid=$!
  sleep 1; kill -9 $pid; wait $pid 2>/dev/null  # a first whole version
  i=0
  while [ $i -lt "$rounds" ]; do
    "$writer" write "$mode" "$target" $named & pid=$!
    # 20 to 600 ms: many kills land inside a write of the larger file.
    sleep "0.$(printf '%03d' $(( $(od -An -N2 -tu2 /dev/urandom) % 580 + 20 )))"
    kill -9 $pid; wait $pid 2>/dev/null
    "$writer" check "$mode" "$target" || bad=$((bad + 1))
    temps=$(ls -A "$dir/$mode" | grep -c "^\.$mode\.out\.qtx-tmp$")
    others=$(ls -A "$dir/$mode" | grep -vc "^$mode\.out$\|^\.$mode\.out\.qtx-tmp$")
    [ "$temps" -gt "$maxTemps" ] && maxTemps=$temps
    [ "$temps" -gt 0 ] && sawTemp=$((sawTemp + 1))
    [ "$others" -eq 0 ] || { echo "$mode: unexpected files: $(ls -A "$dir/$mode")"; bad=$((bad + 1)); }
    i=$((i + 1))
  done
  echo "$mode: $rounds kills, $bad damaged or extra, at most $maxTemps temporary file(s), one left after $sawTemp kill(s)"
  [ $bad -eq 0 ] && [ $maxTemps -le 1 ] || status=1
done
exit $status
