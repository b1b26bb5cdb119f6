# Completion of scsitool for fish: the command itself knows what may stand where.
function __scsitool_complete
    set -l words (commandline --tokenize --cut-at-cursor --current-process)
    set -l current (commandline --current-token --cut-at-cursor)
    set -l found ($words[1] __complete -- $words[2..] "$current" 2>/dev/null)
    if test "$found[1]" = :files
        __fish_complete_path "$current"
    else
        printf '%s\n' $found
    end
end
complete --command scsitool --no-files --arguments '(__scsitool_complete)'
