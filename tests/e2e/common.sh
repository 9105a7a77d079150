# Sourced by the end-to-end scripts: a scratch folder that goes at exit, a
# home and settings folder of its own inside it, and no display, so that a
# run neither reads nor writes the user's settings and stays headless.
# Sets `dir`, HOME and XDG_CONFIG_HOME; defines fail, expect_success and
# wait_until_closable.
dir=$(mktemp -d)
# Some cases make read-only files and folders; they must go too.
trap 'chmod -R u+w "$dir" 2>/dev/null; rm -rf "$dir"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

export XDG_CONFIG_HOME="$dir/cfg" HOME="$dir/home"
mkdir -p "$HOME"
unset DISPLAY WAYLAND_DISPLAY

# skip_without_gl STATUS STDERR-FILE: a failed run that found no OpenGL 4.3
# context says nothing about the program; the test is skipped (77).
skip_without_gl() {
  if [ "$1" -ne 0 ] && grep -q "OpenGL 4.3" "$2"; then
    echo "no OpenGL 4.3 context here; skipped"
    exit 77
  fi
}

# expect_success STATUS STDERR-FILE [NAME]: skipped as above, else any other
# failure shows the run's stderr and fails.
expect_success() {
  skip_without_gl "$1" "$2"
  [ "$1" -eq 0 ] || { cat "$2"; fail "${3:+$3: }exit status $1"; }
}

# wait_until_closable PID: waits until the program catches SIGTERM (bit 15 of
# SigCgt), so the signal is a close request and not a kill, however slow the
# machine is today; then gives it a moment to reach its loop.
wait_until_closable() {
  tries=0
  while kill -0 "$1" 2>/dev/null && [ $tries -lt 600 ]; do
    sig=$(sed -n 's/^SigCgt:[[:space:]]*//p' "/proc/$1/status" 2>/dev/null)
    [ -n "$sig" ] && [ $(( 0x$sig & 0x4000 )) -ne 0 ] && break
    sleep 0.1; tries=$((tries + 1))
  done
  sleep 1
}
