#!/usr/bin/env bash
# Line coverage of the library (impl/ and msg/) by the whole test suite, with gcovr.
#   scripts/coverage.sh [build-dir]     default build-coverage/; prints the summary, writes
#                                       <build-dir>/coverage.txt (per file)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-coverage}

bash scripts/install-deps.sh
command -v gcovr >/dev/null || { echo "coverage: gcovr is missing (apt-get install gcovr)"; exit 1; }

flags="--coverage -O0"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZAL_BUILD_BENCH=OFF \
  -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage -DCMAKE_MODULE_LINKER_FLAGS=--coverage
cmake --build "$build" -j2
find "$build" -name '*.gcda' -delete
QT_QPA_PLATFORM=offscreen ctest --test-dir "$build" -j2 --output-on-failure || true
# gcc 12 writes negative branch counts now and then, which gcovr 5.2 cannot parse; lines are unaffected.
gcovr -r . --object-directory "$build" --filter 'impl/' --filter 'msg/' \
  --gcov-ignore-parse-errors --txt "$build/coverage.txt" --print-summary "$build" | tail -3
