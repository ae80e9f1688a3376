#!/bin/bash
# What the completion offers for a line that is being typed.
set -euo pipefail
cd "$(dirname "$0")/../../examples"
# shellcheck source=/dev/null
source ../scripts/tarvik.bash-completion

# expect <offered words> <word>...: the last word is being typed
expect() {
  local wanted=$1
  shift
  COMP_WORDS=(tarvik "$@")
  COMP_CWORD=$#
  _tarvik tarvik "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  [[ ${COMPREPLY[*]:-} == "$wanted" && ( -n $wanted || ${#COMPREPLY[@]} == 0 ) ]] || { echo "tarvik $*: ${COMPREPLY[*]:-}"; exit 1; }
}
expect 'get list set status detect files match' ''
expect 'set status' s
expect catalog.xml files --key-file key cat
expect '' get catalog.xml Prod
expect '--attribute --all' get catalog.xml --a
expect '' status --dep
