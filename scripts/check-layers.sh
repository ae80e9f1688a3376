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

# The document library has layers of its own. A document is read into its data and saved from them; nodes are a view of the
# data. Those three do not know one another; only the files above them, beside the folders, use all.
# shellcheck disable=SC2016  # awk expands it
across=$(awk '
  function folder(path, parts) { return split(path, parts, "/") == 4 ? parts[3] : "above" }
  $1 $2 !~ /^host\/ostrumxml\/.*host\/ostrumxml\// { next }
  {
    from = folder($1)
    to = folder($2)
    isBelow = from == "above" || to == "expat" && from ~ /^(data|read)$/ || to == "data" && from ~ /^(nodes|read|save)$/
  }
  from != to && !isBelow { print "src/" $1 " includes " $2 ": not below it" }' <<<"$includes")

circles=$(tsort <<<"$includes" 2>&1 >/dev/null || true)

# The command may include the document library, conversions, what it needs of the system, the public headers, and the record that
# the queries read.
inside=$(grep --recursive --line-number '^#include ".*/' tools |
  grep -Ev '"(tarvik/tarvik|corekit/corekit|registry/record|platform/(files|platform)|(host/ostrumxml|text)/[a-z0-9_/]+)\.h"' || true)

if [[ -n $upward$across$circles$inside ]]; then
  printf '%s\n' "$upward" "$across" "$circles" "$inside" | sed '/^$/d' >&2
  exit 1
fi
