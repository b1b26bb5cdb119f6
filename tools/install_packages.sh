#!/usr/bin/env bash
# Installs the Debian packages of the given lists that this machine lacks. Needs neither root nor
# the network where they are all present.
set -euo pipefail

missing=()
while read -r package; do
    case $package in '' | '#'*) continue ;; esac
    if ! dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
        missing+=("$package")
    fi
done < <(cat -- "$@")

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
if ! command -v apt-get >/dev/null; then
    echo "These packages are missing and there is no apt-get to install them: ${missing[*]}" >&2
    exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq >&2
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
