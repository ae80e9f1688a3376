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
printf '<r><c><Timeouts>1</Timeouts></c><F/><F><c/></F><F2/></r>' >longer.xml
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
expect 1 '' '*: no attribute Mode in Configuration' get configuration.xml Configuration --attribute Mode
expect 1 '' '*: no element Nix in Network' get configuration.xml Network Nix --attribute Mode
expect 1 '' '*: no attribute No in *ExtraSettings?Setting2' get catalog.xml "$settings" 'Setting&Name=Engine' --attribute No
expect 1 '' '*: Folders has only 3 Folder' get configuration.xml Folders Folder --index 4
expect 1 '' '*: ProductPackage has only 2 ProductDetection with the attribute Branch' \
  get catalog.xml ProductPackage ProductDetection --attribute Branch --index 3
expect 1 '{"value":null}' '*no element Nothing in ProductPackage' get -j catalog.xml ProductPackage Nothing
expect 1 '' '*the root is not a SiteStatus element*' status catalog.xml
expect 1 '' '*no such detection entry*' detect catalog.xml HARBOR-SCAN Current full
expect 1 no '' match catalog.xml other.xml

# Listing: numbers count exact names, and every line leads back, alone and with an item.
expect 0 $'List\nList\\X\nList\\X2\nItem\nItems\nItem2\nnäme' '' list odd.xml
expect 0 '["List\\X","List\\X2"]' '' list -j odd.xml 'Site\List'
expect 0 $'Net1\tNet1\tr\nNetwork\tNetwork\nNet\tNet3\nNet2\tNet4' '' list net.xml --ids --values --depth 1
expect 0 '[{"path":"Network\\Time","id":"Network\\Time","value":"2"},{"path":"Network\\Timeout","id":"Network\\Timeout","value":"1"}]' \
  '' list -j net.xml Network --ids --values
if ((isNative)); then expect 0 $'v\ta b c\nw\t\302\233' '' list controls.xml --values; fi # code page 1252 lacks U+009B
expect 1 '' '*no elements in it' list configuration.xml Name
expect 1 '[]' '*no elements in it' list -j configuration.xml Name
expect 0 "$(group=a; for _ in {1..200}; do echo "$group"; group+='\a'; done; echo "${group%a}b")" '' list deep.xml
expect 0 "$(printf 'Item1\nItem\n'; printf 'Item%s\n' {2..12}; printf 'Item12\nF\nF2\nF2')" \
  '*: Item12 and 1 more: stands for two elements, and leads to the one with the longer name' list clash.xml
expect 0 'F2\c' '*: F2: stands for two elements*' list longer.xml F --occurrence 2
expect 0 hidden '' get clash.xml Item12
expect 0 exact '' get clash.xml F2
expect 0 2 '' get clash.xml F --index 2
for file in catalog.xml configuration.xml odd.xml net.xml deep.xml; do
  ((isNative)) || break # an emulator takes a second for each
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

# The ready-made queries.
expect 0 '{"enabled":true,"catalogVersion":"20240917.2"}' '' status --json site-status.xml
expect 0 $'HARBOR-SCAN\tCurrent\tUpdate\t0409\t8.4.1.190\t8.4.1\tWIN-X86\t\t' '' detect catalog.xml HARBOR-SCAN Current Update
expect 0 yes '' match catalog.xml CATALOG.XML

# Setting changes one place, what was named and nothing else.
expect 0 '' '' set configuration.xml Network retries 5 --attribute
expectDiff "< <Network  mode='active'   retries = \"3\">" "> <Network  mode='active'   retries = \"5\">"
expect 0 '' '*configuration.xml: made Network?New, Network?New?Offset' set configuration.xml 'Network\New' Offset -- -5
expectDiff '> <New><Offset>-5</Offset></New>'
expect 0 '' '' set configuration.xml Configuration/Network Timeout '[30,31]' 'Proxy\Port' 80
expectDiff "< <Timeout unit='s'>20</Timeout>   <!-- the relay drops idle lines after 25 -->" \
  '< <Proxy><Host>relay.example</Host><Port>3128</Port></Proxy>' \
  "> <Timeout unit='s'>[30,31]</Timeout>   <!-- the relay drops idle lines after 25 -->" \
  '> <Proxy><Host>relay.example</Host><Port>80</Port></Proxy>'
