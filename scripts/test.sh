#!/usr/bin/env bash
# Installs what is missing, builds zal with its tests and runs every test.
#   scripts/test.sh                  normal build in build/
#   scripts/test.sh --sanitize address|thread   instrumented build in build-<kind>/
set -euo pipefail
cd "$(dirname "$0")/.."

sanitize=""
ctest_args=()
while [ $# -gt 0 ]; do
  case "$1" in
    --sanitize) sanitize="$2"; shift 2 ;;
    *) ctest_args+=("$1"); shift ;;
  esac
done

bash scripts/install-deps.sh

build=build${sanitize:+-$sanitize}
cmake -S . -B "$build" -G Ninja -DZAL_SANITIZE="$sanitize" \
  -DZAL_BUILD_BENCH=$([ -z "$sanitize" ] && echo ON || echo OFF)
cmake --build "$build" -j2

if [ "$sanitize" = thread ]; then
  # die_after_fork=0: tests fork to exec the real programs, which TSan would otherwise refuse.
  export TSAN_OPTIONS="suppressions=$PWD/tests/support/tsan.supp halt_on_error=1 second_deadlock_stack=1 die_after_fork=0"
elif [ "$sanitize" = address ]; then
  export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
  export LSAN_OPTIONS="suppressions=$PWD/tests/support/lsan.supp"
fi
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build" --output-on-failure -j2 "${ctest_args[@]}"
