#!/usr/bin/env bash
# Installs the Debian packages kxexpr needs. Quick when everything is present.
#   scripts/deps.sh          build + tests + main job (default)
#   scripts/deps.sh run      only what building and running the main job needs
#   scripts/deps.sh full     also Wine and mingw (type-library oracle, DLL rebuild, COM server)
set -euo pipefail
profile=${1:-test}

run_pkgs=(cmake ninja-build g++ make pkg-config nlohmann-json3-dev libcli11-dev
          qt6-base-dev qt6-wayland libqscintilla2-qt6-dev fonts-dejavu-core)
test_pkgs=(googletest libgtest-dev libgmock-dev libbenchmark-dev clang clang-format
           libclang-rt-14-dev jq xvfb xauth valgrind)
full_pkgs=(wine wine64 wine64-tools g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64
           g++-mingw-w64-i686 binutils-mingw-w64-i686)

case "$profile" in
  run) want=("${run_pkgs[@]}") ;;
  test) want=("${run_pkgs[@]}" "${test_pkgs[@]}" "${full_pkgs[@]}") ;;
  full) want=("${run_pkgs[@]}" "${test_pkgs[@]}" "${full_pkgs[@]}") ;;
  *) echo "usage: $0 [run|test|full]" >&2; exit 2 ;;
esac

missing=()
for p in "${want[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "deps.sh: installing ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
