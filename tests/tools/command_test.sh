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
export LC_ALL=C.UTF-8
failed=0 isNative=0
if ((${#command[@]} == 1)); then isNative=1; fi

fail() {
  failed=1
  printf '%.300s\n' FAILED "$@"
}

# expect <exit status> <standard output> <pattern of standard error> <argument>...: JSON is compared without its white space.
# Standard input comes from the file `input`.
: >input
expect() {
  local wanted=$1 output=$2 error=$3 status=0 printed
  shift 3
  "${command[@]}" "$@" 2>err >out <input || status=$?
  printed=$(tr '\0' '@' <out)
  if [[ $output == ['{[']* ]]; then printed=$(tr -d ' \n' <<<"$printed"); fi
  # shellcheck disable=SC2053  # what standard error must match is a pattern
  [[ $status == "$wanted" && $printed == "$output" && $(<err) == $error && $(wc -l <err) -le 1 ]] ||
    fail "tarvik $*: $status, $printed" "  wanted: $wanted, $output, $error" "$(<err)"
}
# change <before> <after> <pattern of standard error> <command> <argument after FILE>...: what the file f.xml then holds; the
# dry run, given to patch, must come to the same
change() {
  local before=$1 after=$2 error=$3 name=$4
  shift 4
  printf %b "$before" >f.xml
  if [[ "$*" != *--stdin* && "$*" != *'--from -'* ]] && type patch >/dev/null 2>&1; then
    cp f.xml patched.xml
    "${command[@]}" "$name" f.xml -n "$@" >out.patch 2>err <input || fail "tarvik $name -n $*: $(<err)"
    printf %b "$before" | cmp -s - f.xml || fail "tarvik $name -n $*: the file changed"
    patch --silent --binary patched.xml <out.patch || fail "tarvik $name -n $*: not a patch"
    printf %b "$after" | cmp -s - patched.xml || fail "tarvik $name -n $*: another patch: $(<out.patch)"
  fi
  expect 0 '' "$error" "$name" f.xml "$@"
  printf %b "$after" | cmp -s - f.xml || fail "tarvik $name $*: f.xml holds $(<f.xml)"
}
# refused <exit status> <pattern of standard error> <command> <file> <argument>...: the file stays as it was
refused() {
  cp "$4" before
  expect "$1" '' "$2" "${@:3}"
  cmp -s "$4" before || fail "tarvik ${*:3}: the file changed"
}

printf '<a>\n  <b></c>\n</a>' >broken.xml
printf '<Site k="v">own<List><X>1</X><X>2</X></List><Item>a</Item><Items>\t&#13;\n</Items><Item k="x">b</Item><n\303\244me/><Item k="x">c</Item></Site>' >odd.xml
printf '<!DOCTYPE r [<!ENTITY e "<a b=\x271\x27><c/></a>"><!ATTLIST r d CDATA "x" i CDATA #IMPLIED>]><r>&e;</r>' >entity.xml

# Reading: by path, position, key, all; attributes; the root.
expect 0 HARBOR-SCAN '' get catalog.xml /Catalog/ProductPackage/ProductID
expect 0 HARBOR-GATE '' get catalog.xml 'ProductPackage[ 2  ]/ProductID'
expect 0 harbor-engine.bin '' get catalog.xml "ProductPackage/LangPackage/ExtraSettings/Setting[@Name='EngineFile']"
expect 0 no '' get catalog.xml 'ProductPackage/LangPackage/ExtraSettings/Setting[last()]'
expect 0 $'Current\nPreview\nCurrent\nCurrent' '' get catalog.xml --all ProductPackage/ProductDetection/@Branch
expect 0 9.0.0.31 '' get catalog.xml 'ProductPackage/LangPackage[ @ Branch = "Preview" ]/@Version'
expect 0 $'b\nc\nown\nv\nv\nc\nx' '' get odd.xml "Item[@k='x']" "Item[@k='x'][2]" . @k /Site/@k '*[@k="x"][last()]' Item/@k
expect 0 $'own\nown\na\nb' '' get odd.xml /Site '/Site[1]' ./Item '*[4]'
expect 0 own '' get odd.xml '/Site[last()]'
expect 0 a@b@c@ '' get odd.xml -z --all Item
expect 0 '{"./Item[1]":"a","List/X[1]":"1"}' '' get -j odd.xml './Item[1]' List/X
expect 0 '{"Item[2]":"b","Item[3]":"c"}' '' get -j odd.xml "Item[@k='x']" --all
expect 0 $'-\na\nb\n-' '' get odd.xml Nix Item "Item[@k='x']" "Items[@k='x']" --default -
expect 0 list '' --default list get odd.xml Nix
expect 0 @a@ '' get -z --default= odd.xml Nix Item
expect 2 '' '*--json excludes -z*' get -z -j odd.xml Item
expect 1 '' '*odd.xml: no element Nix in Site, no attribute no in Site, no element Itemsx in Site; there is Items' get odd.xml Item Nix @no Itemsx

# A miss says what there is, and how it is written.
expect 1 '' 'tarvik: configuration.xml: no element Time in Network; there is Timeout' get configuration.xml Network/Time
expect 1 '' '*: no element Netwrk in Configuration; there is Network' get configuration.xml Netwrk/Timeout
expect 1 '' '*: no element NetworkTimeout in *; there is Network, and / separates names' get configuration.xml NetworkTimeout
for name in Networks NetworyTim; do expect 1 '' "*: no element $name in Configuration; there is Network" get configuration.xml $name; done
expect 1 '' '*: no attribute modes1 in Network; there is mode' get configuration.xml Network/@modes1
expect 1 '' '*: no element Folder2 in Folders; a number is written in brackets: Folder?2]' get configuration.xml Folders/Folder2
expect 1 '' '*: Folders has only 3 Folder, Folders has only 3 Folder' get configuration.xml 'Folders/Folder[4]' 'Folders/Folder[4294967297]'
expect 1 '' '*: no root Config; the root is /Configuration' get configuration.xml /Config/Network
expect 1 '' '*the root itself is /Configuration' get configuration.xml Configuration/Network
expect 1 '' '*: no element Network in Network' get configuration.xml Network/Network
expect 1 '' '*: no attribute Mode in Network; there is mode' get configuration.xml Network/@Mode
expect 1 '' '*: no element mode in Network; an attribute is written @mode' get configuration.xml Network/mode
expect 1 '' "*: no element Item?@k='Xy'] in Site; there is x" get odd.xml "Item[@k='Xy']"
expect 1 '' "*: no element Item?@k='']?last()] in Site" get odd.xml "Item[@k=''][last()]"
expect 1 '' "*: no element ??@k='X'] in Site; there is x" get odd.xml "*[@k='X']"
expect 1 '' '*: no element Nix2 in Network' get configuration.xml Network/Nix2
expect 1 '' '*the root is not a SiteStatus element*' status catalog.xml
expect 1 '' '*no such detection entry*' detect catalog.xml HARBOR-SCAN Current full
expect 1 no '' match catalog.xml other.xml

# What XPath has and paths do not is refused by name, before the file is opened.
while IFS='|' read -r path reason; do
  expect 2 '' "tarvik: $reason (see tarvik get --help)" get none.xml "$path"
done <<'END'
|a path is empty*
/|/: the root is .
a//b|a//b: // is not supported*
../a|../a: .. is not supported*
a/./b|a/./b: . can only be the first part*
/./a|/./a: . can only be the first part*
a[1]b|*nothing but / or ? may follow a ]
a/@1|*@ must be followed by an attribute's name
/@a|*the root's attribute is written @a
a[]|*brackets hold*
a[@1='x']|*?@1='x'] is not supported; a filter is ?@name='value']
a/|a/: a name is missing
a[@b]|a?@b]: ?@b] is not supported; a filter is ?@name='value']
a/@*|a/@?: @? is not supported*
a[@b='1'][@c='2']|*: a second ?@...] is not supported
a[@b='1' and @c='2']|*the value must be quoted*
a[@b=1]|*the value must be quoted*
a[2][@b='1']|*a number must follow ?@b='...']
a[2][3]|*a second position in brackets is not supported
a[0]|*elements are counted from 1
a[last()-1]|*brackets hold a number, last(), last()+1 or @name='value', and not last()-1
a[b='1']|*brackets hold*
a[1|*a ? is not closed
a[1 2]|*brackets hold *, and not 1 2
a[la st()]|*brackets hold *
a[@b c='1']|*?@b c='1'] is not supported; a filter is *
a/text()|*text() is not supported*
child::a|*axes*
a1b c|*a1b c is not a valid XML name
@a/b|*an attribute must be the last part
Network\Timeout|*functions; write Network/Timeout
Network\Server&name=it's\x|*functions; write Network/Server?@name="it's"]/x
END

