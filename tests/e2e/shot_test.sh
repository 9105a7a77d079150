#!/bin/sh
# A headless shot end to end: exit status, a valid PNG whose embedded preset
# equals the one the seed generator gives, a report that says it converged,
# and no settings file written.
# Usage: shot_test.sh PROGRAM TYPE SEED
set -u
prog=$1 type=$2 seed=$3
. "$(dirname "$0")/common.sh"

out="$dir/shot.png"
env "$prog" --shot "$out" --seed "$seed" --type "$type" --size 96x54 --samples 4 2>"$dir/stderr"
expect_success $? "$dir/stderr"
[ -s "$out" ] || fail "no PNG written"
if command -v pngcheck >/dev/null 2>&1; then
  pngcheck -q "$out" || fail "pngcheck rejects the PNG"
fi
grep -qx "converged: yes" "$out.log" || { cat "$out.log"; fail "report does not say converged"; }
grep -qx "error: " "$out.log" || { cat "$out.log"; fail "report carries an error"; }
grep -q "^dist: [0-9]\.[0-9][0-9][0-9]e[-+][0-9][0-9]$" "$out.log" || fail "report distance malformed"

"$prog" --print-preset "$out" >"$dir/from_png.json" || fail "--print-preset of the PNG failed"
"$prog" --print-preset --seed "$seed" --type "$type" >"$dir/from_seed.json" || fail "--print-preset of the seed failed"
cmp -s "$dir/from_png.json" "$dir/from_seed.json" || {
  diff "$dir/from_png.json" "$dir/from_seed.json"
  fail "the PNG's preset differs from the seed's"
}

[ ! -e "$XDG_CONFIG_HOME/Quorvantelix/state.json" ] || fail "a shot wrote the settings file"

# A folder that cannot be written is refused before any rendering starts.
"$prog" --shot "$dir/missing/shot.png" --seed "$seed" --type "$type" --size 96x54 2>"$dir/stderr" &&
  fail "a shot into a missing folder succeeded"
grep -q "Не удалось записать файл «$dir/missing/shot.png»: нет такого файла или папки" "$dir/stderr" || fail "no message for an unwritable shot path"
echo "ok: $type $seed"
