#!/bin/bash
# Builds the libraries, the command and the tests for Windows into build/windows-<architecture>:
#   scripts/build-windows.sh x86|x64
# Builds Expat and GoogleTest for Windows first, once, into build/windows-<architecture>/root.
set -euo pipefail
cd "$(dirname "$0")/.."

architecture=${1:-}
if [[ $architecture != x86 && $architecture != x64 ]]; then
  echo "usage: $0 x86|x64" >&2
  exit 2
fi
target=$PWD/build/windows-$architecture
targetRoot=$target/root
sources=$PWD/build/windows-sources

# Fetches the newest Expat source package that the mirror really has (its index can be ahead of its files). Uses package lists
# of its own, because the system's usually contain no sources.
fetch_expat() {
  compgen -G "$sources/expat-*/expat/CMakeLists.txt" >/dev/null && return
  mkdir -p "$sources/lists/partial"
  # shellcheck disable=SC2016  # apt-get fills these in
  apt-get indextargets --format 'deb-src $(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' \
    >"$sources/sources.list"
  local options=(-qq -o "Dir::Etc::SourceList=$sources/sources.list" -o Dir::Etc::SourceParts=/dev/null
    -o "Dir::State::Lists=$sources/lists" -o APT::Sandbox::User=root)
  apt-get "${options[@]}" update
  local version
  for version in $(apt-cache "${options[@]}" showsrc expat | sed -n 's/^Version: //p' | sort --version-sort --reverse); do
    if (cd "$sources" && apt-get "${options[@]}" source "expat=$version" >/dev/null); then
      echo "Building Expat $version for Windows."
      return
    fi
  done
  echo "cannot fetch a source package of Expat" >&2
  exit 1
}

# build_dependency <name> <source folder> [CMake option...]: builds static libraries into the target's root
build_dependency() {
  local name=$1 source=$2
  shift 2
  scripts/quietly.sh "$target/$name.log" cmake -S "$source" -B "$target/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_SHARED_LIBS=OFF -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/windows-$architecture.cmake" \
    -DCMAKE_INSTALL_PREFIX="$targetRoot" "$@"
  scripts/quietly.sh "$target/$name.log" cmake --build "$target/$name" --target install
}

build_dependencies() {
  [[ ! -e $targetRoot/complete ]] || return 0
  fetch_expat
  local expat
  expat=$(echo "$sources"/expat-*/expat)
  # Debian's patches expect this macro to have a value, as Expat's other build system gives it.
  sed --in-place 's/^#cmakedefine XML_DTD$/#cmakedefine XML_DTD 1/' "$expat/expat_config.h.cmake"
  build_dependency expat "$expat" -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF \
    -DEXPAT_BUILD_DOCS=OFF -DEXPAT_SHARED_LIBS=OFF
  build_dependency googletest /usr/src/googletest
  touch "$targetRoot/complete"
}

scripts/install-packages.sh build windows
mkdir -p "$target"
build_dependencies
cmake --preset "windows-$architecture" --log-level=WARNING
cmake --build --preset "windows-$architecture"
