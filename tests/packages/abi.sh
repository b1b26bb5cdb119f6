#!/usr/bin/env bash
# Holds the interface of the library against the stored one: nothing that programs were linked with may
# go or change; what is added passes.
#   abi.sh [--update]       (writes the stored one anew)
# Types are read from debug information, which the library does not ship with: it is built once more,
# with the same flags otherwise. The stored one is of GCC 12, and another compiler is not asked.
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
top=$(cd -- "$here/../.." && pwd)
build=$top/build/abi
stored=$top/packaging/abi/libscsitool.so.1.abi
library=$build/src/libscsitool.so.1

version=$("${CXX:-c++}" -dumpversion)
if [ "${version%%.*}" != 12 ]; then
    rm -rf "$build"
    echo "abi: not compared: the stored interface is of GCC 12, and this is $version" >&2
    exit 0
fi
mkdir -p "$build"
if ! { cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS=-g \
    -DSCSITOOL_COMMAND=OFF && cmake --build "$build" --target scsitool; } >"$build/log" 2>&1; then
    tail -n 40 "$build/log" >&2
    exit 1
fi

only_ours=(--headers-dir "$top/include" --headers-dir "$top/src/kit/include")
interface=$build/libscsitool.so.1.abi
abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --drop-private-types \
    --exported-interfaces-only "${only_ours[@]}" --out-file "$interface" "$library"
# Where the sources lay is nobody's business.
sed -i "s,path='[^']*/src/,path='src/," "$interface"
if [ "${1:-}" = --update ]; then
    mkdir -p "$(dirname "$stored")"
    cp "$interface" "$stored"
    exit 0
fi
# Any change but an addition: the tool's own word "incompatible" does not count members that moved.
if ! abidiff --no-added-syms --suppressions "$here/abi.suppressions" "$stored" "$interface"; then
    echo "abi: this breaks programs that were linked with the library; docs/compatibility.md says what stays" >&2
    exit 1
fi
