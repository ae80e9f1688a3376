#!/bin/bash
# Builds the Debian package, installs it, uses it and removes it; nothing may stay behind. Needs root.
#   scripts/check-package.sh <build folder>
set -euo pipefail
trap 'echo "failed: $BASH_COMMAND" >&2' ERR
build=$(realpath "$1")
cd "$(dirname "$0")/.."
work=$(mktemp -d)
cleanup() {
  dpkg --purge tarvik >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >/dev/null
dpkg --install "$work"/*.deb >/dev/null
mapfile -t files < <(dpkg --listfiles tarvik | while read -r file; do [[ -d $file ]] || echo "$file"; done)

[[ $(tarvik get examples/catalog.xml ProductPackage ProductID) == HARBOR-SCAN ]]
[[ $(ldd "$(command -v tarvik)") == *'libcorekit.so.1 => /'* ]] # the loader finds the library
cmake -S examples -G Ninja -B "$work/examples" >/dev/null
cmake --build "$work/examples" >/dev/null
[[ $("$work/examples/walk_catalog" examples/catalog.xml) == *HARBOR-DESK* ]]

dpkg --purge tarvik >/dev/null
for file in "${files[@]}"; do
  if [[ -e $file || -L $file ]]; then
    echo "$file stayed behind" >&2
    exit 1
  fi
done
echo "The package installs, works and goes: ${#files[@]} files."
