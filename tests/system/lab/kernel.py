"""The distribution's kernel: its image in the form that boots fastest, and the modules that the guest needs."""
import lzma
import re
import shutil
import subprocess
import zlib
from pathlib import Path

from lab.debian import unpack
from lab.errors import LabError
from lab.host_tools import find_tool, run_tool

XZ_MAGIC = b"\xfd7zXZ\0"
GZIP_MAGIC = b"\x1f\x8b\x08"
ZSTD_MAGIC = b"\x28\xb5\x2f\xfd"
ELF_MAGIC = b"\x7fELF"
GZIP_WINDOW = 31


class KernelPackage:
    """One unpacked kernel, of one package or of several."""

    def __init__(self, archives, folder):
        folder.mkdir()
        for archive in archives:
            unpack(archive, folder)
        # Where the image is a package of its own it lies beside the modules.
        images = {path: path.name.removeprefix("vmlinuz-") for path in (folder / "boot").glob("vmlinuz-*")}
        images |= {path: path.parent.name for path in (folder / "usr/lib/modules").glob("*/vmlinuz")}
        if not images:
            raise LabError(f"{', '.join(archive.name for archive in archives)}: no vmlinuz in there")
        self._folder = folder
        self._image, self.version = images.popitem()
        modules = folder / "usr" / "lib" / "modules"
        if modules.exists() and not (folder / "lib").exists():
            (folder / "lib").symlink_to("usr/lib")
        run_tool(["depmod", "-b", folder, self.version])

    def write_image(self, target):
        """Writes the image that QEMU boots: the bare ELF file where possible, as packaged otherwise.

        The emulator starts an ELF file at once, while the packaged image unpacks itself first, which takes
        seconds without hardware acceleration.
        """
        configs = [self._folder / "boot" / f"config-{self.version}", self._modules(self._folder) / "config"]
        starts_bare = any(config.exists() and "CONFIG_PVH=y" in config.read_text(encoding="utf-8") for config in configs)
        elf = find_elf(self._image.read_bytes()) if starts_bare else None
        target.write_bytes(elf if elf else self._image.read_bytes())

    def copy_modules(self, names, root):
        """Copies modules, and those they need, into a folder that becomes the guest's root."""
        source = self._modules(self._folder)
        target = self._modules(root)
        target.mkdir(parents=True)
        for path in sorted(self._closure(names)):
            copy = target / path.relative_to(source)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, copy)
        for name in ["modules.order", "modules.builtin", "modules.builtin.modinfo"]:
            shutil.copyfile(source / name, target / name)
        run_tool(["depmod", "-b", root, self.version])

    def _modules(self, root):
        return root / "lib" / "modules" / self.version

    def _closure(self, names):
        paths = set()
        for name in names:
            text = run_tool(["modprobe", "-S", self.version, "-d", self._folder, "--show-depends", name])
            paths.update(Path(path) for path in re.findall(r"^insmod (\S+)", text, re.MULTILINE))
        return paths


def find_elf(image):
    """The ELF file inside a self-extracting kernel image, or None when there is none to be found."""
    for magic, unpack_part in ((XZ_MAGIC, lambda part: lzma.LZMADecompressor().decompress(part)),
                               (GZIP_MAGIC, lambda part: zlib.decompressobj(GZIP_WINDOW).decompress(part)),
                               (ZSTD_MAGIC, _unpack_zstd)):
        start = image.find(magic)
        while start >= 0:
            try:
                found = unpack_part(image[start:])
            except (lzma.LZMAError, zlib.error):
                found = b""
            if found.startswith(ELF_MAGIC):
                return found
            start = image.find(magic, start + 1)
    return None


def _unpack_zstd(part):
    """What zstd makes of a part that goes on behind the compressed data; nothing where this machine has no zstd."""
    zstd = find_tool("zstd")
    return subprocess.run([zstd, "-dcq"], input=part, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=False).stdout if zstd else b""
