#!/usr/bin/env bash
# Example hosts report features, and an example collector prints the hits that arrive. Fails if other hits than expected
# arrive.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/common.sh"

usage() {
    cat <<END
Usage: ${0##*/} [--build-dir DIR] [linux | windows]

Installs missing packages, builds, and runs the example hosts, which send hits to
the example collector on this machine. Fails if the hits that arrive are not the
expected ones. Default: linux. With windows, hosts and collector run under Wine.

  --build-dir DIR  use the programs in DIR; install and build nothing
  --help           print this text
END
}

build_dir=
system=linux
while (($#)); do
    case $1 in
    --build-dir) (($# > 1)) || die "--build-dir needs a value"
                 build_dir=$2 && shift 2 ;;
    --help) usage && exit ;;
    linux | windows) system=$1 && shift ;;
    *) die "unknown option: $1 (see --help)" ;;
    esac
done

build() {
    "$root/scripts/bootstrap.sh" build test
    [[ $system == linux ]] || { "$root/scripts/windows-deps.sh" && "$root/scripts/bootstrap.sh" wine; }
    cd "$root"
    log=build/$system/demo.log
    step "configure" cmake --preset "$system"
    step "build (log in $log)" cmake --build --preset "$system" \
        --target collector c_host cpp_host logging_host manager_stand_in
}

# The library stores its data only in this temporary folder, never in the data folder of the real user. Each example
# user has a data folder or a Wine prefix in it.
folder=$(mktemp -d)
collector_pid=
clean_up() {
    local prefix
    [[ -z $collector_pid ]] || exec {collector[1]}>&-
    for prefix in "$folder"/*/drive_c; do
        [[ ! -d $prefix ]] || OSTREL_WINE_PREFIX=${prefix%/*} "$root/scripts/wine.sh" --end
    done
    rm -rf -- "$folder"
}
trap clean_up EXIT

data_of() {
    if [[ $system == linux ]]; then
        echo "$folder/$1"
    else
        OSTREL_WINE_PREFIX=$folder/$1 "$root/scripts/wine.sh" --data
    fi
}

# run USER NAME ARGUMENT...: runs the example NAME with the data of USER.
run() {
    local user=$1 name=$2
    shift 2
    if [[ $system == linux ]]; then
        XDG_DATA_HOME=$folder/$user "$build_dir/examples/$name/$name" "$@"
    else
        OSTREL_WINE_PREFIX=$folder/$user "$root/scripts/wine.sh" "$build_dir/examples/$name/$name.exe" "$@" | tr -d '\r'
    fi
}

# The collector stops when its standard input is closed, because a Windows program receives no Linux signals.
start_collector() {
    coproc collector { run nobody collector --until-input-ends --port-file "$folder/port" >"$folder/collector.txt"; }
    # shellcheck disable=SC2154 # set by coproc
    collector_pid=$collector_PID
    until [[ -e $folder/port ]]; do
        kill -0 "$collector_pid" 2>/dev/null || die "the collector did not start"
        sleep 0.05
    done
}

stop_collector() {
    local pid=$collector_pid
    collector_pid=
    exec {collector[1]}>&-
    wait "$pid" || die "the collector failed"
}

# Sets every environment variable that could change what is collected or where it is sent.
prepare_environment() {
    unset NORVANE_STATISTICS_DISABLE NORVANE_DONOTSEND_FEEDBACK NORVANE_DISABLE_FEEDBACK
    unset NORVANE_FORCE_FEEDBACK NORVANE_FORCE_UUID
    unset OSTREL_DISABLE_PELLAR NORVANE_DISABLE_UPDATES_CHECK XRDP_SESSION
    unset http_proxy all_proxy ALL_PROXY no_proxy NO_PROXY
    export PELLAR_DIR=$folder/manager TMPDIR=$folder
    [[ $system == linux ]] || PELLAR_DIR="Z:${PELLAR_DIR//\//\\}"
    # "localhost" needs no DNS, and its address is not in the corporate network.
    export OSTREL_CORPORATE_DOMAIN=localhost
    export OSTREL_COLLECTION_URL="http://127.0.0.1:$(tr -d '\r' <"$folder/port")/collect"
}

# Replaces the three tools of the maker's software manager with a program that records its calls.
write_manager() {
    local name program=$build_dir/examples/manager_stand_in/manager_stand_in
    mkdir -p "$folder/manager"
    [[ $system == linux ]] || program+=.exe
    for name in norvaneremotemon pellar checkVIRKconsent; do
        cp "$program" "$folder/manager/$name.exe"
    done
}

# Prints the recorded calls, with Linux line endings.
calls() { tr -d '\r' <"$folder/manager/calls.txt"; }

# wait_for_calls N: waits up to two minutes for N calls, because the host does not wait for all tools.
wait_for_calls() {
    local count=0 deadline=$((SECONDS + 120))
    until ((count >= $1 || SECONDS > deadline)); do
        count=$(calls | wc -l)
        ((count >= $1)) || sleep 0.05
    done
}

# run_host USER TITLE NAME ARGUMENT...: runs a host and shows its output.
run_host() {
    local user=$1 title=$2
    shift 2
    printf '\n=== %s\n' "$title"
    echo "$title:" >>"$folder/withheld.txt"
    run "$user" "$@" | tee "$folder/host.txt"
    sed '1,/^Withheld/d' "$folder/host.txt" >>"$folder/withheld.txt"
}

# Each host sends all its hits over one connection. A host that may not send opens no connection.
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

# The expected calls of the manager in the two runs of the C++ host. They are sorted, because the host does not wait for
# all calls, so their order can change.
expected_calls() {
    local run temporary=$folder/
    [[ $system == linux ]] || temporary="C:\\users\\$(id -un)\\Temp\\"
    for run in 1 2; do
        cat <<END
checkVIRKconsent.exe -g
checkVIRKconsent.exe -w -s PID
norvaneremotemon.exe -t i -e statistic -m ${temporary}ostrel-cpp-host-usage.txt
norvaneremotemon.exe -u ${temporary}uuid-PID-1.txt
pellar.exe --product_guid {00000000-0000-0000-0000-000000000000} --action check
END
    done | sort
}

# The lines of the library that the log of the logging host must contain.
expected_log() {
    cat <<'END'
INFO  ostrel.statistic: feature_name=report.print value=1
INFO  ostrel.statistic: feature_name=import.text value=1
END
}

# Stores three earlier days of use. Today is the fourth, which makes the C++ host's user a regular user.
write_earlier_days() {
    local days ago
    days=$(data_of agrees)/'Norvane Corporation'/cpp_host/settings/statistic
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

# check WHAT EXPECTED FOUND: fails if the files EXPECTED and FOUND differ.
check() {
    diff -u "$2" "$3" && return
    echo "The demo FAILED: $1 (lines with +) differs from what was expected (lines with -)."
    exit 1
}

show_and_check() {
    printf '\n=== What arrived at the collector\n'
    cat "$folder/collector.txt"
    printf '\n=== What was withheld, and why\n'
    cat "$folder/withheld.txt"
    printf '\n=== What the software manager was asked\n'
    calls | sort
    echo
    check "what arrived" <(expected) <(sed '/^listening/d; s/^hit [0-9]*: //' "$folder/collector.txt")
    check "what the manager was asked" <(expected_calls) \
        <(calls | sed -E 's/(-s |uuid-)[0-9]+/\1PID/' | sort)
    check "what the host's log says" <(expected_log) <(grep '^INFO  ostrel' "$folder/logging.txt")
    echo "The demo passed: exactly the expected hits arrived, in the expected order."
}

if [[ -z $build_dir ]]; then
    build
    build_dir=$root/build/$system
fi
start_collector
prepare_environment
write_earlier_days
write_manager
run_host agrees "A C host whose user agrees" c_host
run_host agrees "A C++ host of the same user, on its fourth day of use" cpp_host
run_host refuses "A C host whose user refuses" c_host --refuse
NORVANE_STATISTICS_DISABLE=0 run_host agrees "The user who agreed, with NORVANE_STATISTICS_DISABLE set" cpp_host
run_host logs "A C++ host that brings its own log" logging_host
cp "$folder/host.txt" "$folder/logging.txt"
wait_for_calls 10
stop_collector
show_and_check