printf 'two\nlines\n' >input
expect 0 '' '' set configuration.xml Network Timeout --stdin
expect 0 $'two\nlines' '' get configuration.xml Network Timeout
printf 'x\r' >input
expect 0 '' '' set configuration.xml Network Timeout --stdin
if ((isNative)); then expect 0 $'x\r' '' get configuration.xml Network Timeout; fi
cp "$examples/configuration.xml" .
expect 0 '' '*made the attribute kind in Network' set configuration.xml Network kind x --attribute
cp "$examples/configuration.xml" .
expect 0 '{"saved":true,"made":"New","changes":""}' '*made New' set -j configuration.xml '' New x
cp "$examples/configuration.xml" .

# The first match can be named by its number's absence or a filter; whatever else the library would touch is refused.
expect 0 '' '' set catalog.xml "$settings" 'Setting&Name=MinimumDATVersion' 7
expect 0 7 '' get catalog.xml "$settings" Setting
refused 2 "*: ProductPackage?LangPackage?ExtraSettings?Setting2: not set: *ExtraSettings?Setting, the first*" \
  set catalog.xml "$settings" 'Setting&Name=EngineFile' new.bin
refused 2 '*?Setting&Name=No: not set: no element Setting&Name=No in *, and set makes none for a filter' set catalog.xml "$settings" 'Setting&Name=No' x
refused 2 '*: ProductPackage2: not set: the library would take ProductPackage, *' set catalog.xml ProductPackage2 ProductID x
refused 2 '*: Folders?Folder2: not set: the library would take Folders?Folder, *' set configuration.xml Folders Folder2 outgoing
refused 2 '*: c?Timeout: not set: the library would take c?Timeouts, the first whose name begins with Timeout' set longer.xml c Timeout 5
refused 2 '*: Net: not set: the library would take Net1, *' set net.xml Net b 5
expect 0 '' '' set net.xml Network Time 5
expect 0 $'5\n1' '' get net.xml Network Time Timeout
refused 1 '*no element Netwrk in Configuration; there is Network' set configuration.xml Netwrk Timeout 30 --existing
refused 1 '*no attribute kind in Network' set configuration.xml Network kind x --attribute --existing
refused 2 '*: Network?a b: not set: a b is not a valid XML name' set configuration.xml Network Timeout 5 'a b' x
refused 2 '*: Network?1a: not set: 1a is not a valid XML name' set configuration.xml Network 1a x --attribute
refused 2 '*: Network?mode: not set: the library can?t give an attribute an empty value' set configuration.xml Network mode '' --attribute
refused 2 '*: Network?Timeout: not set: *' set configuration.xml Network Timeout $'a\001b'
refused 2 '*the name of an item is empty' set configuration.xml Network '' x
refused 2 '*: Offset: an ITEM without a VALUE*set --help*' set configuration.xml Network Timeout 5 Offset
refused 2 '*--stdin: the last ITEM has a VALUE*' set configuration.xml Network Timeout 5 --stdin
refused 2 '*-x: no such option; use -- before a value that begins with -*set --help*' set configuration.xml Network Timeout -x

# --dry-run prints what diff would, and writes nothing.
expect 0 "$(grep Timeout configuration.xml | sed 's/^/-/'; grep Timeout configuration.xml | sed 's/^/+/; s/20/30/'; printf '+\t\t<New>1</New>')" \
  '*would make Network?New' set configuration.xml Network Timeout 30 New 1 --dry-run
expect 0 '' '' set configuration.xml Network Timeout 20 -n
cmp -s "$examples/configuration.xml" configuration.xml || fail '--dry-run wrote'

# Encrypted files, under the built-in key and another. The sample was encrypted on Linux. The cipher's own test tells whether the
# system has AES.
printf '%032d' 7 >key
if "${command[@]:0:${#command[@]}-1}" "${command[-1]%/*}/corekit-cipher-test"* | grep -q SKIPPED; then
  echo 'The system has no AES: commands on encrypted files are skipped.'
