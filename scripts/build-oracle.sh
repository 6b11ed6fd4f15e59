#!/usr/bin/env bash
# Builds the Wine oracle (tests/typelib/oracle/wine_tlbdump.cpp) with mingw-w64 into
# build/oracle/wine_tlbdump.exe, unless it is newer than its sources. Prints the path.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/oracle/wine_tlbdump.exe
sources=(tests/typelib/oracle/wine_tlbdump.cpp src/typelib/format.cpp src/typelib/format.h src/typelib/typelib.h)
command -v x86_64-w64-mingw32-g++ >/dev/null || { echo "build-oracle.sh: x86_64-w64-mingw32-g++ is missing" >&2; exit 1; }
fresh=1
[ -f "$out" ] || fresh=0
for s in "${sources[@]}"; do [ "$fresh" = 1 ] && [ "$s" -nt "$out" ] && fresh=0; done
if [ "$fresh" = 0 ]; then
  mkdir -p build/oracle
  x86_64-w64-mingw32-g++ -std=c++20 -O2 -municode -static -Isrc -o "$out.tmp" \
    tests/typelib/oracle/wine_tlbdump.cpp src/typelib/format.cpp -loleaut32 -lole32 -luuid
  mv "$out.tmp" "$out"
fi
echo "$out"
