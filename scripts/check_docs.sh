#!/usr/bin/env bash
# Checks the documents: their programs run, their tables are complete, and the reference has no warnings.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-dir DIR]

Checks the documents:
  - Doxygen creates the reference of the public headers without warnings.
  - The table in docs/host-guide.md lists all CMake options.
  - Each script has a --help text.
  - The tables of hit parameters list exactly the parameters of a hit.
  - The programs in README.md and docs/ compile, run and send the shown hits.

  --build-dir DIR  use the library and ostrelctl in DIR (build/linux)
  --help           print this text
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

# Runs Doxygen in a copy without a build folder, because a fresh clone has none.
reference() {
    mkdir "$folder/clone"
    cp -r "$root/docs" "$root/include" "$folder/clone"
    cd "$folder/clone"
    doxygen docs/Doxyfile
    grep 'All rights reserved' build/api/index.html
}

# Fails if the CMake options and the rows of the guide's table differ.
options() {
    diff <(cat "$root"/CMakeLists.txt "$root"/cmake/*.cmake | tr -s '\n ' ' ' |
        grep -oE 'option\(OSTREL_[A-Z_]+|set\(OSTREL_[A-Z_]+ [^ ]+ CACHE' | grep -oE 'OSTREL_[A-Z_]+' | sort -u) \
        <(sed -n '/^### CMake options/,/^## /s/^| `\(OSTREL_[A-Z_]*\)` .*/\1/p' "$root/docs/host-guide.md" | sort)
}

# Fails if a table of parameters does not list exactly the parameters of a hit, in the hit's order.
parameters() {
    local body document
    body=$(NORVANE_FORCE_FEEDBACK=1 "$build_dir/tools/ostrelctl/ostrelctl" preview run.build | sed -n 's/^  //p')
    [[ $body == *"&el=build&"* ]]
    for document in data-collected host-guide; do
        diff <(tr '&' '\n' <<<"$body" | sed 's/=.*//') \
            <(sed -n "/^| Key /,/^$/s/^| \`\([^\`]*\)\` .*/\1/p" "$root/docs/$document.md")
    done
}

help_of_all() {
    find "$root" \( -path "$root/build" -o -path "$root/.git" -o -path "$root/tests" \) -prune -o -type f -perm -u+x -print | while read -r script; do
        echo "$script"
        "$script" --help | grep -i '^usage: .'
    done
}

# Writes each fenced block of a document to a separate file. The block's language becomes the file extension, so a block
# "c fragment" is not built.
extract() {
    awk -v prefix="$folder/${1##*/}" '
        /^```/ { if (inside) { inside = 0 } else if (length($0) > 3) { inside = 1; name = prefix "-" ++count "." substr($0, 4) } ; next }
        inside { print > name }' "$1"
}

build() {
    local source
    # shellcheck disable=SC2086 # the flags are words
    for source in "$folder"/*.c "$folder"/*.cpp; do
        case $source in
        *.c) cc ${CFLAGS-} -std=c99 -Wall -Werror -I "$root/include" -o "${source%.*}" "$source" -L "$build_dir/src" -lostrel \
                -Wl,-rpath,"$build_dir/src" ;;
        *) c++ ${CXXFLAGS-} -std=c++17 -Wall -Werror -I "$root/include" -o "${source%.*}" "$source" -L "$build_dir/src" \
               -lostrel -llog4cplus -Wl,-rpath,"$build_dir/src" ;;
        esac
    done
}

run_all() {
    local source
    for source in "$folder"/*.c "$folder"/*.cpp; do
        echo "--- ${source##*/}"
        "$build_dir/tools/ostrelctl/ostrelctl" watch -- "${source%.*}" >>arrived 2>&1
    done
}

# Fails if a hit of the README did not arrive or the guide's log line is missing.
compare() {
    cat arrived
    [[ -z $(grep -vxFf arrived README.md-*.text) ]]
    grep 'ostrel.statistic: feature_name=run.build value=1' host.log
}

build_and_run() {
    build
    run_all
    compare
}

log=$folder/log
step "reference" reference
step "table of CMake options" options
step "help of every script" help_of_all
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
step "tables of parameters" parameters
step "programs in the documents" build_and_run
