#!/usr/bin/env bash
# Runs the fuzz targets of build/fuzz, one on each processor, and prints executions and coverage.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"
readonly targets=(bag datetime feature utf consent bridge)

usage() {
    cat <<END
Usage: ${0##*/} [--seconds N] [TARGET...]

Targets (default: all): ${targets[*]}

  --seconds N  duration of each target, in seconds (20)
  --help       print this text

A finding is an input that makes a target fail. It is stored in
build/fuzz/found/TARGET. After the fix, copy it to fuzz/corpus/TARGET, so that
every run tests it.
END
}

# fuzz TARGET: prints one line. If the target fails, also prints the end of the fuzzer's log.
fuzz() {
    local found=$root/build/fuzz/found/$1 status=0
    mkdir -p "$found/corpus"
    "$root/build/fuzz/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$found/" "$found/corpus" "$root/fuzz/corpus/$1" >"$found/log" 2>&1 </dev/null || status=$?
    printf '%-10s %s executions, coverage %s\n' "$1" \
        "$(sed -n 's/^stat::number_of_executed_units: *//p' "$found/log")" \
        "$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$found/log" | tail -n 1)"
    ((!status)) || tail -n 40 "$found/log" >&2
    return $status
}

seconds=20
selected=()
while (($#)); do
    case $1 in
    --help) usage && exit ;;
    --seconds) [[ ${2-} =~ ^[0-9]+$ ]] || die "--seconds needs a number"
               seconds=$2 && shift ;;
    *) [[ " ${targets[*]} " == *" $1 "* ]] || die "no such target: $1 (see --help)"
       selected+=("$1") ;;
    esac
    shift
done
((${#selected[@]})) || selected=("${targets[@]}")

export root seconds
export -f fuzz
# The targets write files. If /dev/shm is writable, these files are in memory.
[[ ! -w /dev/shm ]] || TMPDIR=$(mktemp -d /dev/shm/ostrel-fuzz.XXXXXX)
export TMPDIR=${TMPDIR:-/tmp}
trap '[[ $TMPDIR != /dev/shm/* ]] || rm -rf "$TMPDIR"' EXIT
printf '%s\n' "${selected[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz {}'
