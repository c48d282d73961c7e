# bash completion for quorvel

_quorvel() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local words="--action --version --help"
    [ "$previous" = --action ] && words="check-for-updates show-error-log ignored-versions about quit"
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _quorvel quorvel
