#!/bin/bash
# Builds the Debian packages twice, in folders of different names, which must give the same bytes. Checks them with lintian,
# compares the libraries' interface with that of earlier versions, installs the packages, runs their tests as Debian's
# autopkgtest would, and removes them. Nothing may be left. Becomes root with sudo:
#   scripts/check-package.sh
set -Eeuo pipefail
((EUID == 0)) || exec sudo "$0"
trap 'echo "failed in line $LINENO: $BASH_COMMAND" >&2' ERR
cd "$(dirname "$0")/.."
packages=(libtarvik1 libtarvik-dev tarvik)
work=$(mktemp -d)
cleanup() {
  dpkg --purge "${packages[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT

again=$work/again-in-a-folder-with-a-longer-name
scripts/build-packages.sh "$work" >/dev/null
scripts/build-packages.sh "$again" >/dev/null
for file in "$again"/*.deb; do cmp "$file" "$work/$(basename "$file")"; done
lintian --allow-root --fail-on error,warning "$work"/*.changes

files=()
for package in "${packages[@]}"; do files+=("$work/${package}"_*.deb); done
dpkg --install "${files[@]}" >/dev/null
mapfile -t installed < <(dpkg --listfiles "${packages[@]}" | while read -r file; do [[ -d $file || -z $file ]] || echo "$file"; done)

# The packages depend on their libraries, and programs linked now will need the version that brought their symbols.
for file in "${files[@]}"; do dpkg --field "$file" Depends >>"$work/depends"; done
grep --quiet 'libexpat1 (>=' "$work/depends"
grep --quiet 'libtarvik1 (>= [1-9]' "$work/depends"
architecture=$(dpkg --print-architecture)
grep --quiet '^ OpenXML@Base 1.0$' "/var/lib/dpkg/info/libtarvik1:$architecture.symbols"

dpkg-deb --extract "$work"/libtarvik1-dbgsym_*.deb "$work/debug"
scripts/check-abi.sh "/usr/lib/$(dpkg-architecture --query DEB_HOST_MULTIARCH)" "$work/debug/usr/lib/debug"

# As autopkgtest runs them: in the source tree, on the installed packages.
mapfile -t tests < <(sed -n 's/^Tests: //p' packaging/debian/tests/control)
for name in "${tests[@]}"; do
  echo "Test of the packages: $name"
  mkdir "$work/$name"
  AUTOPKGTEST_TMP=$work/$name scripts/quietly.sh "$work/log" packaging/debian/tests/"$name"
done

[[ $(ldd "$(command -v tarvik)") != *'not found'* ]]
man --where tarvik >/dev/null 2>&1 || [[ ! -x $(command -v man) ]]
for page in README.md CHANGELOG.md docs/paths.md examples/CMakeLists.txt; do [[ -f /usr/share/doc/libtarvik-dev/$page ]]; done

dpkg --purge "${packages[@]}" >/dev/null
for file in "${installed[@]}"; do
  if [[ -e $file || -L $file ]]; then
    echo "$file was not removed" >&2
    exit 1
  fi
done
echo "The packages can be installed, used and removed: ${#installed[@]} files."
