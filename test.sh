#!/bin/bash
# Installs what is missing, builds, and runs every test. Arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-packages.sh build test
mkdir -p build
echo 'Building the libraries, the command and the tests; the first time takes some minutes.'
if ! { cmake --preset release -DTARVIK_BUILD_TESTS=ON "$@" && cmake --build --preset release; } >build/test-build.log 2>&1; then
  cat build/test-build.log
  exit 1
fi
grep 'warning:' build/test-build.log || true
ctest --preset release
