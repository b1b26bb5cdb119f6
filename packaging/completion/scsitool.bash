# Completion of scsitool for bash: the command itself knows what may stand where.
_scsitool() {
    local line=${COMP_LINE:0:COMP_POINT} words found IFS=$' \t\n'
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=('')
    mapfile -t found < <("${words[0]}" __complete -- "${words[@]:1}" 2>/dev/null)
    COMPREPLY=()
    if [[ ${found[0]} == :files ]]; then
        compopt -o default
        return
    fi
    # Words end for bash behind ":" and "=", so what stands before these is not its to replace.
    local current=${words[-1]} stays
    stays=${current%"${current##*[:=]}"}
    found=("${found[@]%%$'\t'*}")
    COMPREPLY=("${found[@]#"$stays"}")
    [[ ${#found[@]} -eq 1 && ${found[0]} == *[,=] ]] && compopt -o nospace
    return 0
}
complete -F _scsitool scsitool
