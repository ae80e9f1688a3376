#!/bin/bash
# Compares what a built library exports with the table of exported functions:
#   scripts/check-exports.sh <table> <library> elf|x86|x64 [import library]
# Fails on a missing or surplus name and on a wrong machine type. For a DLL, the names must be sorted, because Windows finds
# them by binary search; the import library must lead every function to its exported name; and the DLL and corekit.dll must be
# marked for every protection that the linker supports, and name the product and the version.
# shellcheck disable=SC2016  # awk expands what is in single quotes
set -euo pipefail
export LC_ALL=C
table=$1 library=$2 kind=$3 importLibrary=${4:-}
declare -A formats=([elf]=elf64-* [x86]=pei-i386 [x64]=pei-x86-64)

# rows <awk expression>: its value for every row of the table
rows() { awk "/^[A-Za-z_]/ { print $1 }" "$table"; }

compare() { # <what> <expected> <actual>
  [[ $2 == "$3" ]] || { printf '%s\n' "expected $1:" "$2" "actual:" "$3"; exit 1; }
}

format=$(objdump --file-headers "$library" | sed -n 's/.*file format //p')
# shellcheck disable=SC2053  # a pattern
[[ $format == ${formats[$kind]} ]] || { echo "$library is $format, not ${formats[$kind]}" >&2; exit 1; }

if [[ $kind == elf ]]; then
  # Every defined symbol, including weak C++ ones; the versions themselves have type A.
  compare "names of $library" "$(rows '$1' | sort)" \
    "$(nm --dynamic --defined-only --format=posix "$library" | awk '$2 != "A" { print $1 }' |
      sed 's/@@COREKIT_1$//; s/@@/@/' | sort)"
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
