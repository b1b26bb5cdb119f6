"""The tables of docs/compared.md, which say where scsitool has what other tools print."""
import collections
from pathlib import Path

DOCUMENT = Path(__file__).resolve().parents[2] / "docs" / "compared.md"
HEADS = {"tool", "---"}

Row = collections.namedtuple("Row", "tool cell says command column member")
Missing = collections.namedtuple("Missing", "tool cell says why")


def rows():
    """Both tables: what is in both tools, and what is not ours."""
    lines = [[word.strip().strip("`") for word in line.strip("|").split("|")]
             for line in DOCUMENT.read_text("utf-8").splitlines() if line.startswith("|")]
    lines = [line for line in lines if line[0] not in HEADS]
    return ([Row(*line) for line in lines if len(line) == len(Row._fields)],
            [Missing(*line) for line in lines if len(line) == len(Missing._fields)])
