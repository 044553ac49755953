#!/usr/bin/env bash
# Builds the libraries the Windows DLL needs, because Debian packages none of
# them for mingw-w64, and installs the tools to build and run it.
set -euo pipefail

readonly self=${BASH_SOURCE[0]}
readonly host=x86_64-w64-mingw32
readonly cxx=$host-g++-posix
cache=$(realpath -m -- "${OSTREL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ostrel}")
readonly cache
# The content of this script is the whole recipe, so it is the key as well.
key=$(sha256sum <"$self")
readonly prefix=$cache/windows-${key:0:16}
readonly log=$prefix.log
readonly stamp=share/ostrel-windows-deps.stamp
readonly work=$prefix.part        # on the same file system: the rename is atomic
readonly stage=$work/prefix
readonly packages=(
    g++-mingw-w64-x86-64-posix wine wine64 libboost1.74-tools-dev
    dpkg-dev xz-utils ninja-build cmake googletest)

usage() {
    cat <<END
Usage: ${self##*/} [--print-prefix | --help]

Installs the Debian packages needed (as root, when some are missing) and builds
curl, Boost, log4cplus, pugixml and GoogleTest for Windows into
  $prefix
A finished prefix is used again until this script changes; the full output of
a build is in the file of the same name that ends in .log.

  --print-prefix   print that folder and do nothing else
  --help           print this text

OSTREL_CACHE names another folder to build in (now $cache).
END
}

die() { echo "${self##*/}: $*" >&2; exit 1; }

# One line a step. The subshell is no part of a condition, for there bash
# would ignore errexit inside it.
step() {
    local name=$1 start=$SECONDS status
    shift
    printf '%-36s' "$name"
    set +e
    (set -e; echo "=== $name"; "$@") >>"$log" 2>&1 </dev/null
    status=$?
    set -e
    if ((status)); then
        printf 'failed (%d)\n' "$status"
        echo "--- the end of $log:" >&2
        tail -n 40 "$log" >&2
        exit 1
    fi
    printf '%4d s\n' $((SECONDS - start))
}

# --- Debian packages ---------------------------------------------------------

missing_packages() {
    local package
    for package in "${packages[@]}"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            echo "$package"
    done
}

# Sources, lists and archives of our own: the machine's may lack deb-src and
# stay as they are. Its configuration, keys and dpkg status are used.
private_apt() {
    "$@" -o Dir::Etc::sourcelist="$work/apt/sources.list" \
        -o Dir::Etc::sourceparts="$work/apt/sources.list.d" \
        -o Dir::State::lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" \
        -o APT::Sandbox::User=root -o DPkg::Lock::Timeout=600
}

derive_sources() {
    local file SOURCE_LIST SOURCE_PARTS
    eval "$(apt-config shell SOURCE_LIST Dir::Etc::sourcelist/f SOURCE_PARTS Dir::Etc::sourceparts/d)"
    mkdir -p "$work"/apt/{sources.list.d,lists/partial,cache/archives/partial}
    touch "$work/apt/sources.list"
    for file in "$SOURCE_LIST" "$SOURCE_PARTS"/*.list "$SOURCE_PARTS"/*.sources; do
        [[ -f $file ]] || continue
        case $file in
        *.sources) sed -E 's/^(Types:[[:space:]]*)(deb|deb[[:space:]]+deb-src|deb-src[[:space:]]+deb)[[:space:]]*$/\1deb deb-src/I' "$file" ;;
        *) sed -nE '/^[[:space:]]*deb[[:space:]]/{p;s/deb/deb-src/;p}' "$file" ;;
        esac >"$work/apt/sources.list.d/${file##*/}"
    done
}

update_lists() {
    derive_sources
    # A foreign repository that is out of reach need not matter; where one does,
    # the next step fails for want of a package.
    private_apt apt-get update || echo "apt-get update: status $?, going on"
}

install_packages() {
    DEBIAN_FRONTEND=noninteractive private_apt apt-get install -y --no-install-recommends "$@"
}

fetch_sources() {
    mkdir -p "$work/src"
    cd "$work/src"
    private_apt apt-get source curl boost1.74 log4cplus pugixml
    cp -r /usr/src/googletest "googletest-$(dpkg-query -W -f '${source:Upstream-Version}' googletest)"
}

# --- Libraries ---------------------------------------------------------------

source_of() { echo "$work/src/$1"-*/; }

build_cmake() {
    local name=$1
    shift
    cmake -G Ninja -S "$(source_of "$name")" -B "$work/build/$name" \
        -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64 \
        -DCMAKE_C_COMPILER=$host-gcc-posix -DCMAKE_CXX_COMPILER=$cxx \
        -DCMAKE_RC_COMPILER=$host-windres -DCMAKE_FIND_ROOT_PATH=/usr/$host \
        -DCMAKE_FIND_ROOT_PATH_MODE_{LIBRARY,INCLUDE,PACKAGE}=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_{C,CXX}_FLAGS_RELEASE='-O2 -DNDEBUG' \
        -DCMAKE_{C,CXX}_FLAGS="-ffile-prefix-map=$work=." \
        -DCMAKE_SHARED_LINKER_FLAGS='-s -Wl,--no-insert-timestamp' \
        -DCMAKE_INSTALL_PREFIX="$stage" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    cmake --build "$work/build/$name"
    cmake --install "$work/build/$name"
}

