#!/usr/bin/env bash
# Installs the Debian packages that are needed to build, test and check this tree.
set -euo pipefail

# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

declare -rA groups=(
    [build]="cmake ninja-build g++ libboost-dev libboost-filesystem-dev libboost-thread-dev
             libcurl4-openssl-dev liblog4cplus-dev libpugixml-dev libcli11-dev nlohmann-json3-dev"
    [test]="libgmock-dev pkg-config doxygen abigail-tools clang python3"
    [package]="dpkg-dev file lintian pkg-config"
    [collector]="nginx libnginx-mod-http-echo postgresql-15 postgresql-client-15 postgresql-15-hll
                 libjs-chart.js python3 util-linux"
    [collector-test]="curl procps wrk chromium chromium-driver fonts-dejavu-core"
    [lint]="clang-format clang-tidy"
    [clang]="clang libclang-rt-dev"
    [trust]="nginx-light tinyproxy strace iproute2 util-linux python3"
    [bench]="libbenchmark-dev valgrind"
    [arm64]="g++-aarch64-linux-gnu qemu-user"
    [wine]="netbase clang lld"
)

usage() {
    cat <<END
Usage: ${0##*/} [--list] [GROUP...]

Installs the missing Debian packages of the groups, as root. Another user needs
sudo. If no package is missing, the network is not used.

Groups (default: build test lint):
  build      compiler, CMake and the libraries that ostrel links
  test       GoogleTest, and the tools that check the documents and the exported
             interface
  package    tools that build and check Debian packages
  collector  nginx, PostgreSQL and the other programs of collector/run.sh
  collector-test  load generator and browser for the tests of the collector
  lint       clang-format and clang-tidy
  clang      Clang, the second supported compiler, with its sanitizers
  trust      web server, proxy and tracer for the tests in scripts/trust/
  bench      Google Benchmark and valgrind
  arm64      compiler for 64-bit Arm, and an emulator
  wine       /etc/services, which Wine reads, and Clang to build a Windows host
             (scripts/windows-deps.sh installs Wine itself)

  --list  print the missing packages and install nothing
  --help  print this text
END
}

# Our scripts start daemons themselves, in separate folders. So the system must not start the newly installed services,
# now or after a reboot, and PostgreSQL must not create the cluster "main". Existing files and services do not change.
install_packages() {
    local created=() added=() service
    for service in nginx postgresql; do
        [[ -e /lib/systemd/system/$service.service ]] || added+=("$service")
    done
    forbid /usr/sbin/policy-rc.d '#!/bin/sh\nexit 101\n'
    [[ " $* " != *" postgresql"* ]] ||
        forbid /etc/postgresql-common/createcluster.d/ostrel.conf 'create_main_cluster = false\n'
    env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 \
        install -y --no-install-recommends "$@" || { rm -f "${created[@]}"; return 1; }
    rm -f "${created[@]}"
    for service in "${added[@]}"; do
        [[ ! -e /lib/systemd/system/$service.service ]] || update-rc.d "$service" disable
    done
}

# forbid FILE TEXT: creates a FILE that forbids an action during the installation. An existing FILE is kept.
forbid() {
    [[ ! -e $1 ]] || return 0
    mkdir -p "${1%/*}"
    # shellcheck disable=SC2059 # the text is ours and contains \n
    printf "$2" >"$1" && chmod 0755 "$1"
    created+=("$1")
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

as_root=()
if ((EUID)); then
    command -v sudo >/dev/null || die "missing: ${missing[*]} (run this script as root to install them)"
    as_root=(sudo --)
fi
echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
step "package lists" "${as_root[@]}" apt-get -o DPkg::Lock::Timeout=600 update
step "packages" "${as_root[@]}" bash -euo pipefail -c "$(declare -f install_packages forbid); install_packages \"\$@\"" \
    install_packages "${missing[@]}"
