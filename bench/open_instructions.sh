#!/usr/bin/env bash
# Instructions per opening, for the four openings of bench/open_vs_qscintilla.sh: the builder
# window, the floor window, the builder's editor alone and the bare QScintilla window. Times
# on a shared virtual machine move by a third from run to run; instruction counts do not, so
# they show what a change to the window saves. They leave out what the kernel does for the
# opening and how fast the processor runs the code, which is why the time ratio is higher.
#
# Each opening is counted by callgrind, toggled on its own function, in two runs of the
# benchmark that differ only in how many openings they make: an opening costs the difference
# in instructions divided by the difference in openings. This leaves out the first opening,
# which loads fonts and fills Qt's caches. The builder's editor checks its text half a second
# after it went in, which in a real opening (a few milliseconds) never falls inside it; under
# valgrind it would, so it is turned off here.
#   bench/open_instructions.sh [SECONDS]   (benchmark time of the longer run, default 4)
set -euo pipefail
cd "$(dirname "$0")/.."
if ! command -v valgrind >/dev/null; then
  echo "open_instructions.sh: valgrind is missing; scripts/deps.sh installs it" >&2
  exit 2
fi
seconds=${1:-4}
cmake --preset bench >/dev/null
cmake --build --preset bench -j 2 --target bench_open >/dev/null
bench=build/bench/bench/bench_open
export QT_QPA_PLATFORM=offscreen KX_BENCH_NO_LIVE_CHECK=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

count() {  # BENCHMARK FUNCTION MIN_TIME -> "instructions openings"
  valgrind --tool=callgrind --callgrind-out-file="$work/cg" --toggle-collect="*::$2(*" \
    "$bench" --benchmark_filter="^$1\$" --benchmark_min_time="$3" --benchmark_format=json \
    >"$work/out.json" 2>/dev/null
  local instructions
  instructions=$(callgrind_annotate "$work/cg" 2>/dev/null |
    awk '/PROGRAM TOTALS/ && !n++ { gsub(",", "", $1); print $1 }')
  echo "$instructions $(jq '[.benchmarks[].iterations] | add' "$work/out.json")"
}

declare -A per
for pair in BM_OpenBuilder:OpenBuilder BM_OpenWindowFloor:OpenFloor \
  BM_OpenEditorAlone:OpenEditorAlone BM_OpenBareQScintilla:OpenBare; do
  name=${pair%%:*}
  function=${pair#*:}
  read -r few_instructions few < <(count "$name" "$function" 0.01)
  read -r many_instructions many < <(count "$name" "$function" "$seconds")
  if [ "$many" -le "$few" ]; then
    echo "open_instructions.sh: $name made no more openings in $seconds s; give more seconds" >&2
    exit 1
  fi
  per[$name]=$(((many_instructions - few_instructions) / (many - few)))
  awk -v n="$name" -v i="${per[$name]}" -v o=$((many - few)) \
    'BEGIN { printf "%-22s %6.2f M instructions per opening (%d openings counted)\n", n, i / 1e6, o }'
done
awk -v b="${per[BM_OpenBuilder]}" -v f="${per[BM_OpenWindowFloor]}" \
  -v e="${per[BM_OpenEditorAlone]}" -v q="${per[BM_OpenBareQScintilla]}" \
  'BEGIN { printf "against the bare window: builder %.2f, floor %.2f, editor alone %.2f\n", b / q, f / q, e / q }'
