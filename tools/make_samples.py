#!/usr/bin/env python3
"""Writes the recorded hosts of samples/ and, for the tests, the device map that each must give.

    tools/make_samples.py            write them
    tools/make_samples.py --check    exit with 1 and a list when a file differs from what this makes

The makers of pages (samples/pages.py), of array volumes (samples/arrays.py) and of hosts
(samples/hosts.py, samples/catalogue.py) stand beside this script and say how each byte came about.
Samples that were captured (samples/captured.py) are none of its business.
"""

import json
import pathlib
import sys

from samples.captured import CAPTURED
from samples.catalogue import SAMPLES
from samples.mail import mail

ROOT = pathlib.Path(__file__).resolve().parent.parent


def as_json(value):
    return json.dumps(value, indent=2, ensure_ascii=False) + "\n"


def made_files():
    yield ROOT / "samples" / "mailed-pages.txt", mail()
    for name, make in SAMPLES.items():
        host = make()
        yield ROOT / "samples" / f"{name}.json", as_json(host.recording())
        expected = {device: host.expected[device] for device in sorted(host.expected)}
        yield ROOT / "tests" / "samples" / f"{name}.devices.json", as_json(expected)


def stray_files(known):
    for folder in (ROOT / "samples", ROOT / "tests" / "samples"):
        for path in sorted(folder.glob("*.json")):
            if path not in known and path.stem not in CAPTURED:
                yield path


def main(arguments):
    if arguments not in ([], ["--check"]):
        print(__doc__, file=sys.stderr)
        return 2
    files = dict(made_files())
    if not arguments:
        for path, text in files.items():
            path.parent.mkdir(exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return 0
    differing = [path for path, text in files.items()
                 if not path.exists() or path.read_text(encoding="utf-8") != text]
    for path in differing + list(stray_files(files)):
        print(f"{path.relative_to(ROOT)}: not what tools/make_samples.py makes")
    return 1 if differing or list(stray_files(files)) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
