#!/usr/bin/env bash
# Measures speed and memory against the library's goals and prints the results as Markdown.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--plot]

Installs missing packages, builds, measures for some minutes, and prints tables.
Each row has a figure, its goal, and whether the goal is met. Other programs on
the machine change the times, but hardly the numbers of instructions or the
ratios of two measurements.

  --plot  also measure the cost for more names, threads and hits, and draw the
          results to docs/growth.svg
  --help  print this text
END
}

filter='-/(1|10|1000|10000|100000|4|8)(/|$)|^hits'
case ${1-} in
--help) usage && exit ;;
--plot) filter=. ;;
'') ;;
*) die "unknown option: $1 (see --help)" ;;
esac

"$root/scripts/bootstrap.sh" build bench
cd "$root"
log=build/bench/build.log
step "configure bench" cmake -G Ninja -B build/bench -DCMAKE_BUILD_TYPE=Release -DOSTREL_BUILD_BENCH=ON \
    -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_EXAMPLES=OFF
step "build bench (log in $log)" cmake --build build/bench
status=0
bench/instructions.sh || status=$?
build/bench/bench/ostrel_bench --benchmark_filter="$filter" --benchmark_min_time=0.2 \
    --benchmark_out=build/bench/figures.json --benchmark_out_format=json | tee build/bench/figures.txt | sed -n '/^|/,$p'
[[ $filter != . ]] || scripts/plot_growth.py build/bench/figures.json docs/growth.svg
exit $status
