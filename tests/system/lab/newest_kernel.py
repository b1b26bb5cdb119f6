"""The newest kernel that the distribution's archive has, its next release's included, for the same guest."""
import hashlib
import os
import platform
import shutil
import tempfile
from pathlib import Path

from lab.cpio import CpioArchive
from lab.debian import PackageSource
from lab.errors import LabError
from lab.host_tools import run_tool
from lab.image import GuestImage
from lab.kernel import KernelPackage
from lab.proc_scsi import NotOffered

# Kernels come here while the stable release keeps its own; the name moves on with each release.
SUITE = "stable-backports"
KEYRING = Path("/usr/share/keyrings/debian-archive-keyring.gpg")
MODULES = ["virtio_pci", "virtio_net", "sd_mod", "sg", "iscsi_tcp"]
BUILDERS = [Path(__file__), Path(__file__).with_name("kernel.py"), Path(__file__).with_name("debian.py")]


def prepare_newest(cache, say):
    """The newest kernel and the archive with its modules, built when they are not there yet.

    What the archive has one day is not in this project's hands: where nothing comes of it the jobs are skipped.
    """
    try:
        return _prepare(cache, say)
    except LabError as error:
        raise NotOffered(f"no kernel of {SUITE}: {str(error).splitlines()[-1]}") from None


def _prepare(cache, say):
    source = _backports(cache)
    source.read_lists()
    kernel = source.kernel_package()
    # Image and modules are packages of their own, or one.
    version = kernel.removeprefix("linux-image-")
    packages = [kernel, *(name for name in source.dependencies(kernel) if name.endswith(version))]
    names = "\n".join(source.resolve_one(package) for package in packages)
    digest = hashlib.sha256(names.encode() + b"".join(path.read_bytes() for path in BUILDERS))
    ready = GuestImage(cache / f"guest-newest-{digest.hexdigest()[:16]}")
    if not ready.complete():
        say(f"building the newest kernel, {kernel}")
        with tempfile.TemporaryDirectory(dir=cache, prefix="build-") as name:
            _build(Path(name), source, packages, ready)
    os.utime(ready.folder)
    return ready


def _backports(cache):
    """apt with that suite alone, from the place that this machine has its own release from."""
    targets = run_tool(["apt-get", "indextargets", "--format", "$(RELEASE) $(COMPONENT) $(REPO_URI)",
                        "Created-By: Packages"])
    own = [platform.freedesktop_os_release().get("VERSION_CODENAME"), "main"]
    found = [line.split()[2] for line in targets.splitlines() if line.split()[:2] == own]
    if not found:
        raise NotOffered("apt does not say where this release comes from")
    folder = cache / "backports"
    folder.mkdir(exist_ok=True)
    sources = folder / "sources.list"
    signed = f"[signed-by={KEYRING}] " if KEYRING.exists() else ""
    sources.write_text(f"deb {signed}{found[0]} {SUITE} main\n", "utf-8")
    return PackageSource(folder, sources)


def _build(work, source, packages, ready):
    """Image and modules of the unpacked packages."""
    archives = [source.fetch_one(package, work) for package in packages]
    kernel = KernelPackage(archives, work / "kernel")
    folder = work / "ready"
    folder.mkdir()
    kernel.write_image(folder / "kernel")
    kernel.copy_modules(MODULES, work / "modules")
    modules = CpioArchive()
    modules.add_host_tree("usr/lib/modules", work / "modules" / "lib" / "modules")
    modules.write(folder / "base.cpio")
    shutil.rmtree(ready.folder, ignore_errors=True)
    folder.rename(ready.folder)
