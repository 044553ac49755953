#!/usr/bin/env bash
# Installs missing packages, builds, and runs the tests of one or more builds.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--no-lint] [linux | windows | asan | tsan | fuzz | trust | windows-trust |
                                instructions | collector | packages | arm64 | all]

Default: linux. trust, windows-trust and packages need root. The others need it
only to install packages. "all" includes every build except arm64, which is cross-built
and runs its tests under emulation.

  --no-lint  do not run clang-format and clang-tidy; only linux runs them
  --help     print this text
END
}

# Each build has a function test_BUILD. "all" runs these builds in this order.
readonly builds=(linux windows asan tsan fuzz trust windows-trust instructions collector packages)
readonly apart=(arm64)
lint=yes

configure_and_build() {
    log=build/$1/build.log
    step "configure $1" cmake --preset "$1"
    step "build $1 (log in $log)" cmake --build --preset "$1"
}

test_linux() {
    "$root/scripts/bootstrap.sh" build test
    configure_and_build linux
    [[ $lint == no ]] || "$root/scripts/lint.sh"
    ctest --preset linux -j "$(nproc)"
}

# Runs all tests of ctest under a sanitizer, without suppressions.
test_asan() {
    "$root/scripts/bootstrap.sh" build test
    configure_and_build "${1:-asan}"
    ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        TSAN_OPTIONS=second_deadlock_stack=1 ctest --preset "${1:-asan}" -j "$(nproc)"
}

test_tsan() { test_asan tsan; }

test_fuzz() {
    "$root/scripts/bootstrap.sh" build clang
    configure_and_build fuzz
    "$root/scripts/fuzz.sh" --seconds 20
}

test_trust() {
    "$root/scripts/bootstrap.sh" build test trust
    configure_and_build linux
    "$root/scripts/trust/run.py"
}

test_instructions() {
    "$root/bench/instructions.sh"
}

# Tests collector/ with nginx, PostgreSQL and Chromium. An example host is the only part that needs the library.
test_collector() {
    "$root/scripts/bootstrap.sh" build test collector collector-test
    log=build/linux/collector.log
    step "configure linux" cmake --preset linux
    step "build c_host (log in $log)" cmake --build --preset linux --target c_host
    python3 -m unittest discover -v -s collector/tests -p '*_test.py'
}

# Installs the Debian packages on this machine and removes them again.
test_packages() {
    "$root/scripts/check_packages.sh"
}

# The tests use a separate Wine prefix in the build folder. Its server is stopped when this script exits.
prepare_windows() {
    "$root/scripts/windows-deps.sh"
    "$root/scripts/bootstrap.sh" wine
    configure_and_build windows
    "$root/scripts/wine.sh"
    trap '"$root/scripts/wine.sh" --end' EXIT
}

test_windows() {
    prepare_windows
    ctest --preset windows -j "$(nproc)"
}

test_windows-trust() {
    "$root/scripts/bootstrap.sh" trust
    prepare_windows
    "$root/scripts/trust/run.py" --windows
}

# QEMU emulates one process. A program that this process starts is not emulated, and a signal may be delivered to a
# thread of QEMU. Tests that depend on either are not run.
test_arm64() {
    local -r unseen='^(pellar_accessor_test|ostrelctl_test|watch_test|install|documents|boundary|demo)|blocks_all_signals|posix_exit|exit_closes'
    "$root/scripts/arm64-deps.sh"
    configure_and_build linux-arm64
    ctest --preset linux-arm64 -j "$(nproc)" -E "$unseen"
    echo "Not run under emulation, because they start programs or depend on signals:"
    ctest --preset linux-arm64 -N -R "$unseen" | sed -n 's/^ *Test *#[0-9]*: /  /p'
}

run_build() {
    declare -F "test_$1" >/dev/null || {
        echo "${0##*/}: the build \"$1\" has no tests" >&2
        exit 2
    }
    "test_$1"
}

selected=()
for argument in "$@"; do
    case $argument in
    --help) usage && exit ;;
    --no-lint) lint=no ;;
    all) selected=("${builds[@]}") ;;
    *) [[ " ${builds[*]} ${apart[*]} " == *" $argument "* ]] || die "no such build: $argument (see --help)"
       selected+=("$argument") ;;
    esac
done
((${#selected[@]})) || selected=(linux)
[[ ! " ${selected[*]} " =~ (trust|packages)\  ]] || ((EUID == 0)) || die "trust and packages need root (see --help)"

cd "$root"
for build in "${selected[@]}"; do
    run_build "$build"
done
