#!/usr/bin/env bash
# Checks the layers of the tree: which folder may include which headers, and where code may depend on the system.
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

[[ ${1-} != --help ]] || {
    echo "Usage: ${0##*/} [TREE]

Checks the includes of all C and C++ files in TREE (default: this tree), and prints
the lines that break a rule."
    exit
}
cd -- "${1:-$(dirname -- "${BASH_SOURCE[0]}")/..}"

# only_in PLACES PATTERN TITLE: reports lines that match PATTERN in files whose path does not match PLACES.
only_in() {
    report "$3" < <(grep -rnEi --include='*.h' --include='*.cpp' --include='*.c' -- "$2" \
        src include tools examples bench fuzz tests | grep -vE "^($1)")
}

# layer FOLDER HEADERS: reports includes of our own headers in FOLDER that do not match HEADERS.
layer() {
    report "$1 includes a forbidden header" < <(grep -rnE '^ *# *include *"' "$1" | grep -vE "include *\"($2)")
}

readonly bare='ostrel/(export|version|cxx_interface)\.h'
readonly public='ostrel/|kiln2/|settor2/'
readonly text="text/|$bare"
readonly platform="platform/|$text"
readonly toolkit="toolkit/|kiln2/|settor2/|$platform"
readonly foundations="foundations/|ostrel/(datetime|filelock)\.h|$toolkit"
readonly policy="statistic_impl/|ostrel/statistic\.h|$foundations"
readonly connector="http_connector/|$foundations"
readonly bridge="pellar_accessor/|ostrel/pellar_accessor\.h|$foundations"
readonly analytics="statistic_impl_ga/|$policy|$connector"
readonly library="$analytics|$bridge|$public"
readonly own='(\.\./)?[a-z_0-9]+\.h"' # in the same folder or the one above

for folder in include/* src/*/; do
    case $folder in
    include/ostrel) layer "$folder" 'ostrel/|kiln2/' ;;
    include/kiln2 | include/settor2) layer "$folder" "${folder#include/}/|$bare" ;;
    src/text/) layer "$folder" "$text" ;;
    src/platform/) layer "$folder" "$platform" ;;
    src/toolkit/) layer "$folder" "$toolkit" ;;
    src/foundations/) layer "$folder" "$foundations" ;;
    src/statistic_impl/) layer "$folder" "$policy" ;;
    src/http_connector/) layer "$folder" "$connector" ;;
    src/pellar_accessor/) layer "$folder" "$bridge" ;;
    src/statistic_impl_ga/) layer "$folder" "$analytics" ;;
    src/api/) layer "$folder" "api/|ostrel/|$analytics|$bridge" ;;
    *) report "no rule for this folder" <<<"$folder" ;;
    esac
done
layer examples "$public|$own"
for folder in bench fuzz; do
    layer $folder "$library|$own"
done
layer tools "$library|collector/|$own"
layer tests "$library|collector/|ostrelctl/|support/|$own"

only_in 'src/http_connector/|bench/|tests/' 'include *<curl/' 'libcurl outside its layer'
only_in 'src/toolkit/kiln2/variant_bag_xml\.cpp' 'include *<pugixml' 'pugixml outside its file'
only_in 'src/toolkit/kiln2/path\.cpp|src/foundations/folders\.cpp' 'include *<boost/filesystem' \
    'Boost.Filesystem outside its files'
only_in 'src/foundations/trace\.|tests/|examples/logging_host/|bench/' 'include *<log4cplus/' \
    'log4cplus outside its layer'
# The benchmarks and the fuzz targets run on Linux only. mingw-w64 has some of these headers too, so including one of
# those does not break the Windows build.
only_in 'src/platform/(posix|windows)/|(tests|tools)/([a-z]+/)?(posix|windows)/|bench/|fuzz/' \
    'include *<((unistd|fcntl|dirent|netdb|poll|pwd|spawn|signal|pthread|dlfcn)\.h|(sys|netinet|arpa)/)' \
    'POSIX header outside a folder posix/'
only_in 'src/platform/windows/|(tests|tools)/([a-z]+/)?windows/' \
    'include *<(windows|win[a-z0-9]+|ws2[a-z]+|shlobj|shellapi|process|io|share|psapi)\.h' \
    'Windows header outside a folder windows/'
only_in 'src/platform/|include/ostrel/export\.h' \
    '^ *# *(el)?if.*\b(_?WIN(32|64)|_MSC_VER|__MINGW|__(linux|unix|APPLE|GLIBC)__|_POSIX)' \
    'conditional compilation for one system outside export.h and src/platform'
exit $faults
