#!/usr/bin/env bash
# Runs clang-tidy over the sources of the library and the command, with the compile commands of the
# given build folder. A file whose inputs did not change since it was last clean is passed over.
#   run_tidy.sh BUILD-FOLDER [CLANG-TIDY]
set -euo pipefail
build=$1 tidy=${2:-clang-tidy}
export build tidy
cache=${XDG_CACHE_HOME:-$HOME/.cache}/scsitool-tidy
export cache
mkdir -p "$cache"

check() {
    local source=$1 key checks=
    # The analyzer takes as long as everything else together. It is for the code that handles raw
    # bytes and descriptors, of which the command has none.
    case $source in cli/*) checks='-clang-analyzer-*' ;; esac
    # The preprocessed text, the checks and the tool decide the outcome.
    key=$({
        cat .clang-tidy
        "$tidy" --version
        clang++ -std=c++17 -E -P -w -Iinclude -Isrc/kit/include -Isrc/hosts/include -Isrc -I. -DSCSITOOL_VERSION='""' "$source"
        cat "$source"
    } 2>/dev/null | sha256sum | cut -d' ' -f1)
    if [ -e "$cache/$key" ]; then
        return 0
    fi
    "$tidy" --quiet --checks="$checks" -p "$build" "$source" 2>/dev/null || return 1
    : >"$cache/$key"
}
export -f check

git ls-files -z 'src/*.cc' 'cli/*.cc' | xargs -0 -n 1 -P "$(nproc)" bash -c 'check "$1"' check
