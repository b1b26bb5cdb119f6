#!/usr/bin/env bash
# Installs the packages in /packages into the system that it runs in (a chroot: chroot.sh), uses them as
# their users do, removes them and looks at what is left.
#   inside.sh command     as an administrator: nothing is there but the packages
#   inside.sh library     as an author: with manuals, shells, compilers and CMake
#   inside.sh author      the same on another Debian than that of the packages: the example alone, with its one compiler
#   inside.sh sources     without packages: the tree in /tree is built and installed by the lines of its README.md
set -euo pipefail
cd /packages
enterprise=/usr/share/scsitool/samples/enterprise.json
warnings='-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror'

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

# The command lines of a document that begin with one of these words ("A|B"), without their remarks.
lines_of() {
    local lines
    lines=$(sed -nE "s,^    (($2)[^#]*).*,\1,p" "$1")
    [ -n "$lines" ] || fail "$1 has no line with $2"
    echo "$lines"
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

by_name() {
    # shellcheck disable=SC2046
    add $(printf './%s_*.deb ' "$@")
}

# The line stands for somebody who sits before the machine, in the tree's folder.
as_the_readme_says() {
    local line
    line=$(lines_of README.md 'sudo apt')
    printf '%s "%s";\n' APT::Get::Assume-Yes true APT::Install-Recommends false >/tmp/apt.conf
    mkdir build
    ln -s .. build/packages
    APT_CONFIG=/tmp/apt.conf eval "$line" >/tmp/apt.log 2>&1 || fail "$line: $(cat /tmp/apt.log)"
}

# with_packages USE INSTALLED PACKAGE...: installed, used, and removed without a trace.
with_packages() {
    local use=$1 installed=$2 left
    shift 2
    files >/tmp/before
    "$installed" "$@"
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
    nothing_of_the_build_is_needed scsitool libscsitool1
}

nothing_of_the_build_is_needed() {
    local needed
    needed=$(dpkg-query -W -f='${Depends}' "$@" | grep -oE 'python|cli11|fmt|nlohmann' || true)
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

# Each line ends with 0, and all of the document's are there.
run_lines() {
    local count=$1 line said
    mapfile -t lines
    [ ${#lines[@]} -eq "$count" ] || fail "there are ${#lines[@]} lines and not $count: ${lines[*]}"
    for line in "${lines[@]}"; do
        said=$(eval "$line" 2>&1) || fail "$line: $said"
    done
}

# What the documents tell an author to type, first with the compiler that is named and then with the system's.
the_example() {
    local guide=/usr/share/doc/scsitool/testing-your-plug-in.md
    mkdir -p /tmp/author
    cd /tmp/author
    CXX=$1 CXXFLAGS=$warnings run_lines 4 < <(lines_of /packages/README.md 'cp|cmake -S plugin|cmake --build plugin|ctest')
    run_lines 3 < <(lines_of "$guide" 'c\+\+|plugin/')
    readelf -d plugin/plugin plugin/build/plugin | grep -q libscsitool-hosts && fail "the plug-in needs the hosts of its tests"
    cd /packages
}

# What both compilers take under every standard. Installed headers are the system's, of which no compiler
# warns: a copy is not.
the_headers() {
    cd /tmp/author
    mkdir include
    cp -r /usr/include/scsitool include
    (cd include && find scsitool -name '*.h' -printf '#include "%p"\n') >headers.cc
    # shellcheck disable=SC2086
    printf '%s\n' {g++,clang++}\ -std=c++{17,20,2b}\ {'-Iinclude headers.cc plugin/disks*.cc','-isystem include headers.cc'} |
        xargs -P "$(nproc)" -I{} sh -c "{} $warnings -fsyntax-only" ||
        fail "the headers and the example do not compile"
    cd /packages
}

# On a recorded host, with files of the names that stand there: what they show is tested elsewhere.
the_lines_of_the_readme() {
    local samples=/usr/share/scsitool/samples line said status
    mkdir /tmp/readme
    cd /tmp/readme
    cp $samples/mailed-pages.txt page83.txt
    cp $samples/enterprise-yesterday.json monday.json
    cp $samples/enterprise.json tuesday.json
    while read -r line; do
        [[ $line == *--host* || $line == *' diff '* ]] || line=${line/scsitool/scsitool --host $enterprise}
        status=0
        said=$(eval "$line" 2>&1) || status=$?
        [[ $status =~ ^[013]$ ]] || fail "$line ends with $status: $said"
    done < <(lines_of /packages/README.md 'scsitool')
    cd /packages
}

the_library() {
    nothing_of_the_build_is_needed libscsitool-hosts1
    manuals
    completion
    the_lines_of_the_readme
    the_example clang++
    the_headers
}

the_author() {
    the_command
    the_example g++
}

# Both folders of the build take warnings for errors, as the tests do, so that the compiler's cache has it all.
the_sources() {
    local folder
    add ccache pkg-config
    tools/install_packages.sh packaging/packages/run >/tmp/apt.log 2>&1 || fail "$(cat /tmp/apt.log)"
    for folder in build/run build/install; do
        cmake -S . -B $folder -G Ninja -DCMAKE_BUILD_TYPE=Release -DSCSITOOL_WERROR=ON >/dev/null
    done
    run_lines 1 < <(lines_of README.md '\./run ')
    run_lines 4 < <(lines_of README.md '(sudo )?cmake (-S \.|--build build/|--install )|sudo ldconfig')
    [ "$(command -v scsitool)" = /usr/local/bin/scsitool ] || fail "scsitool is not where README.md installs it"
    says 1 'no SCSI disk' scsitool devices
    # shellcheck disable=SC2046
    c++ -std=c++17 examples/plugin/disks*.cc -o /tmp/plugin $(pkg-config --cflags --libs scsitool-hosts)
    /tmp/plugin "$(pkg-config --variable=samples scsitool-hosts)" || fail "the example does not run on what was installed"
}

# Who sits before the machine is root here.
sudo() {
    "$@"
}

case $1 in
    command)
        apt-get -qq update
        with_packages the_command by_name scsitool libscsitool1
        ;;
    library)
        add man-db bash-completion zsh fish g++ clang cmake make pkg-config
        with_packages the_library as_the_readme_says scsitool libscsitool1 libscsitool-hosts1 libscsitool-dev
        ;;
    author)
        apt-get -qq update
        add g++ cmake make pkg-config
        with_packages the_author as_the_readme_says scsitool libscsitool1 libscsitool-hosts1 libscsitool-dev
        ;;
    sources)
        cd /tree
        the_sources
        ;;
esac
