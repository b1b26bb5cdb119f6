#!/usr/bin/env bash
# Installs the build into a folder of its own, compiles every installed header alone, and builds a
# program outside of the tree that finds the library by CMake and by pkg-config.
#   install.sh SOURCE-FOLDER BUILD-FOLDER C++-COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
root=$folder/root

cmake --install "$build" --prefix "$root" >"$folder/log"

include=$root/include/scsitool
while read -r header; do
    "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ \
        -I"$root/include" "$include/$header"
done < <(cd "$include" && find . -name '*.h')
macros=$(grep -rhE '^# *define' "$include" | grep -vE 'define (SCSITOOL_EXPORT|SCSITOOL_[A-Z0-9_]+_H)\b' || true)
if [ -n "$macros" ]; then
    printf 'installed headers define macros:\n%s\n' "$macros" >&2
    exit 1
fi

cmake -S "$source/packaging/example" -B "$folder/example" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$root" >"$folder/log"
cmake --build "$folder/example" >"$folder/log"
"$folder/example/example" >/dev/null

pc=$(dirname "$(find "$root" -name scsitool.pc)")
read -ra flags < <(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs scsitool)
"$compiler" -std=c++17 "$source/packaging/example/example.cc" -o "$folder/by-pkg-config" "${flags[@]}" \
    "-Wl,-rpath,$(dirname "$pc")"
"$folder/by-pkg-config" >/dev/null
"$root/bin/scsitool" --version >/dev/null
