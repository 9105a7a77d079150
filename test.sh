#!/usr/bin/env bash
# Sets up, builds and runs every test: the full suite (unit, GL on Mesa's
# software renderer, end-to-end, installation), then the unit tests once more
# under AddressSanitizer and UndefinedBehaviorSanitizer.
# Each step prints one line; apt's and CMake's own output goes to
# build-test/setup.log, which is named when a step fails. Of ctest's output
# the lines of passing tests are left out: failures with their output and
# the summary stay.
set -euo pipefail
cd "$(dirname "$0")"
jobs=$(nproc)
mkdir -p build-test
log=$PWD/build-test/setup.log
: >"$log"

source tools/steps.sh

# run_tests BUILD_DIR: ctest without the lines of tests that passed.
run_tests() {
  ctest --test-dir "$1" --output-on-failure -j "$jobs" 2>&1 |
    grep -Ev '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed +[0-9.]+ sec$'
}

tools/deps.sh --check || step "Устанавливаю пакеты…" tools/deps.sh
step "Настраиваю сборку…" cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
step "Собираю…" cmake --build build-test -j "$jobs"
echo "Запускаю тесты…"
run_tests build-test

step "Настраиваю сборку с AddressSanitizer…" cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQTX_APP=OFF -DQTX_SANITIZE=ON
step "Собираю с AddressSanitizer…" cmake --build build-asan -j "$jobs"
echo "Запускаю тесты под AddressSanitizer…"
run_tests build-asan
