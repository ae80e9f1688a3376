#!/bin/bash
# The completions for zsh and fish offer every command and every option that the command's help names, and no other.
set -euo pipefail
cd "$(dirname "$0")/../.."

help_words() {
  cat tools/help/* | grep -oE '^  (-[a-z], )?--[a-z-]+' | sed 's/.*--/--/'
  grep -oE '^  [a-z]+  ' tools/help/tarvik.txt | tr -d ' '
}

zsh_words() {
  grep -oE -- '--[a-z][a-z-]+' scripts/tarvik.zsh-completion
  sed -n '/-a commands=/,/)$/p' scripts/tarvik.zsh-completion | grep -oE "'[a-z]+:" | tr -d "':"
}

fish_words() {
  grep '^complete' scripts/tarvik.fish-completion | grep -oE -- ' -l [a-z-]+' | sed 's/^ -l /--/'
  sed -n 's/^set -l commands //p' scripts/tarvik.fish-completion | tr ' ' '\n'
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
help_words | sort -u >"$work/help"
for shell in zsh fish; do
  "${shell}_words" | sort -u | diff "$work/help" - || { echo "the completion for $shell differs from the help" >&2; exit 1; }
done
