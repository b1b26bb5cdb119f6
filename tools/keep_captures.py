#!/usr/bin/env python3
"""Makes samples of the captures that the system tests take of sick guests.

    tests/system/run --captures-dir FOLDER sick_units sick_paths sick_silent
    tools/keep_captures.py FOLDER

The rescan script, whose text is somebody else's, is left out; all else stays as it was captured.
"""

import json
import pathlib
import re
import sys

from samples.captured import CAPTURED

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCRIPT = re.compile(r'(\s*"(?:/usr)?/bin/rescan-scsi-bus\.sh": )".*"(,?)')


def sample_of(capture, comment):
    """The text of a capture, line by line as it was written, with more in its comment."""
    lines = [SCRIPT.sub(r'\1""\2', line) for line in capture.splitlines()]
    end = lines.index("  ],")
    lines[end - 1] += ","
    lines.insert(end, f"    {json.dumps(comment)}")
    return "\n".join(lines) + "\n"


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    for name, comment in CAPTURED.items():
        capture = pathlib.Path(arguments[0]) / f"{name}.json"
        if not capture.exists():
            print(f"{capture} is not there; the sample stays")
            continue
        text = sample_of(capture.read_text(encoding="utf-8"), comment)
        json.loads(text)
        (ROOT / "samples" / f"{name}.json").write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
