#!/usr/bin/env bash
# Builds the libraries that the Windows DLL needs, because Debian has no packages
# of them for mingw-w64. Installs the tools to build and run the DLL.
set -euo pipefail

readonly host=x86_64-w64-mingw32
readonly cxx=$host-g++-posix
cache=$(realpath -m -- "${OSTREL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ostrel}")
# The content of this script determines the result, so its hash is the key.
key=$(sha256sum <"${BASH_SOURCE[0]}")
readonly prefix=$cache/windows-${key:0:16}
readonly log=$prefix.log
readonly stamp=share/ostrel-windows-deps.stamp
readonly work=$prefix.part # beside the prefix, where a rename is atomic
readonly stage=$work/prefix
readonly packages=(
    g++-mingw-w64-x86-64-posix wine wine64 libboost1.74-tools-dev
    dpkg-dev xz-utils ninja-build cmake googletest libcli11-dev nlohmann-json3-dev llvm)

usage() {
    cat <<END
Usage: windows-deps.sh [--print-prefix | --help]

Installs the Debian packages needed (as root, when some are missing) and builds
curl, Boost, log4cplus, pugixml and GoogleTest for Windows into
  $prefix
which is used again until this script changes. CLI11 and nlohmann-json, which
are headers alone, are copied there from Debian's packages. The full output is
in the file of the same name that ends in .log.

  --print-prefix   print that folder and do nothing else
  --help           print this text

OSTREL_CACHE names another folder to build in (a path without blanks).
END
}

# One line for each step. The subshell is not part of a condition, because bash
# ignores errexit inside conditions.
step() {
    local name=$1 start=$SECONDS status
    shift
    printf '%-24s' "$name"
    set +e
    (set -e; echo "=== $name"; "$@") >>"$log" 2>&1 </dev/null
    status=$?
    set -e
    if ((status)); then
        echo "failed"
        echo "--- the end of $log:" >&2
        tail -n 40 "$log" >&2
        exit 1
    fi
    printf '%4d s\n' $((SECONDS - start))
}

missing_packages() {
    local package
    for package in "${packages[@]}"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            echo "$package"
    done
}

# Separate sources, lists and archives: the machine's lists may lack deb-src and
# are not changed. Its configuration, keys and dpkg status are used.
private_apt() {
    DEBIAN_FRONTEND=noninteractive apt-get -o Dir::Etc::sourcelist=/dev/null \
        -o Dir::Etc::sourceparts="$work/apt/sources" -o Dir::State::lists="$work/apt/lists" \
        -o Dir::Cache="$work/apt/cache" -o APT::Sandbox::User=root -o DPkg::Lock::Timeout=600 "$@"
}

update_lists() {
    local file LIST PARTS types='(deb|deb\s+deb-src|deb-src\s+deb)'
    mkdir -p "$work"/apt/{sources,lists/partial,cache/archives/partial}
    eval "$(apt-config shell LIST Dir::Etc::sourcelist/f PARTS Dir::Etc::sourceparts/d)"
    for file in "$LIST" "$PARTS"/*.list "$PARTS"/*.sources; do
        [[ -f $file ]] || continue
        case $file in
        *.sources) sed -E "s/^(Types:\s*)$types\s*$/\1deb deb-src/I" "$file" ;;
        *) sed -nE '/^\s*deb\s/{p;s/deb/deb-src/;p}' "$file" ;;
        esac >>"$work/apt/sources/${file##*/}"
    done
    # An unreachable repository of another maker may not matter. If it does, the
    # next step fails because a package is missing.
    private_apt update || echo "apt-get update: status $?, going on"
}

fetch_sources() {
    mkdir "$work/src"
    cd "$work/src"
    private_apt source curl boost1.74 log4cplus pugixml
    cp -r /usr/src/googletest googletest-debian
}

source_of() { echo "$work/src/$1"-*/; }

build_cmake() {
    local name=$1
    shift
    cmake -G Ninja -S "$(source_of "$name")" -B "$work/build/$name" \
        -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64 \
        -DCMAKE_C_COMPILER="$host-gcc-posix" -DCMAKE_CXX_COMPILER="$cxx" \
        -DCMAKE_RC_COMPILER="$host-windres" -DCMAKE_FIND_ROOT_PATH="/usr/$host" \
        -DCMAKE_FIND_ROOT_PATH_MODE_{LIBRARY,INCLUDE,PACKAGE}=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_{C,CXX}_FLAGS_RELEASE='-O2 -DNDEBUG' \
        -DCMAKE_{C,CXX}_FLAGS="-ffile-prefix-map=$work=." \
        -DCMAKE_SHARED_LINKER_FLAGS='-s -Wl,--no-insert-timestamp' \
        -DCMAKE_INSTALL_PREFIX="$stage" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    cmake --build "$work/build/$name"
    cmake --install "$work/build/$name"
}

