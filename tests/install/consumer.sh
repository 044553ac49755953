#!/usr/bin/env bash
# Installs the library, or unpacks the Windows package. Then builds and runs the example hosts outside the tree: with
# CMake, without CMake, and with the library as a subdirectory. WINDOWS_LIBRARIES is empty in a build for Linux.
# Arguments: SOURCE_DIR BUILD_DIR GENERATOR C_COMPILER CXX_COMPILER WINDOWS_LIBRARIES SANITIZER
set -euo pipefail
source_dir=$1 build_dir=$2 generator=$3 cc=$4 cxx=$5 windows_libraries=$6 sanitizer=$7
folder=$(mktemp -d "${TMPDIR:-/tmp}/ostrel consumer XXXXXX") # with a space
emulator=()
trap '[[ ! $windows_libraries ]] || "${emulator[@]}" --end; rm -rf -- "$folder"' EXIT
cp -r "$source_dir"/examples/* "$folder"
cd "$folder"

# No server listens on this port. The programs only have to find their library and write their files.
export OSTREL_COLLECTION_URL=http://127.0.0.1:9/collect OSTREL_CORPORATE_DOMAIN=localhost XDG_DATA_HOME=$folder/data
unset NORVANE_{STATISTICS_DISABLE,DONOTSEND_FEEDBACK,DISABLE_FEEDBACK,FORCE_FEEDBACK,FORCE_UUID}

# expect STATUS COMMAND...: fails if the command exits with another status. Stores its output in the file "output".
expect() {
    local expected=$1 status=0
    shift
    "$@" >output 2>&1 || status=$?
    ((status == expected)) || { cat output && echo "$*: $status instead of $expected" && exit 1; }
}
run() { expect 0 "$@"; }

contains() { grep -qE -- "$2" "$1" || { cat "$1" && echo "no '$2' in $1" && exit 1; }; }

# write_project NAME LANGUAGE: writes a CMake project with the lines from standard input.
write_project() {
    mkdir -p "$1"
    { printf 'cmake_minimum_required(VERSION 3.25)\nproject(%s LANGUAGES %s)\n' "$1" "$2" && cat; } >"$1/CMakeLists.txt"
}

# build NAME [OPTION...]: configures and builds a project against the installed library.
build() {
    run cmake -S "$1" -B "$1 build" -G "$generator" "-DCMAKE_PREFIX_PATH=$folder/prefix" "-DCMAKE_C_COMPILER=$cc" \
        "-DCMAKE_CXX_COMPILER=$cxx" "${@:2}"
    run cmake --build "$1 build"
}

# run_hosts PRODUCT PROGRAM...: runs hosts in C. Each must write its files.
run_hosts() {
    local program company="$data/Norvane Corporation"
    for program in "${@:2}"; do
        rm -rf "$company"
        run "${emulator[@]}" "$folder/$program"
        contains "$company/virk" '^1$'
        contains "$company/$1/settings/statistic/uuid.xml" '[0-9A-F]-'
        contains "$company/$1/settings/statistic/last_active_dates.xml" '<item>'
    done
}

on_windows() {
    local abi=--target=x86_64-pc-windows-msvc header
    cp -r "$source_dir/tests/install/foreign_host" .
    emulator=("$source_dir/scripts/wine.sh")
    export OSTREL_WINE_PREFIX=$folder/wine OSTREL_DLL_DIR=$folder/prefix/bin
    run cpack --config "$build_dir/CPackConfig.cmake" -B "$folder/package"
    run cmake -E tar x package/*.zip
    mv ostrel-*/ prefix
    contains prefix/share/licenses/curl/copyright '[Cc]opyright'
    contains prefix/share/licenses/cli11/copyright '[Cc]opyright'
    for guide in windows-hosts host-guide administrator-guide; do
        contains "prefix/share/doc/ostrel/$guide.md" ostrelctl
    done
    run "${emulator[@]}" prefix/bin/ostrelctl.exe products
    data=$("${emulator[@]}" --data)
    # A host in C needs only the package. A host in C++ also needs the headers of Boost.
    build c_host -DCMAKE_SYSTEM_NAME=Windows
    build cpp_host -DCMAKE_SYSTEM_NAME=Windows "-DBoost_ROOT=$windows_libraries"
    run "$cc" -I prefix/include c_host/main.c -L prefix/lib -lostrel -o plain_c.exe
    # A host of another compiler uses the import library, sees an exception, and cannot include the C++ headers.
    build foreign_host -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER=clang \
        -DCMAKE_C_COMPILER_TARGET=${abi#*=} -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY
    contains "foreign_host build/build.ninja" 'lib/ostrel\.lib'
    run_hosts c_host "c_host build/c_host.exe" plain_c.exe
    run_hosts foreign_host "foreign_host build/foreign_host.exe"
    run "${emulator[@]}" "cpp_host build/cpp_host.exe"
    expect 67 "${emulator[@]}" "foreign_host build/foreign_host.exe" ! # low byte of 0x20474343, a C++ exception of GCC
    for header in ostrel/{datetime,filelock,pellar_accessor,statistic} settor2/product_locations kiln2/path; do
        expect 1 clang $abi -x c++ -fsyntax-only -I prefix/include "prefix/include/$header.h"
        contains output 'error: "This header needs g'
    done
}

