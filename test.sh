#!/bin/bash
# Installs what is missing, builds, and runs every test. Arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-packages.sh build test
cmake --preset release --log-level=WARNING -DTARVIK_BUILD_TESTS=ON "$@"
cmake --build --preset release
ctest --preset release
