#!/bin/sh
# What a careless or hostile user can hand the program: missing, special,
# huge, damaged and out-of-range files, bad options and unwritable targets.
# Each case checks the exit status, a line of stderr, what is printed and
# which files exist afterwards; every run has a time limit, so a hang fails.
# Usage: hostile_test.sh PROGRAM
set -u
prog=$1
. "$(dirname "$0")/common.sh"
# Every case runs; the status at the end says whether any failed.
fail() { echo "FAIL: $*"; failed=1; }
failed=0
mkdir -p "$XDG_CONFIG_HOME/Quorvantelix"
cd "$dir" || exit 1

# run NAME STATUS STDERR-TEXT [ARGS...]: one case; the output is kept in
# NAME.out and NAME.err for the checks that follow.
run() {
  name=$1 want=$2 text=$3
  shift 3
  timeout 60 "$prog" "$@" >"$name.out" 2>"$name.err"
  got=$?
  [ "$got" -eq "$want" ] || { fail "$name: exit status $got, expected $want"; cat "$name.err"; }
  [ -z "$text" ] || grep -qF -- "$text" "$name.err" || { fail "$name: stderr lacks: $text"; cat "$name.err"; }
}
absent() { for f in "$@"; do [ ! -e "$f" ] || fail "$name: $f was left behind"; done; }
printed() { grep -qF -- "$1" "$name.out" || fail "$name: output lacks: $1"; }

# Make sure a GL context exists at all before judging shots.
"$prog" --shot probe.png --size 8x8 --samples 1 2>probe.err
skip_without_gl $? probe.err
rm -f probe.png probe.png.log

# [cases] Files that cannot be read
run missing 1 "Не удалось прочитать файл «typo.json»: нет такого файла или папки" --shot o.png --size 8x8 typo.json
absent o.png o.png.log
mkfifo fifo
run fifo 1 "Не удалось прочитать файл «fifo»: это не обычный файл" --print-preset fifo
ln -s /dev/zero "$XDG_CONFIG_HOME/Quorvantelix/state.json"
run state_zero 0 "" --shot z.png --size 8x8 --samples 1
rm "$XDG_CONFIG_HOME/Quorvantelix/state.json" z.png z.png.log

# [cases] Files that are too big, damaged or odd
awk 'BEGIN { printf "{\"v\": 3"; for (i = 0; i < 300000; i++) printf ",\"%d\":0", i; print "}" }' >keys.json
run many_keys 0 "" --print-preset keys.json
printed '"iter": 14'
"$prog" --shot good.png --size 8x8 --samples 1 --seed crc --type menger 2>/dev/null
offset=$(grep -abo '"iter": ' good.png | head -n 1 | cut -d: -f1)
cp good.png flipped.png
printf '9' | dd of=flipped.png bs=1 seek=$((offset + 8)) conv=notrunc 2>/dev/null
run crc_png 1 "повреждённый PNG (параметры не сходятся с контрольной суммой)" --print-preset flipped.png
run bad_utf8 0 "" --print-preset --seed "$(printf 'a\377b')"
iconv -f UTF-8 -t UTF-8 bad_utf8.out >/dev/null 2>&1 || fail "bad_utf8: output is not UTF-8"
printed "$(printf 'a\357\277\275b')"

# [cases] Values out of range are made safe when read
printf '{"v": 3, "type": "menger", "iter": 1000000000, "fov": 180, "power": -3, "cam": {"dist": 0}}' >wild.json
run wild 0 "" --print-preset wild.json
printed '"iter": 20'
printed '"fov": 179'
printed '"power": 1'
printed '"dist": 5e-12'
printf '{"v": 3, "type": "menger", "iter": 1000000000}' >freeze.json
run freeze 0 "" --shot freeze.png --size 32x18 --samples 2 freeze.json
grep -qx "converged: yes" freeze.png.log || fail "freeze: the shot did not converge"

# [cases] Options (their messages are the command line's own tests'; here the
# status, one line on stderr and nothing written)
run typo 2 "неизвестный параметр: --sampels" --shot o.png --sampels 4
absent o.png o.png.log
[ "$(wc -l <typo.err)" -eq 1 ] || fail "typo: more than one line on stderr"
# A shot that large is a poster, refused at the poster's limit before any rendering.
run too_big 1 "размер постера больше предела 65535x65535: 100000x100000" --shot big.png --size 100000x100000
grep -q "Обновите драйвер" too_big.err && fail "too_big: advises a driver update"
absent big.png big.png.log

# [cases] Targets that must not be replaced
run shot_device 1 "Не удалось записать файл «/dev/null»: это не обычный файл" --shot /dev/null --size 8x8
[ -c /dev/null ] || fail "/dev/null is no longer a device"
printf 'old' >real.png
chmod 640 real.png
ln -s real.png link.png
run shot_link 0 "" --shot link.png --size 8x8 --samples 1
[ -L link.png ] || fail "shot_link: the link was replaced by a file"
[ "$(stat -c %a real.png)" = 640 ] || fail "shot_link: permissions changed to $(stat -c %a real.png)"
"$prog" --print-preset real.png >/dev/null || fail "shot_link: the link's target is not the picture"
ls -A | grep -q qtx-tmp && fail "a temporary file was left behind"

# [cases] Type keys: matched case-blind; an unknown one falls back with one warning
run type_case 0 "" --print-preset --seed abc --type Mandelbox
printed '"type": "mandelbox"'
grep -q . type_case.err && fail "type_case: a warning for a known key: $(cat type_case.err)"
run type_bogus 0 "предупреждение: неизвестный тип фрактала «bogus»: взят mandelbulb" --print-preset --seed abc --type bogus
printed '"type": "mandelbulb"'
[ "$(grep -c . type_bogus.err)" -eq 1 ] || fail "type_bogus: more than one line on stderr: $(cat type_bogus.err)"
run type_shot 0 "неизвестный тип фрактала «bogus»" --shot t.png --size 8x8 --samples 1 --type BOGUS
[ -s t.png ] || fail "type_shot: no picture"
rm -f t.png t.png.log

# [cases] Settings that cannot be saved at quit, and warnings of an interactive start
state="$XDG_CONFIG_HOME/Quorvantelix/state.json"
printf '{}' >"$state"
chmod 444 "$state"
"$prog" --size 32x18 --bogus 2>quit.err &
pid=$!
wait_until_closable $pid
kill -TERM $pid
wait $pid || fail "quit: exit status $?"
grep -qF "предупреждение: неизвестный параметр: --bogus" quit.err || fail "quit: no warning for --bogus"
grep -qF "Не удалось сохранить настройки «$state»: файл только для чтения" quit.err ||
  { fail "quit: unsaved settings not reported"; cat quit.err; }
[ "$(cat "$state")" = '{}' ] || fail "quit: the read-only settings file changed"

[ $failed -eq 0 ] && echo ok
exit $failed
