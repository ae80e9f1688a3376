#!/bin/bash
# Builds the Debian packages, checks them with lintian, installs them, builds and runs programs with them, and removes them.
# Nothing may be left. Becomes root with sudo:
#   scripts/check-package.sh
set -Eeuo pipefail
((EUID == 0)) || exec sudo "$0"
trap 'echo "failed in line $LINENO: $BASH_COMMAND" >&2' ERR
cd "$(dirname "$0")/.."
source=$PWD
packages=(libtarvik1 libtarvik-dev tarvik)
work=$(mktemp -d)
cleanup() {
  dpkg --purge "${packages[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT

scripts/build-packages.sh "$work" >/dev/null
lintian --allow-root --fail-on error,warning "$work"/*.changes

files=()
for package in "${packages[@]}"; do files+=("$work/${package}"_*.deb); done
dpkg --install "${files[@]}" >/dev/null
mapfile -t installed < <(dpkg --listfiles "${packages[@]}" | while read -r file; do [[ -d $file || -z $file ]] || echo "$file"; done)

# The packages depend on their libraries, and programs linked now will need at least this version of libtarvik1.
for file in "${files[@]}"; do dpkg --field "$file" Depends >>"$work/depends"; done
grep --quiet 'libexpat1 (>=' "$work/depends"
grep --quiet 'libtarvik1 (>= [1-9]' "$work/depends"
grep --quiet "^libtarvik 1 libtarvik1 (>= $(dpkg --field "${files[0]}" Version))$" \
  "/var/lib/dpkg/info/libtarvik1:$(dpkg --print-architecture).shlibs"

cd "$work"
cp "$source"/examples/*.xml .
[[ $(tarvik get catalog.xml ProductPackage ProductID) == HARBOR-SCAN ]]
[[ $(ldd "$(command -v tarvik)") != *'not found'* ]]
man --where tarvik >/dev/null 2>&1 || [[ ! -x $(command -v man) ]]
documentation=/usr/share/doc/libtarvik-dev
for page in README.md CHANGELOG.md docs/paths.md; do [[ -f $documentation/$page ]]; done

cmake -S $documentation/examples -G Ninja -B cmake >/dev/null
cmake --build cmake >/dev/null
[[ $(cmake/walk_catalog catalog.xml) == *HARBOR-DESK* ]]
read -r -a flags <<<"$(pkg-config --cflags --libs tarvik)"
cc -std=c11 $documentation/examples/from_c.c -o from_c "${flags[@]}"
[[ $(./from_c configuration.xml 2>logged) == *'timeout: 20 s' ]]
[[ $(python3 $documentation/examples/from_python.py configuration.xml 2>logged) == *'timeout: 30 s' ]]

dpkg --purge "${packages[@]}" >/dev/null
for file in "${installed[@]}"; do
  if [[ -e $file || -L $file ]]; then
    echo "$file was not removed" >&2
    exit 1
  fi
done
echo "The packages can be installed, used and removed: ${#installed[@]} files."
