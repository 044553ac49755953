#!/usr/bin/env bash
# Builds the packages and tests them on this machine: lintian, installation, a consumer, and complete removal.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-only]

Builds the Debian packages libostrelVERSION, libostrel-dev and ostrelctl, and an
archive of all files, in build/package. Checks the packages with lintian. Then
installs the packages (this needs root), builds and runs a consumer, removes the
packages, and checks that no file is left.

  --build-only  only build the packages and run lintian
  --help        print this text
END
}

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT

make_packages() {
    cmake -S . -B build/package -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
        -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_EXAMPLES=OFF
    cmake --build build/package
    rm -f build/package/*.deb build/package/*.tar.gz
    cd build/package && cpack
}

apt() { DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 -y "$@"; }

# Fails on each error and warning of lintian, except those in cmake/lintian-overrides.
look_for_faults() { lintian --allow-root --fail-on error,warning build/package/*.deb; }

files_of() { dpkg-deb --fsys-tarfile "$1" | tar -t | sed -n 's|^\.\(/.*[^/]\)$|\1|p'; }

use() {
    cp -r "$root/examples/c_host" "$folder/"
    cmake -S "$folder/c_host" -B "$folder/cmake build" -G Ninja
    cmake --build "$folder/cmake build"
    # shellcheck disable=SC2046 # the flags are separate words
    cc -o "$folder/plain" "$folder/c_host/main.c" $(pkg-config --cflags --libs ostrel)
    export XDG_DATA_HOME=$folder/data OSTREL_CORPORATE_DOMAIN=localhost
    export OSTREL_COLLECTION_URL=http://127.0.0.1:9/collect
    "$folder/cmake build/c_host"
    "$folder/plain"
    ostrelctl preview --product c_host run.build
    [[ $(ostrelctl --version) == "ostrelctl $(dpkg-query -W -f '${Version}' ostrelctl)" ]]
}

look_for_traces() {
    local path traces=0
    while read -r path; do
        [[ ! -e $path && ! -L $path ]] || { echo "left behind: $path" && traces=1; }
    done < <(for package in build/package/*.deb; do files_of "$package"; done)
    for path in "${names[@]}"; do
        ! dpkg-query -W "$path" 2>/dev/null || traces=1
    done
    ! ldconfig -p | grep libostrel || traces=1
    return $traces
}

cd "$root"
case ${1-} in
--help) usage && exit ;;
--build-only | '') ;;
*) die "unknown option: $1 (see --help)" ;;
esac
[[ ${1-} == --build-only ]] || ((EUID == 0)) || die "installing needs root; --build-only does not"
"$root/scripts/bootstrap.sh" build package
log=build/package.log
step "packages (log in $log)" make_packages
step "lintian" look_for_faults
names=()
for package in build/package/*.deb; do
    names+=("$(dpkg-deb -f "$package" Package)")
    depends=$(dpkg-deb -f "$package" Depends)
    echo "  ${package##*/}: $depends"
    [[ -n $depends ]] || die "CPack has found no dependencies (see $log)"
    [[ ${1-} == --build-only || -n $(missing_packages "${names[-1]}") ]] || die "${names[-1]} is already installed"
    files_of "$package" | sed 's/^/    /'
done
[[ ${1-} != --build-only ]] || exit 0
log=build/package-use.log
step "install" apt install --no-install-recommends ./build/package/*.deb
step "use" use
step "remove" apt purge "${names[@]}"
step "look for traces" look_for_traces
