#!/bin/sh
# Settings are saved at a normal quit (here: SIGTERM, which arrives as a close
# request) and hold the fractal opened from the command line; /p and /c end
# before any window.
# Usage: settings_test.sh PROGRAM
set -u
prog=$1
. "$(dirname "$0")/common.sh"

"$prog" /p:1234 || fail "/p did not exit cleanly"
"$prog" /C 2>"$dir/info" || fail "/c did not exit cleanly"
grep -q "бесконечное погружение в фракталы." "$dir/info" || fail "/c information text missing"
grep -q "Настройки берутся из обычного запуска программы." "$dir/info" || fail "/c second line missing"

"$prog" --print-preset --seed "сохранённый" --type menger >"$dir/preset.json" || fail "--print-preset"
"$prog" --size 64x36 "$dir/preset.json" 2>"$dir/stderr" &
pid=$!
wait_until_closable $pid
if ! kill -0 $pid 2>/dev/null; then
  wait $pid
  grep -q "OpenGL 4.3" "$dir/stderr" && { echo "no OpenGL 4.3 context here; skipped"; exit 77; }
  cat "$dir/stderr"
  fail "the program ended on its own"
fi
kill -TERM $pid
wait $pid || fail "exit status after SIGTERM"
state="$XDG_CONFIG_HOME/Quorvantelix/state.json"
[ -s "$state" ] || fail "no settings file after a normal quit"
grep -q '"seed": "сохранённый"' "$state" || fail "settings do not hold the opened fractal"
grep -q '"type": "menger"' "$state" || fail "settings do not hold the opened type"
echo ok
