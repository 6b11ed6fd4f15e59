#!/usr/bin/env bash
# Loads generated template files of 10,000 and 20,000 templates (about 5 and 10 MB) and prints
# how the load time grows from one to the other (linear is 2.0; target: at most 2.1), in wall
# time and, less disturbed by other work on a shared machine, in CPU time; the best of each
# size and, beside it, the medians.
# Builds nothing: run `cmake --preset bench && cmake --build --preset bench` first.
#   bench/templates_scaling.sh [TURNS]     (turns of each size, default 120: this shared machine
#   alternates between two speeds, and the best of a size is its fast one only when enough
#   turns meet it)
# For a load-independent check, compare callgrind's instruction counts of one load of each
# size (--toggle-collect='kx::ExprTemplates::LoadFrom*', --benchmark_filter='BM_Load/10000$').
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,11p' "$0" | cut -c3-
  exit 0
fi
cd "$(dirname "$0")/.."
bench=build/bench/bench/bench_templates
if [ ! -x "$bench" ]; then
  echo "templates_scaling.sh: $bench is missing; build the bench preset first" >&2
  exit 2
fi
turns=${1:-120}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

. bench/scaling_rounds.sh
scaling_rounds "$bench" BM_Load 10000 20000 "$turns"
jq -rs "$scaling_jq"'
  ([$runs[] | select(.name | endswith("/10000")) | .file_MB] | first) as $mb
  | best(10000; "real_time") as $a | best(20000; "real_time") as $b
  | best(10000; "cpu_time") as $c | best(20000; "cpu_time") as $d
  | median(10000; "real_time") as $ma | median(20000; "real_time") as $mb2
  | "load 10000: \($a | r1) ms (\($mb * 1000 / $a | floor) MB/s), 20000: \($b | r1) ms, ratio \($b / $a | r2) (target <= 2.1); CPU time \($c | r1) ms, \($d | r1) ms, ratio \($d / $c | r2); medians \($ma | r1) ms, \($mb2 | r1) ms, ratio \($mb2 / $ma | r2), CPU \(median(20000; "cpu_time") / median(10000; "cpu_time") | r2)"' \
  "$work"/b-*.json