else
  expect 0 $'enabled\n20240917.2' '' status -e site-status.encrypted.xml
  expect 0 '' '*made Name' set -e site-status.encrypted.xml '' Name 'Süd'
  expect 0 'Süd' '' get --encrypted site-status.encrypted.xml Name
  expect 0 '' '' check -e site-status.encrypted.xml
  expect 2 '' '*encrypted.xml: is damaged, encrypted with another key*' status -e --key-file key site-status.encrypted.xml
fi
expect 2 '' '*encrypted.xml: is encrypted; --encrypted opens it' status site-status.encrypted.xml
expect 2 '' 'tarvik: none.key: can?t be read' status -e --key-file none.key site-status.encrypted.xml
expect 2 '' '*--key-file: a value is required*' status -e --key-file '' site-status.encrypted.xml
expect 2 '' '*catalog.xml: not a 32-byte key' status -e --key-file catalog.xml site-status.encrypted.xml

# Well-formed or not, and where not. Standard input is as good as a file where nothing is written.
printf '<a>\n<b>\377</b></a>' >bytes.xml
expect 0 '' '' check catalog.xml
expect 1 '' 'tarvik: broken.xml:2:8: mismatched tag' check broken.xml
printf '<a>\303\266\303\266<b></c>' >input
expect 1 '' 'tarvik: standard input:1:11: mismatched tag' check -
: >input
expect 1 '' 'tarvik: bytes.xml:2:4: invalid UTF-8 at byte offset 7' check bytes.xml
expect 1 '{"wellFormed":false,"line":2,"column":8,"reason":"mismatchedtag"}' 'tarvik: broken.xml:2:8: mismatched tag' check -j broken.xml
expect 2 '' 'tarvik: broken.xml:2:8: mismatched tag' get broken.xml a b
cp broken.xml input
expect 1 '' 'tarvik: standard input:2:8: mismatched tag' check -
cp catalog.xml input
expect 0 HARBOR-SCAN '' get - ProductPackage/ProductID
expect 2 '' '*standard input can?t be saved*set --help*' set - ProductPackage ProductID x
expect 2 '' '*standard input*match --help*' match - x.xml
if ((isNative)); then TMPDIR=$work/none expect 2 '' 'tarvik: standard input: can?t be kept in a temporary file; TMPDIR*' check -; fi
[[ -z $(find . -name 'tarvik-*') ]] || fail 'a temporary file stays'

# Errors name the file, the place and the reason, in one line, and the help that tells more.
expect 2 '' 'tarvik: missing.xml: there is no such file' status missing.xml
if ((isNative)); then expect 2 '' 'tarvik: [?].xml: is not text in the locale*' status $'\377.xml'; fi
expect 2 '' 'tarvik: missing?u001b?u000a.xml: there is no such file' status $'missing\e\n.xml'
expect 2 '' 'tarvik: .: is not a regular file' status .
expect 2 '' 'tarvik: aaa*.xml: *' status "$(printf 'a%.0s' {1..300}).xml"
[[ $(<err) != *read ]] || fail 'a name that is too long'
expect 2 $'a\t1' 'tarvik: half.xml: the entry after a lacks *' files half.xml
expect 2 '' 'tarvik: a command is required (tarvik --help tells more)'
expect 2 '' 'tarvik: gte: there is no such command (tarvik --help tells more)' gte catalog.xml
expect 2 '' '*the arguments must be FILE PATH * (tarvik get --help tells more)' get catalog.xml
expect 2 '' '*PRODUCT, BRANCH and TYPE go together (tarvik detect --help tells more)' detect catalog.xml HARBOR-SCAN
expect 2 '' 'tarvik: FILE is empty (tarvik get --help tells more)' get '' a
expect 2 '' '*--index* (tarvik get --help tells more)' get catalog.xml a b --index 0
expect 2 '' 'tarvik: --index: a value is required (tarvik get --help tells more)' get catalog.xml a --index
expect 2 '' 'tarvik: --index: is given twice *' get catalog.xml a --index 1 --index=2
expect 2 '' 'tarvik: --index: Value -1 not in range *' get catalog.xml a --index -1
expect 2 '' 'tarvik: --attribute: a value is required (tarvik get --help tells more)' get catalog.xml a --attribute ''
expect 2 '' '*: a name is empty; separate names with ? or /' get catalog.xml 'ProductPackage\\ProductID'
expect 2 '' '*: a filter is written Name&attribute=value' get catalog.xml 'ProductPackage&Name'
expect 2 '' '*: there is no such command (tarvik help tells more)' help nothing

