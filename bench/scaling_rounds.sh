# Sourced by the scaling scripts: runs two sizes of one benchmark in turns and leaves their
# iterations in "$work"/b-*.json.
#   scaling_rounds BENCH NAME SMALL LARGE TURNS
# The two sizes take turns, each in a process of its own: making and reading the larger
# input leaves gaps in the heap that the smaller one's work would fall into. Every turn times
# exactly one run (a minimum time would average several small runs against fewer large
# ones), and each process runs once untimed first.
scaling_rounds() {
  local bench=$1 name=$2 small=$3 large=$4 turns=$5 rounds=8 round size sizes
  for round in $(seq "$rounds"); do
    sizes="$small $large"
    [ $((round % 2)) = 0 ] && sizes="$large $small"
    for size in $sizes; do
      "$bench" --benchmark_filter="$name/$size\$" \
        --benchmark_repetitions=$(((turns + rounds - 1) / rounds)) --benchmark_min_time=0.000001 \
        --benchmark_format=json >"$work/b-$round-$size.json" 2>/dev/null
    done
  done
}

# jq definitions over those files' iterations: the best of a size (a shared machine only
# ever adds time) and its median (how much the load moved the figures).
# shellcheck disable=SC2034
scaling_jq='[.[].benchmarks[] | select(.run_type == "iteration")] as $runs
  | def times($size; $field): [$runs[] | select(.name | endswith("/\($size)")) | .[$field]];
  def best($size; $field): times($size; $field) | min;
  def median($size; $field): times($size; $field) | sort | .[length / 2 | floor];
  def r1: . * 10 | round / 10;
  def r2: . * 100 | round / 100;'
