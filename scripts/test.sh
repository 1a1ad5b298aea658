#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite:
#  1. the plain build (RelWithDebInfo) with every test;
#  2. the same suite under AddressSanitizer + UndefinedBehaviorSanitizer, with
#     line coverage per directory of src/;
#  3. the thread tests under ThreadSanitizer;
#  4. each fuzz target for FUZZ_SECONDS (default 40) over its seed corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh --dev
jobs=${JOBS:-$(nproc)}
fuzz_seconds=${FUZZ_SECONDS:-40}

step() { printf '\n==== %s\n' "$*"; }
summary=$(mktemp)
trap 'rm -f "$summary"' EXIT
# Runs ctest and keeps its closing line for the total at the end.
run_ctest() { ctest "$@" | tee -a "$summary"; }

step "build and test"
cmake -S . -B build/test -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCAMKIT_WERROR=ON -DCAMKIT_BUILD_TESTS=ON -DCAMKIT_BUILD_BENCH=ON \
  -DCAMKIT_BUILD_TOOLS=ON >/dev/null
cmake --build build/test -j "$jobs"
run_ctest --test-dir build/test -j "$jobs" --output-on-failure

step "AddressSanitizer + UndefinedBehaviorSanitizer"
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCAMKIT_WERROR=ON -DCAMKIT_SANITIZE=ON -DCAMKIT_COVERAGE=ON -DCAMKIT_BUILD_TESTS=ON -DCAMKIT_BUILD_BENCH=OFF \
  -DCAMKIT_BUILD_TOOLS=OFF >/dev/null
cmake --build build/asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run_ctest --test-dir build/asan -j "$jobs" --output-on-failure
step "line coverage of src/ (the sanitizer run)"
gcovr --root . --filter 'src/' --object-directory build/asan --gcov-ignore-parse-errors \
  --json-summary build/asan/coverage.json >build/asan/coverage.txt
scripts/coverage_by_dir.py build/asan/coverage.json

step "ThreadSanitizer (thread tests)"
cmake -S . -B build/tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCAMKIT_WERROR=ON -DCAMKIT_TSAN=ON -DCAMKIT_BUILD_TESTS=ON -DCAMKIT_BUILD_BENCH=OFF \
  -DCAMKIT_BUILD_TOOLS=OFF >/dev/null
cmake --build build/tsan -j "$jobs"
TSAN_OPTIONS=halt_on_error=1 run_ctest --test-dir build/tsan -j "$jobs" --output-on-failure -L thread

step "fuzz targets, ${fuzz_seconds}s each"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCAMKIT_BUILD_FUZZ=ON \
  -DCAMKIT_BUILD_TESTS=OFF -DCAMKIT_BUILD_BENCH=OFF -DCAMKIT_BUILD_TOOLS=OFF >/dev/null
cmake --build build/fuzz -j "$jobs"
for fuzzer in build/fuzz/fuzz/fuzz_*; do
  [[ -x "$fuzzer" ]] || continue
  name=$(basename "$fuzzer")
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus"
  seeds=(fuzz/seeds/$name)
  [[ -d "${seeds[0]}" ]] || seeds=()
  "$fuzzer" -max_total_time="$fuzz_seconds" -print_final_stats=1 -artifact_prefix=build/fuzz/ \
    "$corpus" "${seeds[@]}" 2>&1 | tail -n 12
done
step "all checks passed"
awk '/tests passed, [0-9]+ tests failed out of/ { failed += $4; total += $NF }
     END { printf "%d passed, %d failed\n", total - failed, failed }' "$summary"
