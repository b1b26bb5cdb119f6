"""Debian packages, fetched with apt and unpacked without being installed."""
import functools
import re
import subprocess
import time

from lab.errors import LabError
from lab.host_tools import find_tool, run_tool

# The first of these that apt knows is the distribution's own kernel.
KERNEL_META_PACKAGES = ["linux-image-amd64", "linux-image-generic"]
# What no test needs: documentation, translations, the conversion tables of the C library, drivers of what the emulator
# does not have.
UNWANTED_PATHS = ["./usr/share/doc", "./usr/share/man", "./usr/share/locale", "./usr/share/info",
                  "./usr/lib/x86_64-linux-gnu/perl*", "./usr/lib/x86_64-linux-gnu/gconv",
                  *(f"*/kernel/{name}" for name in ("sound", "drivers/gpu", "drivers/media", "drivers/iio",
                                                    "drivers/usb", "drivers/net/wireless"))]
LISTS_GOOD_FOR_SECONDS = 24 * 3600
MERGED_FOLDERS = ["bin", "sbin", "lib", "lib64"]


class PackageSource:
    """apt with a cache folder of its own, so that it needs neither rights nor the machine's own cache."""

    def __init__(self, folder, sources=None):
        """The machine's own sources, or those that a file lists instead."""
        self.archives = folder / "packages"
        self._none = folder / "no-packages"
        for path in (self.archives, self._none):
            (path / "partial").mkdir(parents=True, exist_ok=True)
        self._options = ["-qq", "-o", f"Dir::Cache={folder}", "-o", f"Dir::Cache::archives={self.archives}",
                         "-o", "APT::Install-Recommends=false", "-o", "APT::Sandbox::User=root",
                         "-o", "Debug::NoLocking=1"]
        if sources:
            self._options += ["-o", f"Dir::Etc::sourcelist={sources}", "-o", "Dir::Etc::sourceparts=/dev/null"]
        self._lists = folder / "lists"
        self._kernel = None

    def _install(self, packages, *more):
        # With an empty list of installed packages apt names everything that they depend on as well.
        return run_tool(["apt-get", *self._options, "-o", "Dir::State::status=/dev/null", "-y",
                         "--download-only", *more, "install", *packages])

    def kernel_package(self):
        """The name of the package that holds the distribution's current kernel."""
        if not self._kernel:
            self._kernel = self._find_kernel()
        if not self._kernel:
            self.read_lists()
            self._kernel = self._find_kernel()
        if not self._kernel:
            raise LabError(f"apt knows none of {', '.join(KERNEL_META_PACKAGES)}")
        return self._kernel

    def read_lists(self):
        """Reads the archive's lists into the cache folder: where the machine has none of its own, or other ones."""
        (self._lists / "partial").mkdir(parents=True, exist_ok=True)
        self._options += ["-o", f"Dir::State::lists={self._lists}"]
        read = self._lists / "read"
        if not read.exists() or time.time() - read.stat().st_mtime > LISTS_GOOD_FOR_SECONDS:
            run_tool(["apt-get", *self._options, "update"])
            read.touch()

    def knows(self, package):
        """True when apt can fetch the package."""
        return bool(run_tool(["apt-cache", *self._options, "search", "--names-only",
                              f"^{re.escape(package)}$"]).strip())

    def dependencies(self, package):
        """The packages that one package needs itself."""
        text = run_tool(["apt-cache", *self._options, "depends", package])
        return re.findall(r"^ *Depends: (\S+)", text, re.MULTILINE)

    def _find_kernel(self):
        for meta in filter(self.knows, KERNEL_META_PACKAGES):
            for package in self.dependencies(meta):
                if re.match(r"linux-image-\d", package):
                    return package
        return None

    def resolve(self, packages):
        """The archive file names, versions included, of the packages and of all that they need."""
        # Archives that are already there would be left out, so apt is shown a folder without any.
        return _archive_names(self._install(packages, "-o", f"Dir::Cache::archives={self._none}",
                                            "--print-uris"))

    @functools.lru_cache(maxsize=None)  # noqa: B019 - there is one source in a run
    def resolve_one(self, package):
        """The archive file name of one package alone."""
        return _archive_names(run_tool(["apt-get", *self._options, "--print-uris", "download", package]))[0]

    def fetch(self, packages):
        """Downloads the packages and all that they need into the cache folder."""
        self._install(packages)

    def fetch_one(self, package, folder):
        """Downloads one package alone into a folder, and returns the path of its archive."""
        archive = folder / self.resolve_one(package)
        if not archive.exists():
            run_tool(["apt-get", *self._options, "download", package], cwd=folder)
        return archive


def _archive_names(uris):
    # A line is: 'address' file-name size checksum
    return sorted(line.split()[1] for line in uris.splitlines() if line.startswith("'"))


def make_merged_root(folder):
    """A folder with the four links that merge /bin, /sbin, /lib and /lib64 into /usr."""
    for name in MERGED_FOLDERS:
        (folder / "usr" / name).mkdir(parents=True)
        (folder / name).symlink_to(f"usr/{name}")


def unpack(archive, folder, only=()):
    """Unpacks one package into a folder; `only` names paths that are wanted and nothing else."""
    tar = [find_tool("tar"), "-x", "-C", str(folder), "--keep-directory-symlink", "--no-same-owner",
           *(f"--exclude={path}" for path in UNWANTED_PATHS), *only]
    with subprocess.Popen([find_tool("dpkg-deb"), "--fsys-tarfile", str(archive)],
                          stdout=subprocess.PIPE) as source:
        done = subprocess.run(tar, stdin=source.stdout, stderr=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0 or source.returncode != 0:
        raise LabError(f"cannot unpack {archive.name}: {done.stderr.strip()}")
