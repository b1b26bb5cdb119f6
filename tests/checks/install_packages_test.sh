#!/usr/bin/env bash
# Has the tools of a distribution played by stand-ins and looks at what is asked of them:
#   install_packages_test.sh SOURCE-FOLDER
set -euo pipefail
script=$1/tools/install_packages.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/bin"
stand_in() {
    printf '#!/bin/bash\n%s\n' "$2" >"$folder/bin/$1"
    chmod +x "$folder/bin/$1"
}
# INSTALLED and KNOWN hold names; what apt-get is told is written down.
stand_in dpkg-query '[[ " $INSTALLED " == *" ${!#} "* ]] && echo installed'
stand_in apt-cache '[[ " $KNOWN " == *" ${!#} "* ]]'
stand_in apt-get 'echo "$@" >>"$LOG"'
stand_in sudo 'exec "$@"'
export PATH=$folder/bin:$PATH LOG=$folder/log
failed=0

# expect NAME INSTALLED KNOWN LIST WHAT-IS-INSTALLED
expect() {
    local asked
    export INSTALLED=$2 KNOWN=$3
    printf '%b' "$4" >"$folder/list"
    : >"$LOG"
    "$script" "$folder/list" 2>/dev/null
    asked=$(sed -n 's/^install -y -qq --no-install-recommends //p' "$LOG")
    if [ "$asked" != "$5" ]; then
        echo "install_packages: $1: installs '$asked', not '$5'" >&2
        failed=1
    fi
}

expect 'all is there' 'a b' 'a b' 'a\nb\n' ''
[ ! -s "$LOG" ] || { echo "install_packages: asks apt-get without need" >&2; failed=1; }
expect 'one is missing' 'a' 'a b' '# words\n\na\nb\n' 'b'
expect 'the second of two is there' 'a-2' 'a-1 a-2' 'a-1 | a-2\n' ''
expect 'both can be had' '' 'a-1 a-2' 'a-1 | a-2\n' 'a-1'
expect 'the second of two can be had' '' 'a-2 b' 'a-1 | a-2\nb\n' 'a-2 b'
expect 'none can be had' '' '' 'a-1 | a-2\n' 'a-1'
exit $failed
