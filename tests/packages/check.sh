#!/usr/bin/env bash
# Makes the packages twice, in two places, and holds them to be the same bytes and sound; installs, uses
# and removes them in a Debian of its own.
#   check.sh [SUITE]      (the machine's own when none is named)
# The chroot takes root's rights; without them that part is left out, which is said. What is fetched for
# it is kept in build/chroots.
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
top=$(cd -- "$here/../.." && pwd)
suite=${1:-$(. /etc/os-release && echo "$VERSION_CODENAME")}
. "$here/chroot.sh"

work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
# The same flags as the step gcc, so that the compiler's cache has it all.
arguments=(-DSCSITOOL_WERROR=ON)

fail() {
    echo "packages: $*" >&2
    exit 1
}

# The second time elsewhere and without the history, as somebody has it who unpacked an archive.
same_bytes_elsewhere() {
    local copy=$work/another/place/of/the/tree date
    date=$(git -C "$top" log -1 --format=%ct)
    mkdir -p "$copy"
    tar -C "$top" --exclude=./build --exclude=./.git -cf - . | tar -C "$copy" -xf -
    SOURCE_DATE_EPOCH=$date "$copy/package" "${arguments[@]}" >/dev/null
    diff -r "$top/build/packages" "$copy/build/packages" || fail "two builds differ in their bytes"
    rm -rf "$work/another"
}

unpack() {
    local package
    mkdir "$work/deb" "$work/rpm"
    for package in "$top"/build/packages/*.deb; do
        dpkg-deb -x "$package" "$work/deb"
    done
    for package in "$top"/build/packages/*.rpm; do
        rpm2cpio "$package" | (cd "$work/rpm" && cpio --quiet -id)
    done
}

no_place_of_the_build() {
    local found
    found=$(grep -rlaF -e "$top" -e "$work" "$work/deb" "$work/rpm" || true)
    [ -z "$found" ] || fail "these name the folder that they were built in: $found"
}

names() {
    (cd "$1" && find . ! -type d) |
        sed -E 's,/lib64/,/LIB/,; s,/lib/x86_64-linux-gnu/,/LIB/,; s,/libscsitool-devel/,/libscsitool-dev/,;
            s,/(vendor-completions|site-functions)/,/zsh/,; /\/(changelog.*\.gz|CHANGELOG\.md)$/d' | sort
}

# What Debian gets and what the others get are the same files under their own folders' names.
both_kinds_hold_the_same() {
    local difference
    difference=$(diff <(names "$work/deb") <(names "$work/rpm")) || fail "Debian's (<) and the others' (>) differ:"$'\n'"$difference"
    LD_LIBRARY_PATH=$work/rpm/usr/lib64 "$work/rpm/usr/bin/scsitool" --version >/dev/null
}

# Into a root of their own, into whose database they go as well; its scripts would need a whole system.
installed_by_rpm() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "packages: NOT installed by rpm, which takes root's rights" >&2
        return
    fi
    local root=$work/rpm-root rpm difference
    mkdir "$root"
    rpm=(rpm --root "$root" --dbpath /var/lib/rpm)
    "${rpm[@]}" --initdb
    "${rpm[@]}" --install --force-debian --nodeps --noscripts --ignoreos --ignorearch "$top"/build/packages/*.rpm
    difference=$(diff <(names "$work/rpm") <(names "$root" | grep -v '^\./var/lib/rpm/')) ||
        fail "what the RPM packages hold (<) and what rpm has installed (>) differ:"$'\n'"$difference"
    "${rpm[@]}" --verify --all --nodeps --noscripts || fail "rpm finds other files than it has installed"
    "${rpm[@]}" --erase --nodeps --noscripts $("${rpm[@]}" --query --all)
    difference=$(find "$root" ! -type d ! -path "$root/var/lib/rpm/*")
    [ -z "$difference" ] || fail "rpm has left: $difference"
}

sound() {
    lintian --allow-root --fail-on error "$top"/build/packages/*.deb
    rpmlint --config "$top/packaging/rpm/rpmlint.toml" "$top"/build/packages/*.rpm
}

# The interface is read from another build than the one that ships.
interface() {
    "$here/abi.sh"
    local built difference
    for built in "$top"/build/abi/src/libscsitool.so.1 "$top"/build/abi/libscsitool-hosts.so.1; do
        [ -e "$built" ] || continue
        difference=$(diff <(symbols "$built") <(symbols "$work"/deb/usr/lib/*/"${built##*/}")) ||
            fail "${built##*/} as it was compared (<) exports others than the one that ships (>):"$'\n'"$difference"
    done
}

symbols() {
    nm -D --defined-only "$1" | cut -d' ' -f2- | sort
}

bills_of_materials() {
    local bill
    for bill in "$work"/{deb,rpm}/usr/share/doc/*/sbom.spdx.json; do
        python3 -B "$here/sbom_check.py" "$bill"
    done
}

used_in_a_chroot() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "packages: NOT installed and used in a chroot, which takes root's rights" >&2
        return
    fi
    local root=$work/root
    mkdir "$root"
    make_chroot "$suite" "$root"
    mkdir "$root/packages"
    cp "$top"/build/packages/*.deb "$here/inside.sh" "$top/README.md" "$root/packages"
    run_in "$root" bash /packages/inside.sh command
    run_in "$root" bash /packages/inside.sh library
}

for step in package same_bytes_elsewhere unpack no_place_of_the_build both_kinds_hold_the_same installed_by_rpm sound \
    bills_of_materials interface used_in_a_chroot; do
    begun=$SECONDS
    if [ "$step" = package ]; then
        "$top/package" "${arguments[@]}"
    else
        "$step"
    fi
    printf 'packages: %s: %d s\n' "$step" $((SECONDS - begun))
done
