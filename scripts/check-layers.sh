#!/bin/bash
# Fails if an include leads to a higher layer, or if includes form a circle. Paths of our own headers start at src/ or include/,
# so each names its layer.
set -euo pipefail
cd "$(dirname "$0")/.."

# "<file> <header>" for every include of ours in src/
includes=$(cd src && grep --recursive --include='*.h' --include='*.cpp' '^#include "' . |
  sed -E 's|^\./([^:]*):#include "([^"]*)".*|\1 \2|')

# shellcheck disable=SC2016  # awk expands it
upward=$(awk '
  function layer(path, parts) {
    split(path, parts, "/")
    return rank[parts[1] == "host" ? parts[1] "/" parts[2] : parts[1]]
  }
  BEGIN {
    # The record of the registry owns an element map and the path operations read a record: those two share a layer.
    # The public headers, tarvik and corekit, are visible from the layer that implements them upwards.
    split("platform host/corekit,corekit host/ostrumxml text registry,paths,tarvik items queries exports", layers, " ")
    for (number in layers) {
      count = split(layers[number], folders, ",")
      for (i = 1; i <= count; i++) rank[folders[i]] = number + 0
    }
  }
  !layer($1) || !layer($2) { print "src/" $1 " includes " $2 ": no known layer" }
  layer($2) > layer($1) { print "src/" $1 " includes " $2 ": upward" }' <<<"$includes")

circles=$(tsort <<<"$includes" 2>&1 >/dev/null || true)

# The command may include the record of an open document, the document library and the public headers.
inside=$(grep --recursive --line-number '^#include ".*/' tools |
  grep -Ev '"(tarvik/tarvik|corekit/corekit|registry/file_list|host/ostrumxml/[a-z0-9_/]+)\.h"' || true)

if [[ -n $upward$circles$inside ]]; then
  printf '%s\n' "$upward" "$circles" "$inside" | sed '/^$/d' >&2
  exit 1
fi
