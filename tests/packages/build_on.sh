#!/usr/bin/env bash
# Builds and tests what is committed in a Debian of its own that holds nothing yet: ./run, then ./test.
#   build_on.sh SUITE [STEP ...]      (trixie; all steps but the emulator's when none is named)
# Needs root's rights and the mirror of apt. What is fetched and what is compiled is kept in build/chroots;
# CMAKE_BUILD_PARALLEL_LEVEL goes along.
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
top=$(cd -- "$here/../.." && pwd)
. "$here/chroot.sh"

suite=${1:?"usage: build_on.sh SUITE [STEP ...]"}
shift
if [ $# -eq 0 ]; then
    set -- style gcc packages sanitize fuzz tidy bench
fi
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
make_chroot "$suite" "$work"
git clone --quiet "file://$top" "$work/tree"

in_the_tree() {
    local begun=$SECONDS
    run_in "$work" env ${CMAKE_BUILD_PARALLEL_LEVEL:+"CMAKE_BUILD_PARALLEL_LEVEL=$CMAKE_BUILD_PARALLEL_LEVEL"} \
        sh -c 'cd /tree && exec "$@"' sh "$@"
    printf '%s: %s: %d s\n' "$suite" "$*" $((SECONDS - begun))
}

in_the_tree ./run
in_the_tree ./test "$@"
