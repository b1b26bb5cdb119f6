# A Debian of its own to try packages in; sourced.
#   keep_base SUITE               makes a minimal one from the machine's own mirror, where none of this week is kept
#   make_chroot SUITE FOLDER      unpacks it
#   run_in FOLDER COMMAND ...     runs a command in it, with nothing of this machine but the network and, for ccache
#                                 in the chroot, what compilers of the same suite have made
# All need root's rights.
bases=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd)/build/chroots

# The mirror that apt knows, without the folders of updates.
debian_mirror() {
    local mirror
    mirror=$(apt-get indextargets --format '$(LABEL) $(REPO_URI)' 'Identifier: Packages' |
        sed -n 's/^Debian \(.*\)/\1/p' | head -n 1)
    echo "${mirror:-http://deb.debian.org/debian}"
}

make_base() {
    local suite=$1 proxy options=()
    while read -r proxy; do
        options+=("--aptopt=$proxy")
    done < <(apt-config dump | grep -E '^Acquire::https?::[Pp]roxy' || true)
    mkdir -p "$bases"
    mmdebstrap --quiet --variant=apt "${options[@]}" \
        --dpkgopt=force-unsafe-io --format=tar \
        "$suite" "$bases/$suite.tar.new" "$(debian_mirror)"
    mv "$bases/$suite.tar.new" "$bases/$suite.tar"
}

# A mirror forgets the packages that an old one was made for.
keep_base() {
    if [ -z "$(find "$bases/$1.tar" -mtime -7 2>/dev/null)" ]; then
        make_base "$1"
    fi
}

make_chroot() {
    local suite=$1 folder=$2
    keep_base "$suite"
    # What a command needs of these is mounted when it runs.
    tar -C "$folder" --exclude='./dev/*' -xf "$bases/$suite.tar"
    cp -L /etc/resolv.conf /etc/hosts "$folder/etc/"
    mkdir -p "$bases/packages-$suite/partial" "$folder/var/cache/apt/archives" "$folder/var/cache/ccache"
}

own_suite() {
    (. /etc/os-release && echo "$VERSION_CODENAME")
}

# The machine's own is of use to its own compilers alone.
compilers_cache() {
    if [ "$1" != "$(own_suite)" ] || ! ccache --get-config cache_dir 2>/dev/null; then
        echo "$bases/ccache-$1"
    fi
}

run_in() {
    local folder=$1 suite cache
    shift
    suite=$(sed -n 's/^VERSION_CODENAME=//p' "$folder/etc/os-release")
    cache=$(compilers_cache "$suite")
    mkdir -p "$cache"
    # The kept packages spare the mirror the next time. All mounts go with the namespace.
    unshare --mount --pid --fork --kill-child --propagation private bash -euc '
        folder=$1 archives=$2 cache=$3
        shift 3
        # A chroot within the chroot takes a mount to hold on to.
        mount --bind "$folder" "$folder"
        mount -t tmpfs none "$folder/dev"
        mkdir "$folder/dev/shm" "$folder/dev/pts"
        ln -s /proc/self/fd "$folder/dev/fd"
        # Terminals of its own, for tests of what people see.
        mount -t devpts -o newinstance,ptmxmode=0666 none "$folder/dev/pts"
        ln -s pts/ptmx "$folder/dev/ptmx"
        for node in null zero full random urandom tty; do
            : >"$folder/dev/$node"
            mount --bind "/dev/$node" "$folder/dev/$node"
        done
        mount -t proc none "$folder/proc"
        mount --bind "$archives" "$folder/var/cache/apt/archives"
        mount --bind "$cache" "$folder/var/cache/ccache"
        exec chroot "$folder" /usr/bin/env -i HOME=/tmp PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
            LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive CCACHE_DIR=/var/cache/ccache "$@"
    ' run_in "$folder" "$bases/packages-$suite" "$cache" "$@"
}
