#!/usr/bin/env bash
# Windows smoke test: cross-builds quorvantelix3d.exe with mingw-w64 and runs
# it under Wine on a virtual X display (Mesa's llvmpipe behind WGL), checking
# it against the Linux build of the same tree:
#   1. the .exe imports system DLLs only, and the backend's own checks pass
#      (platform_win32_test: glyphs, posted events, pictures folder, clipboard;
#      the PNG encoder is checked by the shot compared with the Linux one);
#   2. --print-preset of a Cyrillic seed equals the Linux output byte for byte;
#   3. a --shot at 320x180 passes pngcheck and carries the Linux shot's preset
#      and pixels;
#   4. a PNG written by the Linux build opens (its preset reads back the same);
#   5. a normal run, closed like a user closes it, writes state.json into the
#      roaming application-data folder;
#   6. --input-test passes every step;
#   7. a short dive film as numbered PNGs has the Linux build's pixels, and an
#      .mp4 of it is written or, without Media Foundation's encoder, refused
#      with its message.
# Usage: tests/windows/wine_smoke.sh   (after ./test.sh, which leaves the Linux
# build in build-test; it is built here when missing). Exits non-zero when any
# check fails, naming it.
set -uo pipefail
cd "$(dirname "$0")/../.."
root=$PWD
win_build=$root/build-win
linux_build=${QTX_LINUX_BUILD:-$root/build-test}
exe=$win_build/app/quorvantelix3d.exe
linux_exe=$linux_build/app/quorvantelix3d
work=$win_build/smoke
seed="мир 2/3"

say() { printf '%s\n' "$*"; }
die() { say "wine smoke: $*" >&2; exit 1; }

# [SECTION] Builds (outside the virtual display)

if [ "${1:-}" != "--inside-display" ]; then
  export QTX_SMOKE_START=$(date +%s)
  for tool in x86_64-w64-mingw32-g++-posix wine xvfb-run pngcheck compare; do
    command -v "$tool" >/dev/null || die "$tool missing: run tools/deps.sh --windows"
  done
  if [ ! -x "$linux_exe" ]; then
    cmake -S . -B "$linux_build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null || die "Linux configure failed"
    cmake --build "$linux_build" --target quorvantelix3d || die "Linux build failed"
  fi
  if [ ! -f "$win_build/build.ninja" ]; then
    cmake -S . -B "$win_build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" >/dev/null || die "cross configure failed"
  fi
  cmake --build "$win_build" --target quorvantelix3d platform_win32_test || die "cross build failed"
  # One display for every Wine process of the run: Wine's desktop process
  # keeps the display it started with.
  exec xvfb-run -a -s "-screen 0 1920x1080x24" "$0" --inside-display
fi

# [SECTION] Wine set-up

export LANG=C.UTF-8 LC_ALL=C.UTF-8   # else Wine hands the program broken Cyrillic arguments
export WINEPREFIX=$win_build/wineprefix
export WINEDLLOVERRIDES="mscoree,mshtml="  # no installer dialogs for .NET or Gecko
export WINEDEBUG=-all
rm -rf "$work" && mkdir -p "$work"
started=$(date +%s)
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  wineboot -i >"$work/wineboot.log" 2>&1 || die "wineboot failed (see $work/wineboot.log)"
fi
wineserver -p 30  # one server for all the runs below
trap 'wineserver -k 2>/dev/null' EXIT

failures=()
check() {  # check NAME COMMAND...: runs the command, records a failure by name
  local name=$1
  shift
  if "$@"; then say "ok    $name"; else say "FAIL  $name"; failures+=("$name"); fi
}
win() { timeout "${limit:-60}" wine "$exe" "$@"; }
winpath() { printf 'Z:%s' "${1//\//\\}"; }

# [SECTION] Checks

imports_are_system_dlls() {
  local allowed='^(kernel32|user32|gdi32|opengl32|shell32|ole32|oleaut32|comdlg32|advapi32|msvcrt|windowscodecs)\.dll$'
  local dlls bad
  dlls=$(x86_64-w64-mingw32-objdump -p "$exe" | sed -n 's/^\s*DLL Name: //p' | tr 'A-Z' 'a-z')
  bad=$(grep -Ev "$allowed" <<<"$dlls")
  [ -z "$bad" ] || { say "  not a system DLL: $bad"; return 1; }
}

backend_checks_pass() {
  timeout 60 wine "$win_build/tests/windows/platform_win32_test.exe" >"$work/platform.out" 2>&1 && return 0
  grep -E '^FAIL' "$work/platform.out" | sed 's/^/  /'
  tail -1 "$work/platform.out" | sed 's/^/  /'
  return 1
}

print_preset_matches() {
  "$linux_exe" --print-preset --seed "$seed" --type mandelbox >"$work/linux.json" || return 1
  win --print-preset --seed "$seed" --type mandelbox >"$work/win.json" 2>"$work/win.err" || { cat "$work/win.err"; return 1; }
  cmp "$work/linux.json" "$work/win.json" || { diff "$work/linux.json" "$work/win.json" | head -5; return 1; }
}

