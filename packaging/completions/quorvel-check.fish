# fish completion for quorvel-check
complete -c quorvel-check -f
complete -c quorvel-check -l root -x -a '(__fish_complete_directories)' -d 'Search this folder'
complete -c quorvel-check -l system-root -x -a '(__fish_complete_directories)' -d 'Search the macOS volume mounted here'
complete -c quorvel-check -l os-version -x -d 'Take this as the running macOS version'
complete -c quorvel-check -l catalog -x -d "Base URL of the catalog's API"
complete -c quorvel-check -l timeout -x -d 'Give a request up after so much silence, in seconds'
complete -c quorvel-check -l data-dir -x -a '(__fish_complete_directories)' -d 'Folder for instance id, ignored versions and log'
complete -c quorvel-check -l all -d 'Print every application with its outcome'
complete -c quorvel-check -l json -d 'Print one JSON document'
complete -c quorvel-check -l show-request -d 'Print what would be sent, and send nothing'
complete -c quorvel-check -l explain -x -d 'Tell how one application came to its outcome'
complete -c quorvel-check -l ignore -x -d 'Ignore the version now offered for a bundle identifier'
complete -c quorvel-check -l unignore -x -d 'Listen to newer versions of a bundle identifier again'
complete -c quorvel-check -l exit-zero -d 'Exit with 0 also when newer versions exist'
complete -c quorvel-check -s V -l version -d 'Print the version'
complete -c quorvel-check -s h -l help -d 'Print a short description'
