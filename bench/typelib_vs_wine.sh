#!/usr/bin/env bash
# Reads mshtml.tlb completely with our reader and with Wine's LoadTypeLibEx plus the same walk
# (the oracle program, run under wine), each timed inside its own process, and prints the
# ratio ours/Wine (target: at most 0.5). Needs the bench preset built, wine and mingw-w64.
#   bench/typelib_vs_wine.sh [LIBRARY]
set -euo pipefail
cd "$(dirname "$0")/.."
lib=${1:-/usr/lib/x86_64-linux-gnu/wine/x86_64-windows/mshtml.tlb}
bench=build/bench/bench/bench_typelib
[ -x "$bench" ] || { echo "typelib_vs_wine.sh: $bench not built (cmake --preset bench && cmake --build --preset bench)" >&2; exit 1; }
command -v wine >/dev/null || { echo "typelib_vs_wine.sh: wine is not installed" >&2; exit 1; }
oracle=$(scripts/build-oracle.sh)
export WINEPREFIX=$PWD/build/oracle/prefix WINEDEBUG=-all
winpath="Z:$(realpath "$lib" | tr / '\\')"
wine "$oracle" -bench 2 "$winpath" >/dev/null  # warm up wineserver and the file cache
wine_line=$(wine "$oracle" -bench 20 "$winpath")
wine_s=$(echo "$wine_line" | awk '{print $1}')
ours_ms=$(KX_BENCH_TYPELIB="$lib" "$bench" --benchmark_min_time=2 --benchmark_format=json 2>/dev/null |
  jq -r '.benchmarks[0].real_time')
ours_s=$(awk -v v="$ours_ms" 'BEGIN{printf "%.6f", v/1000}')
ratio=$(awk -v a="$ours_s" -v b="$wine_s" 'BEGIN{printf "%.3f", a/b}')
echo "library: $lib"
echo "ours: ${ours_s} s per complete read"
echo "wine: ${wine_s} s per LoadTypeLibEx + walk"
echo "ratio ours/wine: $ratio (target <= 0.5)"
