# A Debian of its own to try packages in; sourced.
#   make_chroot SUITE FOLDER      unpacks a minimal one, made from the machine's own mirror and kept
#   run_in FOLDER COMMAND ...     runs a command in it, with nothing of this machine but the network
# Both need root's rights.
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

make_chroot() {
    local suite=$1 folder=$2
    # A mirror forgets the packages that an old one was made for.
    if [ -z "$(find "$bases/$suite.tar" -mtime -7 2>/dev/null)" ]; then
        make_base "$suite"
    fi
    # What a command needs of these is mounted when it runs.
    tar -C "$folder" --exclude='./dev/*' -xf "$bases/$suite.tar"
    cp -L /etc/resolv.conf /etc/hosts "$folder/etc/"
    mkdir -p "$bases/packages-$suite/partial" "$folder/var/cache/apt/archives"
}

run_in() {
    local folder=$1
    shift
    # The kept packages spare the mirror the next time. All mounts go with the namespace.
    unshare --mount --pid --fork --kill-child --propagation private bash -euc '
        folder=$1 archives=$2
        shift 2
        mount -t tmpfs none "$folder/dev"
        mkdir "$folder/dev/shm"
        ln -s /proc/self/fd "$folder/dev/fd"
        for node in null zero full random urandom tty; do
            : >"$folder/dev/$node"
            mount --bind "/dev/$node" "$folder/dev/$node"
        done
        mount -t proc none "$folder/proc"
        mount --bind "$archives" "$folder/var/cache/apt/archives"
        exec chroot "$folder" /usr/bin/env -i HOME=/tmp PATH=/usr/sbin:/usr/bin:/sbin:/bin \
            LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
    ' run_in "$folder" "$bases/packages-$(suite_of "$folder")" "$@"
}

suite_of() {
    sed -n 's/^VERSION_CODENAME=//p' "$1/etc/os-release"
}
