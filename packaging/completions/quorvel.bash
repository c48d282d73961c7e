# bash completion for quorvel

_quorvel() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local words="--action --system-root --catalog --data-dir --version --help"
    case $previous in
        --action) words="check-for-updates show-error-log ignored-versions about quit" ;;
        --system-root | --data-dir)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            return
            ;;
        --catalog) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _quorvel quorvel
