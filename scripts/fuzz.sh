#!/usr/bin/env bash
# Runs every fuzz target for N seconds (default 30), each from its seed corpus in
# fuzz/corpus/NAME when there is one. Needs the fuzz preset built.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for f in fuzz/fuzz_*.cpp; do targets+=("$(basename "$f" .cpp)"); done
fi
for t in "${targets[@]}"; do
  bin=build/fuzz/fuzz/$t
  [ -x "$bin" ] || { echo "fuzz.sh: $bin not built (cmake --build --preset fuzz)" >&2; exit 1; }
  work=$(mktemp -d)
  seeds=()
  [ -d "fuzz/corpus/$t" ] && seeds+=("fuzz/corpus/$t")
  echo "fuzz.sh: $t for ${seconds}s"
  "$bin" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=0 \
    "$work" "${seeds[@]}" >"$work.log" 2>&1 || { tail -n 60 "$work.log"; exit 1; }
  grep -E '^(#[0-9]+ +DONE|Done )' "$work.log" | tail -n 1 || true
  rm -rf "$work" "$work.log"
done
