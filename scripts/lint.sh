#!/usr/bin/env bash
# Checks the format and the names of the code, and looks for bugs that compilers do not report.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--fix]

Runs clang-format over all of our code, and clang-tidy over src/ and tools/ with
the compiler options of the preset linux.

  --fix   format in place and run nothing else
  --help  print this text
END
}

our_files() {
    find include src tests examples bench fuzz tools -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) \
        2>/dev/null
}

tidy() {
    run-clang-tidy -quiet -j "$(nproc)" -p build/linux "^$root/(src|tools)/.*\\.cpp\$" 2>&1 |
        sed '/^clang-tidy/d; /warnings generated/d'
}

cd "$root"
mapfile -t files < <(our_files)
log=build/linux/lint.log
case ${1-} in
--help) usage && exit ;;
--fix | '') ;;
*) die "unknown option: $1 (see --help)" ;;
esac
"$root/scripts/bootstrap.sh" build test lint
[[ ${1-} != --fix ]] || { clang-format -i "${files[@]}" && exit; }
step "clang-format" clang-format --dry-run -Werror "${files[@]}"
[[ -e build/linux/compile_commands.json ]] || step "configure" cmake --preset linux
step "clang-tidy (log in $log)" tidy
