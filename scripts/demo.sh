#!/usr/bin/env bash
# Runs the main job where it can be watched: two hosts report features, a collector prints what arrives, and
# this script checks that it is what should have arrived.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-dir DIR]

Installs what is missing, builds, and runs the example hosts against the
example collector on this machine. Fails when what arrives is not what should.

  --build-dir DIR  use what is built in DIR; install and build nothing
  --help           print this text
END
}

build_dir=
while (($#)); do
    case $1 in
    --build-dir) (($# > 1)) || die "--build-dir needs a value"
                 build_dir=$2 && shift 2 ;;
    --help) usage && exit ;;
    *) die "unknown option: $1 (see --help)" ;;
    esac
done

build() {
    "$root/scripts/bootstrap.sh" build test
    cd "$root"
    log=build/linux/demo.log
    step "configure" cmake --preset linux
    step "build (log in $log)" cmake --build --preset linux \
        --target collector c_host cpp_host logging_host
}

# A folder of our own for everything that the library keeps; the user's own is never touched.
folder=$(mktemp -d)
collector_pid=
clean_up() {
    [[ -z $collector_pid ]] || kill "$collector_pid" 2>/dev/null || true
    rm -rf -- "$folder"
}
trap clean_up EXIT

start_collector() {
    "$build_dir/examples/collector/collector" --port-file "$folder/port" >"$folder/collector.txt" &
    collector_pid=$!
    until [[ -e $folder/port ]]; do
        kill -0 "$collector_pid" 2>/dev/null || die "the collector did not start"
        sleep 0.05
    done
}

stop_collector() {
    kill -TERM "$collector_pid"
    wait "$collector_pid" || die "the collector failed"
    collector_pid=
}

# Everything in the environment that could change what is collected or where it goes is set here.
prepare_environment() {
    unset NORVANE_STATISTICS_DISABLE NORVANE_DONOTSEND_FEEDBACK NORVANE_DISABLE_FEEDBACK
    unset NORVANE_FORCE_FEEDBACK NORVANE_FORCE_UUID
    unset OSTREL_DISABLE_PELLAR NORVANE_DISABLE_UPDATES_CHECK XRDP_SESSION
    unset http_proxy all_proxy ALL_PROXY no_proxy NO_PROXY
    export XDG_DATA_HOME=$folder/data PELLAR_DIR=$folder/manager TMPDIR=$folder
    # "localhost" needs no DNS, and its address is not one of the corporate network's.
    export OSTREL_CORPORATE_DOMAIN=localhost
    export OSTREL_COLLECTION_URL="http://127.0.0.1:$(<"$folder/port")/collect"
}

# Three tools in the place of the maker's software manager, one file under its names: each notes how it was called,
# answers where it is asked for the machine id, and takes the file that it is to upload.
write_manager() {
    local name
    mkdir -p "$PELLAR_DIR"
    cat >"$PELLAR_DIR/stand_in" <<'END'
#!/bin/sh
echo "${0##*/} $*" >>"${0%/*}/calls.txt"
for last in "$@"; do :; done
case "$1 $2" in
'-u '*) echo 'MANAGED-BY-A-STAND-IN' >"$last" ;;
'-t i') rm -f -- "$last" ;;
esac
END
    chmod +x "$PELLAR_DIR/stand_in"
    for name in norvaneremotemon pellar checkVIRKconsent; do
        ln -s stand_in "$PELLAR_DIR/$name.exe"
    done
}

# The tools that nobody waits for may come late on a busy machine.
wait_for_calls() {
    local count=0 deadline=$((SECONDS + 120))
    until ((count >= $1 || SECONDS > deadline)); do
        count=$(wc -l <"$PELLAR_DIR/calls.txt")
        ((count >= $1)) || sleep 0.05
    done
}

# Runs a host with a data folder of that name, and shows what it says.
run_host() {
    local data=$1 title=$2
    shift 2
    printf '\n=== %s\n' "$title"
    echo "$title:" >>"$folder/withheld.txt"
    XDG_DATA_HOME=$folder/$data "$@" | tee "$folder/host.txt"
    sed '1,/^Withheld/d' "$folder/host.txt" >>"$folder/withheld.txt"
}

