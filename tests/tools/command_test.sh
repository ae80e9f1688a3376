#!/bin/bash
# Drives the command as a person and a script do: exit status, standard output, standard error, what is in the file afterwards.
#   command_test.sh <command and what runs it>...
set -euo pipefail
command=("$@")
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$examples"/*.xml "$work"
cd "$work"
export LC_ALL=C.UTF-8 TMPDIR=$work
failed=0
isNative=0
if ((${#command[@]} == 1)); then isNative=1; fi

fail() {
  failed=1
  printf '%.300s\n' FAILED "$@"
}
# Another system, behind an emulator, has its own line ends and character set.
here() { if ((isNative)); then cat; else tr -d '\r' | iconv -f CP1252 -t UTF-8; fi; }

# expect <exit status> <standard output> <pattern of standard error> <argument>...: JSON is compared without its blanks.
# Standard input comes from the file `input`.
: >input
expect() {
  local wanted=$1 output=$2 error=$3 status=0 printed
  shift 3
  "${command[@]}" "$@" 2>err >out <input || status=$?
  printed=$(here <out)
  if [[ $output == ['{[']* ]]; then printed=$(tr -d ' \n' <<<"$printed"); fi
  # shellcheck disable=SC2053  # what standard error must match is a pattern
  [[ $status == "$wanted" && $printed == "$output" && $(here <err) == $error && $(wc -l <err) -le 1 ]] ||
    fail "tarvik $*: $status, $printed" "  wanted: $wanted, $output, $error" "$(<err)"
}
# refused <exit status> <pattern of standard error> set <file> <argument>...: the file stays as it was
refused() {
  cp "$4" before
  expect "$1" '' "$2" "${@:3}"
  cmp -s "$4" before || fail "tarvik ${*:3}: the file changed"
}
expectDiff() { # <line of diff>...: what the last set changed, blanks in front apart
  printf '%s\n' "$@" >wanted
  (diff "$examples/configuration.xml" configuration.xml || true) | grep '^[<>]' | tr -d '\t' | diff wanted - ||
    fail 'configuration.xml changed otherwise'
  cp "$examples/configuration.xml" .
}

settings='ProductPackage\LangPackage\ExtraSettings'
printf '<a>\n  <b></c>\n</a>' >broken.xml
printf '<Site k="v">own<List><X>1</X><X>2</X></List><Item>a</Item><Items/><Item>%02000d</Item><n\303\244me/></Site>' 0 >odd.xml
printf '<Catalog><ProductPackage><LangPackage><FileList><FileItem><Name>a</Name><Hash>1</Hash></FileItem><FileItem/>%s' \
  '</FileList></LangPackage></ProductPackage></Catalog>' >half.xml
printf '<r>%s<b k="deep">bottom</b>%s</r>' "$(printf '<a>%.0s' {1..200})" "$(printf '</a>%.0s' {1..200})" >deep.xml
printf '<Net><Net1>r</Net1><Network><Time>2</Time><Timeout>1</Timeout></Network><Net><b>n</b></Net><Net><b>m</b></Net></Net>' >net.xml
printf '<r><Item1/>%s<Item1>hidden</Item1><F>1</F><F>2</F><F2>exact</F2></r>' "$(printf '<Item>%d</Item>' {1..12})" >clash.xml
printf '<r><c><Timeouts>1</Timeouts></c></r>' >longer.xml
printf '<r><v>a\tb\nc</v><w at="x&#x9b;y">\302\233\033</w></r>' | tr -d '\033' >controls.xml

# Reading: by path with either separator, number, filter, the root's name; attributes; several items; what no group ID reaches.
expect 0 HARBOR-SCAN '' get catalog.xml 'Catalog\ProductPackage' ProductID
expect 0 HARBOR-GATE '' get catalog.xml ProductPackage ProductID --occurrence 2
expect 0 harbor-engine.bin '' get catalog.xml "${settings//\\//}" 'Setting&Name=Engine'
expect 0 no '' get catalog.xml "$settings" Setting --index 3
expect 0 $'Current\nPreview' '' get catalog.xml ProductPackage ProductDetection --attribute Branch --all
expect 0 9.0.0.31 '' get catalog.xml 'ProductPackage/LangPackage4' --attribute Version
expect 0 9.0.0.31 '' get catalog.xml 'ProductPackage/LangPackage&Branch=Preview' --attribute Version
expect 0 "$(printf %02000d 0)" '' get odd.xml 'Site\Item2'
expect 0 '' '' get odd.xml Items
expect 0 own '' get odd.xml Site
expect 0 v '' get odd.xml Site --attribute k
expect 0 'Pier 7 & yard' '' get configuration.xml Name
expect 0 $'20\n3128\noutbox' '' get configuration.xml '' Network/Timeout 'Network\Proxy/Port' Folders/Folder2
expect 1 $'20\n\nrelay.example' '*configuration.xml: no element Nix in Network' get configuration.xml Network Timeout Nix Proxy/Host
expect 0 outbox '' get configuration.xml 'Folders\Folder2' --all
expect 0 '{"values":["inbox","outbox","archive"]}' '' get --json configuration.xml Folders Folder --all
expect 1 '{"values":["20",null]}' '*no element No in Network' get --json configuration.xml Network Timeout No
bottom=$(printf 'a/%.0s' {1..200})b
expect 0 bottom '' get deep.xml "$bottom"
expect 0 deep '' get deep.xml "$bottom" --attribute k

# Names are exact, and a miss says what there is.
expect 1 '' 'tarvik: configuration.xml: no element Time in Network; there is Timeout' get configuration.xml Network Time
expect 1 '' '*: no element Netwrk in Configuration; there is Network' get configuration.xml Netwrk Timeout
expect 1 '' '*there is Network, and names are separated with ? or /, quoted*' get configuration.xml NetworkTimeout
expect 1 '' '*: no attribute Mode in Network' get configuration.xml Network --attribute Mode
expect 1 '{"value":null}' '*no element Nothing in ProductPackage' get -j catalog.xml ProductPackage Nothing
expect 1 '' '*the root is no SiteStatus*' status catalog.xml
expect 1 '' '*no such detection entry*' detect catalog.xml HARBOR-SCAN Current full
expect 1 no '' match catalog.xml other.xml

# Listing: numbers count exact names, and every line leads back, alone and with an item.
expect 0 $'List\nList\\X\nList\\X2\nItem\nItems\nItem2\nnäme' '' list odd.xml
expect 0 '["List\\X","List\\X2"]' '' list -j odd.xml 'Site\List'
expect 0 $'Item\tItem\ta\nItems\tItems\t\nItem2\tItem3' '' list odd.xml --ids --values --depth 1 --occurrence 1 \
  || true
expect 0 $'v\ta b c\nw\t\302\233' '' list controls.xml --values
expect 0 $'Folder\tFolders\\Folder\tinbox' '' list configuration.xml Folders --ids --values || true
expect 1 '' '*no elements in it' list configuration.xml Name
expect 0 "$(group=a; for _ in {1..200}; do echo "$group"; group+='\a'; done; echo "${group%a}b")" '' list deep.xml
for file in catalog.xml configuration.xml odd.xml net.xml deep.xml; do
  "${command[@]}" list "$file" 2>err | here >lines
  [[ -s lines && ! -s err ]] || fail "list $file: $(<err)"
  if [[ $file == deep.xml ]]; then tail -3 lines >few && mv few lines; fi
  while read -r line; do
    "${command[@]}" get "$file" "$line" >alone </dev/null 2>&1 || fail "get $file '$line'"
    parent=${line%\\*}
    [[ $parent != "$line" ]] || parent=''
    "${command[@]}" get "$file" "$parent" "${line##*\\}" 2>&1 </dev/null | cmp -s alone - || fail "get $file '$parent' '${line##*\\}'"
  done <lines
done
