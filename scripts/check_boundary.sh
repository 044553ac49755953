#!/usr/bin/env bash
# Checks the library's exports, its ABI and its hardening, and that each public header compiles alone.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
readonly root exports=$root/cmake/exports-linux.txt abi=$root/cmake/abi-linux.xml
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--update] [--build-dir DIR]

Checks four things:
  exports    of DIR/src/libostrel.so, against cmake/exports-linux.txt
  ABI        of DIR/tests/trust/libostrel_abi.so, which has the same interface
             with debugging information, against cmake/abi-linux.xml
  hardening  of the library and of ostrelctl
  headers    each public header compiles alone

  --update         overwrite the two files in cmake/; review the differences
  --build-dir DIR  check what is built in DIR (build/linux)
  --help           print this text
END
}

# Prints the name and kind of every exported symbol.
exported() {
    nm -D --defined-only --format=posix "$1" | cut -d' ' -f1,2 | sed -E 's/@@?[^ ]*//' | LC_ALL=C sort
}

# Prints the ABI: only types of the public headers, no private member functions, no paths of this machine.
abi_of() {
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --drop-private-types \
        --exported-interfaces-only --type-id-style hash --short-locs --headers-dir "$root/include" "$1"
}

check_hardening() {
    local segments entries symbols
    segments=$(readelf -lW "$1")
    entries=$(readelf -dW "$1")
    symbols=$(nm -D "$1")
    grep -qE 'Elf file type is DYN' <<<"$segments" || echo "it is loaded at a fixed address"
    grep -q GNU_RELRO <<<"$segments" || echo "no RELRO"
    grep -q BIND_NOW <<<"$entries" || echo "RELRO is only partial: symbols are bound lazily"
    grep -q 'GNU_STACK.*RWE' <<<"$segments" && echo "the stack is executable"
    grep -q TEXTREL <<<"$entries" && echo "it has text relocations"
    grep -qE 'RPATH|RUNPATH' <<<"$entries" && echo "it has a built-in library search path"
    grep -q __stack_chk_fail <<<"$symbols" || echo "no stack protector"
    grep -qE ' U __[a-z]+_chk(@|$)' <<<"$symbols" || echo "it calls no checked function (_FORTIFY_SOURCE)"
    return 0
}

check_headers() {
    local header name compiler
    local -r flags="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only -I $root/include"
    for header in "$root"/include/*/*.h; do
        name=${header#"$root/include/"}
        for compiler in "g++ -std=c++17" "clang++ -std=c++11"; do
            # shellcheck disable=SC2086
            echo "#include \"$name\"" | $compiler $flags -x c++ - 2>&1 || true
        done
        case $name in
        ostrel/ostrel.h | ostrel/export.h | ostrel/version.h | settor2/product_locations_c.h) ;;
        *) continue ;;
        esac
        for compiler in gcc clang; do
            # shellcheck disable=SC2086
            printf "#include \"%s\"\ntypedef int alone_t;\n" "$name" | $compiler -std=c99 $flags -x c - 2>&1 || true
        done
    done
}

update=no
build=$root/build/linux
while (($#)); do
    case $1 in
    --help) usage && exit ;;
    --update) update=yes ;;
    --build-dir) build=$2 && shift ;;
    *) usage >&2 && exit 2 ;;
    esac
    shift
done
library=$build/src/libostrel.so
typed=$build/tests/trust/libostrel_abi.so
if [[ $update == yes ]]; then
    exported "$library" >"$exports"
    abi_of "$typed" >"$abi"
fi
report "exports differ from $(basename "$exports") (<: missing, >: additional)" < \
    <(diff "$exports" <(exported "$library") || true)
report "the ABI differs from $(basename "$abi")" < \
    <(changes=$(abidiff --no-added-syms "$abi" "$typed" 2>&1) || echo "$changes")
for file in "$library" "$build/tools/ostrelctl/ostrelctl"; do
    report "${file##*/} is not hardened" < <(check_hardening "$file")
done
report "public headers that do not compile alone" < <(check_headers)
exit $faults
