# bash completion for quorvel-check

_quorvel_check() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    case $previous in
        --root | --system-root | --data-dir)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames
            return
            ;;
        --catalog | --os-version) return ;;
    esac
    local options="--root --system-root --os-version --catalog --data-dir --all --json --show-request --exit-zero
        --version --help"
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
}
complete -F _quorvel_check quorvel-check
