#!/usr/bin/env bash
# Takes out what the last "cmake --install" of a build put in place, and the folders that this leaves empty.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [BUILD_DIR]

Removes the files that the last "cmake --install" from BUILD_DIR (build/linux)
has put in place, and the folders of the prefix that are empty then. Folders
that the system comes with stay. The target "uninstall" does the same.
END
}

[[ ${1-} != --help ]] || { usage && exit; }
manifest=${1-$root/build/linux}/install_manifest.txt
[[ -e $manifest ]] || die "nothing to take out: $manifest is not there"
mapfile -t files <"$manifest"

prefix=
for file in "${files[@]}"; do
    [[ $file != */include/ostrel/ostrel.h ]] || prefix=${file%/include/ostrel/ostrel.h}
done

# Whether a folder goes once it is empty: each of a prefix of our own, of the system's those that it does not come with.
is_ours() {
    [[ $1/ == "$prefix"/* ]] || return
    case $prefix in
    '' | /usr | /usr/local) [[ ! ${1#"$prefix"} =~ ^(|/(bin|include|lib|share|share/man))$ ]] ;;
    esac
}

for file in "${files[@]}"; do
    rm -f -- "${DESTDIR-}$file"
    folder=${file%/*}
    while is_ours "$folder" && rmdir -- "${DESTDIR-}$folder" 2>/dev/null; do
        folder=${folder%/*}
    done
done
rm -f -- "$manifest"
echo "Removed ${#files[@]} files."