"${command[@]}" get -v catalog.xml ProductPackage ProductID 2>err >out
[[ $(here <out) == HARBOR-SCAN && $(<err) == *'Tarvik: Inserted &2 into the element map.'* ]] ||
  fail 'log lines go to standard error alone'
for name in get list set check status detect files match; do
  "${command[@]}" $name --help 2>err >out
  "${command[@]}" help $name | cmp -s - out || fail "tarvik help $name"
  [[ $(<out) == "Usage: tarvik $name"*Example*tarvik* && ! -s err && $(here <out | wc -L) -le 80 ]] || fail "tarvik $name --help"
  "${command[@]}" --help | grep "^  $name " >/dev/null || fail "$name in tarvik --help"
done
"${command[@]}" help >out
"${command[@]}" help help | cmp -s - out || fail 'tarvik help help'
if ((!isNative)); then exit $failed; fi

# What only some systems have: a full disk, closed streams, several commands at once, a locale without some characters, a terminal.
if [[ -e /dev/full ]]; then
  "${command[@]}" status site-status.xml >/dev/full 2>err && fail 'a full disk' || [[ $? == 2 ]] || fail 'a full disk'
fi
"${command[@]}" status site-status.xml >&- 2>err && fail 'closed output' || [[ $? == 2 && $(<err) == *'standard output'* ]] || fail 'closed output'
"${command[@]}" set -vv configuration.xml Network Timeout 31 >&- 2>&- <&- || fail 'a set without streams'
for source in '&-' '.'; do
  eval '"${command[@]}" set configuration.xml Network Timeout --stdin 2>err <'"$source" && fail "--stdin from $source" ||
    [[ $? == 2 && $(<err) == "tarvik: standard input: can't be read" ]] || fail "--stdin from $source: $(<err)"
done
expectDiff "< <Timeout unit='s'>20</Timeout>   <!-- the relay drops idle lines after 25 -->" \
  "> <Timeout unit='s'>31</Timeout>   <!-- the relay drops idle lines after 25 -->"

# What keeps a file from being saved is told. The superuser may write everything.
chmod 755 "$work"
cp configuration.xml locked.xml
chmod 444 locked.xml
other=()
if [[ $(id -u) == 0 ]]; then other=(setpriv --reuid=65534 --regid=65534 --clear-groups); fi
if ((isNative)) && "${other[@]}" test -x "${command[0]}"; then
  "${other[@]}" "${command[@]}" set locked.xml Network Timeout 31 2>err && fail 'a file without permission' ||
    [[ $? == 2 && $(<err) == 'tarvik: locked.xml: Network\Timeout: not saved: '*': Permission denied' ]] || fail "$(<err)"
fi
# A reader that has enough ends the command by a signal; standard input's copy is gone by then.
if ((isNative)); then
  { echo '<r>'; printf '<Name%dOf/>\n' {1..20000}; echo '</r>'; } | "${command[@]}" list - 2>err | head -1 >out || true
  [[ $(<out) == Name1Of && -z $(find . -name 'tarvik-*') ]] || fail "a closed pipe: $(<err)"
fi

printf '<r>\n  <n/>\n</r>\n' >shared.xml
# Names of one length: a set is refused where another name that begins with its own came first.
for i in {10..29}; do "${command[@]}" set shared.xml "n/Item_$i" Value "$i" 2>err_"$i" & done
wait
[[ $("${command[@]}" list shared.xml | grep -c Value) == 20 ]] || fail "commands at once: $(cat err_*)"