# Debian's source cannot bootstrap its build tool, so the packaged one is used.
build_boost() {
    local b2=(b2 --ignore-site-config --user-config="$work/user.jam" toolset=gcc-mingw)
    cd "$(source_of boost1.74)"
    cat >"$work/user.jam" <<END
using gcc : mingw : $cxx : <rc>$host-windres <archiver>$host-ar <ranlib>$host-ranlib
    <compileflags>-ffile-prefix-map=$work=. <compileflags>-O2 ;
END
    "${b2[@]}" headers
    "${b2[@]}" -j"$(nproc)" --build-dir="$work/build/boost" --prefix="$stage" \
        target-os=windows threadapi=win32 address-model=64 architecture=x86 \
        binary-format=pe abi=ms link=static variant=release threading=multi --layout=system \
        --with-{thread,filesystem,date_time,system,chrono,atomic} install
    # Otherwise every user would have to define this.
    sed -i 's/"BOOST_ALL_NO_LIB"/"BOOST_ALL_NO_LIB;BOOST_THREAD_USE_LIB"/' \
        "$stage"/lib/cmake/boost_thread-*/libboost_thread-variant-static.cmake
}

# -p keeps the time in the DLL's header, which strip would replace by the current time.
install_runtime() {
    local dll
    for dll in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
        "$host-strip" -p -o "$stage/bin/$dll" "$("$cxx" -print-file-name="$dll")"
    done
}

install_headers() {
    cp -r /usr/include/CLI /usr/include/nlohmann "$stage/include"
    mkdir -p "$stage/share/cmake"
    cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$stage/share/cmake"
}

# With the files that Debian's copyright files name by a path, so that the texts
# are complete on other systems.
install_licences() {
    local name package to=$stage/share/licenses
    for name in curl boost1.74 log4cplus pugixml; do
        install -Dm644 "$(source_of "$name")debian/copyright" "$to/${name%1.74}/copyright"
        dpkg-parsechangelog -l "$(source_of "$name")debian/changelog" -S Version >"$to/${name%1.74}/version"
    done
    for name in googletest:googletest winpthreads:mingw-w64-x86-64-dev \
        cli11:libcli11-dev nlohmann-json:nlohmann-json3-dev gcc-runtime:gcc-mingw-w64-x86-64-posix-runtime; do
        package=${name#*:} name=${name%:*}
        install -Dm644 "/usr/share/doc/$package/copyright" "$to/$name/copyright"
        dpkg-query -W -f '${Version}\n' "$package" >"$to/$name/version"
    done
    grep -rhoE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$to" | sort -u |
        while read -r name; do install -Dm644 "$name" -t "$to/common"; done
}

finish() {
    # Users of CMake do not need them.
    rm -r "$stage/bin/curl-config" "$stage/lib/pkgconfig"
    # Installed text files contain the folder that they were installed to.
    grep -rlIF "$stage" "$stage" | xargs -r sed -i "s|$stage|$prefix|g"
    if grep -rlF "$work" "$stage"; then
        echo "these files name the build folder"
        return 1
    fi
    touch "$stage/$stamp"
    rm -rf "$prefix"
    mv -T "$stage" "$prefix"
}

is_ready() {
    mapfile -t missing < <(missing_packages)
    ((!${#missing[@]})) && [[ -e $prefix/$stamp ]]
}

build() {
    if ((EUID && ${#missing[@]})); then
        echo "missing: ${missing[*]} (run this script as root to install them)" >&2
        exit 1
    fi
    : >"$log"
    step "package lists" update_lists
    if ((${#missing[@]})); then
        step "${#missing[@]} packages" private_apt install -y --no-install-recommends "${missing[@]}"
    fi
    [[ ! -e $prefix/$stamp ]] || return 0
    step "sources" fetch_sources
    step "curl" build_cmake curl -DHTTP_ONLY=ON -DCURL_USE_SCHANNEL=ON -DCURL_USE_LIBSSH2=OFF \
        -DCURL_USE_LIBPSL=OFF -DCURL_ZLIB=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF \
        -DBUILD_SHARED_LIBS=OFF
    # A DLL, because the host and our library share its loggers. Without its thread
    # pool, because with the pool a process without an Initializer hangs at its end.
    step "log4cplus" build_cmake log4cplus -DUNICODE=ON -DBUILD_SHARED_LIBS=ON \
        -DLOG4CPLUS_ENABLE_THREAD_POOL=OFF -DLOG4CPLUS_BUILD_TESTING=OFF \
        -DWITH_UNIT_TESTS=OFF -DLOG4CPLUS_BUILD_LOGGINGSERVER=OFF
    step "pugixml" build_cmake pugixml -DBUILD_SHARED_LIBS=OFF
    step "googletest" build_cmake googletest -DBUILD_GMOCK=ON
    step "boost" build_boost
    step "runtime" install_runtime
    step "headers" install_headers
    step "licences" install_licences
    step "check" finish
}

main() {
    case ${1-} in
    --print-prefix) echo "$prefix"; return ;;
    --help) usage; return ;;
    '') ;;
    *) usage >&2; exit 2 ;;
    esac
    if ! is_ready; then
        mkdir -p "$cache"
        exec 9>"$prefix.lock"
        flock -n 9 || { echo "waiting for another call"; flock 9; }
        # Checked again, because another call may have built it meanwhile.
        if ! is_ready; then
            trap 'rm -rf "$work"' EXIT
            rm -rf "$work"
            unset "${!CMAKE_@}" DESTDIR CFLAGS CXXFLAGS CPPFLAGS LDFLAGS RCFLAGS
            build
        fi
    fi
    echo "$prefix is ready, after $SECONDS s"
    exit 0 # bash would go on reading the file, which may have changed by now
}

main "$@"
