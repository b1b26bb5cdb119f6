#!/usr/bin/env bash
# Completes command lines in each shell as its user does: completion.sh SOURCE-FOLDER COMMAND
set -euo pipefail
source=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
ln -s "$(realpath "$2")" "$folder/scsitool"
export PATH=$folder:$PATH
host=$source/samples/enterprise.json
guest=$source/samples/sick-dead-path.json
cd "$folder"
touch a-file
failed=0

in_bash() {
    bash --norc -c '
        source "$1"
        COMP_LINE=$2 COMP_POINT=${#2}
        compopt() { [ "$2" = default ] && echo "(files)"; return 0; }
        _scsitool
        printf "%s\n" "${COMPREPLY[@]}"' bash "$source/packaging/completion/scsitool.bash" "$1"
}

in_zsh() {
    zsh -f -c '
        words=("${(@s: :)2}") CURRENT=${#words}
        _files() { echo "(files)" }
        _describe() { local one; for one in "${(@)described}"; do print -r -- "${${one//\\:/%}%%:*}"; done | tr % :; }
        complete_it() { source "$1" }
        complete_it "$1"' zsh "$source/packaging/completion/_scsitool" "$1"
}

in_fish() {
    fish --no-config -c 'source $argv[1]; complete --do-complete $argv[2]' "$source/packaging/completion/scsitool.fish" "$1" |
        cut -f 1 | sed 's/^a-file$/(files)/'
}

# expect SHELL LINE CANDIDATE...: these and no others.
expect() {
    local shell=$1 line=$2 found wanted
    shift 2
    wanted=$(printf '%s\n' "$@" | sort)
    found=$("in_$shell" "$line" | sed '/^$/d' | sort)
    if [ "$found" != "$wanted" ]; then
        printf 'completion: %s: "%s": found\n%s\nnot\n%s\n' "$shell" "$line" "$found" "$wanted" >&2
        failed=1
    fi
}

for shell in bash zsh fish; do
    expect "$shell" 'scsitool volu' volumes
    expect "$shell" 'scsitool iscsi lo' login logout
    expect "$shell" 'scsitool rescan --ch' --changes
    expect "$shell" "scsitool --host $host udid /dev/mapper/mpathc" /dev/mapper/mpathc
    expect "$shell" "scsitool --host $host udid /dev/emc" /dev/emcpowera
    expect "$shell" 'scsitool volumes --sort ud' udid
    expect "$shell" 'scsitool capture a-f' '(files)'
done
# What bash takes for an end of a word stays as it was typed.
expect bash "scsitool --host $guest udid 1:0:0:1" 1
expect zsh "scsitool --host $guest udid 1:0:0:1" 1:0:0:1
expect fish "scsitool --host $guest udid 1:0:0:1" 1:0:0:1
expect bash 'scsitool volumes -o volume,ud' volume,udid
exit $failed
