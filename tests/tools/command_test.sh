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
passed=0 failed=0

fail() {
  failed=$((failed + 1))
  printf '%.300s\n' 'FAILED' "$@"
}
# Another system, behind an emulator, has its own line ends and character set.
here() { cat; }
((${#command[@]} == 1)) || here() { tr -d '\r' | iconv -f CP1252 -t UTF-8; }
run() { "${command[@]}" "$@" 2>err | here >out; }

# expect <exit status> <standard output> <pattern of standard error> <argument>...
expect() {
  local wanted=$1 output=$2 error=$3 status=0
  shift 3
  run "$@" || status=$?
  error=${error:-''}
  # shellcheck disable=SC2053  # what standard error must match is a pattern
  if [[ $status != "$wanted" || $(<out) != "$output" ]]; then
    fail "tarvik $*: $status, $(<out)" "  wanted: $wanted, $output" "$(<err)"
  elif [[ $(tr -d '\r' <err) != $error || $(wc -l <err) -gt 1 ]]; then
    fail "tarvik $*: wrote to standard error: $(<err)"
  else
    passed=$((passed + 1))
  fi
}
expectJson() { # <filter> <result> <argument>...: compares what a JSON reader makes of it, blanks apart
  local wanted=$1
  shift
  run "$@" || true
  if [[ $(tr -d ' \n' <out) == "$wanted" ]]; then passed=$((passed + 1)); else fail "tarvik $*: $(<out)"; fi
}
expectDiff() { # <line of diff>...: what the last set changed
  if [[ $(diff "$examples/configuration.xml" configuration.xml | grep '^[<>]' | tr -d '\t') == "$1" ]]; then
    passed=$((passed + 1))
  else
    fail "configuration.xml: $(diff "$examples/configuration.xml" configuration.xml)"
  fi
  cp "$examples/configuration.xml" .
}

settings='ProductPackage\LangPackage\ExtraSettings'
printf '<a>\n  <b></c>\n</a>' >broken.xml
printf '<Site><SiteList><X>1</X><X>2</X></SiteList><Item>a</Item><Items/><Item>c</Item><n\303\244me/></Site>' >odd.xml
printf '<Catalog><ProductPackage><LangPackage><FileList><FileItem><Name>a</Name><Hash>1</Hash></FileItem><FileItem/>%s' \
  '</FileList></LangPackage></ProductPackage></Catalog>' >half.xml
printf '<Root><Long>%02000d</Long><Empty/></Root>' 0 >long.xml
printf '<r>%s%s</r>' "$(printf '<a>%.0s' {1..200})" "$(printf '</a>%.0s' {1..200})" >deep.xml

# Reading: by group path, group ID, filter, number, the root's name; attributes of an element and of its children.
expect 0 HARBOR-SCAN '' get catalog.xml ProductPackage ProductID
expect 0 HARBOR-SCAN '' get catalog.xml 'Catalog\Product' ProductID
expect 0 HARBOR-GATE '' get catalog.xml ProductPackage ProductID --occurrence 2
expect 0 HARBOR-DESK '' get catalog.xml 'Catalog\ProductPackage3\ProductID'
expect 0 040c '' get catalog.xml 'ProductPackage2\LangPackage2' LangID
expect 0 harbor-engine.bin '' get catalog.xml "$settings\\Setting2"
expect 0 harbor-engine.bin '' get catalog.xml "$settings" 'Setting&Name=Engine'
expect 0 no '' get catalog.xml "$settings" Setting --index 3
expect 0 $'Current\nPreview' '' get catalog.xml ProductPackage ProductDetection --attribute Branch --all
expect 0 9.0.0.31 '' get catalog.xml 'ProductPackage\LangPackage4' --attribute Version
expect 0 Enabled '' get site-status.xml SiteStatus --attribute Status
expect 0 20240917.2 '' get catalog.xml Catalog Published
expect 0 '<b>Welcome aboard</b>' '' get configuration.xml Configuration Greeting
expect 0 c '' get odd.xml 'Site\Item3'
expect 0 2 '' get odd.xml 'Site\SiteList\X2'
expect 0 "$(printf %02000d 0)" '' get long.xml 'Root\Long'
expect 0 '' '' get long.xml 'Root\Empty'
expectJson '{"value":"HARBOR-SCAN"}' get -j catalog.xml ProductPackage ProductID
expectJson '{"value":null}' --json get catalog.xml ProductPackage Nothing
expectJson '{"values":["inbox","outbox","archive"]}' get --json configuration.xml Folders Folder --all

# Nothing found is no error.
expect 1 '' '' get catalog.xml ProductPackage Nothing
expect 1 '' '' get catalog.xml ProductPackage4 ProductID
expect 1 '' '' get catalog.xml "$settings\\Setting4"
expect 1 '' '' get odd.xml 'Site\Item2'
expect 1 '' '' get catalog.xml ProductPackage --attribute Nothing
expect 1 '' '' list catalog.xml Nothing
expect 1 '' '' status catalog.xml
expect 1 '' '' detect site-status.xml
expect 1 '' '' detect catalog.xml HARBOR-SCAN Current full
expect 1 '' '' files site-status.xml
expect 1 no '' match catalog.xml other.xml

# The tree, with names and numbers as paths count them.
expect 0 $'Published\nProductPackage\nProductPackage2\nProductPackage3' '' list catalog.xml --depth 1
expect 0 $'SiteList\nSiteList\\X\nSiteList\\X2\nItem\nItems\nItem3\nnäme' '' list odd.xml
expect 0 $'SiteList\\X\nSiteList\\X2' '' list odd.xml 'Site\SiteList'
expectJson '["ProductPackage3\\LangPackage\\FileList\\FileItem\\Name","ProductPackage3\\LangPackage\\FileList\\FileItem\\Hash"]' \
  list -j catalog.xml 'ProductPackage3\LangPackage\FileList\FileItem'
run list deep.xml || [[ $? == 2 && $(wc -l <out) == 130 ]] || fail 'list deep.xml'

# The ready-made queries.
expect 0 $'enabled\n20240917.2' '' status site-status.xml
expectJson '{"enabled":true,"catalogVersion":"20240917.2"}' status --json site-status.xml
expect 0 $'HARBOR-SCAN\tCurrent\tUpdate\t0409\t8.4.1.190\t8.4.1\tWIN-X86\t\t' '' detect catalog.xml HARBOR-SCAN Current Update
run detect catalog.xml
[[ $(cut -f4,5 out | tr '\t\n' ' ;') == '0409 8.4.1.207;0407 8.4.1.207;0409 8.4.1.190;0409 9.0.0.31;0409 3.2.0.88;040c 3.2.0.88;0409 1.7.3.5;' ]] ||
  fail "detect catalog.xml: $(<out)"
run files catalog.xml
[[ $(cut -f1 out | tr '\n' ' ') == 'harbor-setup.msi harbor-engine.bin readme-en.txt ' ]] || fail "files: $(<out)"
expect 0 yes '' match catalog.xml CATALOG.xml
expectJson '{"matches":false}' match -j catalog.xml other.xml

# Setting changes one place; a group ID is refused, since it would make an element.
expect 0 '' '' set configuration.xml Network Timeout 30
expectDiff "$(printf '%s\n' "< <Timeout unit='s'>20</Timeout>   <!-- the relay drops idle lines after 25 -->" \
  "> <Timeout unit='s'>30</Timeout>   <!-- the relay drops idle lines after 25 -->")"
expect 0 '' '' set configuration.xml Network retries 5 --attribute
expectDiff "$(printf '%s\n' "< <Network  mode='active'   retries = \"3\">" "> <Network  mode='active'   retries = \"5\">")"
expect 0 '' '' set configuration.xml 'Network\New' Offset -- -5
expectDiff '> <New><Offset>-5</Offset></New>'
expect 2 '' '*catalog.xml: ProductPackage2: is a group ID*' set catalog.xml ProductPackage2 ProductID x
expect 2 '' '*configuration.xml: Network\\a b: not set: *' set configuration.xml Network 'a b' x
expectDiff ''

# Enciphered files, under the built-in key and another.
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
expect 2 '' "tarvik: .: is there but can't be read" status .
expect 2 "$(printf 'a\t1')" 'tarvik: half.xml: the entry after a lacks *' files half.xml
expect 2 '' 'tarvik: a command is required *'
expect 2 '' 'tarvik: nothing: there is no such command *' nothing
expect 2 '' 'tarvik: FILE is required *' get
expect 2 '' 'tarvik: *--nothing*' get --nothing catalog.xml a b
expect 2 '' 'tarvik: configuration.xml: Network: name an ITEM*' get configuration.xml Network
expect 2 '' 'tarvik: --index: 0 is no number counted from 1*' get catalog.xml a b --index 0
expect 2 '' 'tarvik: PRODUCT requires TYPE*' detect catalog.xml a

# Log lines go to standard error alone.
run get -v catalog.xml ProductPackage ProductID
[[ $(<out) == HARBOR-SCAN && $(<err) == *'Tarvik: Inserted ProductPackage into the element map.'* ]] || fail 'get -v'

for name in '' get list set status detect files match; do
  run $name --help
  [[ $(<out) == *Example*tarvik* && ! -s err && $(wc -L <out) -le 82 ]] || fail "tarvik $name --help"
done

if [[ -e /dev/full && ${#command[@]} == 1 ]]; then
  "${command[@]}" status site-status.xml >/dev/full 2>err && fail 'a full disk' || [[ $? == 2 ]] || fail 'a full disk'
  # On a terminal, and only there, colours; never with NO_COLOR.
  onTerminal() { TERM=xterm script --quiet --command "${command[0]} status site-status.xml" /dev/null </dev/null; }
  [[ $(NO_COLOR='' onTerminal) == *$'\033['* ]] || fail 'no colour on a terminal'
  [[ $(NO_COLOR=1 onTerminal) == *enabled* && $(NO_COLOR=1 onTerminal) != *$'\033['* ]] || fail 'colour against NO_COLOR'
fi

echo "$passed passed, $failed failed"
((failed == 0))
