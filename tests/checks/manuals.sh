#!/usr/bin/env bash
# Checks the manual pages that were made: manuals.sh FOLDER COMMAND
set -euo pipefail
folder=$1
command=$2
failed=0
fail() {
    echo "manuals: $*" >&2
    failed=1
}
for name in $("$command" help --json | sed -n 's/^        "name": "\([a-z-]*\)",$/\1/p'); do
    page=$folder/scsitool-$name.1
    [ -s "$page" ] || { fail "no page of $name"; continue; }
    for section in NAME SYNOPSIS DESCRIPTION EXAMPLES 'EXIT STATUS' FILES 'SEE ALSO'; do
        grep -q "^\.SH $section\$" "$page" || fail "scsitool-$name(1) has no $section"
    done
    grep -q "scsitool-$name" "$folder/scsitool.1" || fail "scsitool(1) does not name $name"
done
for page in scsitool.1 libscsitool.3 scsitool-host.5; do
    [ -s "$folder/$page" ] || fail "no $page"
done
[ "$(ls "$folder" | wc -l)" -ge 20 ] || fail "these are too few: $(ls "$folder")"
for page in "$folder"/*; do
    ! grep -q '^\.TS' "$page" || head -n 1 "$page" | grep -qx "'.. t" || fail "$page does not announce its tables"
    mandoc -T lint -W warning "$page" || fail "$page is no sound page"
    [ "$(man --local-file "$page" 2>/dev/null | col -b | wc -l)" -gt 20 ] || fail "$page shows nothing"
    [ -n "$(lexgrog "$page" | grep -v 'parse failed')" ] || fail "apropos does not find $page"
done
exit $failed
