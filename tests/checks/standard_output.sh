#!/usr/bin/env bash
# What the library prints by itself, that a directory could not be read to its end, reaches standard
# error: standard output holds one whole document.
#   standard_output.sh COMMAND C++-COMPILER
set -euo pipefail
command=$1 compiler=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Every directory opens and fails at its first entry.
"$compiler" -shared -fPIC -x c++ - -o "$folder/failing.so" <<'END'
#include <cerrno>
extern "C" void* readdir(void*) { errno = EIO; return nullptr; }
extern "C" void* readdir64(void*) { errno = EIO; return nullptr; }
END
# One name, so that no other disk of this machine is opened.
LD_PRELOAD=$folder/failing.so "$command" devices /dev/none --json \
    >"$folder/out" 2>"$folder/err" || true
grep -q 'error reading directory /dev/' "$folder/err" || {
    echo "standard error does not tell of the directory:" && cat "$folder/err"
    exit 1
}
python3 -c 'import json, sys; json.load(open(sys.argv[1]))["scsitool"]' "$folder/out"
