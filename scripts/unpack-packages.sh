#!/bin/bash
# Unpacks Debian packages of another architecture into a new folder, without adding the architecture to dpkg. Fetches package
# lists of its own, and no dependencies:
#   scripts/unpack-packages.sh <architecture> <folder> <package>[=<version>]...
set -euo pipefail
architecture=$1 folder=$(realpath --canonicalize-missing "$2")
shift 2

state=$folder.packages
rm -rf "$state" "$folder.new"
mkdir -p "$state/lists/partial" "$state/archives/partial" "$folder.new"
: >"$state/status"
options=(-qq -o "APT::Architecture=$architecture" -o "APT::Architectures=$architecture" -o "Dir::State::Lists=$state/lists"
  -o "Dir::State::status=$state/status" -o "Dir::Cache=$state" -o APT::Sandbox::User=root)
# A list may fail to load; the download fails if it is needed.
apt-get "${options[@]}" update || true
(cd "$state" && apt-get "${options[@]}" download "$@")
for package in "$state"/*.deb; do
  dpkg --extract "$package" "$folder.new"
done
mv --no-target-directory "$folder.new" "$folder"
rm -r "$state"

# Absolute links would lead out of the folder.
find "$folder" -type l -lname '/*' | while read -r link; do
  ln --symbolic --force --relative "$folder$(readlink "$link")" "$link"
done
