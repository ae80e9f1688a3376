#!/bin/bash
# Runs a Windows program of this tree under Wine: scripts/run-wine.sh program.exe [argument...]
# 32-bit programs run in the 64-bit Wine (its WoW64 mode), which needs the 32-bit DLLs of Debian's i386 package, but neither
# i386 libraries on this system nor a 32-bit kernel interface. The package is fetched once and unpacked into build/, and the
# architecture isn't added to this system's dpkg. The compiler's runtime DLLs lie beside the programs.
set -euo pipefail
build=$(cd "$(dirname "$0")/.." && pwd)/build
program=${1:?usage: $0 program.exe [argument...]}

# Fetches the i386 libwine of the version installed here, with package lists apart from the system's own.
fetch_i386_dlls() { # <folder to make>
  local state=$build/wine-packages version
  mkdir -p "$state/lists/partial" "$state/archives/partial"
  : >"$state/status"
  version=$(dpkg-query --show --showformat='${Version}' libwine)
  local options=(-qq -o APT::Architecture=i386 -o APT::Architectures=i386 -o "Dir::State::Lists=$state/lists"
    -o "Dir::State::status=$state/status" -o "Dir::Cache=$state" -o APT::Sandbox::User=root)
  # One list of several can fail to load; the download tells whether what it needs is there.
  apt-get "${options[@]}" update || true
  (cd "$state" && apt-get "${options[@]}" download "libwine=$version")
  mkdir -p "$1.new"
  dpkg --fsys-tarfile "$state"/libwine_*_i386.deb |
    tar --extract --directory "$1.new" --strip-components=5 ./usr/lib/i386-linux-gnu/wine/i386-windows
  mv "$1.new" "$1"
  rm -r "$state"
}

make_prefix() {
  [[ -z ${WINEDLLPATH:-} || -e $WINEDLLPATH ]] || fetch_i386_dlls "$WINEDLLPATH"
  wineboot --init >/dev/null 2>&1 # it copies the DLLs, the 32-bit ones into syswow64
  touch "$WINEPREFIX/made"
}

# The machine type stands behind the PE signature, whose offset stands at byte 60.
signature=$(od -An -t u4 -j 60 -N 4 "$program")
machine=$(od -An -t x2 -j $((signature + 4)) -N 2 "$program")
if [[ $machine == *014c ]]; then
  export WINEPREFIX=$build/wine-x86 WINEDLLPATH=$build/wine-i386
else
  export WINEPREFIX=$build/wine-x64
fi
export WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=

# Many tests start at once, and programs that start while Wine itself does can fail: the first makes Wine's state and waits until
# its server, which stays for a minute behind the last program, has started all that belongs to it.
mkdir -p "$WINEPREFIX"
(
  flock 9
  [[ -e $WINEPREFIX/made ]] || make_prefix 9>&-
  if /usr/lib/wine/wineserver64 --persistent=60 </dev/null >/dev/null 2>&1 9>&-; then # none was running
    /usr/lib/wine/wine64 wineboot </dev/null >/dev/null 2>&1 9>&- || true
  fi
) 9>"$build/wine.lock"
exec /usr/lib/wine/wine64 "$@"
