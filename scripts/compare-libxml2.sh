#!/bin/bash
# Compares what this library and libxml2 read in every XML file of the given folders, before and after a set:
#   scripts/compare-libxml2.sh <build folder> <file or folder>...
set -euo pipefail
build=$(realpath "$1")
shift
"$(dirname "$0")/install-packages.sh" libxml2
cmake "$build" >/dev/null
cmake --build "$build" --target compare-libxml2 >/dev/null
exec "$build/bin/compare-libxml2" "$@"
