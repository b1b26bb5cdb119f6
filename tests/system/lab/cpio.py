"""Initial RAM file systems: cpio archives in the "newc" form that the kernel unpacks."""
import os
import stat

NEWC_MAGIC = b"070701"
TRAILER = "TRAILER!!!"


class CpioArchive:
    """The tree that the archive will hold: guest paths without the leading slash, each once.

    Everything belongs to root in the guest, whoever makes the archive.
    """

    def __init__(self):
        self._entries = {}

    def __contains__(self, path):
        return path.strip("/") in self._entries

    def add_folder(self, path):
        """A folder and those above it."""
        path = path.strip("/")
        if path and path not in self._entries:
            self.add_folder(os.path.dirname(path))
            self._entries[path] = (stat.S_IFDIR | 0o755, b"", 0)

    def add_bytes(self, path, content, mode=0o644):
        """A file with the given content; a later one under the same path replaces it."""
        self._add(path, stat.S_IFREG | mode, content)

    def add_link(self, path, target):
        """A symbolic link."""
        self._add(path, stat.S_IFLNK | 0o777, os.fsencode(target))

    def add_character_device(self, path, major, minor):
        """A device node, which needs no rights here because it is only written down."""
        self._add(path, stat.S_IFCHR | 0o600, b"", major << 8 | minor)

    def add_host_file(self, path, source):
        """A file or a link as it stands on this machine."""
        if os.path.islink(source):
            self.add_link(path, os.readlink(source))
        else:
            with open(source, "rb") as file:
                self.add_bytes(path, file.read(), stat.S_IMODE(os.stat(source).st_mode))

    def add_host_tree(self, path, source):
        """All files below a folder of this machine."""
        for folder, _, names in os.walk(source):
            inside = os.path.join(path, os.path.relpath(folder, source))
            self.add_folder(os.path.normpath(inside))
            for name in names:
                self.add_host_file(os.path.normpath(os.path.join(inside, name)), os.path.join(folder, name))

    def write(self, target):
        """Writes the archive; several of them one after the other in one file make one tree."""
        with open(target, "wb") as file:
            for number, (path, (mode, content, device)) in enumerate(self._entries.items(), start=1):
                _write_entry(file, number, path, mode, content, device)
            _write_entry(file, 0, TRAILER, 0, b"", 0)
            file.write(bytes(-file.tell() % 512))

    def _add(self, path, mode, content, device=0):
        path = path.strip("/")
        self.add_folder(os.path.dirname(path))
        self._entries[path] = (mode, content, device)


def _write_entry(file, number, path, mode, content, device):
    name = os.fsencode(path) + b"\0"
    links = 1
    fields = [number, mode, 0, 0, links, 0, len(content), 0, 0, device >> 8, device & 0xFF, len(name), 0]
    header = NEWC_MAGIC + b"".join(b"%08x" % field for field in fields) + name
    file.write(header + bytes(-len(header) % 4))
    file.write(content + bytes(-len(content) % 4))
