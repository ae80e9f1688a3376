#!/bin/bash
# Drives the command as a person and a script do: exit status, standard output, standard error.
#   command_test.sh <command and what runs it>...
set -euo pipefail
command=("$@")
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$examples"/*.xml "$work"
cd "$work"
export LC_ALL=C.UTF-8
failed=0

fail() {
  failed=1
  printf '%.300s\n' FAILED "$@"
}
# Another system, behind an emulator, has its own line ends and character set.
here() { if ((${#command[@]} == 1)); then cat; else tr -d '\r' | iconv -f CP1252 -t UTF-8; fi; }

# expect <exit status> <standard output> <pattern of standard error> <argument>...: JSON is compared without its blanks
expect() {
  local wanted=$1 output=$2 error=$3 status=0 printed
  shift 3
  "${command[@]}" "$@" 2>err >out || status=$?
  printed=$(here <out)
  if [[ $output == ['{[']* ]]; then printed=$(tr -d ' \n' <<<"$printed"); fi
  # shellcheck disable=SC2053  # what standard error must match is a pattern
  [[ $status == "$wanted" && $printed == "$output" && $(here <err) == $error && $(wc -l <err) -le 1 ]] ||
    fail "tarvik $*: $status, $printed" "  wanted: $wanted, $output" "$(<err)"
}
expectDiff() { # <line of diff>...: what the last set changed, blanks in front apart
  printf '%s\n' "$@" >wanted
  (diff "$examples/configuration.xml" configuration.xml || true) | grep '^[<>]' | tr -d '\t' | diff wanted - ||
    fail 'configuration.xml changed otherwise'
  cp "$examples/configuration.xml" .
}

settings='ProductPackage\LangPackage\ExtraSettings'
printf '<a>\n  <b></c>\n</a>' >broken.xml
printf '<Site><List><X>1</X><X>2</X></List><Item>a</Item><Items/><Item>%02000d</Item><n\303\244me/></Site>' 0 >odd.xml
printf '<Catalog><ProductPackage><LangPackage><FileList><FileItem><Name>a</Name><Hash>1</Hash></FileItem><FileItem/>%s' \
  '</FileList></LangPackage></ProductPackage></Catalog>' >half.xml
printf '<r>%s%s</r>' "$(printf '<a>%.0s' {1..200})" "$(printf '</a>%.0s' {1..200})" >deep.xml

# Reading: by group path, group ID, filter, number, the root's name; attributes of an element and of its children.
expect 0 HARBOR-SCAN '' get catalog.xml 'Catalog\Product' ProductID
expect 0 HARBOR-GATE '' get catalog.xml ProductPackage ProductID --occurrence 2
expect 0 harbor-engine.bin '' get catalog.xml "$settings" 'Setting&Name=Engine'
expect 0 no '' get catalog.xml "$settings" Setting --index 3
expect 0 $'Current\nPreview' '' get catalog.xml ProductPackage ProductDetection --attribute Branch --all
expect 0 9.0.0.31 '' get catalog.xml 'ProductPackage\LangPackage4' --attribute Version
expect 0 "$(printf %02000d 0)" '' get odd.xml 'Site\Item3'
expect 0 '' '' get odd.xml 'Site\Items'
expect 0 '{"values":["inbox","outbox","archive"]}' '' get --json configuration.xml Folders Folder --all

# Nothing found is no error.
expect 1 '{"value":null}' '' get -j catalog.xml ProductPackage Nothing
expect 1 '' '' status catalog.xml
expect 1 '' '' detect catalog.xml HARBOR-SCAN Current full
expect 1 no '' match catalog.xml other.xml

# The tree, with names and numbers as paths count them.
expect 0 $'List\nList\\X\nList\\X2\nItem\nItems\nItem3\nnäme' '' list odd.xml
expect 0 '["List\\X","List\\X2"]' '' list -j odd.xml 'Site\List'
expect 2 "$(group=a; for _ in {1..124}; do echo "$group"; group+='\a'; done)" 'tarvik: deep.xml: *too deep*' list deep.xml

# The ready-made queries.
expect 0 '{"enabled":true,"catalogVersion":"20240917.2"}' '' status --json site-status.xml
expect 0 $'HARBOR-SCAN\tCurrent\tUpdate\t0409\t8.4.1.190\t8.4.1\tWIN-X86\t\t' '' detect catalog.xml HARBOR-SCAN Current Update

# Setting changes one place; a group ID is refused, since it would make an element.
expect 0 '' '' set configuration.xml Network retries 5 --attribute
expectDiff "< <Network  mode='active'   retries = \"3\">" "> <Network  mode='active'   retries = \"5\">"
expect 0 '' '' set configuration.xml 'Network\New' Offset -- -5
expectDiff '> <New><Offset>-5</Offset></New>'
expect 2 '' '*catalog.xml: ProductPackage2: is a group ID*' set catalog.xml ProductPackage2 ProductID x
expect 2 '' '*configuration.xml: Network\\a b: not set: *' set configuration.xml Network 'a b' x

# Enciphered files, under the built-in key and another. The sample was enciphered on Linux.
printf '%032d' 7 >key
expect 0 $'enabled\n20240917.2' '' status -e site-status.enciphered.xml
expect 0 '' '' set -e site-status.enciphered.xml Site Name 'Süd'
expect 0 'Süd' '' get --encrypted site-status.enciphered.xml Site Name
expect 2 '' '*enciphered.xml: is no text in an encoding*--encrypted' status site-status.enciphered.xml
expect 2 '' '*enciphered.xml: is damaged, enciphered with another key*' status -e --key-file key site-status.enciphered.xml
expect 2 '' '*catalog.xml: is no key of 32 bytes' status -e --key-file catalog.xml site-status.enciphered.xml

# Errors name the file, the place and the reason, in one line.
expect 2 '' 'tarvik: broken.xml:2:*: mismatched tag' get broken.xml a b
expect 2 '' 'tarvik: missing.xml: there is no such file' status missing.xml
expect 2 $'a\t1' 'tarvik: half.xml: the entry after a lacks *' files half.xml
expect 2 '' 'tarvik: a command is required *'
expect 2 '' 'tarvik: --index: 0 is no number counted from 1*' get catalog.xml a b --index 0

"${command[@]}" get -v catalog.xml ProductPackage ProductID 2>err >out
[[ $(here <out) == HARBOR-SCAN && $(<err) == *'Tarvik: Inserted ProductPackage into the element map.'* ]] ||
  fail 'log lines go to standard error alone'
for name in '' list detect; do
  "${command[@]}" $name --help 2>err >out
  [[ $(<out) == *Example*tarvik* && ! -s err && $(here <out | wc -L) -le 82 ]] || fail "tarvik $name --help"
done

if [[ -e /dev/full && ${#command[@]} == 1 ]]; then
  "${command[@]}" status site-status.xml >/dev/full 2>err && fail 'a full disk' || [[ $? == 2 ]] || fail 'a full disk'
fi
onTerminal() { TERM=xterm script --quiet --command "${command[0]} status site-status.xml" /dev/null </dev/null 2>&1; }
if ((${#command[@]} == 1)) && onTerminal >/dev/null; then # a system without pseudo-terminals has none to show colours on
  [[ $(NO_COLOR='' onTerminal) == *$'\033['* ]] || fail 'no colour on a terminal'
  [[ $(NO_COLOR=1 onTerminal) == *enabled* && $(NO_COLOR=1 onTerminal) != *$'\033['* ]] || fail 'colour against NO_COLOR'
fi
exit $failed
