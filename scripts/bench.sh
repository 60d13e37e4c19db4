#!/usr/bin/env bash
# Builds zal_bench, runs it RUNS times (default 3) and turns the runs into docs/benchmarks.svg and
# docs/bench/table.md (medians of the per-run ratios). Each run takes about a minute and a half;
# run it on an otherwise idle machine, since only ratios measured in one run mean anything. Each
# run's file starts with the load average just before it.
#   scripts/bench.sh [RUNS]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-3}

bash scripts/install-deps.sh
cmake -S . -B build-bench -G Ninja -DZAL_BUILD_TESTS=OFF -DZAL_BUILD_BENCH=ON >/dev/null
cmake --build build-bench -j2 --target zal_bench demo zalbench

mkdir -p docs/bench
rm -f docs/bench/run-*.txt
for run in $(seq 1 "$runs"); do
  echo "bench: run $run of $runs" >&2
  { echo "# load before: $(cut -d' ' -f1-3 /proc/loadavg)"; build-bench/bin/zal_bench; } > "docs/bench/run-$run.txt"
done
{
  echo "<!-- made by scripts/bench.sh $runs on $(date -u +%Y-%m-%d), $(nproc) cores, load before each run: $(grep -h '^# load before' docs/bench/run-*.txt | cut -d' ' -f4-6 | paste -sd ';') -->"
  /usr/bin/python3 scripts/bench-chart.py docs/benchmarks.svg docs/bench/run-*.txt
} > docs/bench/table.md
cat docs/bench/table.md