shot_matches() {
  local opts=(--seed "$seed" --type mandelbulb --size 320x180 --samples 2)
  "$linux_exe" --headless --shot "$work/linux.png" "${opts[@]}" >"$work/linux-shot.out" 2>&1 || return 1
  limit=120 win --shot "$(winpath "$work/win.png")" "${opts[@]}" >"$work/win-shot.out" 2>&1 ||
    { tail -3 "$work/win-shot.out"; return 1; }
  pngcheck -q "$work/win.png" || return 1
  "$linux_exe" --print-preset "$work/linux.png" >"$work/linux-shot.json" &&
    "$linux_exe" --print-preset "$work/win.png" >"$work/win-shot.json" &&
    cmp "$work/linux-shot.json" "$work/win-shot.json" || return 1
  # Both builds trace on the same Mesa: the pictures must agree pixel for
  # pixel (a flipped row order or swapped channels in the encoder shows here).
  local differing
  differing=$(compare -metric AE "$work/linux.png" "$work/win.png" null: 2>&1)
  [ "$differing" = "0" ] || { say "  pixels differing from the Linux shot: $differing"; return 1; }
}

linux_png_opens() {
  win --print-preset "$(winpath "$work/linux.png")" >"$work/linux-png-on-win.json" 2>&1 &&
    cmp "$work/linux-shot.json" "$work/linux-png-on-win.json"
}

# A user's close (WM_CLOSE from taskkill, as from the title bar) ends a normal
# run, which saves the settings into %APPDATA%\Quorvantelix.
settings_in_roaming_folder() {
  local state
  rm -f "$WINEPREFIX"/drive_c/users/*/AppData/Roaming/Quorvantelix/state.json
  wine "$exe" --size 320x180 >"$work/normal.out" 2>&1 &
  local pid=$!
  sleep 2
  # Asked once a second until it has a window to close (slow machines).
  for _ in $(seq 40); do
    kill -0 "$pid" 2>/dev/null || break
    wine taskkill /im quorvantelix3d.exe >/dev/null 2>&1
    sleep 1
  done
  kill -0 "$pid" 2>/dev/null && { kill "$pid"; say "  the program did not close"; return 1; }
  wait "$pid" || { say "  the program failed on close"; tail -3 "$work/normal.out"; return 1; }
  state=$(ls "$WINEPREFIX"/drive_c/users/*/AppData/Roaming/Quorvantelix/state.json 2>/dev/null | head -1)
  [ -n "$state" ] || { say "  no state.json in the roaming folder"; return 1; }
  grep -q '"quality"' "$state" || { say "  $state has no settings"; return 1; }
}

input_test_passes() {
  local log=$work/selftest.png.input.log
  limit=120 win --input-test --shot "$(winpath "$work/selftest.png")" >"$work/input-test.out" 2>&1
  [ -f "$log" ] || { say "  no log written"; tail -3 "$work/input-test.out"; return 1; }
  if grep -Eq '^(ОШИБКА|  нет виджета)' "$log"; then grep -E '^(ОШИБКА|  нет виджета)' "$log" | sed 's/^/  /'; return 1; fi
  grep -q '^ОК' "$log" || { say "  the log has no passed step"; sed 's/^/  /' "$log"; return 1; }
}

film_frames_and_mp4() {
  local opts=(--dive 1 --fps 4 --size 96x54 --seed "$seed" --type mandelbulb --random-seed 5 --samples 2)
  "$linux_exe" --video "$work/linux-film/" "${opts[@]}" >"$work/linux-film.out" 2>&1 || return 1
  limit=180 win --video "$(winpath "$work/win-film")\\" "${opts[@]}" >"$work/win-film.out" 2>&1 ||
    { tail -3 "$work/win-film.out"; return 1; }
  local f differing
  for f in "$work"/linux-film/frame_*.png; do
    differing=$(compare -metric AE "$f" "$work/win-film/${f##*/}" null: 2>&1)
    [ "$differing" = "0" ] || { say "  ${f##*/}: $differing pixels differ from the Linux frame"; return 1; }
  done
  limit=180 win --video "$(winpath "$work/win.mp4")" --path "$(winpath "$work/win-film/path.json")" \
    --samples 2 >"$work/win-mp4.out" 2>&1
  if [ $? -eq 0 ]; then
    [ -s "$work/win.mp4" ] || { say "  no .mp4 written"; return 1; }
    say "  .mp4 written by Media Foundation"
  else
    grep -q "Кодировщик H.264 (Media Foundation) недоступен" "$work/win-mp4.out" ||
      { tail -3 "$work/win-mp4.out"; return 1; }
    say "  no H.264 encoder here: refused with its message"
  fi
}

check "imports only system DLLs" imports_are_system_dlls
check "the Windows backend's own checks" backend_checks_pass
check "--print-preset of a Cyrillic seed equals Linux" print_preset_matches
check "--shot PNG passes pngcheck, preset and pixels equal the Linux shot's" shot_matches
check "a PNG from the Linux build opens" linux_png_opens
check "settings land in %APPDATA%\\Quorvantelix" settings_in_roaming_folder
check "--input-test passes every step" input_test_passes
check "a film's PNG frames equal Linux's; .mp4 written or refused with a message" film_frames_and_mp4

say "wine smoke: $(( $(date +%s) - started )) s under Wine, $(( $(date +%s) - ${QTX_SMOKE_START:-$started} )) s with the builds"
if [ ${#failures[@]} -gt 0 ]; then
  say "wine smoke: FAILED: ${failures[*]}" >&2
  exit 1
fi
say "wine smoke: all checks passed"
