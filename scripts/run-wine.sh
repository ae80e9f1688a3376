#!/bin/bash
# Runs a Windows program of this tree under Wine: scripts/run-wine.sh program.exe [argument...]
# 32-bit programs run in 64-bit Wine, in its WoW64 mode. This needs the 32-bit DLLs of Debian's i386 package, but no i386
# libraries and no 32-bit system calls. The script fetches that package once and unpacks it into build/, without adding the
# architecture to dpkg. The compiler's runtime DLLs are beside the programs.
set -euo pipefail
build=$(cd "$(dirname "$0")/.." && pwd)/build
program=${1:?usage: $0 program.exe [argument...]}

# Fetches the i386 libwine in the installed version.
fetch_i386_dlls() { # <folder to make>
  local packages=$build/wine-packages version
  version=$(dpkg-query --show --showformat='${Version}' libwine)
  rm -rf "$packages"
  "$build/../scripts/unpack-packages.sh" i386 "$packages" "libwine=$version"
  mv "$packages/usr/lib/i386-linux-gnu/wine/i386-windows" "$1"
  rm -r "$packages"
}

make_prefix() {
  [[ -z ${WINEDLLPATH:-} || -e $WINEDLLPATH ]] || fetch_i386_dlls "$WINEDLLPATH"
  wineboot --init >/dev/null 2>&1 # it copies the DLLs, the 32-bit ones into syswow64
  touch "$WINEPREFIX/made"
}

# The machine type follows the PE signature, whose offset is at byte 60.
signature=$(od -An -t u4 -j 60 -N 4 "$program")
machine=$(od -An -t x2 -j $((signature + 4)) -N 2 "$program")
if [[ $machine == *014c ]]; then
  export WINEPREFIX=$build/wine-x86 WINEDLLPATH=$build/wine-i386
else
  export WINEPREFIX=$build/wine-x64
fi
export WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=

# Programs can fail if they start while Wine itself starts, and many tests start at once. So the first one creates Wine's
# prefix and waits until its server is ready. The server stays for a minute after the last program.
mkdir -p "$WINEPREFIX"
(
  flock 9
  [[ -e $WINEPREFIX/made ]] || make_prefix 9>&-
  if /usr/lib/wine/wineserver64 --persistent=60 </dev/null >/dev/null 2>&1 9>&-; then # none was running
    /usr/lib/wine/wine64 wineboot </dev/null >/dev/null 2>&1 9>&- || true
  fi
) 9>"$build/wine.lock"
exec /usr/lib/wine/wine64 "$@"
