#!/bin/bash
# Runs a 64-bit Windows program of this tree under Wine: scripts/run-wine.sh program.exe [argument...]
# The runtime libraries lie beside the programs; Wine's own state lies in build/wine.
set -euo pipefail
prefix=$(cd "$(dirname "$0")/.." && pwd)/build/wine

export WINEPREFIX=$prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=
# Many tests start at once; one of them makes the state, the others wait for it.
if [[ ! -e $prefix/made ]]; then
  mkdir -p "$prefix"
  exec 9>"$prefix/lock"
  flock 9
  if [[ ! -e $prefix/made ]]; then
    wineboot --init >/dev/null 2>&1 9>&-
    touch "$prefix/made"
  fi
  exec 9>&-
fi
exec wine "$@"
