#!/usr/bin/env bash
# Builds the last commit in two folders. Checks that the results are identical and contain no path of this machine.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [linux | windows]

Builds the last commit twice, in two folders, and compares the results:
  linux    the library, ostrelctl and the Debian packages
  windows  the DLL, its import library and the zip
Default: linux.
END
}

case ${1-linux} in
linux) preset=linux generator=DEB
       "$root/scripts/bootstrap.sh" build package ;;
windows) preset=windows generator=ZIP
         "$root/scripts/windows-deps.sh" ;;
--help) usage && exit ;;
*) die "no such build: $1 (see --help)" ;;
esac

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
readonly places=("$folder/a" "$folder/another place with a longer name/b")
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
export SOURCE_DATE_EPOCH

build_in() {
    mkdir -p "$1"
    git -C "$root" archive HEAD | tar -xC "$1"
    cd "$1"
    cmake --preset "$preset" -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_EXAMPLES=OFF
    cmake --build --preset "$preset"
    cd "build/$preset" && cpack -G "$generator" -B packages
}

artefacts() {
    find . -maxdepth 3 -type f -not -path "*/_CPack_Packages/*" \
        \( -name 'libostrel.so.*.*' -o -name ostrelctl -o -name ostrelctl.exe -o -name '*.dll' -o -name '*.dll.a' -o -name ostrel.lib -o -name '*.deb' -o -name '*.zip' \)
}

compare() {
    local file files
    files=$(cd "${places[0]}/build/$preset" && artefacts)
    [[ -n $files ]] || die "nothing was built"
    while read -r file; do
        (cd "${places[0]}/build/$preset" && sha256sum "$file")
        cmp "${places[0]}/build/$preset/$file" "${places[1]}/build/$preset/$file"
        ! grep -aF -e "$folder" -e "$root" -e "$HOME/" "${places[0]}/build/$preset/$file" || return 1
    done <<<"$files"
}

log=$folder/log
for place in "${places[@]}"; do
    step "build in ${place##*/}" build_in "$place"
done
compare
echo "Both builds give the same bytes, and no file contains a path of this machine."
