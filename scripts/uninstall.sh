#!/usr/bin/env bash
# Removes the files that the last "cmake --install" of a build installed, and the folders that become empty.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [BUILD_DIR]

Removes the files that the last "cmake --install" of BUILD_DIR (build/linux)
installed, and the folders of the prefix that become empty. Standard folders of
the system, such as /usr/local/lib, are kept. The CMake target "uninstall" does
the same.
END
}

[[ ${1-} != --help ]] || { usage && exit; }
manifest=${1-$root/build/linux}/install_manifest.txt
[[ -e $manifest ]] || die "nothing to remove: $manifest does not exist"
mapfile -t files <"$manifest"

prefix=
for file in "${files[@]}"; do
    [[ $file != */include/ostrel/ostrel.h ]] || prefix=${file%/include/ostrel/ostrel.h}
done

# is_ours FOLDER: true if an empty FOLDER may be removed. In a prefix of the system, the standard folders are kept. In
# any other prefix, every folder may be removed.
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
