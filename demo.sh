#!/bin/bash
# Builds Tarvik and shows what it does, on copies of the files in examples/.
set -euo pipefail
cd "$(dirname "$0")"

export LC_ALL=C.UTF-8
scripts/build-release.sh "tarvik-cli tarvik corekit"

tarvik=$PWD libraries=$PWD/build/release/lib
PATH=$PWD/build/release/bin:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/*.xml examples/functions_demo.cpp "$work"
cd "$work"

bold='' dim='' plain=''
if [[ -t 1 && -z ${NO_COLOR:-} ]]; then bold=$'\033[1m' dim=$'\033[2m' plain=$'\033[0m'; fi
title() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }
show() {
  printf '%s$ %s%s\n' "$dim" "$*" "$plain"
  eval "$*" || true # the demonstration includes misses and errors
}

title 'Is the repository enabled, and which catalog does it name?'
show tarvik status site-status.xml

title 'What is in the catalog?'
show tarvik list catalog.xml --depth 1
show tarvik list catalog.xml "'ProductPackage[2]/LangPackage[2]'" --values --attributes

title 'Values, by path, by number, by the value of an attribute'
show tarvik get catalog.xml ProductPackage/ProductID
show tarvik get catalog.xml "'ProductPackage[2]/LangPackage[last()]/LangID'"
show tarvik get catalog.xml '"ProductPackage/LangPackage/ExtraSettings/Setting[@Name='"'EngineFile'"']"'
show tarvik get catalog.xml ProductPackage/ProductDetection/@Branch --all

title 'Ready-made queries: detection entries with their packages, files, the name of a file'
show tarvik detect catalog.xml
show tarvik detect catalog.xml HARBOR-SCAN Preview Full --json
show tarvik files catalog.xml
show tarvik match catalog.xml CATALOG.XML

title 'Setting a value changes one line; quotes, blanks and comments stay'
cp configuration.xml before.xml
show tarvik set configuration.xml Network/Timeout 30 "'Folders/Folder[last()+1]'" sent
show diff before.xml configuration.xml
show tarvik remove configuration.xml Network/Proxy --dry-run

title 'Settings from one file to another, through a pipe'
show 'tarvik list --json --values configuration.xml Folders | tarvik set --create new.xml /New/@from demo --from -'
show cat new.xml

title 'The same in an encrypted file'
show 'head --bytes 4 site-status.encrypted.xml; echo'
show tarvik set --encrypted site-status.encrypted.xml @Status Disabled
show tarvik status --encrypted site-status.encrypted.xml

title 'An error is one line'
printf '<Catalog>\n  <ProductPackage></Catalog>\n' >broken.xml
show 'tarvik check broken.xml; echo "exit status $?"'

title 'The same by the functions of the library, in a program of ten lines: examples/functions_demo.cpp'
# shellcheck disable=SC2034  # the shown command expands it
flags="-std=c++17 -I$tarvik/include -L$libraries -Wl,-rpath,$libraries"
cp configuration.xml before.xml
show sed -n "'/^int main/,\$p'" functions_demo.cpp
# shellcheck disable=SC2016
show 'c++ $flags functions_demo.cpp -o functions_demo -ltarvik'
show ./functions_demo configuration.xml
show diff before.xml configuration.xml

title "The command is $tarvik/build/release/bin/tarvik; README.md says how to install it."
