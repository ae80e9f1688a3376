#!/bin/bash
# Installs the library as shared objects and as archives, and against each builds and runs the examples, which find it through
# the CMake package, and one of them through pkg-config:
#   scripts/check-install.sh <build folder>
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/.."
work=$build/install-check
version=$(sed -n 's/^#define TARVIK_VERSION_[A-Z]* //p' include/tarvik/tarvik.h | paste -sd.)

# The whole tree is moved after it was installed: nothing may depend on the place it was built for.
install_moved() { # <build folder> <name>
  rm -rf "${work:?}/$2"
  cmake --install "$1" --prefix "$work/$2-first" >/dev/null
  mv "$work/$2-first" "$work/$2"
}

# What the examples print and change on their own files.
run_examples() ( # <folder they were built in>
  cp examples/*.xml "$1"
  cd "$1"
  ./read_configuration configuration.xml >printed
  diff - printed <<'END'
name: Pier 7 & yard
timeout: 20 s
folder: inbox
folder: outbox
folder: archive
END
  ./walk_catalog catalog.xml >walked
  [[ $(head -1 walked) == 'HARBOR-SCAN Current Full: 8.4.1.207, language 0409' ]]
  [[ $(grep -c language walked) == 7 && $(grep -c 'harbor-\|readme-' walked) == 3 ]]
  cp configuration.xml before.xml
  ./set_and_save configuration.xml
  (diff before.xml configuration.xml || true) | grep '^>' >printed
  diff - printed <<'END'
> 	<Network  mode='passive'   retries = "3">
> 		<Timeout unit='s'>30</Timeout>   <!-- the relay drops idle lines after 25 -->
> 		<Proxy><Host>relay.example</Host><Port>3128</Port><User>harbor</User></Proxy>
END
)

check() { # <prefix> <pkg-config option...>
  local prefix=$1 libraries flags
  shift
  libraries=$(dirname "$(dirname "$(find "$prefix" -name tarvik.pc)")")

  cmake -S examples -G Ninja -B "$prefix/examples" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS=-Werror >/dev/null
  cmake --build "$prefix/examples" >/dev/null
  run_examples "$prefix/examples"
  grep --quiet "PACKAGE_VERSION \"$version\"" "$libraries/cmake/tarvik/tarvikConfigVersion.cmake"

  export PKG_CONFIG_PATH=$libraries/pkgconfig
  [[ $(pkg-config --modversion tarvik) == "$version" ]]
  read -r -a flags <<<"$(pkg-config --cflags --libs "$@" tarvik)"
  c++ -std=c++20 examples/walk_catalog.cpp -o "$prefix/examples/walk_catalog" "${flags[@]}"
  LD_LIBRARY_PATH=$libraries run_examples "$prefix/examples"
}

mkdir -p "$work"
install_moved "$build" shared
check "$work/shared"
grep --quiet "SONAME *libtarvik\.so\.${version%%.*}$" <<<"$(objdump --private-headers "$(find "$work/shared" -name libtarvik.so)")"

cmake -S . -B "$work/static-build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBUILD_SHARED_LIBS=OFF \
  -DTARVIK_BUILD_TESTS=OFF -DTARVIK_BUILD_TOOLS=OFF >/dev/null
cmake --build "$work/static-build" >/dev/null
install_moved "$work/static-build" static
check "$work/static" --static
