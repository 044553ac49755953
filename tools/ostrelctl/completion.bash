# Completes ostrelctl's commands and options in bash.
_ostrelctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local words='' kind=()
    case $previous in
    --filter) kind=(-f) ;;
    --product-folder) kind=(-d) ;;
    --product | --settings | --product-version) return ;;
    *)
        case $command in
        status) words='--product --settings --product-folder --filter --json --help' ;;
        preview) words='--product --settings --product-folder --filter --product-version --json --help' ;;
        consent) words='yes no --json --help' ;;
        esac
        ((COMP_CWORD > 1)) || words='status preview consent --help --version'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen "${kind[@]}" -W "$words" -- "$current")
}
complete -o filenames -F _ostrelctl ostrelctl
