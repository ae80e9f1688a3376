#!/bin/bash
# Installs the missing packages, builds, and runs every test. Arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")"
scripts/build-release.sh all -DTARVIK_BUILD_TESTS=ON "$@"
ctest --preset release
