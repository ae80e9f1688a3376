#!/bin/bash
# Compares what a built library exports with the table of exported functions:
#   scripts/check-exports.sh <table> <library> elf|x86|x64 [import library]
# Fails on a missing or surplus name, on a wrong machine type and, for a DLL, on names out of order, because Windows looks
# names up by halves; the import library must give every function its exported name. A DLL, and corekit beside it, must be
# marked for every protection that the linker knows, and name product and version, which the public header tells.
# shellcheck disable=SC2016  # what stands in single quotes is awk's to expand
set -euo pipefail
export LC_ALL=C
table=$1 library=$2 kind=$3 importLibrary=${4:-}
declare -A formats=([elf]=elf64-* [x86]=pei-i386 [x64]=pei-x86-64)

# rows <awk expression>: it, for every row of the table
rows() { awk "/^[A-Za-z_]/ { print $1 }" "$table"; }

compare() { # <what> <expected> <actual>
  [[ $2 == "$3" ]] || { printf '%s\n' "expected $1:" "$2" "actual:" "$3"; exit 1; }
}

format=$(objdump --file-headers "$library" | sed -n 's/.*file format //p')
# shellcheck disable=SC2053  # a pattern
[[ $format == ${formats[$kind]} ]] || { echo "$library is $format, not ${formats[$kind]}" >&2; exit 1; }

if [[ $kind == elf ]]; then
  # Every defined symbol, weak ones of C++ included; the version's own name has type A.
  compare "names of $library" "$(rows '$1' | sort)" \
    "$(nm --dynamic --defined-only --format=posix "$library" | awk '$2 != "A" { print $1 }' | sort)"
  exit
fi

compare "names of $library" "$(rows '$3' | sort)" \
  "$(objdump --private-headers "$library" |
    awk '/^\[Ordinal\/Name Pointer\] Table/ { inside = 1; next } /^$/ { inside = 0 } inside { print $NF }')"

symbol='"__imp_" $1'
[[ $kind == x64 ]] || symbol='"__imp__" $1 "@" $2'
compare "symbols of $importLibrary" "$(rows "$symbol" | sort)" \
  "$(nm --defined-only "$importLibrary" 2>/dev/null | awk '$3 ~ /^__imp_/ { print $3 }' | sort)"

declare -A protections=([x86]="DYNAMIC_BASE NX_COMPAT NO_SEH" [x64]="HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT")
version=$("$(dirname "$0")/version.sh")
for dll in "$library" "$(dirname "$library")/corekit.dll"; do
  compare "protections of $dll" "${protections[$kind]}" \
    "$(objdump --private-headers "$dll" | sed -n '/^DllCharacteristics/,/^SizeOf/s/^\t\+//p' | xargs)"
  compare "product and version of $dll" "ProductName Tarvik ProductVersion $version" \
    "$(strings --encoding=l "$dll" | grep -A1 '^Product' | xargs)"
done