# The hits of one host share one connection, and who may not send opens none.
expected() {
    local c='product "c_host", version "2.7.312 & more", regular user: no'
    local cpp='product "vemtra", version "7.1.312", regular user: yes'
    local logging='product "vemtra", version "3.0.14", regular user: no'
    cat <<END
category "debugger.attach", no label, $c
category "editor", label "open.file", $c
category "editor.refactor", label "rename", $c
category "editor", label "recent.résumé 日本", $c
category "run", label "build", $c
category "session", label "build.begin", $cpp
category "run", label "compiler", $cpp
category "session", label "build.end", $cpp
category "report", label "print", $logging
9 hits over 3 connections, 0 malformed
END
}

# How the C++ host must have called the manager in each of its two runs. Those that nobody waits for come in any
# order.
expected_calls() {
    local run
    for run in 1 2; do
        cat <<END
checkVIRKconsent.exe -g
checkVIRKconsent.exe -w -s PID
norvaneremotemon.exe -t i -e statistic -m $folder/ostrel-cpp-host-usage.txt
norvaneremotemon.exe -u $folder/uuid-PID-1.txt
pellar.exe --product_guid {00000000-0000-0000-0000-000000000000} --action check
END
    done | sort
}

# The lines of the library that have to stand in the log of the host that brings one.
expected_log() {
    cat <<'END'
INFO  ostrel.statistic: feature_name=report.print value=1
INFO  ostrel.statistic: feature_name=import.text value=1
END
}

# Three earlier days of use, so that today makes a regular user of the C++ host's user.
write_earlier_days() {
    local days ago
    days=$folder/agrees/'Norvane Corporation'/cpp_host/settings/statistic
    mkdir -p "$days"
    {
        echo '<bag>'
        for ago in 9 5 2; do
            date -u -d "$ago days ago" \
                '+<item><Y type="int">%Y</Y><M type="int">%-m</M><D type="int">%-d</D></item>'
        done
        echo '</bag>'
    } >"$days/last_active_dates.xml"
}

# check WHAT EXPECTED FOUND: two files that have to be the same.
check() {
    diff -u "$2" "$3" && return
    echo "The demo FAILED: $1 (+) is not what it should be (-)."
    exit 1
}

show_and_check() {
    printf '\n=== What arrived at the collector\n'
    cat "$folder/collector.txt"
    printf '\n=== What was withheld, and why\n'
    cat "$folder/withheld.txt"
    printf '\n=== What the software manager was asked\n'
    sort "$PELLAR_DIR/calls.txt"
    echo
    check "what arrived" <(expected) <(sed '/^listening/d; s/^hit [0-9]*: //' "$folder/collector.txt")
    check "what the manager was asked" <(expected_calls) \
        <(sed -E 's/(-s |uuid-)[0-9]+/\1PID/' "$PELLAR_DIR/calls.txt" | sort)
    check "what the host's log says" <(expected_log) <(grep '^INFO  ostrel' "$folder/logging.txt")
    echo "The demo passed: exactly what should have arrived did, in its order."
}

if [[ -z $build_dir ]]; then
    build
    build_dir=$root/build/linux
fi
start_collector
prepare_environment
write_earlier_days
write_manager
run_host agrees "A C host whose user agrees" "$build_dir/examples/c_host/c_host"
run_host agrees "A C++ host of the same user, on its fourth day of use" "$build_dir/examples/cpp_host/cpp_host"
run_host refuses "A C host whose user refuses" "$build_dir/examples/c_host/c_host" --refuse
NORVANE_STATISTICS_DISABLE=0 run_host agrees "The user who agreed, with NORVANE_STATISTICS_DISABLE set" \
    "$build_dir/examples/cpp_host/cpp_host"
run_host logs "A C++ host that brings its own log" "$build_dir/examples/logging_host/logging_host"
cp "$folder/host.txt" "$folder/logging.txt"
wait_for_calls 10
stop_collector
show_and_check
