"""Knows which unit tests run a line: the program of the tests notes the blocks that each of them enters."""
import bisect
import collections
import json
import os
import subprocess

# The lines before one that may have been the last to begin a block before it.
NEIGHBOURS = 3
# Tests run in batches, and the first that fails ends a change's judgement.
FIRST_BATCH_MS = 1000
SLOW_MS = 1000

Test = collections.namedtuple("Test", "name milliseconds blocks")


class Coverage:
    """The tests of a build and the lines they run."""

    def __init__(self, document):
        self.tests = [Test(*test) for test in document["tests"]]
        self.lines = {path: sorted((int(line), tests) for line, tests in lines.items())
                      for path, lines in document["lines"].items()}

    def tests_of(self, path, line):
        """Those that may run a line."""
        lines = self.lines.get(path, [])
        end = bisect.bisect_right(lines, line, key=lambda entry: entry[0])
        return {self.tests[test] for _, tests in lines[max(0, end - NEIGHBOURS):end] for test in tests}

    def batches_of(self, path, line):
        """The names of those tests, in lists: the ones that run little first, the slow ones last."""
        tests = sorted(self.tests_of(path, line), key=lambda test: (test.blocks, test.name))
        batches = collections.defaultdict(list)
        spent = 0
        for test in tests:
            if test.milliseconds > SLOW_MS:
                batches[2].append(test)
                continue
            spent += test.milliseconds
            batches[0 if spent < FIRST_BATCH_MS else 1].append(test)
        return [batch for _, batch in sorted(batches.items())]


def measure(command, program, root, trace):
    """Runs all tests once by a command; root is the folder that the code's names begin at."""
    subprocess.run(command, env={**os.environ, "SCSITOOL_TRACED": str(trace)}, check=False,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    runs = [line.split() for line in trace.read_text("utf-8").splitlines()]
    places = places_of({block for run in runs for block in run[2:]}, program, f"/{root.name}/")
    lines = collections.defaultdict(lambda: collections.defaultdict(list))
    for number, (_, _, *blocks) in enumerate(runs):
        for path, line in {places[block] for block in blocks if block in places}:
            lines[path][line].append(number)
    return {"tests": [(name, int(took), len(blocks)) for name, took, *blocks in runs], "lines": lines}


def places_of(blocks, program, root):
    """(path, line) of each block that stands in a file of the code."""
    blocks = sorted(blocks)
    # The noted address is the one that the call returns to.
    addresses = "".join(f"{int(block, 16) - 1:#x}\n" for block in blocks)
    output = subprocess.run(["addr2line", "-e", str(program)], input=addresses, check=True, text=True,
                            stdout=subprocess.PIPE).stdout.splitlines()
    places = {}
    for block, answer in zip(blocks, output):
        path, _, line = answer.partition(" ")[0].partition(root)[2].partition(":")
        if path.endswith(".cc") and line.isdecimal():
            places[block] = (path, int(line))
    return places


def load(path):
    """What was measured, from a file."""
    return Coverage(json.loads(path.read_text("utf-8")))
