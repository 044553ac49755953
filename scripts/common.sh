# What the other scripts share: quiet steps, the list of missing packages, and faults that are collected. Sourced, not
# run.

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Prints one line a step: its name, then how long it took. The output goes into $log and is shown only when the
# step fails. The subshell is no part of a condition, for there bash would ignore errexit inside it.
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

# Prints those of the given Debian packages that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        # A line for each architecture; "not-installed" is what one says that others merely mention.
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

# report TITLE: the lines on standard input are faults of that kind; without any nothing is said.
faults=0
report() {
    local lines
    lines=$(cat)
    [[ -n $lines ]] || return 0
    printf '%s:\n%s\n' "$1" "$lines"
    faults=1
}
