#!/bin/bash
# Installs the Debian packages that the named groups need, those that are missing only.
# usage: scripts/install-packages.sh build|test|check|windows|bench|docs|package|libxml2|npm|python...
set -euo pipefail

declare -A groups=(
  [build]="g++ cmake ninja-build pkg-config libexpat1-dev libssl-dev libcli11-dev nlohmann-json3-dev"
  [test]="libgtest-dev locales binutils python3"
  [check]="clang-14 libclang-rt-14-dev clang-format-14 clang-tidy-14 llvm-14 shellcheck dpkg-dev file"
  [windows]="g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix googletest dpkg-dev wine64 wine libcli11-dev
             nlohmann-json3-dev clang-14 lld-14"
  [bench]="libbenchmark-dev libpugixml-dev libtinyxml2-dev libxml2-dev python3 valgrind"
  [docs]="doxygen"
  [package]="debhelper dpkg-dev fakeroot file lintian cmake g++ ninja-build libexpat1-dev libssl-dev libcli11-dev
             nlohmann-json3-dev pkg-config python3"
  [libxml2]="libxml2-dev"
  [npm]="npm"
  [python]="python3"
)

wanted=()
for group in "$@"; do
  read -r -d '' -a packages <<<"${groups[$group]:?unknown group $group}" || true
  wanted+=("${packages[@]}")
done

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

asRoot=()
((EUID == 0)) || asRoot=(sudo)
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# What the packages have to say is shown only where it explains a failure.
quiet() {
  "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 \
    apt-get -qq -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}

echo "Installing ${#missing[@]} packages: ${missing[*]}" >&2
quiet update
quiet install --no-install-recommends --yes "${missing[@]}"
