#!/usr/bin/env bash
# Makes the packages twice, in two places, and holds them to be the same bytes and sound; installs, uses
# and removes them in a Debian of its own, and in the next one.
#   check.sh [SUITE]      (the machine's own when none is named)
# The chroots take root's rights; without them that part is left out, which is said. What is fetched for
# them is kept in build/chroots.
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
top=$(cd -- "$here/../.." && pwd)
. "$here/chroot.sh"
suite=${1:-$(own_suite)}
# What is made on one Debian is used on the next one as well.
declare -A next_suite=([bookworm]=trixie)
next=${next_suite[$suite]:-}

work=$(mktemp -d)
# A base that is being made is left to end: it has mounts of its own.
trap 'wait; rm -rf --one-file-system "$work"' EXIT
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
    local root=$work/rpm-root rpm difference willing=()
    # Until 4.18 Debian's rpm wants to be asked twice before it installs anything.
    if rpm --force-debian --version >/dev/null 2>&1; then
        willing=(--force-debian)
    fi
    mkdir "$root"
    rpm=(rpm --root "$root" --dbpath /var/lib/rpm)
    "${rpm[@]}" --initdb
    "${rpm[@]}" --install "${willing[@]}" --nodeps --noscripts --ignoreos --ignorearch "$top"/build/packages/*.rpm
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

# chroot_with_packages SUITE FOLDER
chroot_with_packages() {
    mkdir "$2"
    make_chroot "$1" "$2"
    mkdir "$2/packages"
    cp "$top"/build/packages/*.deb "$here/inside.sh" "$top/README.md" "$2/packages"
}

used_in_a_chroot() {
    chroot_with_packages "$suite" "$work/root"
    run_in "$work/root" bash /packages/inside.sh command
    run_in "$work/root" bash /packages/inside.sh library
}

# Without packages, where others had been.
built_in_the_chroot() {
    mkdir "$work/root/tree"
    tar -C "$top" --exclude=./build --exclude=./.git -cf - . | tar -C "$work/root/tree" -xf -
    # The compiler's cache keeps the languages of its messages apart.
    local name language=()
    for name in LANG LC_ALL LC_CTYPE LC_MESSAGES; do
        if [ -n "${!name+set}" ]; then
            language+=("$name=${!name}")
        fi
    done
    run_in "$work/root" env -u LC_ALL "${language[@]}" bash /packages/inside.sh sources
}

used_on_the_next_debian() {
    chroot_with_packages "$next" "$work/next"
    run_in "$work/next" bash /packages/inside.sh author
}

steps=(package same_bytes_elsewhere unpack no_place_of_the_build both_kinds_hold_the_same installed_by_rpm sound
    bills_of_materials interface)
if [ "$(id -u)" -eq 0 ]; then
    steps+=(used_in_a_chroot built_in_the_chroot ${next:+used_on_the_next_debian})
    # The mirror is waited for while others compile.
    (for base in $suite $next; do keep_base "$base"; done) >"$work/bases.log" 2>&1 &
else
    echo "packages: NOT installed and used in a chroot, which takes root's rights" >&2
fi
for step in "${steps[@]}"; do
    begun=$SECONDS
    if [ "$step" = used_in_a_chroot ]; then
        wait
    fi
    if [ "$step" = package ]; then
        "$top/package" "${arguments[@]}"
    else
        "$step"
    fi
    printf 'packages: %s: %d s\n' "$step" $((SECONDS - begun))
done
