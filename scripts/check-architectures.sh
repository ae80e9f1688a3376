#!/bin/bash
# Builds everything for other processors and runs the tests there, under QEMU:
#   scripts/check-architectures.sh [<Debian architecture>...]
# By default i386, of 32 bits, and s390x, which is big-endian. TARVIK_DOCUMENTS tells on how many documents both readers are
# compared. The libraries come from packages of that architecture, unpacked into build/<architecture>/root.
set -euo pipefail
cd "$(dirname "$0")/.."
(($#)) || set -- i386 s390x

# query <architecture> <variable>. Without the warning that the machine's own compiler builds for another architecture.
query() { dpkg-architecture --host-arch "$1" --query "DEB_HOST_$2" 2>/dev/null; }

check() {
  local build=$PWD/build/$1
  local root=$build/root compiler libraries emulator
  compiler=$(query "$1" GNU_TYPE)-g++
  libraries=$(query "$1" MULTIARCH)
  emulator=qemu-${libraries%%-*}
  scripts/install-packages.sh "g++-${compiler%-g++}"
  [[ -e $root ]] || scripts/unpack-packages.sh "$1" "$root" \
    libc6 libc-bin libgcc-s1 libstdc++6 libexpat1 libexpat1-dev libssl3 libssl-dev libgtest-dev

  cmake -S . -B "$build" -G Ninja --log-level=WARNING -DCMAKE_BUILD_TYPE=Release -DTARVIK_WERROR=ON \
    -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_CROSSCOMPILING_EMULATOR="$emulator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="-isystem $root/usr/include/$libraries" \
    -DCMAKE_EXE_LINKER_FLAGS="-Wl,-rpath-link,$root/lib/$libraries:$root/usr/lib/$libraries" \
    -DCMAKE_FIND_ROOT_PATH="$root" -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY
  cmake --build "$build"

  # The tests create locales, which are in the machine's byte order.
  mkdir -p "$build/programs"
  printf '#!/bin/sh\nexec /usr/bin/localedef --%s-endian "$@"\n' "$(query "$1" ARCH_ENDIAN)" >"$build/programs/localedef"
  chmod +x "$build/programs/localedef"
  PATH=$build/programs:$PATH QEMU_LD_PREFIX=$root ctest --test-dir "$build" --output-on-failure
}

scripts/install-packages.sh build test dpkg-dev qemu-user
for architecture in "$@"; do
  check "$architecture"
done
