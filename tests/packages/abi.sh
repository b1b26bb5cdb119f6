#!/usr/bin/env bash
# Holds the interfaces of the two libraries against the stored ones: nothing that programs were linked
# with may go or change; what is added passes.
#   abi.sh [--update]       (writes the stored ones anew)
# Types are read from debug information, which the libraries do not ship with: they are built once more,
# with the same flags otherwise. The stored ones are of GCC 12, and another compiler is not asked.
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
top=$(cd -- "$here/../.." && pwd)
build=$top/build/abi
update=${1:-}

version=$("${CXX:-c++}" -dumpversion)
if [ "${version%%.*}" != 12 ]; then
    rm -rf "$build"
    echo "abi: not compared: the stored interface is of GCC 12, and this is $version" >&2
    exit 0
fi

# Of the library of hosts only what it publishes: the layer below has no part in its interface, and
# takes longer to compile than all the rest.
hosts() {
    local folder=$build/src/hosts
    "${CXX:-c++}" -shared -o "$build/libscsitool-hosts.so.1" "$folder"/CMakeFiles/scsitool_hosts_objects.dir/*.o \
        -Wl,-soname,libscsitool-hosts.so.1 -Wl,--version-script="$top/src/hosts/libscsitool-hosts.map" \
        "$build/src/libscsitool.so.1"
}

made() {
    cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS=-g \
        -DSCSITOOL_COMMAND=OFF -DSCSITOOL_HOSTS=ON &&
        cmake --build "$build" --target scsitool scsitool_hosts_objects && hosts
}

# Any change but an addition: the tool's own word "incompatible" does not count members that moved.
compatible() {
    abidiff --no-added-syms --suppressions "$here/abi.suppressions" "$1" "$2"
}

# The comparison is worth what it finds. would_be_red INTERFACE WHAT PROGRAM-OF-SED: it had stood there otherwise.
would_be_red() {
    sed -E "$3" "$1" >"$build/former.abi"
    if cmp -s "$1" "$build/former.abi" || compatible "$build/former.abi" "$1" >"$build/log"; then
        echo "abi: $2, and nobody notices" >&2
        exit 1
    fi
}

changes_are_found() {
    local interface=$build/libscsitool.so.1.abi
    would_be_red "$interface" 'a function went' "/<elf-symbol name='_ZN4udid7explain/{p;s/explain/exclaim/;}"
    would_be_red "$interface" 'a class shrank' "/<class-decl name='CUDIDFactory' size-in-bits/s/size-in-bits='/&9/"
    would_be_red "$interface" 'a member moved' \
        "/layout-offset-in-bits='0'/{N;s/offset-in-bits='0'(.*name='deviceName')/offset-in-bits='64'\1/;}"
}

# compared LIBRARY HEADER-FOLDER...
compared() {
    local library=$1 interface stored folder only_ours=()
    shift
    interface=$build/${library##*/}.abi
    stored=$top/packaging/abi/${library##*/}.abi
    for folder in "$@"; do
        only_ours+=(--headers-dir "$folder")
    done
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --drop-private-types \
        --exported-interfaces-only "${only_ours[@]}" --out-file "$interface" "$library"
    # Where the sources lay is nobody's business.
    sed -i "s,path='[^']*/src/,path='src/," "$interface"
    if [ "$update" = --update ]; then
        cp "$interface" "$stored"
        return
    fi
    if ! compatible "$stored" "$interface"; then
        echo "abi: this breaks programs that were linked with ${library##*/}; docs/compatibility.md says what stays" >&2
        exit 1
    fi
}

mkdir -p "$build"
if ! made >"$build/log" 2>&1; then
    tail -n 40 "$build/log" >&2
    exit 1
fi
compared "$build/src/libscsitool.so.1" "$top/include" "$top/src/kit/include"
compared "$build/libscsitool-hosts.so.1" "$top/src/hosts/include"
changes_are_found