# Listing: every line leads back.
expect 0 $'List\nList/X[1]\nList/X[2]\nItem[1]\nItems\nItem[2]\nnäme\nItem[3]' '' list odd.xml
expect 0 '["List/X[1]","List/X[2]"]' '' list -j odd.xml List
expect 0 $'@k\tv\nList\nItem[1]\ta\nItems\t   \nItem[2]\tb\nItem[2]/@k\tx\nnäme\t\nItem[3]\tc\nItem[3]/@k\tx' '' \
  list odd.xml --attributes --values --depth 1
expect 0 '{"@d":"x","a/@b":"1","a/c":""}' '' list -j --values --attributes entity.xml
expect 1 '' '*no attribute i in r' get entity.xml @i
expect 1 '' '*Name holds no elements' list configuration.xml Name
expect 1 '' '*Name holds no elements or attributes' list configuration.xml Name --attributes
expect 1 '' '*no element Nix in Site' list odd.xml Nix
expect 2 '' '*@k: list takes the path of elements*' list none.xml @k
for file in catalog.xml configuration.xml odd.xml; do
  ((isNative)) || break # an emulator takes a second for each
  "${command[@]}" list --attributes "$file" >lines
  mapfile -t paths <lines
  for path in "${paths[@]}"; do
    "${command[@]}" get "$file" "$path" >alone || fail "get $file $path"
    "${command[@]}" get --all "$file" "$path" | cmp -s - alone || fail "get --all $file $path"
  done
done

# Setting: by position, by key, all; only those bytes change. Creating where something is missing, at the next number alone.
lines='<r>\n  <a k="1">x</a>\n  <a k="2"/>\n</r>\n'
change "$lines" '<r>\n  <a k="1">x</a>\n  <a k="2">&lt;y&gt;</a>\n</r>\n' '' set 'a[2]' '<y>'
change "$lines" '<r>\n  <a k="1">x</a>\n  <a k="z"/>\n</r>\n' '' set "a[@k='2']/@k" z
change "$lines" '<r>\n  <a k="1">v</a>\n  <a k="2">v</a>\n</r>\n' '' set --all a v
change "$lines" '<r>\n  <a k="1"></a>\n  <a k=""/>\n</r>\n' '' set 'a[1]' '' 'a[last()]/@k' ''
change "$lines" '<r>\n  <a k="1">x</a>\n  <a k="2"/>\n  <a>3</a>\n  <a k="9" v="4"/>\n</r>\n' \
  '*f.xml: *created a?3], a?4], a?4]/@v' set 'a[3]' 3 "a[@k='9']/@v" 4
change "$lines" '<r>\n  <a k="1">x</a>\n  <a k="2"/>\n  <a>3</a>\n  <a m="4">-5</a>\n</r>\n' '*created*' \
  set 'a[last()+1]' 3 'a[last()+1]' -5 'a[last()]/@m' 4
