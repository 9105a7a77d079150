#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only those missing.
# Uses sudo when not root. Safe to run again. With --check it installs
# nothing and only answers, by its exit status, whether anything is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libsdl2-dev libx11-dev libegl-dev libgl-dev libpng-dev zlib1g-dev
  libfreetype-dev libfontconfig-dev libdbus-1-dev fonts-dejavu-core fonts-inter
  libegl-mesa0 libgl1-mesa-dri
  libgtest-dev libgmock-dev libbenchmark-dev
  glslang-tools pngcheck
  desktop-file-utils appstream libxml2-utils
  libavformat-dev libavcodec-dev libswscale-dev ffmpeg
)
if [ "${1:-}" = "--dev" ]; then
  packages+=(clang libclang-rt-dev xvfb imagemagick x11-utils x11-xserver-utils xdotool zenity openbox)
fi
# --windows: the mingw-w64 cross-build and its smoke test under Wine on a
# virtual display (Mesa behind Wine's OpenGL).
if [[ " $* " == *" --windows "* ]]; then
  packages+=(g++-mingw-w64-x86-64-posix wine wine64 xvfb xauth libglx-mesa0 imagemagick)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
[[ " $* " == *" --check "* ]] && exit 1

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
