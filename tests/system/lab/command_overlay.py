"""The command under test as an archive that is laid over the guest."""
import os
import re
import subprocess

from lab.cpio import CpioArchive
from lab.errors import LabError
from lab.host_tools import find_tool

FOLDER = "opt/scsitool"
# The command runs with the very libraries it was linked with on this machine, its loader included, while
# everything else in the guest keeps its own.
LAUNCHER = f"""#!/bin/sh
exec /{FOLDER}/loader --argv0 scsitool --library-path /{FOLDER} /{FOLDER}/scsitool "$@"
"""


def write_command_overlay(command, library_dir, target):
    """Packs the command and every library that it needs."""
    overlay = CpioArchive()
    loader, libraries = _needed(command, library_dir)
    overlay.add_host_file(f"{FOLDER}/scsitool", os.path.realpath(command))
    overlay.add_host_file(f"{FOLDER}/loader", os.path.realpath(loader))
    for name, path in libraries.items():
        overlay.add_host_file(f"{FOLDER}/{name}", os.path.realpath(path))
    overlay.add_bytes("usr/bin/scsitool", LAUNCHER.encode(), 0o755)
    overlay.write(target)


def _needed(command, library_dir):
    environment = dict(os.environ)
    if library_dir:
        environment["LD_LIBRARY_PATH"] = os.path.abspath(library_dir)
    done = subprocess.run([find_tool("ldd"), str(command)], env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False)
    missing = re.findall(r"^\s*(\S+) => (?!/)", done.stdout, re.MULTILINE)
    if missing:
        raise LabError(f"{command} needs {', '.join(missing)}: name the folder with --library-dir")
    loader = re.search(r"^\s*(/\S*ld-linux\S*) \(", done.stdout, re.MULTILINE)
    if done.returncode != 0 or not loader:
        raise LabError(f"{command} is no program that this machine can start: {done.stdout.strip()}")
    return loader.group(1), dict(re.findall(r"^\s*(\S+) => (/\S+)", done.stdout, re.MULTILINE))
