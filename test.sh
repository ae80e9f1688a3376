#!/bin/bash
# Installs the missing packages, builds, and runs every test. Ends with the tests that failed and with how many passed.
# Arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")"
scripts/build-release.sh all -DTARVIK_BUILD_TESTS=ON "$@"
status=0
ctest --preset release | tee build/ctest.log || status=$?
sed -n '/^The following tests FAILED/,/^Errors while/p' build/ctest.log | grep '^\s.* - ' || true
grep 'tests passed,' build/ctest.log
exit "$status"
