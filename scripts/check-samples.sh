#!/bin/bash
# Compiles and runs every sample in README.md and docs/*.md, in a copy of examples/, and compares the output:
#   ```cpp, ```python      a whole program
#   ```cpp FILE            statements on the open FILE; `list` and `cookie` are declared
#   ```text after either   the output
#   ```console             commands after "$ ", each followed by its output
# Runs the example in C# where Mono is installed, and compiles the C# part of the one in PowerShell, which Debian lacks.
#   scripts/check-samples.sh <build folder>
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/.."
source=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/blocks" "$work/bin"
cp "$build/bin/tarvik" "$work/bin/tarvik"
export PATH=$work/bin:$PATH LC_ALL=C.UTF-8

# Writes each block to <document>-<number>.<language>, with the name of its FILE in the first line.
split_blocks() { # <document>
  awk -v base="$work/blocks/$(basename "$1" .md)" '
    /^```/ && out { close(out); out = ""; next }
    /^```/ { split(substr($0, 4), info, " "); out = sprintf("%s-%02d.%s", base, ++n, info[1]); print info[2] > out; next }
    out { print > out }' "$1"
}

write_program() { # <block> <program source>
  local file
  read -r file <"$1" || true
  if [[ -z $file ]]; then
    tail -n +2 "$1"
  else
    printf '%s\n' '#include <tarvik/tarvik.h>' '#include <clocale>' '#include <cstdio>' 'int main() {' \
      'std::setlocale(LC_ALL, "");' 'XmlFileList* list = nullptr;' 'std::uint32_t cookie = 0;' \
      "if (InitXMLList(&list) != XmlSuccess || OpenXML(list, \"$file\", 0, 0, &cookie) != XmlSuccess) return 1;"
    tail -n +2 "$1"
    echo 'EndXMLList(&list); }'
  fi >"$2"
}

# If the block after a program is text, it is the program's output.
compare_printed() { # <block>
  local name text
  name=$(basename "${1%.*}")
  printf -v text '%s/blocks/%s-%02d.text' "$work" "${name%-*}" $((10#${name##*-} + 1))
  [[ ! -e $text ]] || tail -n +2 "$text" | diff - "$work/printed"
}

check_program() { # <block>
  local name
  name=$(basename "$1" .cpp)
  write_program "$1" "$work/$name.cpp"
  c++ -std=c++17 -Wall -Wextra -Werror -I"$source/include" "$work/$name.cpp" -o "$work/$name" \
    -L"$build/lib" -ltarvik -lcorekit -Wl,-rpath,"$build/lib" || return 1
  rm -rf "$work/run" && cp -r "$source/examples" "$work/run"
  (cd "$work/run" && "$work/$name") >"$work/printed" || return 1
  compare_printed "$1"
}

check_script() { # <block>
  rm -rf "$work/run" && cp -r "$source/examples" "$work/run"
  (cd "$work/run" && tail -n +2 "$1" | LD_LIBRARY_PATH=$build/lib python3 -) >"$work/printed" || return 1
  compare_printed "$1"
}

check_console() { # <block>: runs its commands and compares with the block
  rm -rf "$work/run" && cp -r "$source/examples" "$work/run"
  tail -n +2 "$1" | grep '^\$ ' | while read -r line; do
    echo "$line"
    (cd "$work/run" && sh -c "${line#\$ }" 2>&1 </dev/null) || true
  done >"$work/printed"
  tail -n +2 "$1" | diff - "$work/printed"
}

# What it prints, then its errors, is standard input.
check_example() { # <program in examples/> <argument>...
  c++ -std=c++17 -Wall -Wextra -Werror -I"$source/include" "examples/$1" -o "$work/example" \
    -L"$build/lib" -ltarvik -lcorekit -Wl,-rpath,"$build/lib" || return 1
  rm -rf "$work/run" && cp -r "$source/examples" "$work/run"
  (cd "$work/run" && "$work/example" "${@:2}" >"$work/printed" 2>"$work/errors" </dev/null) || true
  cat >"$work/expected"
  cat "$work/printed" "$work/errors" | diff "$work/expected" -
}

check_csharp() {
  mcs -warnaserror -out:"$work/from_csharp.exe" examples/from_csharp.cs || return 1
  rm -rf "$work/run" && cp -r "$source/examples" "$work/run"
  (cd "$work/run" && LD_LIBRARY_PATH=$build/lib mono "$work/from_csharp.exe" configuration.xml) \
    >"$work/printed" 2>"$work/logged" || return 1
  printf '%s\n' 'folder: inbox' 'folder: outbox' 'folder: archive' 'timeout: 20 s' | diff - "$work/printed" || return 1
  grep --quiet '^Tarvik: Opened configuration.xml' "$work/logged" || return 1
  grep --quiet '>30</Timeout>' "$work/run/configuration.xml" || return 1
}

check_powershell() { # PowerShell 5.1 compiles C# 5
  sed -n "/@'\$/,/^'@/p" examples/from_powershell.ps1 | sed '1d;$d' >"$work/powershell.cs"
  mcs -warnaserror -langversion:5 -target:library "$work/powershell.cs"
}

for document in README.md docs/*.md; do split_blocks "$document"; done
failed=0
fail() { failed=1; echo "FAILED: $(basename "$1")"; } # <block>
for block in "$work"/blocks/*.cpp; do check_program "$block" || fail "$block"; done
for block in "$work"/blocks/*.python; do check_script "$block" || fail "$block"; done
for block in "$work"/blocks/*.console; do check_console "$block" || fail "$block"; done
check_example first_program.cpp <<'END' || fail first_program.cpp
HARBOR-SCAN 8.4.1.207
HARBOR-GATE 3.2.0.88
HARBOR-DESK 1.7.3.5
published 20240918.1
END
check_example merge_settings.cpp configuration.xml berth.xml none.xml <<'END' || fail merge_settings.cpp
Network\Timeout = 35 (berth.xml)
Network\Proxy\Port = 8443 (berth.xml)
log: none.xml: does not exist
none.xml: no such file
END
check_example functions_demo.cpp configuration.xml <<<'0 Pier 7 & yard' || fail functions_demo.cpp
check_example read_configuration.cpp berth.xml <<'END' || fail read_configuration.cpp
name is not set
timeout: 35
unit: s
END
if [[ -x $(command -v mcs) ]]; then
  check_csharp || fail from_csharp.cs
  check_powershell || fail from_powershell.ps1
else
  echo "Without mono-mcs and mono-runtime, the examples in C# and PowerShell are not checked."
fi
exit $failed
