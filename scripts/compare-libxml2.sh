#!/bin/bash
# Compares the values that this library and libxml2 read in every XML file of the given folders, before and after a set.
# Does so twice, the second time without the plain reader:
#   scripts/compare-libxml2.sh <build folder> <file or folder>...
set -euo pipefail
build=$(realpath "$1")
shift
scripts=$(dirname "$0")
"$scripts/install-packages.sh" libxml2-dev
"$scripts/quietly.sh" "$build/compare-libxml2.log" cmake "$build"
"$scripts/quietly.sh" "$build/compare-libxml2.log" cmake --build "$build" --target compare-libxml2 compare-libxml2-by-parser
"$build/bin/compare-libxml2" "$@"
"$build/bin/compare-libxml2-by-parser" "$@"
