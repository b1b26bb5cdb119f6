#!/usr/bin/env bash
# Installs the build into a folder of its own, as README.md says it, compiles every installed header
# alone, and builds a plug-in outside of the tree that finds the libraries by CMake and by pkg-config,
# there and after the whole installation has moved.
#   install.sh SOURCE-FOLDER BUILD-FOLDER C++-COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
root=$folder/root

line=$(sed -n 's/^ *sudo \(cmake --install build\/install --prefix \/usr\/local\)$/\1/p' "$source/README.md")
line=${line/build\/install/'"$build"'}
eval "${line/\/usr\/local/'"$root"'}" >"$folder/log"

include=$root/include/scsitool
(cd "$include" && find . -name '*.h' -print0) |
    xargs -0 -P "$(nproc)" -I{} "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror \
        -fsyntax-only -x c++ -I"$root/include" "$include/{}"
macros=$(grep -rhE '^# *define' "$include" | grep -vE 'define (SCSITOOL_EXPORT|SCSITOOL_[A-Z0-9_]+_H)\b' || true)
if [ -n "$macros" ]; then
    printf 'installed headers define macros:\n%s\n' "$macros" >&2
    exit 1
fi

by_pkg_config() {
    local pc flags
    pc=$(dirname "$(find "$1" -name scsitool.pc)")
    read -ra flags < <(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs scsitool-hosts)
    "$compiler" -std=c++17 "$source"/examples/plugin/disks{,_test}.cc -o "$folder/by-pkg-config" \
        "${flags[@]}" "-Wl,-rpath,$(dirname "$pc")"
    "$folder/by-pkg-config" "$(PKG_CONFIG_PATH=$pc pkg-config --variable=samples scsitool-hosts)"
}

by_cmake() {
    rm -rf "$folder/example"
    cmake -S "$source/examples/plugin" -B "$folder/example" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_PREFIX_PATH="$1" >"$folder/log"
    cmake --build "$folder/example" >"$folder/log"
    ctest --test-dir "$folder/example" --output-on-failure >"$folder/log" || {
        cat "$folder/log" >&2
        return 1
    }
}

by_pkg_config "$root"
# An installation may be moved: what finds it then must not know where it was.
moved=$folder/elsewhere
mv "$root" "$moved"
by_pkg_config "$moved"
by_cmake "$moved"
"$moved/bin/scsitool" --version >/dev/null
