#!/bin/bash
# Several commands, each a process of its own, set items of one file at the same time: every set that says it was done is in it.
#   meeting_test.sh <command and what runs it>...
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
writers=4 sets=12
printf '<R/>' >met.xml

write() { # <writer> <command>...
  local writer=$1 number
  shift
  for ((number = 10; number < 10 + sets; ++number)); do
    "$@" set met.xml "w$writer.$number" "$number" 2>>errors || { echo "writer $writer could not set $number: $?"; return 1; }
  done
}
pids=()
for ((writer = 1; writer <= writers; ++writer)); do
  write "$writer" "$@" &
  pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid" || { cat errors; exit 1; }; done

for ((writer = 1; writer <= writers; ++writer)); do
  for ((number = 10; number < 10 + sets; ++number)); do
    grep -q "<w$writer.$number>$number</w$writer.$number>" met.xml || { echo "lost: w$writer.$number"; exit 1; }
  done
done
rm met.xml errors
[[ -z $(ls -A) ]] || { echo "something else stayed:"; ls -A; exit 1; }
