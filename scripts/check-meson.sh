#!/bin/bash
# Builds and runs an example in a Meson project that has Tarvik as a CMake subproject:
#   scripts/check-meson.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh build meson
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/subprojects"
cp examples/walk_catalog.cpp examples/catalog.xml "$work"
ln -s "$PWD" "$work/subprojects/tarvik"
# Meson's dependency() gives programs the flags of linking a shared library, its version script included. So the libraries
# are static, as in a CMake project.
cat >"$work/meson.build" <<'END_MESON'
project('harbor', 'cpp', default_options: ['cpp_std=c++17'])
cmake = import('cmake')
options = cmake.subproject_options()
options.add_cmake_defines({'BUILD_SHARED_LIBS': false, 'TARVIK_BUILD_TOOLS': false, 'TARVIK_BUILD_TESTS': false,
                           'CMAKE_BUILD_TYPE': 'None'})
tarvik = cmake.subproject('tarvik', options: options)
executable('walk_catalog', 'walk_catalog.cpp',
           dependencies: [tarvik.dependency('tarvik'), tarvik.dependency('corekit')])
END_MESON
scripts/quietly.sh "$work/setup.log" meson setup --buildtype=plain "$work/build" "$work"
scripts/with-progress.sh "$work/build.log" ninja -C "$work/build" walk_catalog
[[ $("$work/build/walk_catalog" "$work/catalog.xml") == *HARBOR-DESK* ]]
