#!/usr/bin/env bash
# Builds and runs what the documents show, and has the reference made without a warning.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-dir DIR] [--nginx]

Makes the reference of the public headers with Doxygen, and builds and runs the
programs in README.md and docs/, against the library in DIR (build/linux).

  --nginx  also run the collector of docs/host-guide.md and post a hit to it
           (its ports 8089 and 8090 have to be free)
  --help   print this text
END
}

build_dir=$root/build/linux
with_nginx=no
while (($#)); do
    case $1 in
    --build-dir) (($# > 1)) || die "--build-dir needs a value"
                 build_dir=$(realpath -- "$2") && shift 2 ;;
    --nginx) with_nginx=yes && shift ;;
    --help) usage && exit ;;
    *) die "unknown option: $1 (see --help)" ;;
    esac
done

[[ $with_nginx == no ]] || "$root/scripts/bootstrap.sh" collector

folder=$(mktemp -d)
server=
clean_up() {
    [[ -z $server ]] || kill "$server" 2>/dev/null || true
    rm -rf -- "$folder"
}
trap clean_up EXIT

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

take_a_hit() {
    nginx -p "$folder" -e stderr -g "pid $folder/pid; daemon off;" -c "$folder"/host-guide.md-*.nginx &
    server=$!
    until [[ -e $folder/pid ]]; do
        kill -0 "$server" || return 1
        sleep 0.05
    done
    export OSTREL_COLLECTION_URL=http://127.0.0.1:8089/collect
    "$build_dir/examples/c_host/c_host"
    kill "$server" && wait "$server"
    cat "$folder/hits.log"
    [[ $(grep -c 'v=1&tid=UA-40271936-07&cid=.*&t=event&ec=.*&cd3=n$' "$folder/hits.log") == 5 ]]
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
[[ $with_nginx == no ]] || { XDG_DATA_HOME=$folder/nginx; step "nginx as a collector" take_a_hit; cat "$log"; }
