#!/bin/bash
# Runs a command with its output in a file, and shows the file if the command fails:
#   scripts/quietly.sh <log> <command> [argument...]
log=$1
shift
"$@" >"$log" 2>&1 || { status=$?; cat "$log" >&2; exit "$status"; }
