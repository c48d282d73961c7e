# bash completion for quorvel-check

_quorvel_check() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    case $previous in
        --root | --system-root | --data-dir)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames
            return
            ;;
        --inventory | --prometheus)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            return
            ;;
        --host | --catalog | --os-version | --timeout | --explain | --ignore | --unignore) return ;;
    esac
    local options="--root --system-root --os-version --inventory --host --catalog --timeout --data-dir --all --json
        --json-lines --prometheus --exit-zero --explain --ignore --unignore --show-request --version --help"
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
}
complete -F _quorvel_check quorvel-check
