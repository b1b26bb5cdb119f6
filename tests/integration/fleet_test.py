#!/usr/bin/env python3
"""Runs the worked examples of docs/fleet.md on captures of a small cluster.

    fleet_test.py COMMAND [--update]

--update writes what the examples print anew: look at the difference.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "bench"))

from make_hosts import GIBIBYTE, make_host, usual_size  # noqa: E402

PAGE = ROOT / "docs" / "fleet.md"
SKIPPED = 77
VOLUMES = 4


def size_yesterday(volume):
    return GIBIBYTE if volume == 1 else usual_size(volume)


def size_at_third(volume):
    """The third node has not looked again since a volume grew."""
    return GIBIBYTE if volume == 3 else usual_size(volume)


def write(path, host):
    path.parent.mkdir(exist_ok=True)
    path.write_text(json.dumps(host), encoding="utf-8")


def with_dead_path(host):
    for name in host["devices"]:
        if name == "/dev/sdb":
            host["devices"][name] = {"number": host["devices"][name]["number"], "open_errno": 6}
    return host


def write_cluster(folder):
    write(folder / "captures" / "db01.json", make_host(0, VOLUMES, 2, "db01"))
    write(folder / "captures" / "db02.json", with_dead_path(make_host(2, VOLUMES, 2, "db02")))
    write(folder / "captures" / "db03.json", make_host(0, VOLUMES, 1, "db03", size_at_third))
    write(folder / "yesterday" / "db01.json",
          make_host(0, VOLUMES - 1, 2, "db01", size_yesterday))


def run_examples(text, folder, command):
    (folder / "bin").mkdir()
    (folder / "bin" / "scsitool").symlink_to(pathlib.Path(command).resolve())
    environment = os.environ | {"PATH": f"{folder}/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}

    def example(match):
        shown = ""
        for line in match.group(1).splitlines():
            if line.startswith("$ "):
                done = subprocess.run(["/bin/bash", "-c", line[2:]], cwd=folder, env=environment,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                      check=False)
                shown += f"{line}\n{done.stdout}"
        return f"```console\n{shown}```\n"

    return re.sub(r"```console\n((?:(?!```).*\n)*)```\n", example, text)


def main(arguments):
    if shutil.which("sqlite3") is None:
        print("sqlite3 is not installed: no example was run")
        return SKIPPED
    text = PAGE.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        write_cluster(folder)
        found = run_examples(text, folder, arguments[0])
    if "--update" in arguments:
        PAGE.write_text(found, encoding="utf-8")
        return 0
    for shown, printed in zip(text.splitlines(), found.splitlines()):
        if shown != printed:
            print(f"docs/fleet.md shows\n  {shown}\nand the example prints\n  {printed}")
            return 1
    return 0 if text == found else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
