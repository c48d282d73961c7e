# fish completion for quorvel
complete -c quorvel -f
complete -c quorvel -l action -x -d 'Carry out an action in the running instance' -a "
    check-for-updates\t'Check now'
    show-error-log\t'Show the log'
    ignored-versions\t'Show the ignored versions'
    about\t'Show what this is'
    quit\t'End the running instance'"
complete -c quorvel -l system-root -x -a '(__fish_complete_directories)' -d 'Search the volume of a Mac'
complete -c quorvel -l catalog -x -d 'Base URL of the catalog'
complete -c quorvel -l data-dir -x -a '(__fish_complete_directories)' -d 'Folder for what is kept'
complete -c quorvel -s V -l version -d 'Print the version'
complete -c quorvel -s h -l help -d 'Print a short description'
