#!/usr/bin/env bash
# Opens the builder's window (construct, BuildTree, Show modeless, first paint) on a
# generated conversion of 1,000 record layouts x 100 fields with a 2,000-line expression,
# and a bare QScintilla window holding the same text, in the same run on Qt's offscreen
# platform; prints the time ratio (target: at most 1.5), elapsed and in CPU time. Two more
# openings in the same run say where the time goes: the builder's editor alone, and a floor
# window of the controls the builder must have (editor, tree, token list, labels, its own
# buttons) without menus, toolbar, operator pad or presenter. Then runs the builder and the
# bare window alone, one process each, for their peak resident memory.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench -j 2 --target bench_open >/dev/null
bench=build/bench/bench/bench_open
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Repetitions, so that a shared machine's hiccups show in the spread and not in the median;
# the two sides' repetitions interleaved, so that a change of load falls on both alike.
"$bench" --benchmark_repetitions=9 --benchmark_min_time=0.5 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true --benchmark_format=json >"$work/both.json" 2>/dev/null
median() {  # BENCHMARK FIELD
  jq -r --arg name "$1_median" --arg field "$2" \
    '.benchmarks[] | select(.name == $name) | .[$field]' "$work/both.json"
}
builder=$(median BM_OpenBuilder real_time)
bare=$(median BM_OpenBareQScintilla real_time)
printf 'open, median of 9 (ms): builder %.1f (construct %.1f, BuildTree %.1f, Show %.1f, paint %.1f), bare QScintilla %.1f\n' \
  "$builder" "$(median BM_OpenBuilder construct_ms)" "$(median BM_OpenBuilder buildtree_ms)" \
  "$(median BM_OpenBuilder show_ms)" "$(median BM_OpenBuilder paint_ms)" "$bare"
builder_cpu=$(median BM_OpenBuilder cpu_time)
bare_cpu=$(median BM_OpenBareQScintilla cpu_time)
printf 'CPU time, median of 9 (ms): builder %.1f, bare QScintilla %.1f\n' "$builder_cpu" "$bare_cpu"
awk -v a="$builder" -v b="$bare" -v c="$builder_cpu" -v d="$bare_cpu" \
  'BEGIN { printf "ratio builder / bare: %.2f (target <= 1.5), in CPU time %.2f\n", a / b, c / d }'
floor=$(median BM_OpenWindowFloor real_time)
editor=$(median BM_OpenEditorAlone real_time)
awk -v f="$floor" -v e="$editor" -v b="$bare" \
  'BEGIN { printf "floor window %.1f ms (%.2f of bare), builder editor alone %.1f ms (%.2f of bare)\n", f, f / b, e, e / b }'

# The bare window at the builder's size, without opening a builder in its process.
size=$(median BM_OpenBuilder window_width)x$(median BM_OpenBuilder window_height)
for which in BM_OpenBuilder BM_OpenBareQScintilla; do
  KX_BENCH_WINDOW=$size "$bench" --benchmark_filter="^$which\$" --benchmark_min_time=1 \
    --benchmark_format=json >"$work/one.json" 2>/dev/null
  jq -r --arg name "$which" '.benchmarks[] | select(.name == $name) |
    "\($name) alone: peak RSS \(.maxrss_MB | floor) MB, \(.rss_before_MB | floor) MB before the first opening (document and Qt loaded)"' \
    "$work/one.json"
done
