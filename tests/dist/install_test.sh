#!/usr/bin/env bash
# Installs the build into a scratch DESTDIR under /usr, as the package does,
# and checks it with the tools a desktop uses: the desktop entry, the
# AppStream data and the MIME package validate, every icon has its size, a
# preset is recognised as one (and other JSON is not), and the thumbnailer
# entry, run as a file manager runs it, writes a PNG of the asked size.
# Usage: install_test.sh BUILD_DIR PNG_STATS
set -euo pipefail
build=$1 png_stats=$2
. "$(dirname "$0")/../e2e/common.sh"
for tool in desktop-file-validate appstreamcli xmllint; do
  command -v "$tool" >/dev/null || { echo "$tool missing; skipped"; exit 77; }
done

root=$dir/root
DESTDIR=$root cmake --install "$build" --prefix /usr >"$dir/install.log" 2>&1 ||
  { cat "$dir/install.log"; fail "cmake --install"; }
share=$root/usr/share
for f in bin/quorvantelix3d share/applications/quorvantelix3d.desktop \
         share/metainfo/quorvantelix3d.metainfo.xml share/mime/packages/quorvantelix3d.xml \
         share/thumbnailers/quorvantelix3d.thumbnailer share/man/man1/quorvantelix3d.1.gz \
         share/icons/hicolor/scalable/apps/quorvantelix3d.svg share/xscreensaver/config/quorvantelix3d.xml; do
  [ -f "$root/usr/$f" ] || fail "not installed: /usr/$f"
done
# xscreensaver's hack is the program itself, through a link that survives DESTDIR.
[ "$(readlink -f "$root/usr/libexec/xscreensaver/quorvantelix3d")" = "$(readlink -f "$root/usr/bin/quorvantelix3d")" ] ||
  fail "xscreensaver hack link"
xmllint --noout "$share/xscreensaver/config/quorvantelix3d.xml" || fail "xscreensaver settings file"

# png_size FILE: "WxH" from the PNG header.
png_size() {
  [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || { echo "not a PNG"; return; }
  set -- $(od -An -tu1 -j16 -N8 "$1")
  echo "$(( ($1 << 24) + ($2 << 16) + ($3 << 8) + $4 ))x$(( ($5 << 24) + ($6 << 16) + ($7 << 8) + $8 ))"
}
for s in 16 24 32 48 64 128 256 512; do
  got=$(png_size "$share/icons/hicolor/${s}x${s}/apps/quorvantelix3d.png")
  [ "$got" = "${s}x${s}" ] || fail "icon ${s}x${s} is $got"
done
xmllint --noout "$share/icons/hicolor/scalable/apps/quorvantelix3d.svg" || fail "scalable icon"

desktop-file-validate "$share/applications/quorvantelix3d.desktop" || fail "desktop entry"
grep -qx 'StartupWMClass=quorvantelix3d' "$share/applications/quorvantelix3d.desktop" || fail "StartupWMClass"
grep -qx 'MimeType=application/x-quorvantelix-preset;' "$share/applications/quorvantelix3d.desktop" ||
  fail "the entry does not open presets"

# AppStream warnings (an id that is not a reversed domain) are shown, errors fail.
appstreamcli validate --no-net "$share/metainfo/quorvantelix3d.metainfo.xml" >"$dir/as.log" 2>&1 || true
cat "$dir/as.log"
grep -q '^E:' "$dir/as.log" && fail "AppStream data has errors"
grep -Eq 'Validation (was successful|failed: warnings: [0-9]+$)' "$dir/as.log" || fail "AppStream validation"

xmllint --noout "$share/mime/packages/quorvantelix3d.xml" || fail "MIME package"
zcat "$share/man/man1/quorvantelix3d.1.gz" | grep -q 'thumbnail' || fail "manual page lacks --thumbnail"

prog=$root/usr/bin/quorvantelix3d
"$prog" --print-preset --seed "миниатюра" --type menger >"$dir/preset.json"
printf '{"app": "Other", "v": 1}\n' >"$dir/other.json"

# The type, as GLib sees it with the installed package compiled in.
if command -v update-mime-database >/dev/null && command -v gio >/dev/null; then
  mkdir -p "$dir/mime/packages"
  cp /usr/share/mime/packages/freedesktop.org.xml "$share/mime/packages/quorvantelix3d.xml" "$dir/mime/packages/"
  update-mime-database "$dir/mime"
  type_of() { XDG_DATA_DIRS=$dir XDG_DATA_HOME=$dir/none gio info -a standard::content-type "$1" | sed -n 's/.*content-type: //p'; }
  [ "$(type_of "$dir/preset.json")" = application/x-quorvantelix-preset ] || fail "preset type: $(type_of "$dir/preset.json")"
  [ "$(type_of "$dir/other.json")" = application/json ] || fail "other JSON claimed: $(type_of "$dir/other.json")"
fi

# The thumbnailer entry's command with a file manager's arguments. The
# program bounds its own time; the timeout only stops a hang.
exec_line=$(sed -n 's/^Exec=//p' "$share/thumbnailers/quorvantelix3d.thumbnailer")
for size in 128 256; do
  out=$dir/thumb-$size.png
  cmd=${exec_line//%i/$dir/preset.json}; cmd=${cmd//%o/$out}; cmd=${cmd//%s/$size}
  set +e
  timeout 90 "$root/usr/bin/"$cmd 2>"$dir/thumb.err"
  status=$?
  set -e
  expect_success $status "$dir/thumb.err" "thumbnail $size"
  [ "$(png_size "$out")" = "${size}x${size}" ] || fail "thumbnail $size is $(png_size "$out")"
  [ ! -e "$out.log" ] || fail "a thumbnail leaves no report"
  read -r spread levels < <("$png_stats" "$out")
  [ "$levels" -gt 40 ] || fail "thumbnail $size is no picture: $levels grey levels, spread $spread"
done
# Nor does it touch the user's settings: file managers run thumbnailers in
# a scratch folder and complain about anything left there.
[ ! -e "$XDG_CONFIG_HOME/Quorvantelix" ] || fail "a thumbnail made a settings folder"

# What is not a preset gets no thumbnail (the file manager keeps its own) and
# a bad size is a usage error.
printf '[1, 2]\n' >"$dir/list.json"
set +e
"$prog" --thumbnail "$dir/list.json" "$dir/other.png" 128 2>"$dir/other.err"; status=$?
"$prog" --thumbnail "$dir/preset.json" "$dir/bad.png" 9 2>"$dir/bad.err"; bad=$?
set -e
[ $status -eq 1 ] && [ ! -e "$dir/other.png" ] || fail "thumbnail of a JSON list: status $status"
grep -q 'пресет' "$dir/other.err" || { cat "$dir/other.err"; fail "no Russian reason for a JSON list"; }
[ $bad -eq 2 ] && grep -q 'неверный размер миниатюры' "$dir/bad.err" || fail "bad size: status $bad"
echo "install: ok"
