#!/usr/bin/env bash
# Pictures of the desktop window for the docs, made on a virtual display:
#   scripts/screenshots.sh [KXEXPR]      (default build/dev/kxexpr; writes docs/images/*.png)
# Each one is the window as a script leaves it; look at them before keeping them.
set -euo pipefail
cd "$(dirname "$0")/.."
kxexpr=${1:-build/dev/kxexpr}
out=docs/images
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp data/sample-conversion.json "$work/"   # the sample stays as it is
conversion="$work/sample-conversion.json"

shoot() {  # NAME SCRIPT [kxexpr edit options...]
  local name=$1 script=$2
  shift 2
  printf '%b' "$script" > "$work/$name.txt"
  # The script ends with the window open; closing it then is exit status 1.
  xvfb-run -a -s '-screen 0 1280x1024x24' "$kxexpr" edit "$conversion" "$@" \
    --script "$work/$name.txt" --screenshot "$out/$name.png" || [ $? -eq 1 ]
  echo "$out/$name.png"
}

expression='If Records("Customer").Fields("Country") = "DE" Then\r\n'
expression+='  Left$(Records("Customer").Fields("Name"), 20) '"'"' short form\r\n'
expression+='Else\r\n  UCase$([Name]) & " (" & Format$(Now(), "yyyy") & ")"\r\nEnd If'
shoot main-window 'click-node All\nrow 40\ncaret 60\nmenu mnuToolsToggleBookmark\n' \
  --allow-validation --expression "$(printf '%b' "$expression")"

# The tree's first node with TAG after a headless run of SCRIPT.
first_node() {  # TAG SCRIPT
  # The script leaves the window open: exit status 1.
  { printf '%b' "$2dump\n" | env -u DISPLAY "$kxexpr" edit "$conversion" --headless --script - ||
    [ $? -eq 1 ]; } |
    jq -r --arg tag "$1" 'select(.tree) | [.tree[] | select(.tag == $tag)][0].key'
}
# The first registered type library, opened on the type of its constants.
library=$(first_node TLB 'click-node OTL\n')
type="$library<KXCompareMethod"
shoot type-libraries "click-node OTL\nclick-node $library\nclick-node $type\nrow 1\n"
