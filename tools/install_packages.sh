#!/usr/bin/env bash
# Installs the Debian packages of the given lists that this machine lacks. Needs neither root nor
# the network where they are all present. Of several in one line ("a | b") one is enough; the first
# that apt knows is installed.
set -euo pipefail

installed() {
    dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# The words of a line without what stands between them.
alternatives() {
    tr '|' ' ' <<<"$1"
}

any_installed() {
    local package
    for package in $(alternatives "$1"); do
        if installed "$package"; then
            return 0
        fi
    done
    return 1
}

# Where apt knows none, the first, so that apt says so.
first_known() {
    local package first
    read -r first _ < <(alternatives "$1")
    for package in $(alternatives "$1"); do
        if apt-cache show --no-all-versions "$package" >/dev/null 2>&1; then
            echo "$package"
            return
        fi
    done
    echo "$first"
}

missing=()
while read -r line; do
    case $line in '' | '#'*) continue ;; esac
    if ! any_installed "$line"; then
        missing+=("$line")
    fi
done < <(cat -- "$@")

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
if ! command -v apt-get >/dev/null; then
    echo "These packages are missing and there is no apt-get to install them:" "${missing[@]}" >&2
    exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq >&2
packages=()
for line in "${missing[@]}"; do
    packages+=("$(first_known "$line")")
done
echo "Installing: ${packages[*]}" >&2
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${packages[@]}" >&2
