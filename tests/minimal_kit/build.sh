#!/usr/bin/env bash
# Builds the library with a kit that is not the one that ships and runs a program on it. The build
# is a packager's: nothing but a compiler is at hand, and warnings are no errors.
#   build.sh SOURCE-FOLDER BUILD-FOLDER C++-COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
here=$source/tests/minimal_kit

packages=(GTest Python3 benchmark CLI11 fmt nlohmann_json)
disabled=("${packages[@]/#/-DCMAKE_DISABLE_FIND_PACKAGE_}")
disabled=("${disabled[@]/%/=ON}")
# A compiler that changed would have CMake forget the other choices.
cmake --fresh -S "$source" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG= -DSCSITOOL_COMMAND=OFF \
    -DSCSITOOL_KIT="$here/kit" "${disabled[@]}" >"$build.log" 2>&1
if grep -q -e -Werror "$build/compile_commands.json"; then
    echo "warnings are errors in a build that did not ask for it" >&2
    exit 1
fi
if ! cmake --build "$build" --target scsitool >"$build.log" 2>&1; then
    grep -A5 'error:\|undefined' "$build.log" >&2 || cat "$build.log" >&2
    exit 1
fi
"$compiler" -std=c++17 -Wall -Wextra -I"$source/include" -I"$here/kit/include" "$here/user.cc" \
    -o "$build/user" -L"$build/src" -lscsitool "-Wl,-rpath,$build/src"
"$build/user"