# A parent project in C has stricter flags, a unity build with clang, and its own package name, which must stay.
inside_a_parent() {
    write_project parent C <<END
add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Werror)
set(CPACK_PACKAGE_NAME parent)
include(CPack)
add_subdirectory("$source_dir" ostrel)
add_executable(c_part ../c_host/main.c)
target_link_libraries(c_part PRIVATE ostrel::ostrel)
add_subdirectory(../cpp_host cpp_host)
install(TARGETS c_part)
END
    build parent -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_UNITY_BUILD=ON \
        -DCMAKE_UNITY_BUILD_BATCH_SIZE=0
    run cmake --install "parent build" --prefix "$folder/installed parent"
    run_hosts c_host "parent build/c_part" "installed parent/bin/c_part"
    run "parent build/cpp_host/cpp_host"
    run cmake -DOSTREL_INSTALL=ON "parent build"
    contains "parent build/CPackConfig.cmake" 'CPACK_PACKAGE_NAME "parent"'
}

on_linux() {
    local component libraries flags
    data=$XDG_DATA_HOME
    # With --component, CMake writes install_manifest_COMPONENT.txt. Any install_manifest.txt is from an older run.
    for component in runtime development tools; do
        run cmake --install "$build_dir" --prefix "$folder/prefix" --component $component
        { cat "$build_dir/install_manifest_$component.txt" && echo; } >>install_manifest.txt
    done
    libraries=$(dirname "$(find "$folder/prefix" -name libostrel.so)")
    eval "flags=($(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs ostrel))"
    # shellcheck disable=SC2086 # the environment's flags are words
    run "$cc" ${CFLAGS-} -o plain_c c_host/main.c "${flags[@]}" "-Wl,-rpath,$libraries"
    # shellcheck disable=SC2086
    run "$cxx" ${CXXFLAGS-} -std=c++17 -o plain_cpp cpp_host/*.cpp "${flags[@]}" "-Wl,-rpath,$libraries"
    # A host in C needs no Boost. In "mixed", the host's folder enables only C, and another folder enables C++.
    write_project mixed C <<<$'add_subdirectory(other)\nadd_subdirectory(../c_host c_host)'
    write_project mixed/other CXX </dev/null
    build c_host -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON
    build mixed -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON
    build cpp_host
    build logging_host
    run_hosts c_host "c_host build/c_host" plain_c "mixed build/c_host/c_host"
    run "cpp_host build/cpp_host"
    run ./plain_cpp
    # A request for a version without a patch number prints a hint. ostrel_VERSION has only digits and dots.
    write_project older C <<'END'
find_package(ostrel 1.5)
find_package(ostrel CONFIG REQUIRED)
message("found ${ostrel_VERSION}.")
END
    run cmake -S older -B "older build" -G "$generator" "-DCMAKE_PREFIX_PATH=$folder/prefix"
    contains output "require major.minor.patch"
    contains output '^found [0-9.]+$'
    # If a host in C cannot create its settings folder, it aborts with a message that names the obstacle.
    expect 134 env -u XDG_DATA_HOME HOME=/dev/null ./plain_c
    contains output /dev/null
    [[ $sanitizer ]] || inside_a_parent # the sanitizers of clang and of the build are incompatible
    run "$source_dir/scripts/uninstall.sh" "$folder"
    [[ ! -e prefix ]] || { echo "uninstall.sh has left files" && exit 1; }
}

if [[ $windows_libraries ]]; then on_windows; else on_linux; fi
