#!/bin/bash
# Installs the library as shared objects and as archives, and against each builds and runs a program outside the tree, found
# through the CMake package and through pkg-config:
#   scripts/check-install.sh <build folder>
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/.."
source=$PWD
work=$build/install-check
consumer=$source/tests/install/consumer
version=$(sed -n 's/^#define TARVIK_VERSION_[A-Z]* //p' include/tarvik/tarvik.h | paste -sd.)

# The whole tree is moved after it was installed: nothing may depend on the place it was built for.
install_moved() { # <build folder> <name>
  rm -rf "${work:?}/$2"
  cmake --install "$1" --prefix "$work/$2-first" >/dev/null
  mv "$work/$2-first" "$work/$2"
}

run() { # <program> [library folder]
  printf '<Settings/>\n' >"$work/settings.xml"
  LD_LIBRARY_PATH=${2:-} "$1" "$work/settings.xml"
  diff - "$work/settings.xml" <<<'<Settings><Window><Width>1024</Width></Window></Settings>'
}

check() { # <prefix> <pkg-config option...>
  local prefix=$1 libraries flags
  shift
  libraries=$(dirname "$(dirname "$(find "$prefix" -name tarvik.pc)")")

  cmake -S "$consumer" -B "$prefix/consumer" -DCMAKE_PREFIX_PATH="$prefix" -DwantedVersion="$version" >/dev/null
  cmake --build "$prefix/consumer" >/dev/null
  run "$prefix/consumer/consumer"

  export PKG_CONFIG_PATH=$libraries/pkgconfig
  [[ $(pkg-config --modversion tarvik) == "$version" ]]
  read -r -a flags <<<"$(pkg-config --cflags --libs "$@" tarvik)"
  c++ -std=c++20 "$consumer/consumer.cpp" -o "$prefix/consumer/by-pkg-config" "${flags[@]}"
  run "$prefix/consumer/by-pkg-config" "$libraries"
}

mkdir -p "$work"
install_moved "$build" shared
check "$work/shared"
objdump --private-headers "$(find "$work/shared" -name libtarvik.so)" | grep --quiet "SONAME *libtarvik\.so\.${version%%.*}$"

cmake -S "$source" -B "$work/static-build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBUILD_SHARED_LIBS=OFF \
  -DTARVIK_BUILD_TESTS=OFF -DTARVIK_BUILD_TOOLS=OFF >/dev/null
cmake --build "$work/static-build" >/dev/null
install_moved "$work/static-build" static
check "$work/static" --static
