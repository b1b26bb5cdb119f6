"""The kernel's SCSI mid-layer with /proc/scsi/scsi, which distributions have stopped building.

Older hosts keep their inventory of SCSI addresses there and take orders to add and remove them. The mid-layer is a
module of its own, so the running kernel need not be built anew: its own source is compiled with the one option more,
and the result takes the place of the module in the guest. The debug driver is compiled too, under the name of a Fibre
Channel driver of that time, because the library looks for its adapters under such names.
"""
import hashlib
import os
import re
import subprocess
import tarfile
import tempfile
from pathlib import Path

from lab.cpio import CpioArchive
from lab.debian import unpack
from lab.errors import LabError
from lab.host_tools import find_tool, run_tool

DRIVER_NAME = "qla2300"
GUEST_FOLDER = "opt/proc-scsi"
# In the place of the distribution's own module, before any driver asks for that.
LOAD_MID_LAYER = f"modprobe -a scsi_common crc-t10dif\ninsmod /{GUEST_FOLDER}/scsi_mod.ko"
OLD_RELEASE = "2.4.21-4.ELsmp"
SOURCE_FOLDER = "drivers/scsi/"
OPTION = "CONFIG_SCSI_PROC_FS"
# struct new_utsname: six fields of 65 bytes, the system's name first and the release third.
UTSNAME_FIELD = 65
RELEASE_FIELD = 2


class NotOffered(LabError):
    """The distribution does not offer what is needed; jobs that need it are skipped."""


def prepare_modules(cache, source, say):
    """The archive with the modules for the distribution's current kernel, built when it is not there yet."""
    kernel = source.kernel_package()
    key = hashlib.sha256(source.resolve_one(kernel).encode() + Path(__file__).read_bytes()).hexdigest()[:16]
    ready = cache / f"guest-proc-scsi-{key}.cpio"
    if not ready.exists():
        packages = _build_packages(source, kernel)
        say(f"building the SCSI mid-layer of {kernel} with /proc/scsi")
        with tempfile.TemporaryDirectory(dir=cache, prefix="build-") as name:
            work = Path(name)
            for package in packages:
                source.fetch_one(package, work)
            archive = _pack(_build(work, kernel.removeprefix("linux-image-")), kernel)
            archive.write(work / "ready")
            (work / "ready").rename(ready)
    os.utime(ready)
    return ready


def write_old_release(kernel, target):
    """Copies a kernel image and gives the copy the release of a 2.4 kernel.

    The release is what uname says and nothing else: modules are matched by another string.
    """
    image = bytearray(kernel.read_bytes())
    name = b"Linux".ljust(UTSNAME_FIELD, b"\0")
    found = False
    start = image.find(name)
    while start >= 0:
        field = start + RELEASE_FIELD * UTSNAME_FIELD
        if re.match(rb"\d+\.\d+", image[field:field + UTSNAME_FIELD]):
            image[field:field + UTSNAME_FIELD] = OLD_RELEASE.encode().ljust(UTSNAME_FIELD, b"\0")
            found = True
        start = image.find(name, start + 1)
    if not found:
        raise NotOffered("the kernel's image is packed in a way that hides its release")
    target.write_bytes(image)


def _build_packages(source, kernel):
    headers = kernel.replace("image", "headers", 1)
    version = re.match(r"linux-image-(\d+\.\d+)", kernel)
    depends = source.dependencies(headers)
    needed = [name for name in depends if name.startswith(("linux-headers-", "linux-kbuild-"))]
    packages = [headers, *needed, f"linux-source-{version.group(1)}" if version else ""]
    for name in packages:
        if not name or not source.knows(name):
            raise NotOffered(f"apt knows no package {name or 'with the source of ' + kernel}")
    return packages


def _build(work, version):
    """Compiles both modules and returns their paths."""
    headers = work / "headers"
    headers.mkdir()
    for archive in work.glob("linux-[hk]*.deb"):
        unpack(archive, headers)
    tree = headers / "usr" / "src" / f"linux-headers-{version}"
    # The makefile of the headers includes its other half by the path that it is installed under.
    makefile = tree / "Makefile"
    makefile.write_text(makefile.read_text("utf-8").replace(" /usr/src/", f" {headers}/usr/src/"), "utf-8")
    sources = work / "scsi"
    sources.mkdir()
    _unpack_sources(next(work.glob("linux-source-*.deb")), work, sources)
    debug_driver = sources / "scsi_debug.c"
    debug_driver.write_text(debug_driver.read_text("utf-8").replace(
        '#define MY_NAME "scsi_debug"', f'#define MY_NAME "{DRIVER_NAME}"'), "utf-8")
    modules = ["scsi_mod.ko", "scsi_debug.ko"]
    run_tool(["make", "-s", "-j2", "-C", tree, f"M={sources}", "CC=gcc", f"{OPTION}=y",
              f"KCFLAGS=-D{OPTION}=1 -g0", *modules])
    return [sources / name for name in modules]


def _unpack_sources(archive, work, target):
    # The archive holds an archive; reading ends with the last file of the one folder that is wanted.
    unpack(archive, work)
    inner = next((work / "usr" / "src").glob("linux-source-*.tar.*"))
    with tarfile.open(inner) as files:
        found = False
        for entry in files:
            _, inside, name = entry.name.partition(f"/{SOURCE_FOLDER}")
            if inside and entry.isfile() and "/" not in name:
                found = True
                (target / name).write_bytes(files.extractfile(entry).read())
            elif found and not inside:
                return
    if not found:
        raise NotOffered(f"{archive.name} holds no {SOURCE_FOLDER}")


def _pack(modules, kernel):
    archive = CpioArchive()
    for module in modules:
        subprocess.run([find_tool("strip"), "--strip-debug", str(module)], check=True)
        archive.add_host_file(f"{GUEST_FOLDER}/{module.name}", module)
    archive.add_link(f"usr/lib/modules/{OLD_RELEASE}", kernel.removeprefix("linux-image-"))
    return archive
