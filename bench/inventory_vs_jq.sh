#!/usr/bin/env bash
# Lists the expressions of a generated 100,000-expression conversion with
# `kxexpr list --json` and extracts the same texts from the same file with jq, side by side;
# prints the time ratio (target: at most 1.0). Then builds the inventory of 200,000 and of
# 100,000 expressions and prints that ratio (linear is 2.0; target: at most 2.1), in wall and
# CPU time. Builds what it needs (preset bench).
#   bench/inventory_vs_jq.sh
# INVENTORY_TURNS sets the turns of each size (default 80: this shared machine alternates
# between two speeds, and the best of a size is only its fast one when enough turns meet it).
# A shared machine blurs even the best of eighty; instruction counts do not: run
#   valgrind --tool=callgrind --toggle-collect='kx::ExpressionList::BuildCompleteConversionExpressionList()'
#     build/bench/bench/bench_inventory --benchmark_filter='BM_BuildInventory/100000$' --benchmark_min_time=0.0001
# and the same for 200000, and compare the "Collected" counts.
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,13p' "$0" | cut -c3-
  exit 0
fi
cd "$(dirname "$0")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench -j 2 --target kxexpr bench_inventory >/dev/null
bin=build/bench
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$bin/bench/bench_inventory" --generate 100000 "$work/c.json"

filter='[ .source.recordLayouts[].dataChangeMonitors[]?, .source.sortFields[], .source.filters[],
          (.target.recordLayouts[0].fields[] | objects | .expression),
          (.target.conversionEvents[], .target.events[] | .actions[].parameters[]) ]
        | map(select(. != ""))'

# Both must find the same 100,000 texts.
ours=$("$bin/kxexpr" list --json "$work/c.json" | jq 'length')
theirs=$(jq "$filter | length" "$work/c.json")
same=$(jq -n --slurpfile a <("$bin/kxexpr" list --json "$work/c.json") \
  --slurpfile b <(jq "$filter" "$work/c.json") '($a[0] | map(.ExpressionText) | sort) == ($b[0] | sort)')
echo "expressions: kxexpr $ours, jq $theirs, same texts: $same"
[ "$ours" = 100000 ] && [ "$theirs" = 100000 ] && [ "$same" = true ]

ms() {  # wall time of one run, in milliseconds
  local start end
  start=$(date +%s%N)
  "$@" >/dev/null
  end=$(date +%s%N)
  echo $(( (end - start) / 1000000 ))
}
# Turns alternate so that both meet the same load on a shared machine; best of seven each.
kx_ms=999999999
jq_ms=999999999
for _ in 1 2 3 4 5 6 7; do
  t=$(ms "$bin/kxexpr" list --json "$work/c.json"); [ "$t" -lt "$kx_ms" ] && kx_ms=$t
  t=$(ms jq "$filter" "$work/c.json"); [ "$t" -lt "$jq_ms" ] && jq_ms=$t
done
awk -v a="$kx_ms" -v b="$jq_ms" 'BEGIN {
  printf "kxexpr list --json: %d ms, jq: %d ms, ratio %.2f (target <= 1.0)\n", a, b, a / b }'

# The best of eighty builds of each size: a longer build is less likely to meet a quiet
# moment whole. CPU time as well: other work on a shared machine disturbs it less.
. bench/scaling_rounds.sh
scaling_rounds "$bin/bench/bench_inventory" BM_BuildInventory 100000 200000 "${INVENTORY_TURNS:-80}"
jq -rs "$scaling_jq"'
  best(100000; "real_time") as $a | best(200000; "real_time") as $b
  | best(100000; "cpu_time") as $c | best(200000; "cpu_time") as $d
  | "build 100000: \($a | floor) ms, 200000: \($b | floor) ms, ratio \($b / $a | r2) (target <= 2.1); CPU time \($c | floor) ms, \($d | floor) ms, ratio \($d / $c | r2); medians \(median(100000; "real_time") | floor) ms, \(median(200000; "real_time") | floor) ms, ratio \(median(200000; "real_time") / median(100000; "real_time") | r2), CPU \(median(200000; "cpu_time") / median(100000; "cpu_time") | r2)"' \
  "$work"/b-*.json
