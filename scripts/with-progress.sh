#!/bin/bash
# Runs a build with its output in a file, and shows the file if the build fails. Meanwhile shows ninja's latest step: always
# the newest on a terminal, elsewhere one every 15 seconds:
#   scripts/with-progress.sh <log> <command> [argument...]
log=$1
shift

latest_step() { # "[12/86] node.cpp.o"
  tail --lines=20 "$log" | sed -nE 's|^(\[[0-9]+/[0-9]+\]).*[ /]([^ /:]+)$|\1 \2|p' | tail --lines=1
}

show_steps() {
  if [[ -t 2 ]]; then
    while sleep 0.3; do printf '\r\033[K%.78s' "$(latest_step)" >&2; done
  else
    while sleep 15; do latest_step >&2; done
  fi
}

: >"$log"
show_steps &
steps=$!
# shellcheck disable=SC2317  # called by the trap
end_steps() {
  kill "$steps"
  wait "$steps"
  [[ ! -t 2 ]] || printf '\r\033[K' >&2
} 2>/dev/null
trap end_steps EXIT

"$@" >"$log" 2>&1
status=$?
((status == 0)) || cat "$log" >&2
exit "$status"
