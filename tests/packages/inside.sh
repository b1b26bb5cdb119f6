#!/usr/bin/env bash
# Installs the packages in /packages into the system that it runs in (a chroot: chroot.sh), uses them as
# their users do, removes them and looks at what is left.
#   inside.sh command     as an administrator: nothing is there but the packages
#   inside.sh library     as an author: with manuals, shells, compiler and CMake
set -euo pipefail
cd /packages
enterprise=/usr/share/scsitool/samples/enterprise.json

fail() {
    echo "packages: $*" >&2
    exit 1
}

# says STATUS TEXT COMMAND...: how it ends and what it prints among others.
says() {
    local expected=$1 wanted=$2 said status=0
    shift 2
    said=$("$@" 2>&1) || status=$?
    [ $status -eq "$expected" ] || fail "$* ends with $status, not $expected: $said"
    grep -qF -- "$wanted" <<<"$said" || fail "$* does not say '$wanted' but: $said"
}

add() {
    apt-get -qq -o Dpkg::Use-Pty=0 --no-install-recommends -y install "$@" >/tmp/apt.log 2>&1 || {
        cat /tmp/apt.log >&2
        fail "$* cannot be installed"
    }
}

files() {
    find / -xdev \( -path /packages -o -path /tmp -o -path /var/cache -o -path /var/log -o -path /var/lib/apt \
        -o -path '/var/lib/dpkg/*-old' \) -prune -o -print | sort
}

# with_packages USE PACKAGE...: installed, used, and removed without a trace.
with_packages() {
    local use=$1 left
    shift
    files >/tmp/before
    # shellcheck disable=SC2046
    add $(printf './%s_*.deb ' "$@")
    "$use"
    apt-get -qq -y purge --autoremove "$@" >/tmp/apt.log 2>&1 || fail "cannot be removed: $(cat /tmp/apt.log)"
    left=$(files | diff /tmp/before - | grep '^[<>]' || true)
    [ -z "$left" ] || fail "gone (<) or left (>) after the removal:"$'\n'"$left"
}

the_command() {
    local version
    version=$(dpkg-query -W -f='${source:Upstream-Version}' scsitool)
    says 0 "scsitool $version" scsitool --version
    # A chroot has neither disks nor the package with the rescan script, and a disk of the sample is gone.
    says 3 'Install sg3-utils' scsitool doctor
    says 1 'no SCSI disk' scsitool devices
    says 3 UDID##EMC##SYMMETRIX##000192600123##0484 scsitool --host "$enterprise" devices
    nothing_of_the_build_is_needed
}

nothing_of_the_build_is_needed() {
    local needed
    needed=$(dpkg-query -W -f='${Depends}' scsitool libscsitool1 | grep -oE 'python|cli11|fmt|nlohmann' || true)
    [ -z "$needed" ] || fail "the packages depend on $needed"
}

manuals() {
    local page
    for page in '1 scsitool' '1 scsitool-volumes' '3 libscsitool' '5 scsitool-host'; do
        says 0 NAME man $page
    done
}

in_bash() {
    bash --norc -ic '
        source /usr/share/bash-completion/bash_completion
        _completion_loader scsitool
        COMP_LINE=$1 COMP_POINT=${#1}
        "$(complete -p scsitool | sed "s/.*-F \([^ ]*\).*/\1/")"
        printf "%s\n" "${COMPREPLY[@]}"' bash "$1" 2>/dev/null
}

in_zsh() {
    zsh -fc '
        autoload -Uz compinit
        compinit -D
        words=("${(@s: :)1}") CURRENT=${#words}
        _describe() { print -l -- "${(@)described%%:*}"; }
        $_comps[scsitool]' zsh "$1"
}

in_fish() {
    fish -c 'complete --do-complete $argv[1]' "$1" | cut -f 1
}

completion() {
    local shell found
    for shell in bash zsh fish; do
        found=$("in_$shell" 'scsitool volu')
        [ "$found" = volumes ] || fail "$shell completes 'scsitool volu' to '$found'"
    done
}

the_example() {
    local example=/usr/share/doc/libscsitool-dev/examples flags
    read -ra flags < <(pkg-config --cflags --libs scsitool)
    g++ -std=c++17 -Wall -Wextra -Werror "$example/example.cc" -o /tmp/example "${flags[@]}"
    /tmp/example
    cmake -S "$example" -B /tmp/build >/tmp/cmake.log || fail "$(cat /tmp/cmake.log)"
    cmake --build /tmp/build >/tmp/cmake.log || fail "$(cat /tmp/cmake.log)"
    /tmp/build/example
    readelf -d /tmp/build/example | grep -q 'NEEDED.*libscsitool\.so\.1\b' || fail "the example links another library"
}

the_library() {
    manuals
    completion
    the_example
}

case $1 in
    command)
        apt-get -qq update
        with_packages the_command scsitool libscsitool1
        ;;
    library)
        add man-db bash-completion zsh fish g++ cmake make pkg-config
        with_packages the_library scsitool libscsitool1 libscsitool-dev
        ;;
esac
