#!/usr/bin/env bash
# Builds the last commit in two folders, and checks that the same bytes come out and that no path of this machine is in them.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

[[ ${1-} != --help ]] || {
    printf 'Usage: %s\n\nBuilds library, tool and packages of the last commit twice, in two folders, and compares them.\n' "${0##*/}"
    exit
}

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
readonly places=("$folder/a" "$folder/another place with a longer name/b")
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
export SOURCE_DATE_EPOCH

build_in() {
    mkdir -p "$1"
    git -C "$root" archive HEAD | tar -xC "$1"
    cd "$1"
    cmake --preset linux -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_EXAMPLES=OFF
    cmake --build --preset linux
    cd build/linux && cpack -B packages
}

compare() {
    local file
    for file in src/libostrel.so tools/ostrelctl/ostrelctl $(cd "${places[0]}/build/linux" && ls packages/*.deb); do
        (cd "${places[0]}/build/linux" && sha256sum "$file")
        cmp "${places[0]}/build/linux/$file" "${places[1]}/build/linux/$file"
        ! grep -aF -e "$folder" -e "$root" -e "$HOME/" "${places[0]}/build/linux/$file" || return 1
    done
}

"$root/scripts/bootstrap.sh" build package
log=$folder/log
for place in "${places[@]}"; do
    step "build in ${place##*/}" build_in "$place"
done
compare
echo "Both builds give the same bytes, and none of them names a folder of this machine."
