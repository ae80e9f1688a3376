#!/bin/bash
# Installs Debian packages, those that are missing, by name or by group:
#   scripts/install-packages.sh build|test|samples|check|windows|archives|bench|docs|package|<Debian package>...
set -euo pipefail

declare -A groups=(
  [build]="g++ cmake ninja-build pkg-config libexpat1-dev libssl-dev libcli11-dev nlohmann-json3-dev"
  [test]="libgtest-dev locales binutils patch python3"
  [samples]="mono-mcs mono-runtime"
  [check]="clang-14 libclang-rt-14-dev clang-format-14 clang-tidy-14 llvm-14 shellcheck dpkg-dev file"
  [windows]="g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix googletest dpkg-dev wine64 wine clang-14 lld-14 llvm-14"
  [archives]="zip unzip"
  [bench]="libbenchmark-dev libpugixml-dev libtinyxml2-dev libxml2-dev python3 valgrind"
  [docs]="doxygen"
  [package]="build-essential debhelper file lintian meson python3"
)

wanted=()
for name in "$@"; do
  read -r -a packages <<<"${groups[$name]:-$name}"
  wanted+=("${packages[@]}")
done

# Without apt, the names still tell what to install.
if [[ -z $(command -v apt-get) || -z $(command -v dpkg-query) ]]; then
  command -v cmake ninja >/dev/null && exit 0 # the build says what it misses
  printf 'This system has no apt-get. Install what these Debian packages contain, then build again:\n  %s\n' "${wanted[*]}" >&2
  exit 1
fi

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

if ((EUID != 0)); then
  [[ -n $(command -v sudo) ]] && exec sudo "$0" "${missing[@]}"
  printf 'Without sudo, packages are not installed. As root, run:\n  apt-get install %s\n' "${missing[*]}" >&2
  exit 1
fi

export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt_get() {
  "$(dirname "$0")/quietly.sh" "$log" apt-get -qq -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 "$@"
}

echo "Installing ${#missing[@]} packages: ${missing[*]}" >&2
apt_get update
apt_get install --no-install-recommends --yes "${missing[@]}"
