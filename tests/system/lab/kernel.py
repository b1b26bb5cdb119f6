"""The distribution's kernel: its image in the form that boots fastest, and the modules that the guest needs."""
import lzma
import re
import shutil
import zlib
from pathlib import Path

from lab.debian import unpack
from lab.errors import LabError
from lab.host_tools import run_tool

XZ_MAGIC = b"\xfd7zXZ\0"
GZIP_MAGIC = b"\x1f\x8b\x08"
ELF_MAGIC = b"\x7fELF"
GZIP_WINDOW = 31


class KernelPackage:
    """One unpacked kernel package."""

    def __init__(self, archive, folder):
        folder.mkdir()
        unpack(archive, folder)
        images = list((folder / "boot").glob("vmlinuz-*"))
        if not images:
            raise LabError(f"{archive.name} holds no /boot/vmlinuz-*")
        self._folder = folder
        self._image = images[0]
        self.version = self._image.name.removeprefix("vmlinuz-")
        modules = folder / "usr" / "lib" / "modules"
        if modules.exists() and not (folder / "lib").exists():
            (folder / "lib").symlink_to("usr/lib")
        run_tool(["depmod", "-b", folder, self.version])

    def write_image(self, target):
        """Writes the image that QEMU boots: the bare ELF file where possible, as packaged otherwise.

        The emulator starts an ELF file at once, while the packaged image unpacks itself first, which takes
        seconds without hardware acceleration.
        """
        config = self._folder / "boot" / f"config-{self.version}"
        starts_bare = config.exists() and "CONFIG_PVH=y" in config.read_text(encoding="utf-8")
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
    for magic, unpacker in ((XZ_MAGIC, lzma.LZMADecompressor),
                            (GZIP_MAGIC, lambda: zlib.decompressobj(GZIP_WINDOW))):
        start = image.find(magic)
        while start >= 0:
            try:
                found = unpacker().decompress(image[start:])
            except (lzma.LZMAError, zlib.error):
                found = b""
            if found.startswith(ELF_MAGIC):
                return found
            start = image.find(magic, start + 1)
    return None
