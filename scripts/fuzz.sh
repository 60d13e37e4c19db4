#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz/ and runs each for a bounded time on a
# scratch copy of its seed corpus; exits non-zero when any target finds a crash, leak or hang.
#   scripts/fuzz.sh [seconds per target, default 60] [target ...]
# Reproduce a finding: build-fuzz/fuzz/<target> build-fuzz/fuzz-findings/<target>/crash-...
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(controlmessage_xml_fuzzer dataobject_binary_fuzzer socket_frames_fuzzer)

bash scripts/install-deps.sh

build=build-fuzz
CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DZAL_BUILD_FUZZERS=ON -DZAL_BUILD_TESTS=OFF -DZAL_BUILD_BENCH=OFF
cmake --build "$build" -j2 --target "${targets[@]}"

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$PWD/tests/support/lsan.supp"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=()
for target in "${targets[@]}"; do
  # New inputs go to the scratch copy only; the tree keeps its small, reviewed seeds.
  mkdir -p "$scratch/$target" "$build/fuzz-findings/$target"
  cp fuzz/corpus/"$target"/* "$scratch/$target/"
  dict=()
  [ ! -f "fuzz/$target.dict" ] || dict=(-dict="fuzz/$target.dict")
  echo "fuzz: $target for ${seconds} s"
  if ! "$build/fuzz/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -max_len=8192 \
      -print_final_stats=1 -artifact_prefix="$build/fuzz-findings/$target/" "${dict[@]}" \
      "$scratch/$target" >"$build/fuzz-findings/$target.log" 2>&1; then
    failed+=("$target")
    tail -n 60 "$build/fuzz-findings/$target.log"
  fi
  grep -E '^(stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb)' \
    "$build/fuzz-findings/$target.log" | sed "s/^/fuzz: $target /" || true
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz: FAILED: ${failed[*]} (inputs in $build/fuzz-findings/)"
  exit 1
fi
echo "fuzz: ${#targets[@]} targets ran ${seconds} s each without a finding"
