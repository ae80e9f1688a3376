#!/bin/bash
# Builds tarvik-<version>-windows-<architecture>.zip, which is unpacked and used, and a second archive with the debug symbols:
#   scripts/build-windows-archive.sh x86|x64 [folder]       (default: build/archives)
# The same sources and compiler give the same bytes, whatever the folder, the time and the user.
set -euo pipefail
cd "$(dirname "$0")/.."
architecture=${1:-}
scripts/build-windows.sh "$architecture" >&2
scripts/install-packages.sh archives
build=$PWD/build/windows-$architecture
mkdir -p "${2:-build/archives}"
target=$(realpath "${2:-build/archives}")
name=tarvik-$(scripts/version.sh)-windows-$architecture
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

source_of() { dpkg-query --show --showformat='${source:Package} ${source:Version}' "$1"; } # <Debian package>

# What the archive contains beside Tarvik itself, under which licence.
add_licences() { # <folder to make>
  mkdir "$1"
  cp LICENSE "$1/tarvik.txt"
  local package expat
  for package in libexpat1 gcc-mingw-w64-base mingw-w64-common libcli11-dev nlohmann-json3-dev; do
    cp "/usr/share/doc/$package/copyright" "$1/$package.txt"
  done
  cp /usr/share/common-licenses/GPL-3 "$1/GPL-3.txt"
  expat=$(sed -nE 's/^#define XML_M[A-Z]+_VERSION ([0-9]+)$/\1/p' "$build/root/include/expat.h" | paste -sd.)
  cat >"$1/README.txt" <<END
What these files contain, and the files here that hold the licences:

tarvik.dll, corekit.dll, tarvik.exe    Tarvik: tarvik.txt
  and in tarvik.dll and tarvik.exe     Expat $expat: libexpat1.txt
  and in tarvik.exe                    CLI11: libcli11-dev.txt; JSON for Modern C++: nlohmann-json3-dev.txt
  and in all of them                   start code of mingw-w64: mingw-w64-common.txt
libstdc++-6.dll, libgcc_s_*.dll        GCC, under the GNU General Public License 3 with the GCC Runtime Library Exception:
                                       gcc-mingw-w64-base.txt, GPL-3.txt
libwinpthread-1.dll                    mingw-w64: mingw-w64-common.txt

Their sources are Debian's source packages $(source_of gcc-mingw-w64-base) (with GCC 12),
$(source_of mingw-w64-common), $(source_of libcli11-dev), $(source_of nlohmann-json3-dev), and expat $expat.
END
}

# The time in it is that of the version.
make_archive() { # <folder in $work>
  find "$work/$1" -exec touch --date="$(sed -nE '/^## /{s/.*\((.*)\)/\1/p;q}' CHANGELOG.md) UTC" {} +
  chmod -R u=rwX,go=rX "$work/$1"
  rm -f "$target/$1.zip"
  (cd "$work" && find "$1" -type f | LC_ALL=C sort | TZ=UTC zip -9 --quiet -X -@ "$target/$1.zip")
  echo "$target/$1.zip"
}

scripts/quietly.sh "$work/install.log" cmake --install "$build" --prefix "$work/$name"
add_licences "$work/$name/licences"
make_archive "$name"
cp -r "$build/symbols" "$work/$name-symbols"
make_archive "$name-symbols"
