#!/usr/bin/env bash
# Loads generated template files of 10,000 and 20,000 templates (about 5 and 10 MB) and prints
# how the load time grows from one to the other (linear is 2.0; target: at most 2.1), in wall
# time and, less disturbed by other work on a shared machine, in CPU time.
# Builds nothing: run `cmake --preset bench && cmake --build --preset bench` first.
#   bench/templates_scaling.sh [REPETITIONS]     (default 10)
# For a load-independent check, compare callgrind's instruction counts of one load of each
# size (--toggle-collect='kx::ExprTemplates::LoadFrom*', --benchmark_filter='BM_Load/10000$').
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,8p' "$0" | cut -c3-
  exit 0
fi
cd "$(dirname "$0")/.."
bench=build/bench/bench/bench_templates
if [ ! -x "$bench" ]; then
  echo "templates_scaling.sh: $bench is missing; build the bench preset first" >&2
  exit 2
fi
reps=${1:-10}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Both sizes take turns in random order so that they meet the same load; the best of each,
# since a shared machine only ever adds time.
"$bench" --benchmark_filter='BM_Load/' --benchmark_repetitions="$reps" \
  --benchmark_enable_random_interleaving=true --benchmark_min_time=0.3 \
  --benchmark_format=json >"$work/b.json" 2>/dev/null
jq -r '[.benchmarks[] | select(.run_type == "iteration")] as $runs
  | def best($size; $field): [$runs[] | select(.name | endswith("/\($size)")) | .[$field]] | min;
  def r1: . * 10 | round / 10;
  def r2: . * 100 | round / 100;
  ([$runs[] | select(.name | endswith("/10000")) | .file_MB] | first) as $mb
  | best(10000; "real_time") as $a | best(20000; "real_time") as $b
  | best(10000; "cpu_time") as $c | best(20000; "cpu_time") as $d
  | "load 10000: \($a | r1) ms (\($mb * 1000 / $a | floor) MB/s), 20000: \($b | r1) ms, ratio \($b / $a | r2) (target <= 2.1); CPU time \($c | r1) ms, \($d | r1) ms, ratio \($d / $c | r2)"' \
  "$work/b.json"
