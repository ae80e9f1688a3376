#!/bin/bash
# Builds the fuzz targets and runs each for some seconds, starting with the seeds and earlier findings in
# fuzz/corpus/<target>. With 0 seconds, it runs those alone:
#   scripts/fuzz.sh <seconds> [target...]
# New inputs go to build/fuzz/corpus, inputs that make a target fail to build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=$1
shift

scripts/install-packages.sh build check
cmake --preset fuzz --log-level=WARNING
cmake --build --preset fuzz

limit=-max_total_time=$seconds
((seconds)) || limit=-runs=0
targets=("$@")
((${#targets[@]})) || mapfile -t targets < <(cd build/fuzz/bin && compgen -G 'fuzz_*')
mkdir -p build/fuzz/findings
for target in "${targets[@]}"; do
  found=build/fuzz/corpus/$target
  seeds=fuzz/corpus/$target
  mkdir -p "$found"
  echo "$target"
  corpora=("$found")
  [[ ! -d $seeds ]] || corpora+=("$seeds")
  dictionary=fuzz/$target.dict
  [[ ! -f $dictionary ]] || corpora+=("-dict=$dictionary")
  "build/fuzz/bin/$target" "$limit" -timeout=20 -print_final_stats=1 -print_funcs=0 -verbosity=0 \
    -artifact_prefix=build/fuzz/findings/ "${corpora[@]}"
done
