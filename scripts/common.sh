# Functions for the other scripts, which source this file.

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# step NAME COMMAND...: runs the command and prints NAME and the duration. The output is written to $log and shown only
# if the command fails. The subshell is not part of a condition, because bash ignores errexit inside conditions.
step() {
    local name=$1 start=$SECONDS status=0
    shift
    printf '%-40s' "$name"
    mkdir -p "${log%/*}"
    set +e
    (set -e && "$@") >"$log" 2>&1 </dev/null
    status=$?
    set -e
    if ((status)); then
        printf 'failed (%d)\n' "$status"
        tail -n 60 "$log" >&2
        exit 1
    fi
    printf '%4d s\n' $((SECONDS - start))
}

# missing_packages PACKAGE...: prints the Debian packages that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        # dpkg-query prints a line for each architecture. A package that is known only because
        # others refer to it has the status "not-installed".
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

# report TITLE: prints the lines on standard input as faults below TITLE and sets $faults. No lines: no fault.
faults=0
report() {
    local lines
    lines=$(cat)
    [[ -n $lines ]] || return 0
    printf '%s:\n%s\n' "$1" "$lines"
    faults=1
}
