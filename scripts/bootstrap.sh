#!/usr/bin/env bash
# Installs the Debian packages that building, testing and checking this tree need.
set -euo pipefail

# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

declare -rA groups=(
    [build]="cmake ninja-build g++ libboost-dev libboost-filesystem-dev libboost-thread-dev
             libcurl4-openssl-dev liblog4cplus-dev libpugixml-dev libcli11-dev nlohmann-json3-dev"
    [test]="libgtest-dev pkg-config doxygen abigail-tools clang python3"
    [package]="dpkg-dev file lintian pkg-config"
    [collector]="nginx-light"
    [lint]="clang-format clang-tidy"
    [clang]="clang libclang-rt-dev"
    [trust]="nginx-light tinyproxy squid strace iproute2 util-linux python3"
    [bench]="libbenchmark-dev valgrind"
    [wine]="netbase clang lld"
)

usage() {
    cat <<END
Usage: ${0##*/} [--list] [GROUP...]

Installs the Debian packages that are missing, as root (through sudo when that
is there). Nothing missing: nothing is done, and no network is used.

Groups (without any: build test lint):
  build   compiler, CMake and the libraries that ostrel links
  test    GoogleTest, and what looks at packages, documents and the border
  package what CPack needs to make Debian packages
  collector  nginx, to try the configuration in the documents
  lint    clang-format and clang-tidy
  clang   the second compiler that the tree has to build with
  trust   collectors, proxies and tracers that scripts/trust/ tries hosts with
  bench   Google Benchmark and valgrind
  wine    names of network services, which Wine takes from the system, and the
          tools that build a Windows host with another compiler

  --list  print what is missing and install nothing
  --help  print this text
END
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo -- "$@"
    else
        die "missing: ${missing[*]} (run this script as root to install them)"
    fi
}

list_only=no
selected=()
for argument in "$@"; do
    case $argument in
    --help) usage && exit ;;
    --list) list_only=yes ;;
    *) [[ -v groups[$argument] ]] || die "no such group: $argument (see --help)"
       selected+=("$argument") ;;
    esac
done
((${#selected[@]})) || selected=(build test lint)

packages=()
for group in "${selected[@]}"; do
    read -ra names -d '' <<<"${groups[$group]}" || true
    packages+=("${names[@]}")
done
mapfile -t missing < <(missing_packages "${packages[@]}")
((${#missing[@]})) || exit 0
if [[ $list_only == yes ]]; then
    printf '%s\n' "${missing[@]}"
    exit
fi

echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
step "package lists" as_root apt-get -o DPkg::Lock::Timeout=600 update
step "packages" as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 \
    install -y --no-install-recommends "${missing[@]}"
