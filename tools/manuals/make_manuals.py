#!/usr/bin/env python3
"""Makes the manual pages: options from what the command says of itself, all else from the documents."""
import argparse
import datetime
import json
import os
import pathlib
import re
import subprocess
import sys

import pages

# The first line of a page whose tables the reader's tbl has to set.
TABLES = "'\\\" t\n"
ROOT = pathlib.Path(__file__).resolve().parents[2]


def date_of_build():
    """The day of the sources where the environment says it, so that two builds make the same bytes."""
    seconds = os.environ.get("SOURCE_DATE_EPOCH")
    moment = datetime.datetime.fromtimestamp(int(seconds), datetime.timezone.utc) if seconds else \
        datetime.datetime.now(datetime.timezone.utc)
    return moment.strftime("%Y-%m-%d")


def plain(roff):
    """Without a font that not every reader of pages knows, nor paragraphs that have begun already; tables are announced."""
    page = re.sub(r"(?<=\n)(\.S[HS] .*\n)\.PP\n", r"\1", roff.replace(r"\fC", r"\fB"))
    return page if page.startswith(TABLES) or "\n.TS\n" not in page else TABLES + page


def main():
    """Writes one file a page into a folder."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--command", required=True, help="the built scsitool")
    parser.add_argument("--version", required=True, help="the version that the pages are of")
    parser.add_argument("--output", required=True, type=pathlib.Path, help="the folder to write to")
    parser.add_argument("--md2man", default="go-md2man", help="what turns Markdown into a manual page")
    options = parser.parse_args()
    known = json.loads(subprocess.run([options.command, "help", "--json"], check=True, capture_output=True,
                                      text=True).stdout)["help"]
    try:
        texts = pages.all_pages(ROOT / "docs", known)
    except pages.DocumentError as error:
        sys.exit(f"make_manuals.py: {error}")
    options.output.mkdir(parents=True, exist_ok=True)
    for (name, section), text in texts.items():
        title = f'% {name} {section} "{date_of_build()}" "scsitool {options.version}" ""\n\n'
        roff = subprocess.run([options.md2man], input=title + text, check=True, capture_output=True, text=True).stdout
        (options.output / f"{name}.{section}").write_text(plain(roff), encoding="utf-8")


if __name__ == "__main__":
    main()
