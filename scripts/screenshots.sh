#!/usr/bin/env bash
# Pictures of the desktop window for the docs, made on a virtual display:
#   scripts/screenshots.sh [KXEXPR]      (default build/dev/kxexpr; writes docs/images/*.png)
# Each one is the window as a script leaves it, or a dialog just before the script's answer
# closes it; look at them before keeping them.
set -euo pipefail
cd "$(dirname "$0")/.."
kxexpr=${1:-build/dev/kxexpr}
out=docs/images
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp data/sample-conversion.json "$work/"   # the sample stays as it is
conversion="$work/sample-conversion.json"
# The bundled registry, whatever Wine has registered: the pictures show the same libraries.
export KXEXPR_REGISTRY=$PWD/data/kxexpr.reg

# The window at 900 x 600 pixels (twips at 96 dpi), where the tree's texts fit.
size='resize 13500 9000\n'
lists=(--list 'root,Countries,countries,DE|FR|NL|GB|US' --list 'root,Regions,regions,North|South|East|West')

shoot() {  # NAME SCRIPT [kxexpr edit options...]
  local name=$1 script=$2
  shift 2
  printf '%b' "$size$script" > "$work/$name.txt"
  # The script ends with the window open; closing it then is exit status 1.
  xvfb-run -a -s '-screen 0 1280x1024x24' "$kxexpr" edit "$conversion" "$@" \
    --script "$work/$name.txt" --screenshot "$work/$name.png" || [ $? -eq 1 ]
}

# The Amount field of the Orders target record, as scripts/run.sh opens it, with a source
# record's fields listed and a bookmark set.
shoot main-window 'click-node rs2\nrow 3\ncaret 60\nmenu mnuToolsToggleBookmark\n' \
  8 'trl0␛f4' --allow-validation "${lists[@]}"
cp "$work/main-window.png" "$out/main-window.png"

# The argument dialog of Mid$ filled in, just before its OK.
shoot function-dialog \
  'click-node Text\nrow 2\nanswer function ok Records("Customer").Fields("Name")|1|20\nbuild 2\n'
cp "$work/function-dialog-frmFunction.png" "$out/function-dialog.png"

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
cp "$work/type-libraries.png" "$out/type-libraries.png"
ls -l "$out"/*.png