change "$lines" '<r>\n  <a k="1">x</a>\n  <a k="2"/>\n  <a k="2"/>\n  <n><m>[1,2]</m></n>\n</r>\n' '*created a?3], n, n/m' \
  set "a[@k='2'][2]" '' n/m '[1,2]'
change '<r><a k="1"/><a/></r>' '<r><a k="2"><b/></a><a k="2"><b/></a></r>' '*created a?1]/b, a?2]/b, a?2]/@k' set --all a/b '' a/@k 2
change '<r>\r\n\t<a/>\r\n</r>' '<r>\r\n\t<a/>\r\n\t<a/>\r\n</r>' '*' set 'a[2]' ''
change "$lines" '<r>\n  <a k="5">y</a>\n  <a k="2"/>\n  <a k="9" v="4">z</a>\n</r>\n' '*' \
  set "a[@k='1']/@k" 5 "a[@k='5']" y "a[@k='9']/@v" 4 "a[@k='9']" z
change '<r><a k="1"/><a k="2"/></r>' '<r><a k="2">x</a><a k="1">y<b k="1">w</b></a></r>' '*created a?2]/b' \
  set "*[@k='2']" z "a[@k='1']/@k" 3 "a[@k='2']/@k" 1 "a[@k='3']/@k" 2 "a[@k='2']" x "*[@k='1']" y \
  "a[@k='1']/b[@k='1'][last()+1]" v "a[@k='1']/b[@k='1'][last()]" w
change '<r><a k="1"/><a k="1"/><a k="2"/></r>' '<r><a k="2">x</a><a k="1">y</a><a k="2"/></r>' '' set "a[@k='1'][1]/@k" 2 "a[@k='2'][1]" x "a[@k='1']" y
change '<r><a k="1"/></r>' '<r><a k="1">x</a><a k="1"/><a k="1">z</a></r>' '*created a?2], a?2]/@k, a?3]' \
  set "a[@k='1']" x 'a[last()+1]' '' 'a[last()]/@k' 1 "a[@k='1'][3]" z
change '<r>1</r>' '<r>2</r>' '' set . 2
change '<r/>' '<r a="1">t</r>' '*created @a' set /r t @a 1
for value in '{}' '%%' '[]' '++' -5 -.5 '- x' ---x '[a,b]'; do # some have a meaning to the library that reads the command line
  change '<r>1</r>' "<r>$value</r>" '' set . "$value"
done
change '<r><a>1</a>\n</r>' '<r><a>1</a>\n<a1>x</a1></r>' '*created a1 (a?1] is the one of that number)' set a1 x
change '<r/>' '<r><a/><b/><c/><d/><e/><f/><g/><h/><i/><j/><k/></r>' '*created a, b, c, d, e, f, g, h, i, j and 1 more' \
  set a '' b '' c '' d '' e '' f '' g '' h '' i '' j '' k ''
change '<r a="1"/>' '<r a="2"/>' '' set --existing @a 2
change "$lines" "$lines" '' set 'a[1]' x
printf '<r>\n  <a k="1">x</a>\n  <a k="2"/>\n</r>\n' >list.xml
refused 2 '*list.xml: a names 2 elements; --all takes all*' set list.xml a x
refused 2 '*list.xml: a/@k names 2 elements*' set list.xml a/@k x
refused 2 '*list.xml: a/@k names 2 attributes*' remove list.xml a/@k
refused 2 '*--stdin gives the VALUE of the last PATH*' set list.xml --stdin a x
expect 2 '' '*--json excludes -n and FILE -*' set - -j a x
refused 2 '*list.xml: a/b names 2 places for a new element*' set list.xml a/b x
refused 2 '*list.xml: a?4]: r has 2 a; the next is number 3, or last()+1' set list.xml 'a[4]' x
refused 2 "*: r has 0 b?@k='1']; the next is number 1*" set list.xml "b[@k='1'][last()]" x
refused 2 '*no root Other; the root is /r' set list.xml /Other/a x
refused 1 '*no element ? in a?1]' set list.xml 'a[1]/*' x
refused 1 '*no element b in r*' set list.xml --existing 'a[1]' y b x
refused 1 '*no element b in a?1]' set list.xml --existing a/b x
refused 1 '*no attribute z in a?1]' set list.xml --existing 'a[1]/@z' x
refused 2 '*a?1]: not set: XML can?t carry this text' set list.xml 'a[2]' y 'a[1]' $'a\001b'
refused 2 '*a/c/d: not set: the element comes from an entity' set entity.xml a/c/d x
refused 2 '*b: a PATH without a VALUE (see tarvik set --help)' set list.xml 'a[1]' x b
refused 2 '*nothing to set*' set list.xml
refused 2 '*--json excludes -n and FILE -*' set list.xml -n -j 'a[1]' x
expect 0 '{"a[1]/@k":"2","a[2]/@k":"2"}' '' set -j list.xml --all a/@k 2
expect 0 '{"./a[2]":"y"}' '' set -j list.xml './a[2]' y
expect 0 '{"a[2]":"z","a[1]":"x"}' '' set -j list.xml 'a[2]' y 'a[1]' x 'a[2]' z

# Values from standard input and from JSON, numbers as written; from one file to another; a new file.
for ending in '' '\n' '\r\n'; do
  printf %b "two\nlines$ending" >input
  change '<r/>' '<r><a>two\nlines</a></r>' '*' set a --stdin
done
printf '{"a": 1.50, "@b": true, "c": -0, "d": "x", "e": false}' >input
change '<r/>' '<r b="true"><a>1.50</a><c>-0</c><d>x</d><e>false</e></r>' '*' set --from -
while IFS='|' read -r json reason; do
  printf %s "$json" >input
  refused 2 "tarvik: --from -: $reason (see tarvik set --help)" set list.xml --from -
