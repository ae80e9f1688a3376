#!/bin/bash
# Compares the libraries' interface, symbols and types, with that of earlier versions. Fails if something went or changed;
# what was added is no difference:
#   scripts/check-abi.sh <folder of the libraries> [folder of their debug files]
# The libraries or the debug files must have debug information, or only symbols would be compared. For the list of a version
# that was just released, on x86-64:
#   abidw --headers-dir include --drop-private-types --exported-interfaces-only --drop-undefined-syms --no-show-locs \
#     --no-comp-dir-path --no-corpus-path --type-id-style hash --no-write-default-sizes LIBRARY
# with path='...' made relative, into tests/install/abi/LIBRARY-VERSION.abi.
set -euo pipefail
cd "$(dirname "$0")/.."
libraries=$1
debug=()
if [[ -n ${2:-} ]]; then
  debug=(--debug-info-dir2 "$2")
  grep --quiet . <<<"$(find "$2" -name '*.debug')"
fi
scripts/install-packages.sh abigail-tools

failed=0
for earlier in tests/install/abi/*.abi; do
  library=$(basename "${earlier%-*}").so.1
  [[ -n ${2:-} ]] || objdump --section-headers "$libraries/$library" | grep --quiet '\.debug_info'
  abidiff --no-added-syms --suppressions tests/install/abi/private.supp "${debug[@]}" "$earlier" "$libraries/$library" ||
    { failed=1; echo "$library lacks what $(basename "$earlier" .abi) had" >&2; }
done
exit $failed
