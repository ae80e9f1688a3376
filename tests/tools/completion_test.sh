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
  _tarvik tarvik "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" <<<Network/FromInput
  [[ ${COMPREPLY[*]:-} == "$wanted" && ( -n $wanted || ${#COMPREPLY[@]} == 0 ) ]] || { echo "tarvik $*: ${COMPREPLY[*]:-}"; exit 1; }
}
tarvik() { cat; [[ $* == "list -- "@(catalog.xml|"$HOME/a b.xml") ]] && printf '%s\n' Network Network/Timeout 'Folders/Folder[2]'; }
expect 'get list set remove check encrypt decrypt status detect files match help' ''
expect 'set status' s
expect 'get' help g
expect catalog.xml files --key-file key cat
expect catalog.xml list --depth 2 --values cat
expect catalog.xml set --create --dry-run cat
expect catalog.xml set -- cat
expect catalog.xml check site-status.xml cat
expect catalog.xml set a.xml --from cat
expect 'Network Network/Timeout' get \~'/"a"\ b.xml' Net
expect 'Folders/Folder[2]' set catalog.xml Network 5 Fol
expect '' set catalog.xml Network Net
expect '' list --depth ''
expect '' get --default ''
expect '--all' get catalog.xml --a
expect '--encrypted --existing' set --e
expect '--dry-run' set catalog.xml Network/Timeout 5 --d
expect '' status --dep

# Every option that the help names is offered, and no other.
for name in get list set remove check encrypt decrypt status detect files match; do
  COMP_WORDS=(tarvik "$name" -) COMP_CWORD=2
  _tarvik tarvik - $name
  wanted=$(grep --no-filename '^  -' "../tools/help/$name.txt" ../tools/help/options.in | sed -E 's/^  (-[a-z], )?(--?[a-z-]+).*/\2/' | sort)
  offered=$(printf '%s\n' "${COMPREPLY[@]}" | sort)
  [[ $offered == "$wanted" ]] || { printf '%s\n' "$name:" "$offered" 'wanted:' "$wanted"; exit 1; }
done
