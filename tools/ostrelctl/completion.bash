# Completes ostrelctl's commands and options in bash.
_ostrelctl() {
    local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local words='' i
    # After "--" of watch, completes a command and then files.
    for ((i = 2; i < COMP_CWORD; ++i)); do
        [[ $command == watch && ${COMP_WORDS[i]} == -- ]] || continue
        if ((i + 1 == COMP_CWORD)); then
            mapfile -t COMPREPLY < <(compgen -c -- "$current")
        else
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
        fi
        return
    done
    # bash splits --filter=FILE at the "=".
    if [[ $current == = ]]; then
        current=''
    elif [[ $option == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $option in
    --filter | --product-folder)
        compopt -o filenames
        [[ $option == --filter ]] && mapfile -t COMPREPLY < <(compgen -f -- "$current")
        [[ $option == --filter ]] || mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --product | --settings | --product-version) return ;;
    esac
    case $command in
    status) words='--product --settings --product-folder --filter --json --help' ;;
    preview) words='--product --settings --product-folder --filter --product-version --json --help' ;;
    consent) words='yes no forget --json --help' ;;
    products) words='--json --help' ;;
    watch) words='--raw --json --help --' ;;
    esac
    ((COMP_CWORD > 1)) || words='status preview consent products watch --help --version'
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _ostrelctl ostrelctl
