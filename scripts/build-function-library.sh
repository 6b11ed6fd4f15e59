#!/usr/bin/env bash
# Rebuilds data/kx750ui_fn.dll, the bundled host function library: compiles
# data/kx750ui_fn.idl to a type library with widl, and links it as TYPELIB resource 1 into
# a small PE DLL with the mingw-w64 binutils. Needs wine64-tools and mingw-w64.
#   scripts/build-function-library.sh [OUTPUT.dll]
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-data/kx750ui_fn.dll}
for tool in widl x86_64-w64-mingw32-windres x86_64-w64-mingw32-gcc; do
  command -v "$tool" >/dev/null || { echo "build-function-library.sh: $tool is missing (scripts/deps.sh installs it)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
winelib=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows
widl -t --win64 -L "$winelib" -o "$work/kx750ui_fn.tlb" data/kx750ui_fn.idl
# widl stamps the library with the build time, as text and as a number right after it;
# fixed stamps of the same length keep rebuilds byte-identical.
perl -0777 -pi -e 's/(Created by WIDL version [0-9.]+ at )\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}(\nW*\x13\x00)[\s\S]{4}/${1}Thu Jan  1 00:00:00 1970${2}\x00\x00\x00\x00/' \
  "$work/kx750ui_fn.tlb"
printf '1 TYPELIB "%s"\n' "$work/kx750ui_fn.tlb" >"$work/lib.rc"
cat >"$work/stub.c" <<'C'
#include <windows.h>
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)instance; (void)reason; (void)reserved;
  return TRUE;
}
C
x86_64-w64-mingw32-windres -i "$work/lib.rc" -o "$work/lib.o"
# No timestamps and a fixed image base, so that a rebuild from the same sources gives the same bytes.
x86_64-w64-mingw32-gcc -shared -s -Wl,--no-insert-timestamp,--disable-auto-image-base -o "$out" "$work/stub.c" "$work/lib.o"
echo "build-function-library.sh: wrote $out"
