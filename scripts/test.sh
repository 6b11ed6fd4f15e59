#!/usr/bin/env bash
# Builds and runs every test: the dev preset, then the same tests under the address and
# undefined-behaviour sanitizers, then a short run of each fuzz target.
#   KX_SKIP_ASAN=1      skip the sanitizer build
#   KX_FUZZ_SECONDS=N   seconds per fuzz target (default 30; 0 skips fuzzing)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test

jobs=$(nproc)
cmake --preset dev >/dev/null
cmake --build --preset dev -j "$jobs"
ctest --preset dev

if [ "${KX_SKIP_ASAN:-0}" != 1 ]; then
  cmake --preset asan >/dev/null
  cmake --build --preset asan -j "$jobs"
  ctest --preset asan
fi

fuzz_seconds=${KX_FUZZ_SECONDS:-30}
if [ "$fuzz_seconds" -gt 0 ] && ls fuzz/fuzz_*.cpp >/dev/null 2>&1; then
  cmake --preset fuzz >/dev/null
  # Only the fuzz targets: the rest of that build is what the two builds above test.
  fuzz_targets=()
  for f in fuzz/fuzz_*.cpp; do fuzz_targets+=(--target "$(basename "$f" .cpp)"); done
  cmake --build --preset fuzz -j "$jobs" "${fuzz_targets[@]}"
  scripts/fuzz.sh "$fuzz_seconds"
fi
echo "test.sh: all tests passed"
