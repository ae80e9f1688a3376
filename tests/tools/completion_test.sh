#!/bin/bash
# What the completion offers for a line that is being typed.
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=/dev/null
source scripts/tarvik.bash-completion
cd examples

# expect <offered words> <word>...: the last word is being typed
expect() {
  local wanted=$1
  shift
  COMP_WORDS=(tarvik "$@")
  COMP_CWORD=$#
  _tarvik tarvik "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  local offered="${COMPREPLY[*]:-}"
  [[ $offered == "$wanted" ]] || { echo "tarvik $*: $offered"; exit 1; }
}
expect 'get list set status detect files match' ''
expect 'set status' s
expect catalog.xml files cat
expect catalog.xml files --key-file key cat
expect '' get catalog.xml Prod
expect '--attribute --all' get catalog.xml --a
expect --depth list --d
expect '' status --dep
expect configuration.xml status -e --key-file con
echo 'completion: 1 passed, 0 failed'
