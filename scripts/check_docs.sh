#!/usr/bin/env bash
# Builds and runs what the documents show, and has the reference made without a warning.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-dir DIR]

Makes the reference of the public headers with Doxygen, and builds and runs the
programs in README.md and docs/, against the library in DIR (build/linux).

  --help  print this text
END
}

build_dir=$root/build/linux
while (($#)); do
    case $1 in
    --build-dir) (($# > 1)) || die "--build-dir needs a value"
                 build_dir=$(realpath -- "$2") && shift 2 ;;
    --help) usage && exit ;;
    *) die "unknown option: $1 (see --help)" ;;
    esac
done

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT

# Everything goes into the folder of this run, but for warnings.
reference() {
    cd "$root"
    doxygen - < <(cat docs/Doxyfile && echo "OUTPUT_DIRECTORY = $folder/api")
}

# Writes each fenced block of a document to a file of its own, named by its language.
extract() {
    awk -v prefix="$folder/${1##*/}" '
        /^```/ { if (inside) { inside = 0 } else if (length($0) > 3) { inside = 1; name = prefix "-" ++count "." substr($0, 4) } ; next }
        inside { print > name }' "$1"
}

build_and_run() {
    local source program
    # shellcheck disable=SC2086 # the flags are words
    for source in "$folder"/*.c "$folder"/*.cpp; do
        program=${source%.*}
        case $source in
        *.c) cc ${CFLAGS-} -std=c99 -Wall -Werror -I "$root/include" -o "$program" "$source" -L "$build_dir/src" -lostrel \
                -Wl,-rpath,"$build_dir/src" ;;
        *) c++ ${CXXFLAGS-} -std=c++17 -Wall -Werror -I "$root/include" -o "$program" "$source" -L "$build_dir/src" -lostrel \
               -llog4cplus -Wl,-rpath,"$build_dir/src" ;;
        esac
        echo "--- ${source##*/}"
        "$program"
    done
    grep 'ostrel.statistic: feature_name=run.build value=1' host.log
}

log=$folder/log
step "reference" reference
extract "$root/README.md"
for document in "$root"/docs/*.md; do
    extract "$document"
done
cp "$folder"/host-guide.md-*.properties "$folder/log4cplus.properties"
cd "$folder"
for switch in STATISTICS_DISABLE DONOTSEND_FEEDBACK DISABLE_FEEDBACK FORCE_FEEDBACK FORCE_UUID; do
    unset "NORVANE_$switch"
done
unset http_proxy all_proxy ALL_PROXY
export XDG_DATA_HOME=$folder/data OSTREL_CORPORATE_DOMAIN=localhost OSTREL_COLLECTION_URL=http://127.0.0.1:9/collect
step "programs in the documents" build_and_run
