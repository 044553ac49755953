#!/usr/bin/env bash
# Unpacks Debian's arm64 libraries into a separate folder. Installing them would replace libraries of this machine.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"
cache=$(realpath -m -- "${OSTREL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ostrel}")
# The content of this script determines the result, so its hash is the key of the cache.
key=$(sha256sum <"${BASH_SOURCE[0]}")
readonly sysroot=$cache/arm64-${key:0:16} work=$cache/arm64-${key:0:16}.part
readonly packages=(libc6-dev libstdc++-12-dev libboost-filesystem-dev libboost-thread-dev libcurl4-openssl-dev
    liblog4cplus-dev libpugixml-dev libcli11-dev nlohmann-json3-dev libgmock-dev)

usage() {
    cat <<END
Usage: ${0##*/} [--print-prefix]

Installs the cross compiler and the emulator (as root, if they are missing),
downloads Debian's packages for arm64 and unpacks them in
  $sysroot
If that folder exists, nothing is downloaded. The folder's name depends on the
content of this script. The packages of this machine and its list of
architectures do not change.

  --print-prefix  print that folder and do nothing else
  --help          print this text

OSTREL_CACHE  another folder for the unpacked packages
END
}

# Runs apt-get for arm64 alone, with an empty list of installed packages, so that all dependencies are downloaded.
foreign_apt() {
    apt-get -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o APT::Sandbox::User="$(id -un)" -o Dir::State="$work" \
        -o Dir::State::status="$work/status" -o Dir::Cache="$work" "$@"
}

download() {
    mkdir -p "$work/lists/partial" "$work/archives/partial"
    touch "$work/status"
    foreign_apt update
    foreign_apt install -y --no-install-recommends --download-only "${packages[@]}"
}

# Creates Debian's layout, in which /lib is a link to /usr/lib. Absolute links become relative links into the folder.
unpack() {
    local package link
    mkdir -p "$work/sysroot/usr/lib"
    ln -s usr/lib "$work/sysroot/lib"
    for package in "$work"/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$work/sysroot"
    done
    find "$work/sysroot" -type l -lname '/*' | while read -r link; do
        ln -sfr "$work/sysroot$(readlink "$link")" "$link"
    done
    sed -i "s|\([\";]\)/usr/|\1$sysroot/usr/|g" "$work"/sysroot/usr/lib/*/cmake/log4cplus/*.cmake
    mv -T "$work/sysroot" "$sysroot"
}

case ${1-} in
--help) usage && exit ;;
--print-prefix) echo "$sysroot" && exit ;;
'') ;;
*) die "unknown option: $1 (see --help)" ;;
esac
"$root/scripts/bootstrap.sh" build arm64
[[ ! -d $sysroot ]] || exit 0
trap 'rm -rf -- "$work"' EXIT
rm -rf -- "$work"
log=$sysroot.log
step "packages for arm64 (log in $log)" download
step "unpack" unpack
