#!/usr/bin/env bash
# Runs the COM server's tests under Wine, in a prefix of their own in the build tree.
#   wine-test.sh setup   WORK DLL        fresh prefix, regsvr32 of the DLL
#   wine-test.sh script  WORK FILE       cscript on a .vbs/.js test in a fresh copy of the data
#   wine-test.sh client  WORK EXE        a test program, likewise
#   wine-test.sh display-client WORK EXE  the same on a virtual display (Xvfb)
#   wine-test.sh display-script WORK FILE [EXE]  a script on a virtual display; EXE, a program
#                                         it may start, is its second argument
#   wine-test.sh cleanup WORK            stops the prefix's wineserver
#   wine-test.sh skip    REASON          reports a skipped test
# A test passes when it exits 0 and its last line is DONE: Wine's script host exits 0 even
# when a script stops on an error.
set -uo pipefail
action=$1
source_dir=$(cd "$(dirname "$0")/../.." && pwd)

skip() {
  echo "SKIPPED: $*"
  exit 77
}
[ "$action" = skip ] && skip "$2"
command -v wine >/dev/null || skip "wine is not installed (scripts/deps.sh installs it)"
# The 64-bit loader: with a 32-bit Wine beside it, plain "wine cscript" is the 32-bit host.
wine=wine
if command -v wine64 >/dev/null; then
  wine=wine64
elif [ -x /usr/lib/wine/wine64 ]; then
  wine=/usr/lib/wine/wine64
  export WINELOADER=$wine
fi

work=$2
export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
# No desktop: a message box fails at once instead of waiting for a click.
unset DISPLAY WAYLAND_DISPLAY

windows_path() {
  local p=$1
  echo "Z:${p//\//\\}"
}

# Runs a test program, shows its output, and judges it by exit status and the last line it
# printed (Wine's own messages go to standard error).
judge() {
  local out rc last errors
  errors=$(mktemp)
  out=$("$@" 2>"$errors")
  rc=$?
  printf '%s\n' "$out" | tr -d '\r'
  grep -v '^$' "$errors" | head -n 20
  rm -f "$errors"
  last=$(printf '%s\n' "$out" | tr -d '\r' | sed '/^$/d' | tail -n 1)
  [ "$rc" -eq 0 ] || { echo "exit status $rc"; exit 1; }
  [ "$last" = DONE ] || { echo "the last line is not DONE: the test stopped early"; exit 1; }
}

# A fresh copy of the sample data for one test, which may change it.
fresh_data() {
  local dir=$work/run/$1
  rm -rf "$dir"
  mkdir -p "$dir/modules"
  cp "$source_dir/data/sample-conversion.json" "$source_dir/data/sample.tpl" \
    "$source_dir/data/kx750ui_fn.dll" "$source_dir/data/kxsyntax.ini" "$dir/"
  cp "$source_dir"/data/modules/* "$dir/modules/"
  echo "$dir"
}

case "$action" in
  setup)
    dll=$3
    [ -f "$dll" ] || { echo "no server DLL at $dll"; exit 1; }
    wineserver -k 2>/dev/null
    rm -rf "$WINEPREFIX"
    mkdir -p "$work"
    "$wine" wineboot -i >/dev/null 2>&1 || { echo "wineboot failed"; exit 1; }
    # Keep the server up between the tests (cleanup stops it; it ends alone a minute later).
    wineserver -p60 </dev/null >/dev/null 2>&1
    # Register, unregister (which must remove the ProgIDs), register for the tests.
    "$wine" regsvr32 /s "$(windows_path "$dll")" || { echo "regsvr32 failed with $?"; exit 1; }
    "$wine" regsvr32 /u /s "$(windows_path "$dll")" || { echo "regsvr32 /u failed with $?"; exit 1; }
    if "$wine" reg query 'HKCR\kxexpr.ConversionDocument' >/dev/null 2>&1; then
      echo "regsvr32 /u left the ProgID kxexpr.ConversionDocument behind"
      exit 1
    fi
    "$wine" regsvr32 /s "$(windows_path "$dll")" || { echo "regsvr32 failed with $?"; exit 1; }
    echo "registered $dll in $WINEPREFIX"
    ;;
  script)
    file=$3
    name=$(basename "$file")
    dir=$(fresh_data "${name%.*}-${name##*.}")
    judge "$wine" cscript //nologo "$(windows_path "$file")" "$(windows_path "$dir")"
    ;;
  client)
    exe=$3
    dir=$(fresh_data client)
    judge "$wine" "$(windows_path "$exe")" "$(windows_path "$dir")"
    ;;
  display-client|display-script)
    command -v xvfb-run >/dev/null || skip "xvfb-run is not installed: no display for windows"
    file=$3
    name=$(basename "$file")
    dir=$(fresh_data "display-${name%.*}")
    if [ "$action" = display-script ]; then
      run=("$wine" cscript //nologo "$(windows_path "$file")" "$(windows_path "$dir")")
      [ $# -ge 4 ] && run+=("$(windows_path "$4")")
    else
      run=("$wine" "$(windows_path "$file")" "$(windows_path "$dir")")
    fi
    # The prefix's desktop process belongs to the display it started with: begin and end
    # with none running, so that this test's desktop is on its display and goes with it.
    wineserver -k 2>/dev/null
    wineserver -w
    # A window nobody answers would wait for ever: the guard ends the run.
    (judge timeout -k 5 90 xvfb-run -a "${run[@]}")
    rc=$?
    wineserver -k 2>/dev/null
    wineserver -w
    wineserver -p60 </dev/null >/dev/null 2>&1
    exit $rc
    ;;
  cleanup)
    wineserver -k 2>/dev/null
    exit 0
    ;;
  *)
    echo "usage: $0 setup|script|client|cleanup|skip ..." >&2
    exit 2
    ;;
esac
