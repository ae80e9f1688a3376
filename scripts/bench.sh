#!/bin/bash
# Builds and runs the benchmarks, prints the tables, and writes them into docs/performance.md and docs/performance.svg.
# usage: scripts/bench.sh [--smoke]
#   --smoke: runs each benchmark for a moment to check that it works, and writes nothing
# TMPDIR is the folder for the files, and so chooses the disk.
set -euo pipefail
cd "$(dirname "$0")/.."

smoke=false
case "${1-}" in
  --smoke) smoke=true ;;
  '') ;;
  *) sed -n '2,5s/^# //p' "$0" >&2; exit 2 ;;
esac

build=build/bench
mkdir -p build
scripts/quietly.sh build/bench.log \
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARVIK_BUILD_BENCHMARKS=ON -DTARVIK_BUILD_TESTS=OFF
scripts/quietly.sh build/bench.log cmake --build "$build" --target tarvik-bench

results="$build/results.json"
options=(--benchmark_out="$results" --benchmark_out_format=json)
if "$smoke"; then
  "$build/bin/tarvik-bench" "${options[@]}" --benchmark_min_time=0.001 >/dev/null
  python3 bench/report.py "$results"
else
  # In random order, so that other work on the machine disturbs all benchmarks alike.
  "$build/bin/tarvik-bench" "${options[@]}" --benchmark_min_time=0.2 --benchmark_repetitions=9 \
    --benchmark_enable_random_interleaving=true >/dev/null
  python3 bench/report.py "$results" docs/performance.md docs/performance.svg
fi
