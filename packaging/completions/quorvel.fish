# fish completion for quorvel
complete -c quorvel -f
complete -c quorvel -l action -x -d 'Carry out an action in the running instance' -a "
    check-for-updates\t'Check now'
    show-error-log\t'Show the log'
    ignored-versions\t'Show the ignored versions'
    about\t'Show what this is'
    quit\t'End the running instance'"
complete -c quorvel -l version -d 'Print the version'
complete -c quorvel -l help -d 'Print a short description'
