#!/usr/bin/env bash
# CI, as root, after ./test.sh: the Debian package from the test build,
# checked as a user's machine would meet it. Builds it with cpack, lists its
# files, runs lintian (errors fail, warnings are shown), installs it with
# apt-get, renders a shot with the installed program, asks xdg-mime for a
# preset's type, starts the program from its desktop entry on a virtual
# display, and removes it, leaving nothing behind.
# Usage: tests/dist/package_ci.sh [BUILD_DIR]   (default build-test)
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$(realpath "${1:-build-test}")
dir=$(mktemp -d)
log=$dir/package.log
xvfb=""
cleanup() {
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null
  rm -rf "$dir"
}
trap cleanup EXIT
fail() { echo "FAIL: $*"; [ -s "$log" ] && tail -n 30 "$log"; exit 1; }
step() { echo "== $*"; }
[ "$(id -u)" -eq 0 ] || { echo "needs root (apt-get install)"; exit 1; }

step "tools"
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq -o DPkg::Lock::Timeout=600 --no-install-recommends \
  lintian xdg-utils libfile-mimeinfo-perl desktop-file-utils shared-mime-info xvfb x11-utils >>"$log" 2>&1 ||
  fail "apt-get install of the tools"

step "cpack -G DEB"
rm -f "$build"/quorvantelix3d_*.deb
# The package always carries the xscreensaver hack, whatever the build chose.
cmake -DQTX_INSTALL_XSCREENSAVER=ON "$build" >>"$log" 2>&1 && cmake --build "$build" >>"$log" 2>&1 ||
  fail "build"
(cd "$build" && cpack -G DEB) >>"$log" 2>&1 || fail "cpack"
deb=$(ls "$build"/quorvantelix3d_*.deb)
dpkg-deb --field "$deb" Depends
dpkg-deb --contents "$deb" | awk '$6 !~ /\/$/ {print $6, $7, $8}' | tee "$dir/contents"
for f in ./usr/bin/quorvantelix3d ./usr/share/applications/quorvantelix3d.desktop \
         ./usr/share/mime/packages/quorvantelix3d.xml ./usr/share/thumbnailers/quorvantelix3d.thumbnailer \
         ./usr/share/metainfo/quorvantelix3d.metainfo.xml ./usr/share/man/man1/quorvantelix3d.1.gz \
         ./usr/share/icons/hicolor/512x512/apps/quorvantelix3d.png ./usr/share/xscreensaver/config/quorvantelix3d.xml \
         ./usr/libexec/xscreensaver/quorvantelix3d ./usr/share/doc/quorvantelix3d/copyright; do
  grep -q "^$f\( \|$\)" "$dir/contents" || fail "not in the package: $f"
done

step "lintian"
lintian --allow-root "$deb" >"$dir/lintian" 2>&1 || true
cat "$dir/lintian"
grep -q '^E:' "$dir/lintian" && fail "lintian found errors"
echo "lintian: $(grep -c '^W:' "$dir/lintian" || true) warnings, no errors"

step "apt-get install"
cp "$deb" "$dir/"
DEBIAN_FRONTEND=noninteractive apt-get install -y -o DPkg::Lock::Timeout=600 "$dir/$(basename "$deb")" >>"$log" 2>&1 ||
  fail "apt-get install of the package"
[ "$(command -v quorvantelix3d)" = /usr/bin/quorvantelix3d ] || fail "not on PATH"

step "the installed program"
export HOME=$dir/home XDG_CONFIG_HOME=$dir/cfg
mkdir -p "$HOME"
(unset DISPLAY WAYLAND_DISPLAY; quorvantelix3d --shot "$dir/shot.png" --seed classic --size 320x200 --samples 4 --hide-ui) \
  2>>"$log" || fail "shot"
head -c 8 "$dir/shot.png" | od -An -tx1 | grep -q '89 50 4e 47' || fail "the shot is no PNG"
quorvantelix3d --print-preset --seed classic >"$dir/preset.json"
printf '{"name": "not a preset"}\n' >"$dir/other.json"
type=$(xdg-mime query filetype "$dir/preset.json")
[ "$type" = application/x-quorvantelix-preset ] || fail "xdg-mime: the preset is $type"
type=$(xdg-mime query filetype "$dir/other.json")
[ "$type" = application/json ] || fail "xdg-mime: other JSON is $type"
[ "$(xdg-mime query default application/x-quorvantelix-preset)" = quorvantelix3d.desktop ] ||
  fail "presets do not open with the program"
echo "xdg-mime: presets are application/x-quorvantelix-preset, opened by quorvantelix3d.desktop"

step "the desktop entry, on a virtual display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$dir/display" 2>>"$log" &
xvfb=$!
for _ in $(seq 100); do [ -s "$dir/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$dir/display")
# Through GLib's launcher, as a desktop does, where it is there.
entry=/usr/share/applications/quorvantelix3d.desktop
if command -v gio >/dev/null; then
  gio launch "$entry" "$dir/preset.json" 2>>"$log" &
else
  exec_line=$(sed -n 's/^Exec=//p' "$entry")
  ${exec_line/\%f/$dir/preset.json} 2>>"$log" &
fi
app=$!
found=""
for _ in $(seq 180); do
  found=$(xwininfo -root -tree 2>/dev/null | grep '"quorvantelix3d" "quorvantelix3d"' || true)
  [ -n "$found" ] && break
  sleep 0.5
done
[ -n "$found" ] || { kill $app 2>/dev/null; fail "no window of class quorvantelix3d"; }
echo "window:$found"
# gio has handed the program over and left: the window names its process.
wid=$(echo "$found" | awk '{print $1}')
pid=$(xprop -id "$wid" _NET_WM_PID | awk '{print $3}')
[ -n "$pid" ] && kill "$pid"
wait $app 2>/dev/null || true
tests/dist/saver_host_test.sh /usr/libexec/xscreensaver/quorvantelix3d "$build/tests/dist/host_window"

step "apt-get remove"
DEBIAN_FRONTEND=noninteractive apt-get purge -y quorvantelix3d >>"$log" 2>&1 || fail "apt-get purge"
[ ! -e /usr/bin/quorvantelix3d ] && [ ! -e /usr/share/mime/packages/quorvantelix3d.xml ] || fail "files left behind"
type=$(xdg-mime query filetype "$dir/preset.json")
[ "$type" != application/x-quorvantelix-preset ] || fail "the preset type outlived the package"
dpkg-query -W quorvantelix3d >/dev/null 2>&1 && fail "still registered with dpkg"
echo "package: ok"