if localedef -i C -f ISO-8859-1 "$work/latin1" 2>/dev/null || [[ -e $work/latin1 ]]; then
  export LOCPATH=$work
  printf '<r><v\303\244>\303\274</v\303\244><w a="\342\202\254">\342\202\254</w><\316\251>o</\316\251><x\316\251>y</x\316\251><x>x</x></r>' >letters.xml
  latin() { LC_ALL=latin1 "${command[@]}" "$@" 2>err; }
  [[ $(latin get letters.xml $'v\344') == $'\374' ]] || fail 'a text in the character set of the locale'
  [[ $(latin list letters.xml) == $'v\344\nw\n\\u03a9\nx\\u03a9\nx' && $(<err) == *u03a9' and 1 more: the locale'?'s character set can'?'t represent it'* ]] ||
    fail 'a name without a form'
  [[ $(latin list --ids letters.xml) == $'v\344\tv\344\n'* ]] || fail 'a group ID in the character set of the locale'
  [[ $(latin get letters.xml x) == x ]] || fail 'behind a name without a form'
  latin set letters.xml '' x 5 || fail "a longer name in front that the library passes over: $(<err)"
  latin get letters.xml w && fail 'a text without a form' || [[ $? == 2 && $(<err) == *'w: the locale'?'s character set '* ]] || fail "$(<err)"
  [[ $(latin get -j letters.xml $'v\344') == *ü* ]] || fail 'JSON is UTF-8'
  [[ $(env -u LC_ALL -u LANG "${command[@]}" get letters.xml w) == € && $(LC_ALL=C "${command[@]}" list letters.xml) == *Ω* ]] ||
    fail 'without a locale'
fi

onTerminal() { TERM=xterm script --quiet --return --command "${command[0]} $*" /dev/null </dev/null 2>&1; }
if onTerminal status site-status.xml >/dev/null; then # a system without pseudo-terminals has none to show anything on
  [[ $(NO_COLOR='' onTerminal status site-status.xml) == *$'\033['* ]] || fail 'no colour on a terminal'
  [[ $(NO_COLOR=1 onTerminal status site-status.xml) == *enabled* && $(NO_COLOR=1 onTerminal status site-status.xml) != *$'\033['* ]] ||
    fail 'colour against NO_COLOR'
  [[ $(onTerminal get controls.xml w --attribute at) == *'x\u009by'* && $(onTerminal get -j controls.xml w) == *'"\u009b'* &&
    $(NO_COLOR=1 onTerminal list controls.xml --values) == *'\u009b'* ]] || fail 'a control character on a terminal'
fi

# A character set with another character in the place of the separator, as some double-byte ones have.
if localedef -c -i ko_KR -f JOHAB "$work/johab" 2>/dev/null || [[ -e $work/johab ]]; then
  printf '<r><\354\247\200>1</\354\247\200><b><c/></b></r>' >johab.xml
  LC_ALL=johab "${command[@]}" set johab.xml b c 5 2>err || fail "JOHAB: $(<err)"
  line=$(LC_ALL=johab "${command[@]}" list johab.xml b)
  [[ $line == 'b\c' && $(LC_ALL=johab "${command[@]}" get johab.xml "$line") == 5 ]] || fail 'JOHAB: not set'
fi

# In proportion to the file, in processor time: thousands of names in a tenth of a second.
{ echo '<r>'; printf '<Name%dOf/>\n' {1..3000}; echo '</r>'; } >names.xml
TIMEFORMAT='%U'
seconds=$( { time "${command[@]}" list names.xml >out; } 2>&1)
[[ $(wc -l <out) == 3000 ]] || fail 'list of 3,000 names'
awk "BEGIN { exit !($seconds < 1) }" || fail "list of 3,000 names: $seconds s" # generous: a sanitizer runs this, too
# Nor does what a group ID counts, or a number that may be part of a name, take a look at every other name.
{ echo '<r>'; printf '<a%d/>' {1..30000}; printf '<a/>%.0s' {1..30000}; echo '</r>'; } >names.xml
seconds=$( { time "${command[@]}" list --ids names.xml >out 2>err; } 2>&1)
[[ $(wc -l <out) == 60000 && $(<err) == *'29998 more: stands for two'* ]] || fail "list of 60,000 elements: $(<err)"
awk "BEGIN { exit !($seconds < 4) }" || fail "list of 60,000 elements: $seconds s"
exit $failed
