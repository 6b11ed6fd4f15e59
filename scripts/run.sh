#!/usr/bin/env bash
# The main job: builds kxexpr and opens the expression builder on one expression of the
# sample conversion, on a copy in build/release/run/ so that data/ stays as shipped. After
# OK the copy is saved and the change is shown; Cancel changes nothing.
#   scripts/run.sh [TYPE KEY]     (default: the Amount field of the Orders target record)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh run
cmake --preset release >/dev/null
log=build/release/build.log
cmake --build --preset release -j "$(nproc)" --target kxexpr >"$log" 2>&1 || {
  cat "$log" >&2
  exit 1
}
kxexpr=build/release/kxexpr

# A fresh copy on every run: what the last run saved is not the sample any more.
run=build/release/run
rm -rf "$run"
mkdir -p "$run"
cp data/sample-conversion.json data/kxsyntax.ini "$run/"
cp -r data/modules "$run/"   # the document's code modules are named relative to it
conversion=$run/sample-conversion.json

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "run.sh: no display, so the builder window cannot open. Run scripts/run.sh in a" \
    "desktop session (or over ssh -X), or on a virtual screen: xvfb-run -a scripts/run.sh." \
    "Meanwhile, the sample conversion's expressions:"
  exec "$kxexpr" list "$conversion"
fi

type=${1:-8}
key=${2:-trl0␛f4}

# The palette's function categories come from the host function library, which the bundled
# registry file registers. A Wine registry of one's own is used first when there is one; it
# only knows the library if it was registered there, so fall back to the bundled file.
if [ -z "${KXEXPR_REGISTRY:-}" ]; then
  wine_reg=${WINEPREFIX:-$HOME/.wine}/system.reg
  if [ -f "$wine_reg" ] && ! grep -qi '43A5AC40-ACB7-11D3-96C0-00104B383C01' "$wine_reg"; then
    export KXEXPR_REGISTRY=$PWD/data/kxexpr.reg
  fi
fi

# The inventory with an expression's further lines under its first column, not under the
# wide table's TEXT column, so that a diff of two of them reads.
inventory() {
  "$kxexpr" list "$conversion" | awk 'NR == 1 { col = index($0, "TEXT") }
    NR > 1 && col > 1 && substr($0, 1, col - 1) ~ /^ *$/ { print "      " substr($0, col); next }
    { print }'
}
inventory >"$run/before.txt"
echo "run.sh: the builder is open on expression $type $key of the sample conversion." \
  "OK saves the text into $conversion; Cancel leaves it as it was."
status=0
"$kxexpr" edit "$conversion" "$type" "$key" --title "Expression Builder - sample conversion" \
  --allow-validation --parameter-button \
  --list "root,Countries,countries,DE|FR|NL|GB|US" \
  --list "root,Regions,regions,North|South|East|West" || status=$?
case $status in
  0) ;;
  1) echo "run.sh: cancelled; nothing changed."; exit 0 ;;
  *) exit "$status" ;;
esac
inventory >"$run/after.txt"
if diff -q "$run/before.txt" "$run/after.txt" >/dev/null; then
  echo "run.sh: OK without an edit; nothing changed."
else
  echo "run.sh: what changed in the expression inventory:"
  diff -U4 --label before --label after "$run/before.txt" "$run/after.txt" || true
fi
