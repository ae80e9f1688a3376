#!/bin/bash
# Builds the Debian packages libtarvik1, libtarvik-dev and tarvik, and installs what the build needs:
#   scripts/build-packages.sh [folder]       (default: build/packages)
# Debian's changelog is made from the version in the public header and from CHANGELOG.md.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh build package
mkdir -p "${1:-build/packages}"
target=$(realpath "${1:-build/packages}")
rm -rf "$target/source" "$target"/*.deb

# One entry per release, the newest first. Of two releases on one day, the newer one gets the later time.
debian_changelog() {
  local maintainer version date number
  maintainer=$(sed -n 's/^Maintainer: //p' packaging/debian/control)
  number=$(grep --count '^## ' CHANGELOG.md)
  sed -nE 's/^## ([0-9.]+) \((.*)\)$/\1 \2/p' CHANGELOG.md | while read -r version date; do
    printf 'tarvik (%s) unstable; urgency=medium\n\n' "$version"
    awk -v version="$version" '
      /^## / { inside = $2 == version; kind = ""; next }
      !inside || /^$/ { next }
      /^### / { kind = $2 ": "; next }
      /^- / { print "* " kind substr($0, 3); next }
      { sub(/^ */, kind ? "  " : "* "); print }' CHANGELOG.md | fmt --tagged-paragraph --width=76 | sed 's/^/  /'
    printf '\n -- %s  %s\n\n' "$maintainer" "$(LC_ALL=C date --utc --date "$date + $number minutes" '+%a, %d %b %Y %T +0000')"
    number=$((number - 1))
  done
}

mkdir "$target/source"
tar --create --exclude=./.git --exclude=./build . | tar --extract --directory="$target/source"
cp -r packaging/debian "$target/source/debian"
debian_changelog >"$target/source/debian/changelog"
version=$(scripts/version.sh)
if [[ $(cd "$target/source" && dpkg-parsechangelog --show-field Version) != "$version" ]]; then
  echo "the newest entry of CHANGELOG.md is not $version, the version in the header" >&2
  exit 1
fi

echo "Building the packages; this takes some minutes." >&2
scripts/with-progress.sh "$target/build.log" \
  env --chdir="$target/source" dpkg-buildpackage --build=binary --no-sign --jobs=auto
rm -rf "$target/source"
ls "$target"/*.deb
