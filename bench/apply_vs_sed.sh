#!/usr/bin/env bash
# Applies a three-parameter template to every expression of a generated conversion (the
# document bench_inventory generates) with `kxexpr apply --quiet --yes`, parameters answered
# with --set, each result written back and the document saved; and rewrites the same texts
# of the same file with sed. Checks that both give the same texts, then prints
#   - kxexpr over sed at 100,000 expressions (target: at most 1.5), and
#   - kxexpr at 200,000 over kxexpr at 100,000 expressions (target: at most 2.2),
# in wall and CPU time (user + system; other work on a shared machine disturbs it less).
#   bench/apply_vs_sed.sh [RUNS]     (default 7; the best of the runs counts)
set -euo pipefail
if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
  sed -n '2,9p' "$0" | cut -c3-
  exit 0
fi
runs=${1:-7}
cd "$(dirname "$0")/.."
cmake --preset bench >/dev/null
cmake --build --preset bench -j 2 --target kxexpr bench_inventory >/dev/null
bin=$PWD/build/bench
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$bin/bench/bench_inventory" --generate 100000 c100000.json
"$bin/bench/bench_inventory" --generate 200000 c200000.json

# <<Expr>> takes each expression's current contents; all three are answered with --set.
printf '%s\r\n' '@BeginTemplate Wrap' '  @BeginDescription' \
  '    Wraps an expression in a function and appends a suffix' '  @EndDescription' \
  '  @BeginBody' '<<Fn>>(<<Expr>>) & <<Suffix>>' '  @EndBody' \
  '  @BeginParameter' '    @Name=Fn' '  @EndParameter' \
  '  @BeginParameter' '    @Name=Expr' '  @EndParameter' \
  '  @BeginParameter' '    @Name=Suffix' '  @EndParameter' '@EndTemplate Wrap' >wrap.tpl
kx() { "$bin/kxexpr" apply "$1" wrap.tpl Wrap --set Fn=Trim --set 'Expr=^c' \
  --set 'Suffix="x"' --yes --quiet; }
# Every expression of the generated document, and only they, start with one of these
# calls; names and types never do.
rewrite() { sed -E -i 's/"((Records|Trim|SetVariable)\(([^"\\]|\\.)*)"/"Trim(\1) \& \\"x\\""/g' "$1"; }

texts() { "$bin/kxexpr" list --json "$1" | jq -c 'map(.ExpressionText) | sort'; }
cp c100000.json k.json && kx k.json >/dev/null
cp c100000.json s.json && rewrite s.json
count=$("$bin/kxexpr" list --json k.json | jq 'length')
same=$([ "$(texts k.json)" = "$(texts s.json)" ] && echo true || echo false)
echo "expressions rewritten: $count, kxexpr and sed give the same texts: $same"
[ "$count" = 100000 ] && [ "$same" = true ]

# Wall and CPU milliseconds of one run on a fresh copy (the copy is not timed).
timed() {
  local file=$1 t
  shift
  cp "$file" run.json
  rm -f run.json.kxundo
  t=$( { TIMEFORMAT='%3R %3U %3S'; time "$@" run.json >/dev/null 2>&1; } 2>&1)
  awk '{ printf "%d %d\n", $1 * 1000, ($2 + $3) * 1000 }' <<<"$t"
}
declare -A wall cpu
keep() {  # the best of the runs, per name
  local name=$1 w c
  read -r w c < <(timed "${@:2}")
  if [ -z "${wall[$name]:-}" ] || [ "$w" -lt "${wall[$name]}" ]; then wall[$name]=$w; fi
  if [ -z "${cpu[$name]:-}" ] || [ "$c" -lt "${cpu[$name]}" ]; then cpu[$name]=$c; fi
}
# Turns alternate so that all three meet the same load on a shared machine.
for _ in $(seq "$runs"); do
  keep kx100000 c100000.json kx
  keep sed100000 c100000.json rewrite
  keep kx200000 c200000.json kx
done
awk -v kw="${wall[kx100000]}" -v sw="${wall[sed100000]}" -v lw="${wall[kx200000]}" \
  -v kc="${cpu[kx100000]}" -v sc="${cpu[sed100000]}" -v lc="${cpu[kx200000]}" 'BEGIN {
  printf "apply 100000: kxexpr %d ms, sed %d ms, ratio %.2f (target <= 1.5); CPU time %d ms, %d ms, ratio %.2f\n", kw, sw, kw / sw, kc, sc, kc / sc
  printf "apply 200000: %d ms, ratio to 100000 %.2f (target <= 2.2); CPU time %d ms, ratio %.2f\n", lw, lw / kw, lc, lc / kc }'
