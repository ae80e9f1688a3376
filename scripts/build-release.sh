#!/bin/bash
# Installs the missing packages and builds into build/release, and shows what is being built:
#   scripts/build-release.sh "<target>..." [CMake option...]
set -euo pipefail
cd "$(dirname "$0")/.."
read -r -a targets <<<"$1"
shift

scripts/install-packages.sh build test
mkdir -p build
scripts/quietly.sh build/configure.log cmake --preset release "$@"
echo "Building into build/release; the first time takes some minutes." >&2
scripts/with-progress.sh build/build.log cmake --build --preset release --target "${targets[@]}"
grep 'warning:' build/build.log || true
