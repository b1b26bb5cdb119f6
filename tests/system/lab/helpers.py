"""Small programs of the guest that no package has, compiled on this machine."""
from pathlib import Path

from lab.host_tools import run_tool

FOLDER = Path(__file__).resolve().parent.parent / "helpers"


def build_helpers(folder):
    """Compiles each program into a folder, without libraries of its own, and returns the paths."""
    programs = [(source, folder / source.stem) for source in sorted(FOLDER.glob("*.c"))]
    for source, program in programs:
        run_tool(["gcc", "-O1", "-Wall", "-Werror", "-static", "-o", program, source])
    return [program for _, program in programs]
