# Build switches of the project; every one of them is exercised by scripts/test.sh or .ci/run.
option(ZAL_BUILD_TESTS "Build the GoogleTest suite" ON)
option(ZAL_BUILD_BENCH "Build the benchmarks in bench/" ON)
set(ZAL_SANITIZE "" CACHE STRING "Sanitizers: empty, 'address' (address+undefined) or 'thread'")
set_property(CACHE ZAL_SANITIZE PROPERTY STRINGS "" address thread)
# libFuzzer targets in fuzz/; needs clang (scripts/fuzz.sh configures build-fuzz with clang++-14) and
# instruments everything with ASan+UBSan, so it excludes ZAL_SANITIZE.
option(ZAL_BUILD_FUZZERS "Build the libFuzzer targets in fuzz/ (clang only)" OFF)
# Counting messages and bytes on the data paths (what zal.status reports); OFF compiles the counting
# out, only to measure what it costs (docs/observability.md).
option(ZAL_COUNTERS "Count messages and bytes on the data paths" ON)
