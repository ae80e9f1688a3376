#!/bin/bash
# Unpacks what scripts/build-windows-archive.sh makes and uses it under Wine as its users do: the command, and programs that
# find the CMake package, one by mingw-w64 and one by a compiler with Microsoft's conventions:
#   scripts/check-windows-archive.sh x86|x64
set -Eeuo pipefail
trap 'echo "failed in line $LINENO: $BASH_COMMAND" >&2' ERR
cd "$(dirname "$0")/.."
architecture=${1:?usage: $0 x86|x64}
declare -A processors=([x86]=i686 [x64]=x86_64)
processor=${processors[$architecture]}
source=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
run() { # <program in the archive's bin> <argument>...
  "$source/scripts/run-wine.sh" "$root/bin/$1" "${@:2}" 2>>"$work/logged" | tr -d '\r'
}

scripts/build-windows-archive.sh "$architecture" "$work" >/dev/null
(umask 077 && TZ=Asia/Tokyo scripts/build-windows-archive.sh "$architecture" "$work/again" >/dev/null)
for archive in "$work/again"/*.zip; do cmp "$archive" "$work/$(basename "$archive")"; done
name=tarvik-$(scripts/version.sh)-windows-$architecture
mkdir "$work/with a space"
unzip -q "$work/$name.zip" -d "$work/with a space"
unzip -q "$work/$name-symbols.zip" -d "$work"
root="$work/with a space/$name"

# No file of the archive needs another folder or shows the one where it was built; what has no symbols of its own names the
# file that has them.
if grep --recursive --files-with-matches --fixed-strings "$source" "$root" "$work/$name-symbols"; then exit 1; fi
for program in tarvik.exe tarvik.dll corekit.dll; do
  grep --quiet --text --fixed-strings "$program.debug" "$root/bin/$program"
  objdump --section-headers "$work/$name-symbols/$program.debug" | grep --quiet '\.debug_line'
done
for licence in README tarvik libexpat1 GPL-3; do [[ -s $root/licences/$licence.txt ]]; done
grep --quiet 'Expat [0-9.]*:' "$root/licences/README.txt"
grep --quiet 'Runtime Library Exception' "$root/licences/gcc-mingw-w64-base.txt"

cp examples/configuration.xml "$work"
cd "$work"
run tarvik.exe set configuration.xml Network/Host 'Łódź 日本 😀'
[[ $(run tarvik.exe get configuration.xml Network/Host Network/Timeout) == $'Łódź 日本 😀\n20' ]]

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(caller C)
find_package(tarvik REQUIRED)
add_executable(${NAME} ${SOURCE})
target_link_libraries(${NAME} PRIVATE tarvik::tarvik tarvik::corekit)
END
build_caller() { # <name> <source> <CMake option>...
  scripts=$source/scripts
  "$scripts/quietly.sh" log cmake -S . -B "$1" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_SYSTEM_NAME=Windows \
    -DCMAKE_PREFIX_PATH="$root" -DNAME="$1" -DSOURCE="$source/$2" "${@:3}"
  "$scripts/quietly.sh" log cmake --build "$1"
  cp "$1/$1.exe" "$root/bin"
}
build_caller from_c examples/from_c.c -DCMAKE_C_COMPILER="$processor-w64-mingw32-gcc-posix"
[[ $(run from_c.exe configuration.xml) == $'folder: inbox\nfolder: outbox\nfolder: archive\ntimeout: 20 s' ]]
[[ $(run tarvik.exe get configuration.xml Network/Timeout) == 30 ]]
# Microsoft's own libraries are not here, so this program calls none.
build_caller foreign_caller tests/exports/foreign_caller.c -DCMAKE_C_COMPILER=clang-14 -DCMAKE_RC_COMPILER=llvm-rc-14 \
  -DCMAKE_C_COMPILER_TARGET="$processor-pc-windows-msvc" -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY \
  -DCMAKE_C_FLAGS='-ffreestanding -Wall -Wextra -Wpedantic -Werror' -DCMAKE_C_STANDARD_LIBRARIES='' \
  -DCMAKE_EXE_LINKER_FLAGS='-nostdlib -Wl,-entry:Start -Wl,-nodefaultlib -Wl,-subsystem:console'
run foreign_caller.exe
echo "$name.zip can be unpacked and used: $(stat --format=%s "$name.zip") bytes, of them unpacked in bin $(du -sb "$root/bin" | cut -f1)."
