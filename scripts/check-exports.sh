#!/bin/bash
# Compares what a built library exports with the table of exported functions:
#   scripts/check-exports.sh <table> <library> elf|x86|x64 [import library]
# Fails on a missing or surplus name and on a wrong machine type. For a DLL, the names must be sorted, because Windows finds
# them by binary search; the import library must lead every function to its exported name. The DLL, corekit.dll and the command
# must be marked for every protection that the linker supports (32 bits: and for all memory), and name the product and the
# version; the command must have its manifest; and neither they nor the runtime's DLLs may contain debug symbols.
# shellcheck disable=SC2016  # awk expands what is in single quotes
set -euo pipefail
export LC_ALL=C
table=$1 library=$2 kind=$3 importLibrary=${4:-}
declare -A formats=([elf]=elf*-* [x86]=pei-i386 [x64]=pei-x86-64)

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
folder=$(dirname "$library")
programs=("$library" "$folder/corekit.dll")
if [[ -e $folder/tarvik.exe ]]; then
  programs+=("$folder/tarvik.exe")
  compare "manifest of tarvik.exe" "asInvoker longPathAware" \
    "$(strings "$folder/tarvik.exe" | grep -o '"asInvoker"\|<longPathAware' | tr -d '"<' | xargs)"
fi
for program in "${programs[@]}"; do
  headers=$(objdump --private-headers "$program")
  compare "protections of $program" "${protections[$kind]}" \
    "$(sed -n '/^DllCharacteristics/,/^SizeOf/s/^\t\+//p' <<<"$headers" | xargs)"
  [[ $headers == *'large address aware'* ]] || { echo "$program: not for all memory" >&2; exit 1; }
  compare "product and version of $program" "ProductName Tarvik ProductVersion $version" \
    "$(strings --encoding=l "$program" | grep -A1 '^Product' | xargs)"
done
for program in "${programs[@]}" "$folder"/lib*.dll; do
  [[ $(objdump --section-headers "$program") != *.debug_* ]] || { echo "$program: contains debug symbols" >&2; exit 1; }
done
