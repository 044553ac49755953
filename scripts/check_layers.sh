#!/usr/bin/env bash
# Keeps the rooms of the house apart: who may include whom, and where a foreign header or a system may be named.
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

[[ ${1-} != --help ]] || {
    echo "Usage: ${0##*/} [TREE]

Checks who includes whom in TREE (this one), and prints the lines that break a rule."
    exit
}
cd -- "${1:-$(dirname -- "${BASH_SOURCE[0]}")/..}"

# only_in PLACES PATTERN TITLE: lines that match stand only in files that match.
only_in() {
    report "$3" < <(grep -rnEi --include='*.h' --include='*.cpp' --include='*.c' -- "$2" src include tests/support examples |
        grep -vE "^($1)")
}

# room PLACE HEADERS: the files there include, of our own, only headers that match.
room() {
    report "$1 includes what is not below it" < <(grep -rnE '^ *# *include *"' "$1" | grep -vE "include *\"($2)")
}

readonly bare='ostrel/(export|version)\.h'
readonly platform="platform/|$bare"
readonly toolkit="toolkit/|kiln2/|settor2/|$platform"
readonly foundations="foundations/|ostrel/(datetime|filelock)\.h|$toolkit"
readonly policy="statistic_impl/|ostrel/statistic\.h|$foundations"
readonly connector="http_connector/|$foundations"
readonly bridge="pellar_accessor/|ostrel/pellar_accessor\.h|$foundations"
readonly analytics="statistic_impl_ga/|$policy|$connector"

for place in include/* src/*/; do
    case $place in
    include/ostrel) room "$place" 'ostrel/|kiln2/' ;;
    include/kiln2 | include/settor2) room "$place" "${place#include/}/|$bare" ;;
    src/platform/) room "$place" "$platform" ;;
    src/toolkit/) room "$place" "$toolkit" ;;
    src/foundations/) room "$place" "$foundations" ;;
    src/statistic_impl/) room "$place" "$policy" ;;
    src/http_connector/) room "$place" "$connector" ;;
    src/pellar_accessor/) room "$place" "$bridge" ;;
    src/statistic_impl_ga/) room "$place" "$analytics" ;;
    src/api/) room "$place" "api/|ostrel/|$analytics|$bridge" ;;
    *) report "no rule for this folder" <<<"$place" ;;
    esac
done

only_in 'src/http_connector/' 'include *<curl/' 'libcurl outside its room'
only_in 'src/toolkit/kiln2/variant_bag_xml\.cpp' 'include *<pugixml' 'pugixml outside its file'
only_in 'src/toolkit/kiln2/' 'include *<boost/filesystem' 'Boost.Filesystem outside its room'
only_in 'src/foundations/trace\.|src/toolkit/brask/|tests/|examples/logging_host/' 'include *<log4cplus/' 'log4cplus outside its rooms'
# The runtime of Windows has headers of these names too.
only_in 'src/platform/(posix|windows)/|tests/support/posix/' \
    'include *<((unistd|fcntl|dirent|netdb|poll|pwd|spawn|signal|pthread|dlfcn)\.h|(sys|netinet|arpa)/)' \
    'POSIX header outside platform/posix'
only_in 'src/platform/windows/|tests/support/windows/' \
    'include *<(windows|win[a-z0-9]+|ws2[a-z]+|shlobj|shellapi|process|io|share|psapi)\.h' \
    'Windows header outside platform/windows'
only_in 'src/platform/|include/ostrel/export\.h' \
    '^ *# *(el)?if.*\b(_?WIN(32|64)|_MSC_VER|__MINGW|__(linux|unix|APPLE|GLIBC)__|_POSIX)' \
    'system tested for outside export.h and src/platform'
exit $faults