done <<'END'
{"a": null}|a: a value must be a string, a number, true or false
{"a": {"b": 1}}|a: a value must be a string*
{"a": [1]}|a: a value must be a string*
{"a": 1, "a": 2}|a comes twice
{"a\u0000": 1}|a name contains a zero character
[1]|the JSON must be*
"a"|the JSON must be*
{"a": 1e400}|1e400 is out of range
{"a": |not valid JSON at byte offset *
|not valid JSON*
END
: >input
refused 2 '*exclude each other*' set list.xml --from - --stdin a
expect 2 '' '*exclude each other*' set - --stdin a
printf 'a\0b' >input
refused 2 'tarvik: --stdin: is not text in the locale*' set list.xml --stdin 'a[1]'
"${command[@]}" list --json --values --attributes configuration.xml Network >input
expect 0 '' '*new.xml: created Net, Net/Port, Net/@p' set --create new.xml /Config/Net/Port '80 & 90' Net/@p '"'
expect 0 '' '*new.xml: created *' set --create new.xml --from - /Config/Net/Port 70
expect 0 '' '*other.xml: created *' set --create other.xml --from - /Config/Net/Port 70
printf '%s\n' '<?xml version="1.0" encoding="UTF-8"?>' '<Config>' '  <Net p="&quot;">' '    <Port>70</Port>' '  </Net>' \
  "  <Network mode=\"active\" retries=\"3\"><Timeout unit=\"s\">20</Timeout><Proxy><Host>relay.example</Host><Port>3128</Port></Proxy></Network>" \
  '</Config>' | cmp - new.xml || fail "new.xml: $(<new.xml)"
if ((isNative)); then [[ $(stat --format=%a new.xml other.xml) == $(printf '%o\n%o' $((0666 & ~$(umask))){,}) ]] || fail "access to a new file: $(stat --format=%a new.xml)"; fi
: >input
expect 0 $'--- /dev/null\t\n+++ none.xml\t\n@@ -0,0 +1,8 @@\n+<?xml version="1.0" encoding="UTF-8"?>\n+<r>\n+  <a/>\n+  <b>t<c x=""/></b>\n+  <d>\n+    <e>1</e>\n+  </d>\n+</r>' \
  '*would create*' set -n --create none.xml /r/a '' b t b/c/@x '' d/e 1
expect 2 '' '*--from none.json: does not exist (see*' set none.xml --from none.json
expect 0 $'--- /dev/null\t\n+++ none.xml\t\n@@ -0,0 +1,2 @@\n+<?xml version="1.0" encoding="UTF-8"?>\n+<r>t<b><c/></b><d/></r>' '*' \
  set -n --create none.xml /r t b/c '' d ''
expect 2 '' '*none.xml: does not exist; a path must name its root*' set --create none.xml a x '/*/a' x
expect 2 '' '*none.xml: does not exist' set none.xml a x
expect 2 '' '*none.xml: does not exist' set --create --existing none.xml /r x

# Removing: an element alone on its line with the line, one among others alone; attributes; all or nothing.
change "$lines" '<r>\n  <a k="2"/>\n</r>\n' '' remove 'a[1]'
change "$lines" '<r>\n  <a>x</a>\n  <a/>\n</r>\n' '' remove --all a/@k
change "$lines" '<r>\n</r>\n' '' remove --all a 'a[1]/@k'
change '<!DOCTYPE r [<!ATTLIST r d CDATA "x">]><r d="y"/>' '<!DOCTYPE r [<!ATTLIST r d CDATA "x">]><r/>' '' remove @d ./@d
change '<r> <a/><b><c/></b></r>' '<r> <b></b></r>' '' remove a b/c
change '<r>\r\n<a>\r\n</a>\r\n<a>\r\n</a>\r\n</r>' '<r>\r\n<a>\r\n</a>\r\n</r>' '' remove 'a[1]'
cp list.xml before
refused 2 '*list.xml: a names 2 elements*' remove list.xml a
refused 1 '*no element b in r' remove list.xml 'a[1]' b
refused 1 '*no attribute z in a?1]' remove list.xml 'a[1]' 'a[1]/@z'
refused 2 '*.: not removed: a document needs its root' remove list.xml 'a[1]' .
refused 2 '*@d: not removed: only the document type declares the attribute' remove entity.xml @d
refused 2 '*a/c: not removed: the element comes from an entity' remove entity.xml a/c
expect 0 '{"a[1]":"x"}' '' remove -j list.xml 'a[1]'

# A dry run of many changed lines, and of a file without a final line ending.
printf '<r>\n%s</r>' "$(printf '  <a>%d</a>\n' {1..5000})" >many.xml
cp many.xml patched.xml
sets=()
for i in {1..5000..2}; do sets+=("a[$i]" x); done
"${command[@]}" set -n many.xml "${sets[@]}" >out.patch
"${command[@]}" set many.xml "${sets[@]}"
patch --silent patched.xml <out.patch || fail 'not a patch of 2,500 changes'
cmp -s many.xml patched.xml || fail 'another patch of 2,500 changes'
if ((isNative)); then # a file name that patch takes only in quotes
  odd=$'"\t\\.xml'
  echo '<r>1</r>' >"$odd"
  "${command[@]}" set -n "$odd" . 2 | patch --silent -p0 || fail 'not a patch of an odd name'
fi
printf '<r>\n%s</r>\n' "$(printf '<a>%d</a>\n' {1..20})" >twenty.xml
twenty=('--- twenty.xml	' '+++ twenty.xml	' '@@ -1,6 +1,6 @@' ' <r>' ' <a>1</a>' '-<a>2</a>' '+<a>x</a>' ' <a>3</a>' ' <a>4</a>' ' <a>5</a>')
twenty+=('@@ -13,7 +13,7 @@' ' <a>12</a>' ' <a>13</a>' ' <a>14</a>' '-<a>15</a>' '+<a>y</a>' ' <a>16</a>' ' <a>17</a>' ' <a>18</a>')
expect 0 "$(printf '%b\n' "${twenty[@]}")" '' set -n twenty.xml 'a[2]' x 'a[15]' y
[[ $("${command[@]}" list twenty.xml) == *$'\n''a[20]' ]] || fail 'the number of the last of many'

# Standard input as FILE; other encodings; encrypted files.
printf '<r/>' >input
expect 0 '<r><a>1</a></r>' '*standard input: created a' set - a 1
expect 0 '<r><a>1</a></r>' '*standard input: created a' set --create - a 1
expect 1 '' '*standard input: no element b in r' remove - b
printf '<?xml version="1.0" encoding="ISO-8859-1"?><r>\374</r>' >latin.xml
refused 2 '*latin.xml: is not in UTF-8, which -n requires' set latin.xml -n . y
expect 0 '' '' set latin.xml . 'ü'
[[ $(tail -c 6 latin.xml) == $'>\374</r>' ]] || fail 'a set that changes nothing'
"${command[@]}" set - . 'ü' <latin.xml >same.xml
cmp -s same.xml latin.xml || fail 'a set of standard input that changes nothing'
expect 0 '' 'tarvik: same.xml: is now in UTF-8' set same.xml . y
expect 0 '' '*latin.xml: created @a; is now in UTF-8' set latin.xml @a 1
[[ $(<latin.xml) == '<?xml version="1.0" encoding="UTF-8"?><r a="1">ü</r>' ]] || fail "$(<latin.xml)"
printf '%032d' 7 >key
if "${command[@]:0:${#command[@]}-1}" "${command[-1]%/*}/corekit-cipher-test"* | grep -q SKIPPED; then
  echo 'The system has no AES: commands on encrypted files are skipped.'
else
  expect 0 $'enabled\n20240917.2' '' status -e site-status.encrypted.xml
  expect 0 '' '*created Name' set -e site-status.encrypted.xml Name 'Süd'
  expect 0 'Süd' '' get --encrypted site-status.encrypted.xml Name
  [[ $("${command[@]}" set -e - Name x <site-status.encrypted.xml | "${command[@]}" get -e - Name) == x ]] || fail 'an encrypted result'
  refused 2 '*encrypted.xml: is damaged, encrypted with another key*' status site-status.encrypted.xml -e --key-file key
  refused 2 '*-n shows no encrypted file*' set site-status.encrypted.xml -e -n Name x
  cp broken.xml secret.xml
  expect 0 '' '' encrypt --key-file key secret.xml
  refused 2 '*secret.xml: is encrypted already' encrypt secret.xml
  refused 2 '*secret.xml: is damaged or encrypted with another key' decrypt secret.xml
  expect 0 '' '' decrypt --key-file key secret.xml
  cmp -s broken.xml secret.xml || fail 'decrypt gives another file'
  refused 2 '*secret.xml: is not encrypted' decrypt secret.xml
  "${command[@]}" encrypt --key-file key - <broken.xml | "${command[@]}" decrypt --key-file key - >plain.xml
  cmp -s plain.xml broken.xml || fail 'standard input, encrypted and decrypted'
fi
expect 2 '' '*encrypted.xml: is encrypted; --encrypted opens it' get site-status.encrypted.xml .
expect 2 '' '*encrypted.xml: is encrypted; --encrypted opens it' check site-status.encrypted.xml
expect 2 '' '*none.key: does not exist' status -e --key-file none.key site-status.encrypted.xml
expect 2 '' '*catalog.xml: not a 32-byte key' status -e --key-file catalog.xml site-status.encrypted.xml

# Well-formed or not, and where not.
printf '<a>\n<b>\377</b></a>' >bytes.xml
expect 0 '' '' check catalog.xml configuration.xml
expect 1 '' 'tarvik: broken.xml:2:8: mismatched tag' check catalog.xml broken.xml
expect 1 '' 'tarvik: bytes.xml:2:4: invalid UTF-8 at byte offset 7' check bytes.xml
expect 1 '{"broken.xml":{"wellFormed":false,"line":2,"column":8,"reason":"mismatchedtag"}}' '*' check -j broken.xml
expect 2 '' 'tarvik: broken.xml:2:8: mismatched tag' get broken.xml a
expect 2 '' 'tarvik: none.xml: does not exist' check none.xml catalog.xml
cp broken.xml input
expect 1 '' 'tarvik: standard input:2:8: mismatched tag' check - -
cp catalog.xml input
expect 0 HARBOR-SCAN '' get - ProductPackage/ProductID
: >input

# The ready-made queries, by name or from standard input.
expect 0 '{"enabled":true,"catalogVersion":"20240917.2"}' '' status --json site-status.xml
expect 0 $'HARBOR-SCAN\tCurrent\tUpdate\t0409\t8.4.1.190\t8.4.1\tWIN-X86\t\t' '' detect catalog.xml HARBOR-SCAN Current Update
printf '<SiteStatus Status="Disabled"/>' >off.xml
expect 0 disabled '' status off.xml
expect 0 '{"enabled":false,"catalogVersion":null}' '' status -j off.xml
printf '<SiteStatus Status="Enabled" CatalogVersion="%065536d"/>' 1 >long.xml
expect 0 "enabled"$'\n'"$(printf %065535d 0)" '*long.xml: the version may be cut' status long.xml
expect 1 '{"enabled":null,"catalogVersion":null}' '*not a SiteStatus element*' status -j catalog.xml
expect 0 yes '' match catalog.xml CATALOG.XML
expect 1 '{"matches":false}' '' match -j catalog.xml other.xml
long=$(printf './%.0s' {1..150})catalog.xml # more than the library's record of a name holds
expect 0 yes '' match "$long" catalog.xml
expect 1 '' '*no such detection entry*' detect odd.xml
sed 's/ Version="8[^"]*"//' catalog.xml >unversioned.xml
expect 0 $'HARBOR-SCAN\tCurrent\tUpdate\t0409\t\t8.4.1\tWIN-X86\t\t' '' detect unversioned.xml HARBOR-SCAN Current Update
[[ $("${command[@]}" detect unversioned.xml | wc -l) == 7 ]] || fail 'entries without Version'
[[ $("${command[@]}" detect catalog.xml | cut -f 1,4,5) == $'HARBOR-SCAN\t0409\t8.4.1.207\nHARBOR-SCAN\t0407'*$'\nHARBOR-DESK\t0409\t1.7.3.5' ]] || fail 'all entries'
cp site-status.xml input
expect 0 $'enabled\n20240917.2' '' status -
: >input
printf '<Catalog><ProductPackage><LangPackage><FileList><FileItem><Name>a\tb</Name><Hash>1</Hash></FileItem><FileItem/>%s' \
  '</FileList></LangPackage></ProductPackage></Catalog>' >half.xml
expect 2 $'a b\t1' '*half.xml: the entry after a?tb lacks its Name or Hash' files half.xml
sed "s/>1</>$(printf 'ü%.0s' {1..150})</; s,<FileItem/>,," half.xml >whole.xml
expect 0 "[{\"name\":\"a\\tb\",\"hash\":\"$(printf 'ü%.0s' {1..129})\"}]" '*whole.xml: a text may be cut*' files -j whole.xml

# Wrong usage is found before the file is opened.
expect 2 '' 'tarvik: gte: no such command (see tarvik --help)' gte catalog.xml
expect 2 '' 'tarvik: a command is required (see tarvik --help)'
for usage in get 'get a' list 'list a b c' set remove 'remove a' check encrypt 'encrypt a b' decrypt 'decrypt a b' status 'status a b' \
  detect 'detect a b c d e' files 'files a b' match 'match a' 'match a b c' 'help get a'; do
  ((isNative)) || [[ $usage == 'list a b c' ]] || continue # an emulator takes a second for each
  read -ra words <<<"$usage"
  expect 2 '' "tarvik: the arguments must be * (see tarvik ${words[0]} --help)" "${words[@]}"
done
for option in --{all,default=a,null,existing,create,stdin,from=a,dry-run} --{attributes,values,depth=1}; do
  name=list
  if [[ $option =~ attr|val|dep ]]; then name='set'; fi
  ((isNative)) || [[ $option == --dry-run ]] || continue
  expect 2 '' "tarvik: ${option%=*}: $name has no such option (see tarvik $name --help)" $name a "$option"
done
expect 2 '' '*PRODUCT, BRANCH and TYPE go together (see tarvik detect --help)' detect none.xml HARBOR-SCAN
expect 2 '' 'tarvik: FILE is empty (see tarvik check --help)' check none.xml ''
expect 2 '' 'tarvik: --key-file is empty (see tarvik encrypt --help)' encrypt none.xml --key-file ''
expect 2 '' 'tarvik: --depth: Value 0 not in range * (see tarvik list --help)' list none.xml --depth 0
expect 2 '' 'tarvik: --depth: exactly one value is required (see tarvik list --help)' list none.xml --depth
expect 2 '' 'tarvik: --depth: exactly one value is required*' list none.xml --depth 1 --depth 2
expect 2 '' '*-x: no such option; use -- before a value that begins with - (see tarvik set --help)' set none.xml a -x
expect 2 '' 'tarvik: --bogus: no such option*' get none.xml a --bogus
for option in -n5 -v=2; do expect 2 '' "tarvik: $option: no such option; use --*" set none.xml a "$option"; done
if ((isNative)); then
  expect 2 '' 'tarvik: \\u001b\\u007f\?: no such command *' $'\e\177\377'
  for word in $'\377' $'--a\377' $'--depth=\377'; do expect 2 '' 'tarvik: *\?*' help "$word"; done
  expect 2 '' '*is not text in the locale*' get none.xml $'\377'
  cp off.xml $'\377.xml'
  cp off.xml $'\e.xml'
  [[ $("${command[@]}" status -v $'\e.xml' 2>&1) != *$'\e'* && $("${command[@]}" set -n $'\377.xml' @a 1 2>err) == '--- ?.xml'* ]] ||
    fail 'the name of a file in a log line and a diff'
  expect 0 '{"?.xml":{"wellFormed":true,"line":0,"column":0,"reason":""}}' '' check -j $'\377.xml'
  expect 1 '' 'tarvik: \?.xml: no element Nix in SiteStatus' get $'\377.xml' Nix
fi
expect 2 '' '*--key-file requires -e*' get none.xml a --key-file key
expect 2 '' '*standard input has no name (see tarvik match --help)' match - a
expect 2 '' '*: no such command (see tarvik help --help)' help nothing
expect 0 '' '' set list.xml a -- -x
expect 0 -x '' get list.xml a

"${command[@]}" status -v site-status.xml 2>err >out
[[ $(head -1 out) == enabled && $(<err) == *'Tarvik: SiteStatus is a group'* ]] ||
  fail 'log lines go to standard error alone'
[[ $(grep -c '^[<>] ' err || true) == 0 ]] || fail 'function calls at level 1'
"${command[@]}" status -vv site-status.xml 2>err >out
[[ $(grep -c '^> ' err) == "$(grep -c '^< ' err)" && $(<err) == '> '* ]] || fail "function calls: $(<err)"
[[ $("${command[@]}" --version) == 'tarvik '[1-9]* ]] || fail 'the version'
for name in get list set remove check encrypt decrypt status detect files match help; do
  "${command[@]}" $name --help 2>err >out
  "${command[@]}" help $name | cmp -s - out || fail "tarvik help $name"
  [[ $(<out) == "Usage: tarvik $name"*Example*tarvik* && ! -s err && $(wc -L <out) -le 80 ]] || fail "tarvik $name --help"
  "${command[@]}" --help | grep "^  $name " >/dev/null || fail "$name in tarvik --help"
done

# Several commands that write one file at the same time: all that succeed are in it, and nothing else stays.
mkdir met
printf '<r/>' >met/met.xml
for writer in {1..4}; do
  { for number in {10..21}; do "${command[@]}" set met/met.xml "w$writer.$number" "$number" 2>"err.$writer" || exit 1; done; } &
  writers[writer]=$!
done
for writer in {1..4}; do wait "${writers[writer]}" || fail "writer $writer: $(<"err.$writer")"; done
[[ $(ls -A met) == met.xml && $(grep -oE '<w[1-4]\.(1[0-9]|2[01])>' met/met.xml | sort -u | wc -l) == 48 ]] || fail "$(<met/met.xml)"
if ((!isNative)); then exit $failed; fi

# Another program's save while the command waits for the lock, which the file's time stamp, younger than two seconds, makes it see.
# merge <exit status> <before> <what the other program writes> <after> <argument>...: a negative status: signals are sent meanwhile
merge() {
  local wanted=$1 status=0
  printf %b "$2" >f.xml
  printf %b "$3" >theirs.xml
  python3 - "$wanted" "${command[0]}" "${@:5}" <<'END' || fail "merge of ${*:5}: $(<err)"
import fcntl, signal, subprocess, sys, time
signals = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
for number in signals:
    signal.signal(number, signal.SIG_DFL)
# An exclusive lock holds the save back after the command has read the file.
lock = open("f.xml", "r+b")
fcntl.lockf(lock, fcntl.LOCK_EX)
saver = subprocess.Popen([sys.argv[2], sys.argv[3], "f.xml"] + sys.argv[4:], stderr=open("err", "wb"))
time.sleep(0.5)
for number in signals if int(sys.argv[1]) < 0 else ():
    saver.send_signal(number)
text = open("theirs.xml", "rb").read()
lock.seek(0)
lock.write(text)
lock.truncate(len(text))
lock.flush()
lock.close()
sys.exit(saver.wait() != int(sys.argv[1]))
END
  printf %b "$4" | cmp -s - f.xml || fail "merge of ${*:5}: f.xml holds $(<f.xml)" "$(<err)"
}
merge 0 '<r><a>1</a></r>' '<r><ab/><a>1</a><n/></r>' '<r><ab/><a>2</a><n/></r>' set a 2
merge -1 '<r><a/></r>' '<r>n<a/></r>' '<r>n<a>2</a></r>' set a 2
merge 2 '<r><s k="1">1</s></r>' '<r><s k="1"/><s k="1">1</s></r>' '<r><s k="1"/><s k="1">1</s></r>' set --all 's[@k="1"]' 2
merge 2 '<r><s/><s>1</s></r>' '<r><s/><s/><s>1</s></r>' '<r><s/><s/><s>1</s></r>' set 's[2]' 2
merge 0 '<r><s/><s>1</s></r>' '<r><s/><s/><s>1</s></r>' '<r><s/><s/><s>2</s></r>' set 's[last()]' 2
merge 0 '<r><s/></r>' '<r><s/><s/></r>' '<r><s/><s/><s>2</s></r>' set 's[last()+1]' 2
merge 2 '<r><a/><b/></r>' '<r><b/></r>' '<r><b/></r>' remove a b
merge 0 '<r><a/><b/></r>' '<r>x<a/><b/><c/></r>' '<r>x<c/></r>' remove a b
if printf '<r/>' | "${command[@]}" encrypt - >sealed.xml; then
  sealed=$(od -An -v -to1 sealed.xml | sed 's/ /\\0/g' | tr -d '\n')
  merge -1 "$sealed" "$sealed" '<r/>' decrypt
fi

# Readers see all of a call's changes or none; so does a file whose saver is killed, or can't save.
printf '<r>%s</r>' "$(printf '<a>0</a>%.0s' {1..500})" >states.xml
for _ in {1..60}; do
  "${command[@]}" set states.xml --all a $RANDOM &
  saver=$!
  disown $saver
  if ((RANDOM % 2)); then kill -9 $saver 2>/dev/null || true; fi
  "${command[@]}" get states.xml --all a | sort -u | wc -l
  while kill -0 $saver 2>/dev/null; do sleep 0.01; done
done >states
[[ $(sort -u states) == 1 ]] || fail "states between: $(sort states | uniq -c)"
cp configuration.xml locked.xml
chmod 444 locked.xml
other=()
if [[ $(id -u) == 0 ]]; then other=(setpriv --reuid=65534 --regid=65534 --clear-groups); fi
chmod 755 "$work"
if "${other[@]}" test -x "${command[0]}"; then
  "${other[@]}" "${command[@]}" set locked.xml Network/Timeout 31 2>err && fail 'a file without permission' ||
    [[ $? == 2 && $(<err) == 'tarvik: locked.xml: '*': Permission denied' ]] || fail "$(<err)"
fi

# Whatever ends it, standard input as FILE leaves nothing behind.
mkdir tmp
for signal in INT TERM HUP KILL; do
  { cat site-status.xml; sleep 0.3; } | TMPDIR=$work/tmp "${command[@]}" status - >out &
  sleep 0.1
  kill -$signal $! || true
  wait $! 2>/dev/null || true
done
[[ -z $(ls tmp) ]] || fail "left behind: $(ls tmp)"

# A full disk, closed streams, pipes, a locale without some characters, a terminal.
if [[ -e /dev/full ]]; then
  "${command[@]}" set - a 1 <off.xml >/dev/full 2>err && fail 'a full disk' || [[ $? == 2 && $(wc -l <err) == 1 ]] || fail "a full disk: $(<err)"
fi
"${command[@]}" status site-status.xml >&- 2>err && fail 'closed output' || [[ $? == 2 && $(<err) == *'standard output'* ]] || fail 'closed output'
"${command[@]}" set -vv configuration.xml Network/Timeout 31 >&- 2>&- <&- || fail 'a set without streams'
[[ $("${command[@]}" get <(cat configuration.xml) Network/Timeout) == 31 ]] || fail 'a pipe as FILE'
"${command[@]}" set <(cat configuration.xml) Name x 2>err && fail 'a set on a pipe' || [[ $? == 2 && $(<err) == *'cannot be saved' ]] || fail "$(<err)"
expect 2 '' '*/dev/null: is a pipe or a device*' set /dev/null a 1
ln -s loop loop
expect 2 '' 'tarvik: loop: cannot be read*' set --create loop /r/a 1
"${command[@]}" encrypt <(cat configuration.xml) 2>err && fail 'encrypt of a pipe' || [[ $? == 2 && $(<err) == *'cannot be rewritten' ]] || fail "$(<err)"
"${command[@]}" get - a </ 2>err && fail 'a folder as standard input' || [[ $? == 2 && $(<err) == *': cannot be read' ]] || fail "$(<err)"
"${command[@]}" set off.xml a --stdin </ 2>err && fail 'a folder as a value' || [[ $? == 2 && $(<err) == 'tarvik: --stdin: cannot be read'* ]] || fail "$(<err)"

if localedef -i C -f ISO-8859-1 "$work/latin1" 2>/dev/null || [[ -e $work/latin1 ]]; then
  export LOCPATH=$work
  printf '<r><v\303\244>\303\274</v\303\244><w a="\342\202\254">\303\274\342\202\254</w><\316\251>o</\316\251></r>' >letters.xml
  latin() { LC_ALL=latin1 "${command[@]}" "$@" 2>err; }
  [[ $(latin get letters.xml $'v\344' none --default $'\374') == $'\374\n\374' ]] || fail 'a text in the character set of the locale'
  latin get letters.xml w && fail 'a text without a form' || [[ $? == 2 && $(<err) == *'character set can'?$'t represent \374\\u20ac' ]] || fail "$(<err)"
  latin list letters.xml >/dev/null && fail 'a name without a form' || [[ $? == 2 ]] || fail 'a name without a form'
  [[ $(latin get -j letters.xml $'v\344' w) == *'"v\u00e4": "\u00fc"'*'"w": "\u00fc\u20ac"'* ]] || fail 'JSON is ASCII then'
  latin list -j --values letters.xml | latin set letters.xml --from - || fail "JSON into another: $(<err)"
  latin set letters.xml $'v\344' $'\344' || fail 'a set in Latin-1'
  [[ $("${command[@]}" get letters.xml vä) == ä ]] || fail 'a value set in Latin-1'
  cp site-status.xml $'stat\374s.xml'
  [[ $(latin status $'stat\374s.xml' | head -1) == enabled && $(latin files whole.xml) == $'a b\t\374\374'* && $(latin match $'stat\374s.xml' $'STAT\334S.xml') == yes ]] ||
    fail "a file's name in Latin-1: $(<err)"
  [[ $(env -u LC_ALL LANG=none "${command[@]}" get letters.xml w) == ü€ && $(LC_ALL=C "${command[@]}" list letters.xml) == *Ω* ]] ||
    fail 'without a locale'
fi

printf '<r><v>a\tb\nc</v><w at="x&#x9b;y">\302\233</w></r>' >controls.xml
onTerminal() { TERM=xterm script --quiet --return --command "${command[0]} $*" /dev/null </dev/null 2>&1; }
if onTerminal status site-status.xml >/dev/null; then # a system without pseudo-terminals has none to show anything on
  [[ $(onTerminal get controls.xml v w/@at) == *$'a\tb\r\nc\r\nx\\u009by'* && $(onTerminal get -j controls.xml w) == *'"\u009b'* &&
    $(onTerminal list controls.xml --values) == *'\u009b'* && $(onTerminal set -n controls.xml v x) == *$'a\tb\r\n'*'\u009b'* &&
    $(onTerminal encrypt - '<controls.xml') == *'the result is not text for a terminal'* ]] ||
    fail 'a control character on a terminal'
fi

# In proportion to the work: processor time beside that of a list of the whole file, whatever the machine and the sanitizer.
{ echo '<r><other/>'; printf '  <item k="v%d"><x>0</x></item>' {1..50000}; echo '</r>'; } >items.xml
sets=() gets=() firsts=() removes=()
for i in {1..200}; do sets+=("item[@k='v$((i * 225))']/x" "$i" "item[$((i * 225 + 1))]/x" "$i"); done
for i in {10000..1}; do gets+=("item[$i]/x") removes+=("item[$i]"); done
for i in {1..500}; do firsts+=(item/x); done
{ printf '{'; printf '"item[%d]/x/@k": 1, ' {1..5000}; printf '"*[%d]/@m": 1, ' {1..15000}; printf "\"item[@k='v%d']/@k\": 1, " {45001..50000}; echo '"@n": 1}'; } >many.json
TIMEFORMAT=%U
seconds() { { time "${command[@]}" "$@" >out 2>err; } 2>&1; }
peer=$(seconds list items.xml)
for job in attributes sets gets misses firsts removes deep; do
  case $job in
    attributes) taken=$(seconds set items.xml --from many.json) ;;
    sets) taken=$(seconds set items.xml "${sets[@]}") ;;
    gets) taken=$(seconds get items.xml "${gets[@]}") ;;
    misses) taken=$(seconds get items.xml "${gets[@]/item/itex}") || true ;;
    firsts) taken=$(seconds get items.xml "${firsts[@]}") ;;
    removes) taken=$(seconds remove items.xml --all "${removes[@]}" item) ;;
    deep) taken=$(seconds set items.xml "$(printf 'd/%.0s' {1..9999})d" x) ;;
  esac
  awk "BEGIN { exit !($taken < 15 * $peer) }" || fail "$job: $taken s, list: $peer s"
done
exit $failed
