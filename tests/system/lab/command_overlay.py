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
LAUNCHER = """#!/bin/sh
exec /{folder}/{process} --argv0 {name} --library-path /{folder} /{folder}/{name} "$@"
"""
# What the kernel calls a process that is started so.
PROCESS_NAME = "loader"
# Stands in bench/ of the same build.
DISK_COST = "disk_cost"


def write_command_overlay(command, library_dir, helpers, target):
    """Packs the command with every library that it needs, and programs that need none."""
    overlay = CpioArchive()
    loader, libraries = _needed(command, library_dir)
    for path in (command, command.parent.parent / "bench" / DISK_COST):
        if path.exists():
            overlay.add_host_file(f"{FOLDER}/{path.name}", os.path.realpath(path))
            launcher = LAUNCHER.format(folder=FOLDER, process=PROCESS_NAME, name=path.name)
            overlay.add_bytes(f"usr/bin/{path.name}", launcher.encode(), 0o755)
    overlay.add_host_file(f"{FOLDER}/{PROCESS_NAME}", os.path.realpath(loader))
    for name, path in libraries.items():
        overlay.add_host_file(f"{FOLDER}/{name}", os.path.realpath(path))
    for path in helpers:
        overlay.add_host_file(f"usr/bin/{path.name}", path)
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
