#!/usr/bin/env bash
# Checks the completions of bash for ostrelctl. Argument: the completion script.
set -euo pipefail
# shellcheck source=/dev/null
source "$1"
compopt() { :; } # the builtin works in an interactive shell only

# offers EXPECTED WORD...: fails if the completions of the last word differ.
offers() {
    local expected=$1
    shift
    COMP_WORDS=(ostrelctl "$@") COMP_CWORD=$# COMPREPLY=()
    _ostrelctl
    [[ "${COMPREPLY[*]}" == "$expected" ]] || { echo "$*: offers '${COMPREPLY[*]}', expected '$expected'" && exit 1; }
}

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
cd "$folder"
mkdir status
touch 'x filter.xml'
[[ $(complete -p ostrelctl) != *filenames* ]] || { echo "commands are completed like files" && exit 1; }
offers status sta
offers "yes no forget --json --help" consent ''
offers 'x filter.xml' status --filter x
offers 'x filter.xml' status --filter = x
offers 'status x filter.xml' status --filter =
offers status preview --product-folder = s
offers '' status --product s
offers '--raw --json --help --' watch --raw --
offers 'x filter.xml' watch -- cat x
offers '' watch -- no-such-comman
