"""What a program needs beside itself: the libraries it is linked with and the files its links lead to."""
import glob
import os
import re
import subprocess

from lab.errors import LabError
from lab.listing import read_list

LOADER = "/lib64/ld-linux-x86-64.so.2"
LIBRARY_FOLDERS = ["usr/lib/x86_64-linux-gnu", "usr/lib", "usr/lib/systemd",
                   "usr/lib/x86_64-linux-gnu/systemd", "usr/lib/x86_64-linux-gnu/multipath"]
ELF_MAGIC = b"\x7fELF"


class GuestTree:
    """Copies chosen files of an unpacked root into an archive, each with all that it needs."""

    def __init__(self, root, archive):
        self._root = str(root)
        self._archive = archive

    def add_list(self, list_file):
        """Adds every file that a list names."""
        for line in read_list(list_file):
            pattern = line.removeprefix("?")
            found = sorted(glob.glob(self._root + pattern))
            if not found and pattern == line:
                raise LabError(f"{list_file.name}: the unpacked packages hold no {line}")
            for path in found:
                self._add_any(path)

    def add_busybox_names(self):
        """A link for every busybox applet that the guest has no program of its own for."""
        applets = subprocess.run([f"{self._root}/bin/busybox", "--list"], stdout=subprocess.PIPE,
                                 text=True, check=True).stdout.split()
        for name in applets:
            if not any(f"usr/{folder}/{name}" in self._archive for folder in ("bin", "sbin")):
                self._archive.add_link(f"usr/bin/{name}", "/bin/busybox")

    def _add_any(self, path):
        if os.path.isdir(path) and not os.path.islink(path):
            for name in sorted(os.listdir(path)):
                self._add_any(os.path.join(path, name))
        else:
            self.add(path[len(self._root):])

    def add(self, path):
        """Adds one file, given by its path in the guest."""
        folder = os.path.realpath(self._root + os.path.dirname(path))
        path = os.path.join(folder, os.path.basename(path))[len(self._root):]
        if path in self._archive:
            return
        source = self._root + path
        self._archive.add_host_file(path, source)
        if os.path.islink(source):
            self.add(os.path.normpath(os.path.join(os.path.dirname(path), os.readlink(source))))
        elif _is_elf(source):
            for library in self._libraries(source):
                self.add(library)

    def _libraries(self, program):
        # The guest's own loader answers, so that the guest's libraries are found and not this machine's.
        folders = ":".join(f"{self._root}/{folder}" for folder in LIBRARY_FOLDERS)
        done = subprocess.run([self._root + LOADER, "--library-path", folders, "--list", program],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
        missing = re.findall(r"^\s*(\S+) => not found", done.stdout, re.MULTILINE)
        if missing:
            raise LabError(f"{program[len(self._root):]} needs {', '.join(missing)}: no package has it")
        return [path[len(self._root):] for path in re.findall(r"=> (/\S+)", done.stdout)] + [LOADER]


def _is_elf(path):
    with open(path, "rb") as file:
        return file.read(len(ELF_MAGIC)) == ELF_MAGIC
