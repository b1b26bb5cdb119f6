#!/usr/bin/env bash
# Holds the cost of an enumeration against its limits: instructions a device (callgrind, so the
# figures repeat), their growth from 100 to 100,000 devices, and bytes kept a device; then what
# whole commands cost.
set -euo pipefail
top=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
program=${1:-$top/build/release/bench/enumerate_once}
most_instructions=25000
most_growth_percent=10
most_bytes=2048

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
declare -A instructions bytes

measure() {
    local disks=$1 found total
    read -r found bytes[$disks] < <("$program" "$disks")
    [ "$found" = "$disks" ]
    valgrind --tool=callgrind --callgrind-out-file="$folder/$disks" \
        --toggle-collect='CUDIDFactory::enumerateDeviceMap*' "$program" "$disks" \
        >/dev/null 2>"$folder/log"
    total=$(sed -n 's/^summary: \([0-9]*\).*/\1/p; s/^totals: \([0-9]*\).*/\1/p' "$folder/$disks" |
        head -n 1)
    instructions[$disks]=$((total / disks))
    printf '%6d devices: %6d instructions and %5d bytes kept a device\n' \
        "$disks" "${instructions[$disks]}" "${bytes[$disks]}"
}

for disks in 10 100 1000 10000 100000; do
    measure "$disks"
done

status=0
expect() {
    if ! "$@"; then
        echo "over the limit: ${*:2}" >&2
        status=1
    fi
}
growth=$(((instructions[100000] - instructions[100]) * 100 / instructions[100]))
expect test "${instructions[100000]}" -le $most_instructions
expect test "${instructions[100]}" -le $most_instructions
expect test "${growth#-}" -le $most_growth_percent
expect test "${bytes[100000]}" -le $most_bytes
"$(dirname -- "$program")/asking_check" || status=1
"$top/bench/views_check.py" "$(dirname -- "$program")/../cli/scsitool" || status=1
exit $status
