#!/usr/bin/env bash
# Sets up, builds and runs every test: the full suite (unit, GL on Mesa's
# software renderer, end-to-end), then the unit tests once more under
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")"
tools/deps.sh
jobs=$(nproc)

cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-test -j "$jobs"
ctest --test-dir build-test --output-on-failure -j "$jobs"

cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQTX_APP=OFF -DQTX_SANITIZE=ON >/dev/null
cmake --build build-asan -j "$jobs"
ctest --test-dir build-asan --output-on-failure -j "$jobs"
