#!/usr/bin/env bash
# Builds zal and runs the demo pipeline for a few seconds: a generator feeding a counter, a
# recorder and a Qt bridge, with the counter's live rate and a summary at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j2 --target zal-host demo
mkdir -p build/demo
cd build/demo
rm -f demo.rec
../bin/zal-host --pipeline ../../examples/demo.pipeline --duration "${ZAL_DEMO_SECONDS:-5}"
echo "demo: recording written to $(pwd)/demo.rec ($(stat -c %s demo.rec) bytes)"
