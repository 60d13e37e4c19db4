#!/usr/bin/env bash
# Builds zal and runs the demo pipeline. The demo needs the host program and the demo plug-in,
# which are not built yet; until then this builds the library and says so.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j2
if [ -x build/bin/zal-host ] && [ -f examples/demo.pipeline ]; then
  exec build/bin/zal-host --pipeline examples/demo.pipeline
fi
echo "demo: libzal is built; the demo pipeline arrives with the host program zal-host."
