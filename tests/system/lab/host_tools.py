"""The programs that this machine must have, and how they are started."""
import shutil
import subprocess

from lab.errors import LabError

PACKAGE_OF_TOOL = {
    "qemu-system-x86_64": "qemu-system-x86",
    "apt-get": "apt",
    "apt-cache": "apt",
    "dpkg-deb": "dpkg",
    "gcc": "gcc",
    "depmod": "kmod",
    "modprobe": "kmod",
    "tar": "tar",
    "ldd": "libc-bin",
    "timeout": "coreutils",
}
# Administrators' programs are not on the search path of every user.
SEARCH_PATH = ["/usr/local/sbin", "/usr/sbin", "/sbin"]


def find_tool(name):
    """The path of a program, or None."""
    found = shutil.which(name)
    return found or shutil.which(name, path=":".join(SEARCH_PATH))


def require_tools():
    """Raises LabError that names every missing program and the package that brings it."""
    missing = [name for name in PACKAGE_OF_TOOL if find_tool(name) is None]
    if missing:
        lines = [f"  {name}: in package {PACKAGE_OF_TOOL[name]}" for name in missing]
        packages = " ".join(sorted({PACKAGE_OF_TOOL[name] for name in missing}))
        raise LabError("programs are missing on this machine:\n" + "\n".join(lines)
                       + f"\ntry: apt-get install {packages}")


def run_tool(arguments, **options):
    """Runs one program of this machine and returns what it printed; LabError when it fails."""
    command = [find_tool(arguments[0]) or arguments[0], *map(str, arguments[1:])]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False, **options)
    if done.returncode != 0:
        raise LabError(f"{' '.join(command)}\nended with status {done.returncode}:\n"
                       f"{(done.stderr or done.stdout).strip()}")
    return done.stdout