build_curl() {
    build_cmake curl -DHTTP_ONLY=ON -DCURL_USE_SCHANNEL=ON -DCURL_USE_LIBSSH2=OFF \
        -DCURL_USE_LIBPSL=OFF -DCURL_ZLIB=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF \
        -DBUILD_SHARED_LIBS=OFF
}

# A DLL, since the host and we must share its loggers; no thread pool, for with
# it a process that loads the DLL without an Initializer hangs at its end.
build_log4cplus() {
    build_cmake log4cplus -DUNICODE=ON -DBUILD_SHARED_LIBS=ON \
        -DLOG4CPLUS_ENABLE_THREAD_POOL=OFF -DLOG4CPLUS_BUILD_TESTING=OFF \
        -DWITH_UNIT_TESTS=OFF -DLOG4CPLUS_BUILD_LOGGINGSERVER=OFF
}

# Debian's source cannot bootstrap its build tool; the packaged one serves.
build_boost() {
    cd "$(source_of boost1.74)"
    cat >"$work/user.jam" <<END
using gcc : mingw : $cxx : <rc>$host-windres <archiver>$host-ar <ranlib>$host-ranlib
    <compileflags>-ffile-prefix-map=$work=. <compileflags>-O2 ;
END
    b2 --ignore-site-config --user-config="$work/user.jam" toolset=gcc-mingw headers
    b2 -j"$(nproc)" --ignore-site-config --user-config="$work/user.jam" \
        --build-dir="$work/build/boost" toolset=gcc-mingw target-os=windows threadapi=win32 address-model=64 \
        architecture=x86 binary-format=pe abi=ms link=static variant=release \
        threading=multi --layout=system --with-thread --with-filesystem \
        --with-date_time --with-system --with-chrono --with-atomic \
        --prefix="$stage" install
    # Its users would have to define this themselves.
    sed -i 's/"BOOST_ALL_NO_LIB"/"BOOST_ALL_NO_LIB;BOOST_THREAD_USE_LIB"/' \
        "$stage"/lib/cmake/boost_thread-*/libboost_thread-variant-static.cmake
}

install_runtime() {
    local dll
    mkdir -p "$stage/bin"
    for dll in libstdc++-6 libgcc_s_seh-1 libwinpthread-1; do
        $host-strip -o "$stage/bin/$dll.dll" "$($cxx -print-file-name=$dll.dll)"
    done
}

# With what Debian's copyright files refer to by a path, so the texts are whole
# on a machine that is no Debian.
install_licences() {
    local name
    for name in curl boost1.74 log4cplus pugixml; do
        install -Dm644 "$(source_of "$name")debian/copyright" "$stage/share/licenses/${name%1.74}/copyright"
        dpkg-parsechangelog -l "$(source_of "$name")debian/changelog" -S Version \
            >"$stage/share/licenses/${name%1.74}/version"
    done
    while read -r name package; do
        install -Dm644 "/usr/share/doc/$package/copyright" "$stage/share/licenses/$name/copyright"
        dpkg-query -W -f '${Version}\n' "$package" >"$stage/share/licenses/$name/version"
    done <<END
googletest googletest
gcc-runtime gcc-mingw-w64-x86-64-posix-runtime
winpthreads mingw-w64-x86-64-dev
END
    grep -rhoE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$stage/share/licenses" | sort -u |
        while read -r name; do install -Dm644 "$name" -t "$stage/share/licenses/common"; done
}

finish() {
    local leaks
    # Installed text files name the folder they were installed to.
    grep -rlIF "$stage" "$stage" | xargs -r sed -i "s|$stage|$prefix|g"
    leaks=$(grep -rlF "$work" "$stage" || true)
    [[ -z $leaks ]] || { echo "these name the build folder:"; echo "$leaks"; return 1; }
    touch "$stage/$stamp"
    rm -rf "$prefix"
    mv -T "$stage" "$prefix"
}

main() {
    local missing
    case ${1-} in
    --print-prefix) echo "$prefix"; return ;;
    --help) usage; return ;;
    '') ;;
    *) usage >&2; exit 2 ;;
    esac

    mapfile -t missing < <(missing_packages)
    if ((!${#missing[@]})) && [[ -e $prefix/$stamp ]]; then
        echo "$prefix is ready"
        return
    fi
    mkdir -p "$cache"
    exec 9>"$prefix.lock"
    flock -n 9 || { echo "waiting for another call"; flock 9; }
    mapfile -t missing < <(missing_packages)
    rm -rf "$work"
    [[ -n ${KEEP-} ]] || trap 'rm -rf "$work"' EXIT
    : >"$log"

    if ((${#missing[@]})) || [[ ! -e $prefix/$stamp ]]; then
        step "package lists" update_lists
    fi
    if ((${#missing[@]})); then
        ((EUID == 0)) || die "needs root to install ${missing[*]}"
        step "${#missing[@]} packages" install_packages "${missing[@]}"
    fi
    if [[ ! -e $prefix/$stamp ]]; then
        step "sources" fetch_sources
        step "curl" build_curl
        step "log4cplus" build_log4cplus
        step "pugixml" build_cmake pugixml -DBUILD_SHARED_LIBS=OFF
        step "googletest" build_cmake googletest -DBUILD_GMOCK=ON
        step "boost" build_boost
        step "runtime" install_runtime
        step "licences" install_licences
        step "check" finish
    fi
    echo "$prefix is ready, after $SECONDS s"
}

main "$@"; exit
