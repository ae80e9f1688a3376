#!/bin/bash
# Builds and runs programs outside the tree, with each way of using the library:
#   shared   installed from the build folder; the examples with find_package, pkg-config and Python
#   added    with add_subdirectory and FetchContent, in a project with its own CPack and modules, without CLI11 and nlohmann-json
#   static   installed by such a project; the examples with find_package and pkg-config
#   scripts/check-install.sh <build folder>
set -Eeuo pipefail
trap 'echo "failed in line $LINENO: $BASH_COMMAND" >&2' ERR
build=$(realpath "$1")
cd "$(dirname "$0")/.."
source=$PWD
work=$build/install-check
version=$(scripts/version.sh)
rm -rf "$work"
mkdir -p "$work"
quiet() { "$source/scripts/quietly.sh" "$work/log" "$@"; }

expect() { # <file>: it is equal to standard input
  diff - "$1"
}

# Checks what the examples print and change, on their own files.
run_examples() ( # <folder with the built examples>
  cp examples/*.xml "$1"
  cd "$1"
  ./read_configuration configuration.xml >printed
  expect printed <<'END'
name: Pier 7 & yard
timeout: 20
unit: s
folder: inbox
folder: outbox
folder: archive
END
  ./walk_catalog catalog.xml >walked
  [[ $(head -1 walked) == 'HARBOR-SCAN Current Full: 8.4.1.207, language 0409' ]]
  [[ $(grep -c language walked) == 7 && $(grep -c 'harbor-\|readme-' walked) == 3 ]]
  cp configuration.xml before.xml
  ./set_and_save configuration.xml
  (diff before.xml configuration.xml || true) | grep '^>' >printed
  expect printed <<'END'
> 	<Network  mode='passive'   retries = "3">
> 		<Timeout unit='s'>30</Timeout>   <!-- the relay drops idle lines after 25 -->
> 		<Proxy><Host>relay.example</Host><Port>3128</Port><User>harbor</User></Proxy>
END
)

# Checks an example in another language, which prints folders and a timeout, sets the timeout, and prints the log.
run_foreign() ( # <folder> <command>...
  cp examples/configuration.xml "$1"
  cd "$1"
  "${@:2}" configuration.xml >printed 2>logged
  expect printed <<'END'
folder: inbox
folder: outbox
folder: archive
timeout: 20 s
END
  grep --quiet '<Timeout unit=.s.>30</Timeout>' configuration.xml
  grep --quiet '^Tarvik: Opened configuration.xml' logged
  if "${@:2}" missing.xml >printed 2>logged; then exit 1; fi
  grep --quiet '^missing.xml: .*(5)' logged
)

# Sets the cipher's key from Python: a null key changes nothing, and a wrong key can't open the file.
check_key() { # <libraries>
  LD_LIBRARY_PATH=$1 python3 - examples/site-status.encrypted.xml <<'END'
import sys
from ctypes import CDLL, byref, c_uint32, c_void_p

corekit, tarvik, name = CDLL("libcorekit.so.1"), CDLL("libtarvik.so.1"), sys.argv[1].encode()
documents, cookie, codes = c_void_p(), c_uint32(), []
tarvik.InitXMLList(byref(documents))
for key in None, bytes(32):
    corekit.CorekitSetCipherKey(key)
    codes.append(tarvik.OpenXML(documents, name, 0, 1, byref(cookie)))
    tarvik.CloseXML(documents, cookie)
sys.exit(codes != [0, 43])
END
}

# Every relative link of the installed pages leads to a file.
check_links() { # <prefix>
  local links page link
  links=$(grep --recursive --include='*.md' -oP '\[[^]]+\]\(\K[^) ]+(?=\))' "$1/share/doc")
  while IFS=: read -r page link; do
    [[ $link == http* || -e $(dirname "$page")/${link%%#*} ]] || { echo "$page: broken link $link" >&2; return 1; }
  done <<<"$links" # a process substitution needs /proc
}

# Builds the examples with find_package and with pkg-config, in the oldest standards that the headers support.
check_prefix() { # <prefix>
  local libraries flags
  libraries=$(dirname "$(dirname "$(find "$1" -name tarvik.pc)")")
  grep --quiet "PACKAGE_VERSION \"$version\"" "$libraries/cmake/tarvik/tarvikConfigVersion.cmake"
  quiet cmake -S examples -G Ninja -B "$1/examples" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
    -DCMAKE_C_FLAGS='-Wall -Wextra' -DCMAKE_CXX_FLAGS='-Wall -Wextra' -DCMAKE_CXX_STANDARD=17 -DCMAKE_C_STANDARD=11
  quiet cmake --build "$1/examples"
  run_examples "$1/examples"
  run_foreign "$1/examples" ./from_c

  export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
  [[ $(pkg-config --modversion tarvik) == "$version" ]]
  read -r -a flags <<<"$(pkg-config --cflags --libs tarvik)"
  c++ -std=c++17 examples/walk_catalog.cpp -o "$1/examples/walk_catalog" "${flags[@]}"
  run_examples "$1/examples"
  cc -std=c11 -Wall -Wextra -Wpedantic -Werror examples/from_c.c -o "$1/examples/from_c" "${flags[@]}"
  run_foreign "$1/examples" ./from_c
  [[ ! -e $libraries/libtarvik.so ]] || run_foreign "$1/examples" python3 "$source/examples/from_python.py"
  unset PKG_CONFIG_PATH LD_LIBRARY_PATH
}

# The installed tree is moved first: nothing in it may depend on its place.
quiet cmake --install "$build" --prefix "$work/first"
mv "$work/first" "$work/shared"
check_links "$work/shared"

# pkg-config leaves out the system's folders; fish finds its completion.
mkdir -p "$work/root/etc/fish"
DESTDIR=$work/root quiet cmake --install "$build" --prefix /usr/local
diff scripts/tarvik.fish-completion "$work/root/etc/fish/completions/tarvik.fish"
check_prefix "$work/shared"
check_key "$work"/shared/lib*
grep --quiet "SONAME *libtarvik\.so\.${version%%.*}$" <<<"$(objdump --private-headers "$work"/shared/lib*/libtarvik.so)"

