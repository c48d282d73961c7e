Not a folder.
