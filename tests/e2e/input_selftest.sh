#!/bin/sh
# The scripted input self-test end to end, headless: with the panel every
# check passes; with --hide-ui every widget step fails with "нет виджета"
# while the camera and key steps still pass. Neither run writes settings.
# Usage: input_selftest.sh PROGRAM
set -u
prog=$1
. "$(dirname "$0")/common.sh"

run() {  # NAME [OPTIONS...]
  name=$1
  shift
  env "$prog" --input-test --shot "$dir/$name" --size 800x600 "$@" >"$dir/$name.stdout" 2>"$dir/$name.stderr"
  expect_success $? "$dir/$name.stderr" "$name"
  [ -s "$dir/$name.input.log" ] || fail "$name: no log written"
  # The log is the self-test's only output: no message lines (the dive's) besides it.
  [ ! -s "$dir/$name.stdout" ] || fail "$name: printed on stdout: $(cat "$dir/$name.stdout")"
  grep -q 'Погружение' "$dir/$name.stderr" && fail "$name: a message on stderr: $(cat "$dir/$name.stderr")"
}

run t
checks=$(grep -c '^ОК   ' "$dir/t.input.log")
if grep -qv '^ОК   ' "$dir/t.input.log" || [ "$checks" -ne 12 ]; then
  cat "$dir/t.input.log"
  fail "the self-test log is not all ОК (12 checks)"
fi
grep -q '^ОК   Ctrl+Z отменяет последнее изменение' "$dir/t.input.log" || fail "no undo check"

run hidden --hide-ui
log="$dir/hidden.input.log"
for step in "перетаскивание ЛКМ вращает камеру" "колесо приближает" "клавиша V включает погружение" \
            "повторное V выключает погружение"; do
  grep -qx "ОК   $step" "$log" || { cat "$log"; fail "hidden panel: camera step failed: $step"; }
done
for id in "tab:Цвет" "sl:Металл" "pl:Губка Менгера" "tx:Сид" "tab:Рендер" "tg:Мягкие тени"; do
  grep -qx "  нет виджета $id" "$log" || { cat "$log"; fail "hidden panel: no 'нет виджета $id'"; }
done
[ "$(grep -c '^ОШИБКА ' "$log")" -eq 7 ] || { cat "$log"; fail "hidden panel: expected 7 failed widget steps"; }

[ ! -e "$XDG_CONFIG_HOME/Quorvantelix/state.json" ] || fail "the self-test wrote the settings file"
echo "ok: input self-test"