# A project with its own version, CPack and module path; its modules have the names of ours.
parent=$work/parent
mkdir -p "$parent/modules"
for module in exports install sanitizers warnings windows_library windows_runtime; do
  echo 'message(FATAL_ERROR "included the module of the parent project")' >"$parent/modules/$module.cmake"
done
cat >"$parent/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(harbor VERSION 7.8.9 LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
list(APPEND CMAKE_MODULE_PATH \${PROJECT_SOURCE_DIR}/modules)
include(CPack)
if(FETCH)
  include(FetchContent)
  FetchContent_Declare(tarvik SOURCE_DIR $source BINARY_DIR \${PROJECT_BINARY_DIR}/tarvik)
  FetchContent_MakeAvailable(tarvik)
else()
  add_subdirectory($source tarvik)
endif()
foreach(name PROJECT_VERSION CPACK_PACKAGE_VERSION CMAKE_CXX_STANDARD CMAKE_BUILD_TYPE BUILD_SHARED_LIBS)
  message(STATUS "\${name}=\${\${name}}")
endforeach()
get_directory_property(options COMPILE_OPTIONS)
message(STATUS "options=\${options}")
add_executable(walk_catalog $source/examples/walk_catalog.cpp)
target_link_libraries(walk_catalog PRIVATE tarvik::tarvik tarvik::corekit)
install(TARGETS walk_catalog)
END

# Takes the object of a source of the library from the build, if it would be compiled as there. So only corekit and the program
# are compiled once more, which is enough to see that they can be.
cat >"$work/compiler" <<END
#!/bin/bash
command="\$*"
object=\$(sed -n 's|.* -o tarvik/\(src/CMakeFiles/tarvik-objects.dir/[^ ]*\) .*|\1|p' <<<"\$command")
[[ -n \$object ]] || exec "\$@"
for option in -I$source/include -I$source/src -fPIC -fvisibility=hidden -fvisibility-inlines-hidden -std=c++20; do
  [[ "\$command " == *" \$option "* ]] || { echo "without \$option: \$command" >&2; exit 1; }
done
cp "$build/\$object" "tarvik/\$object" && echo "tarvik/\$object:" >"tarvik/\$object.d"
END
chmod +x "$work/compiler"

for how in OFF ON; do # add_subdirectory, FetchContent
  cmake -S "$parent" -B "$work/added" -G Ninja --no-warn-unused-cli -DFETCH=$how \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$work/compiler" \
    -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON >"$work/log"
  grep -E '^-- [A-Za-z_]+=' "$work/log" >"$work/seen"
  expect "$work/seen" <<'END'
-- PROJECT_VERSION=7.8.9
-- CPACK_PACKAGE_VERSION=7.8.9
-- CMAKE_CXX_STANDARD=17
-- CMAKE_BUILD_TYPE=
-- BUILD_SHARED_LIBS=
-- options=
END
  grep --quiet 'CPACK_PACKAGE_NAME "harbor"' "$work/added/CPackConfig.cmake"
  quiet cmake --build "$work/added"
  cp examples/catalog.xml "$work/added"
  [[ $("$work/added/walk_catalog" "$work/added/catalog.xml") == *HARBOR-DESK* ]]
  quiet cmake --install "$work/added" --prefix "$work/unasked"
  [[ $(find "$work/unasked" -type f) == "$work/unasked/bin/walk_catalog" ]]
done

# With TARVIK_INSTALL, the same project installs static libraries.
quiet cmake -S "$parent" -B "$work/added" -DTARVIK_INSTALL=ON
quiet cmake --build "$work/added"
quiet cmake --install "$work/added" --prefix "$work/static"
check_prefix "$work/static"

# A project in C only, with shared libraries. Configuring is enough; the build would be the same as above.
mkdir "$work/parent-in-c"
cat >"$work/parent-in-c/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(harbor LANGUAGES C)
set(BUILD_SHARED_LIBS ON)
add_subdirectory($source tarvik)
add_executable(from_c $source/examples/from_c.c)
target_link_libraries(from_c PRIVATE tarvik::tarvik tarvik::corekit)
END
quiet cmake -S "$work/parent-in-c" -B "$work/added-in-c" -G Ninja
