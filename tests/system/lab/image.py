"""The guest's two files, a kernel and an initial RAM file system, built once and kept."""
import contextlib
import fcntl
import hashlib
import os
import shutil
import tempfile
import time
from pathlib import Path

from lab.cpio import CpioArchive
from lab.debian import PackageSource, make_merged_root, unpack
from lab.guest_tree import LOADER, GuestTree
from lab.kernel import KernelPackage
from lab.listing import read_list

GUEST_FOLDER = Path(__file__).resolve().parent.parent / "guest"
# Changes of these change what is built, so they are part of the name under which it is kept.
BUILDERS = ["cpio.py", "debian.py", "guest_tree.py", "image.py", "kernel.py"]
EMPTY_FOLDERS = ["dev", "proc", "sys", "run", "tmp", "root", "mnt", "var/lib", "var/tmp",
                 "etc/multipath", "etc/iscsi/nodes", "etc/iscsi/send_targets", "var/lib/iscsi"]
KEEP_UNUSED_SECONDS = 14 * 24 * 3600


class GuestImage:
    """Where a built guest lies."""

    def __init__(self, folder):
        self.folder = folder
        self.kernel = folder / "kernel"
        self.base = folder / "base.cpio"

    def complete(self):
        """True when both files are there: the folder gets its name only after they are written."""
        return self.kernel.exists() and self.base.exists()


@contextlib.contextmanager
def open_cache(say):
    """Yields (folder, package source) while no other run builds anything there."""
    base = os.environ.get("XDG_CACHE_HOME") or os.path.join(os.path.expanduser("~"), ".cache")
    cache = Path(base) / "scsitool-lab"
    cache.mkdir(parents=True, exist_ok=True)
    with open(cache / "lock", "w", encoding="utf-8") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            say("waiting for another run that builds a guest")
            fcntl.flock(lock, fcntl.LOCK_EX)
        yield cache, PackageSource(cache)


def prepare_image(cache, source, say):
    """The guest for the package versions that apt knows now, built when it is not there yet."""
    kernel = source.kernel_package()
    packages = read_list(GUEST_FOLDER / "packages")
    archives = source.resolve(packages)
    kernel_archive = source.resolve_one(kernel)
    image = GuestImage(cache / f"guest-{_key([*archives, kernel_archive])}")
    if not image.complete():
        say(f"building the guest from {len(archives)} packages and {kernel}")
        source.fetch(packages)
        source.fetch_one(kernel, source.archives)
        _build(image, cache, [source.archives / name for name in archives], source.archives / kernel_archive)
        _forget_other_packages(source.archives, {*archives, kernel_archive})
    os.utime(image.folder)
    _forget_unused(cache)
    return image


def _key(archive_names):
    digest = hashlib.sha256("\n".join(archive_names).encode())
    files = [Path(__file__).with_name(name) for name in BUILDERS]
    files += sorted(path for path in GUEST_FOLDER.rglob("*") if path.is_file())
    for path in files:
        digest.update(path.name.encode() + b"\0" + path.read_bytes())
    return digest.hexdigest()[:16]


def _build(image, cache, archives, kernel_archive):
    with tempfile.TemporaryDirectory(dir=cache, prefix="build-") as name:
        work = Path(name)
        ready = work / "ready"
        ready.mkdir()
        kernel = KernelPackage([kernel_archive], work / "kernel")
        kernel.write_image(ready / "kernel")
        kernel.copy_modules(read_list(GUEST_FOLDER / "modules"), work / "modules")
        _make_base(work, archives).write(ready / "base.cpio")
        shutil.rmtree(image.folder, ignore_errors=True)
        ready.rename(image.folder)


def _make_base(work, archives):
    root = work / "root"
    make_merged_root(root)
    for archive in archives:
        unpack(archive, root)
    base = CpioArchive()
    for name in ["bin", "sbin", "lib", "lib64"]:
        base.add_folder(f"usr/{name}")
        base.add_link(name, f"usr/{name}")
    for name in EMPTY_FOLDERS:
        base.add_folder(name)
    base.add_link("var/run", "/run")
    base.add_character_device("dev/console", 5, 1)
    tree = GuestTree(root, base)
    tree.add(LOADER)
    tree.add_list(GUEST_FOLDER / "files")
    tree.add_busybox_names()
    base.add_host_tree("usr/lib/modules", work / "modules" / "lib" / "modules")
    base.add_host_tree("", GUEST_FOLDER / "overlay")
    return base


def _forget_other_packages(folder, wanted):
    for path in folder.glob("*.deb"):
        if path.name not in wanted:
            path.unlink()


def _forget_unused(cache):
    for path in cache.glob("guest-*"):
        if time.time() - path.stat().st_mtime > KEEP_UNUSED_SECONDS:
            shutil.rmtree(path, ignore_errors=True)
            path.unlink(missing_ok=True)
