#!/usr/bin/env bash
# Counts the instructions of a notification, of a delivery, and of creating and destroying an object. Fails if a count
# exceeds its limit.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--limits FILE]

Installs missing packages, builds, counts instructions with callgrind, and prints
a table in Markdown. Fails if a count exceeds its limit.

  --limits FILE  read the limits from FILE (bench/limits.txt)
  --help         print this text
END
}

limits=$root/bench/limits.txt
case ${1-} in
--help) usage && exit ;;
--limits) (($# == 2)) || die "--limits needs a value"
          limits=$2 ;;
'') ;;
*) die "unknown option: $1 (see --help)" ;;
esac

readonly calls=1000 hits=2000
readonly host=$root/build/bench/bench/instructions
work=$(mktemp -d)
trap 'rm -rf "$work"; [[ -z ${server-} ]] || exec {server}>&-' EXIT

# count OUT ARGUMENT...: runs the host under callgrind, which writes one file for each thread: OUT-01, OUT-02, ...
count() {
    valgrind --tool=callgrind --instr-atstart=no --separate-threads=yes --callgrind-out-file="$work/$1" \
        "$host" "${@:2}" >"$work/log" 2>&1 || { cat "$work/log" >&2; die "callgrind failed"; }
}

# total FILE...: prints the largest count in the files.
total() { sed -n 's/^totals: //p' "$@" | sort -n | tail -n 1; }

# a_call WHAT NAMES: prints the instructions of one call in the calling thread.
a_call() {
    count "$1-$2" "$1" "$2" "$calls"
    echo $(($(total "$work/$1-$2-01") / calls))
}

# Prints the instructions of the sending thread for each hit, in per cent of the bare loop.
delivery() {
    local ours bare url
    coproc serve { exec "$host" serve; }
    server=${serve[1]}
    read -r url <&"${serve[0]}"
    BENCH_URL=$url count sent routed 100 "$hits"
    rm -f "$work/sent-01"
    BENCH_URL=$url count bare bare 151 "$hits"
    exec {server}>&-
    server=
    ours=$(total "$work"/sent-*) bare=$(total "$work"/bare-*)
    echo "instructions per hit: sending thread $((ours / hits)), bare loop $((bare / hits))" >&2
    echo $((100 * ours / bare))
}

"$root/scripts/bootstrap.sh" build bench
cd "$root"
log=build/bench/build.log
step "configure bench" cmake -G Ninja -B build/bench -DCMAKE_BUILD_TYPE=Release -DOSTREL_BUILD_BENCH=ON \
    -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_EXAMPLES=OFF
step "build bench (log in $log)" cmake --build build/bench --target instructions

# an_object WHAT NAMES: prints the instructions to create and destroy the first object of a process.
an_object() {
    count "$1-$2" "$1" "$2" 1
    total "$work/$1-$2-01"
}

declare -A counted
for what in {,silenced-}{routed,escaped,missed,off}; do
    counted[$what]=$(a_call "$what" 100)
done
counted[create-off]=$(an_object create-off 100)
counted[create]=$(an_object create 100)
counted[filter]=$((counted[create-off] - $(an_object create-off 1)))
counted[names]=$(($(a_call routed 1000) - $(a_call routed 1)))
counted[delivery]=$(delivery)
if grep -q pthread_mutex_lock "$work/silenced-off-100-01"; then
    die "a notification takes a lock while collection and the logger are off"
fi

declare -rA titles=(
    [routed]="enabled and routed, until the hit is in the queue" [escaped]="enabled and routed, name needs escaping"
    [missed]="name not in the filter" [off]="collection off, day of use already recorded"
    [silenced-routed]="logger off: enabled and routed" [silenced-escaped]="logger off: name needs escaping"
    [silenced-missed]="logger off: name not in the filter" [silenced-off]="logger off: collection off, no lock"
    [names]="increase from 1 to 1,000 names in the filter" [delivery]="delivery, per cent of a bare loop"
    [create-off]="create and destroy, collection off, 100 names" [create]="create and destroy, collecting, 100 names"
    [filter]="create, increase from 1 to 100 names in the filter"
)
printf '\n| instructions per call | goal | limit | counted | |\n|---|---|---|---|---|\n'
status=0
while read -r what limit goal; do
    verdict=met
    ((${counted[$what]} <= goal)) || verdict=missed
    ((${counted[$what]} <= limit)) || { verdict="limit exceeded" && status=1; }
    printf '| %s | ≤ %d | %d | %d | %s |\n' "${titles[$what]}" "$goal" "$limit" "${counted[$what]}" "$verdict"
done < <(grep -v '^#' "$limits")
exit $status
