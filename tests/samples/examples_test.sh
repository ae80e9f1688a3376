#!/bin/bash
# Builds examples/ as a project of its own against the installed library, and runs its programs on its files.
# usage: examples_test.sh <build folder>
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/installed" >/dev/null
cmake -S examples -B "$work/build" -DCMAKE_PREFIX_PATH="$work/installed" -DCMAKE_CXX_FLAGS=-Werror >/dev/null
cmake --build "$work/build" >/dev/null
cp examples/*.xml "$work/build"
cd "$work/build"

diff - <(./read_configuration configuration.xml) <<'END'
name: Pier 7 & yard
timeout: 20 s
folder: inbox
folder: outbox
folder: archive
END

./walk_catalog catalog.xml >walked
diff - <(head -1 walked) <<<'HARBOR-SCAN Current Full: 8.4.1.207, language 0409'
[[ $(grep -c language walked) == 7 && $(grep -c 'harbor-\|readme-' walked) == 3 ]]

cp configuration.xml before.xml
./set_and_save configuration.xml
diff - <(diff before.xml configuration.xml) <<'END'
6,8c6,8
< 	<Network  mode='active'   retries = "3">
< 		<Timeout unit='s'>20</Timeout>   <!-- the relay drops idle lines after 25 -->
< 		<Proxy><Host>relay.example</Host><Port>3128</Port></Proxy>
---
> 	<Network  mode='passive'   retries = "3">
> 		<Timeout unit='s'>30</Timeout>   <!-- the relay drops idle lines after 25 -->
> 		<Proxy><Host>relay.example</Host><Port>3128</Port><User>harbor</User></Proxy>
END
echo '3 passed, 0 failed'
