#!/usr/bin/env python3
"""Runs the built command on the sample hosts and compares all that it leaves with expected/.

    scsitool_test.py COMMAND [--update]

--update writes the files, and the examples of docs/scsitool.md, anew: look at the difference.
"""

import datetime
import difflib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

from cases import CASES, SAMPLES, SICK, SITE
from checks import CHECKS, on_a_screen

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
SKIPPED = 77
VERSION = re.search(r"project\(scsitool VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())[1]

# The source line in a function trace moves with the code.
TRACE_LINE = re.compile(r"^(\[6\] (?:Entering|Exiting) Function .* \[)[0-9]+, ", re.MULTILINE)
# Every family that declines a device for its vendor has such a line, and a new one has it too.
DECLINE_LINE = re.compile(
    r'^\S.*? +declines +vendor ".*" (?:is not|is none of|does not begin with) .*\n', re.MULTILINE)


class Scsitool:
    """The built command, run from the root of the tree as a user without a terminal does."""

    def __init__(self, program):
        self.program = pathlib.Path(program).resolve()

    def run(self, arguments, **options):
        environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
        for name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"):
            if name in os.environ:
                environment[name] = os.environ[name]
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        return subprocess.run([self.program, *arguments], cwd=ROOT, check=False, text=True,
                              env=environment | options.pop("env", {}), **options)


def effects_of(journal, arguments):
    """A journal without the line that its run begins with, or with what is wrong with that line."""
    if not journal.exists():
        return ""
    first, _, effects = journal.read_text().partition("\n")
    if not first:
        return effects  # refused before there was a host to run on
    run = json.loads(first).get("run", {})
    told = datetime.datetime.fromisoformat(run.pop("at", "").replace("Z", "+00:00"))
    age = datetime.datetime.now(datetime.timezone.utc) - told
    if run != {"version": VERSION, "command": arguments} or abs(age.total_seconds()) > 600:
        return f"begins with {first}\n{effects}"
    return effects


def transcript(scsitool, arguments):
    """All that one run leaves, as the text of an expected file."""
    with tempfile.TemporaryDirectory() as folder:
        journal = pathlib.Path(folder) / "journal"
        taken = ["--journal", str(journal)] if "--dry-run" not in arguments else []
        result = scsitool.run([*taken, *arguments])
        text = f"$ scsitool {' '.join(arguments)}\nexit status {result.returncode}\n"
        for title, content in (("standard output", DECLINE_LINE.sub("", result.stdout)),
                               ("standard error", TRACE_LINE.sub(r"\1N, ", result.stderr)),
                               ("journal", effects_of(journal, [*taken, *arguments]))):
            text += f"--- {title}\n{content}" if content else ""
    return text


def compare(path, text, update):
    if update:
        path.write_text(text, encoding="utf-8")
    expected = path.read_text(encoding="utf-8") if path.exists() else ""
    return list(difflib.unified_diff(expected.splitlines(), text.splitlines(),
                                     f"expected {path.name}", "found", lineterm=""))


def compare_cases(scsitool, update):
    problems = []
    for name, arguments in CASES.items():
        problems += compare(HERE / "expected" / f"{name}.txt", transcript(scsitool, arguments),
                            update)
    known = {f"{name}.txt" for name in CASES}
    problems += [f"expected/{file.name}: no case makes it"
                 for file in (HERE / "expected").iterdir() if file.name not in known]
    return problems


def strict(schema):
    """The schema with every member named: a program's own output has no others."""
    if isinstance(schema, list):
        return [strict(one) for one in schema]
    if not isinstance(schema, dict):
        return schema
    result = {key: strict(value) for key, value in schema.items()}
    if result.get("type") == "object" and "properties" in result:
        result.setdefault("additionalProperties", False)
    return result


BROKEN = (
    ("a missing first member", lambda document: document.pop("scsitool")),
    ("another format", lambda document: document["scsitool"].update(json_format=2)),
    ("a number for a name", lambda document: document["devices"][0].update(name=7)),
    ("a member too few", lambda document: document["devices"][0].pop("udid")),
    ("an unknown member", lambda document: document["devices"][0].update(colour="red")),
    ("no data", lambda document: document.pop("devices")),
    ("a failure without its reason", lambda document: document["scsitool"].update(exit_status=1)),
    ("a refusal without its reason", lambda document: document["scsitool"].update(exit_status=2)),
)


def compare_documents(scsitool):
    try:
        import jsonschema
    except ImportError:
        return None
    schema = json.loads((ROOT / "cli/output/output.schema.json").read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(strict(schema))
    problems = []
    for name, arguments in CASES.items():
        result = scsitool.run([*arguments, "--json"])
        if name in ("help", "version"):
            continue
        document = json.loads(result.stdout)
        problems += [f"{name}: {error.json_path}: {error.message}"
                     for error in validator.iter_errors(document)]
        head = {"json_format": 1, "version": VERSION, "command": [*arguments, "--json"],
                "exit_status": result.returncode}
        if next(iter(document.items())) != ("scsitool", head):
            problems.append(f"{name}: the first member is {next(iter(document.items()))}")
    for what, spoil in BROKEN:
        document = json.loads(scsitool.run([*CASES["plain-server.devices"], "--json"]).stdout)
        spoil(document)
        if validator.is_valid(document):
            problems.append(f"the schema takes a document with {what}")
    return problems


def compare_lines(scsitool):
    """What --ndjson prints on every sample follows the schema line by line."""
    try:
        import jsonschema
    except ImportError:
        return []
    schema = json.loads((ROOT / "cli/output/output.schema.json").read_text(encoding="utf-8"))

    def problems_of(line, name):
        definition = {"$ref": f"#/$defs/{name}", "$defs": strict(schema["$defs"])}
        return [f"--ndjson: {name}: {error.json_path}: {error.message}" for error in
                jsonschema.Draft202012Validator(definition).iter_errors(line)]

    problems = []
    for sample in [*SAMPLES, *SICK, *SITE]:
        path = f"samples/{sample}.json"
        for command in (["--host", path, "volumes"], ["--host", path, "devices"], ["matrix", path]):
            printed = scsitool.run([*command, "--ndjson"]).stdout.splitlines()
            problems += [] if printed else [f"{command} --ndjson prints nothing"]
            for line in map(json.loads, printed):
                if "matrix" in command:
                    problems += problems_of(line, "sharedVolume")
                    continue
                head = {name: line.pop(name) for name in ("host", "time")}
                problems += problems_of(head, "lineHead")
                kind = ("volume" if "volumes" in command else
                        "deviceMap" if "udid" in line else "unidentified")
                problems += problems_of([line] if kind == "deviceMap" else line, kind)
    return problems


def printed(scsitool, arguments):
    result = scsitool.run(arguments)
    return result.stdout + result.stderr


def compare_page(scsitool, page, update, shown=printed):
    """Every example of a page is run and shows what the command prints. Gives the examples and what is wrong."""
    problems = []
    examples = []

    def example(match):
        command = match.group(1)
        examples.append(command)
        found = f"```console\n$ scsitool {command}\n{shown(scsitool, shlex.split(command))}```\n"
        if DECLINE_LINE.sub("", found) != DECLINE_LINE.sub("", match.group(0)):
            problems.append(f"{page.relative_to(ROOT)}: '$ scsitool {command}' shows something else")
        return found

    text = page.read_text(encoding="utf-8")
    found = re.sub(r"```console\n\$ scsitool (.*)\n((?:(?!```).*\n)*)```\n", example, text)
    if update:
        page.write_text(found, encoding="utf-8")
        return examples, []
    return examples, problems


SCREEN_COLUMNS, SCREEN_LINES = 120, 45


def on_the_cookbooks_screen(scsitool, arguments):
    return on_a_screen(scsitool, arguments, SCREEN_COLUMNS)


def too_large_for_a_screen(page):
    """Each question of the cookbook is one command, and its answer fits one screen."""
    problems = []
    for section in page.read_text(encoding="utf-8").split("\n## ")[1:]:
        question = section.partition("\n")[0]
        answers = re.findall(r"```console\n((?:(?!```).*\n)*)```", section)
        if len(answers) != 1:
            problems.append(f"{question}: {len(answers)} commands")
            continue
        command, *lines = answers[0].splitlines()
        wide = [line for line in lines
                if len(line) > SCREEN_COLUMNS and not line.startswith("scsitool: ")]
        # A terminal breaks messages, which stay whole for who searches for them.
        rows = sum(max(1, -(-len(line) // SCREEN_COLUMNS)) for line in [command, *lines])
        problems += [f"{question}: more than {SCREEN_COLUMNS} columns: {line}" for line in wide]
        if rows > SCREEN_LINES or not lines:
            problems.append(f"{question}: {rows} lines")
    return [f"{page.relative_to(ROOT)}: {problem}" for problem in problems]


def compare_documentation(scsitool, update):
    """What the documents show is what the command prints, and the manual shows each command."""
    problems = []
    problems += compare_page(scsitool, ROOT / "README.md", update)[1]
    cookbook = ROOT / "docs/cookbook.md"
    problems += compare_page(scsitool, cookbook, update, on_the_cookbooks_screen)[1]
    problems += too_large_for_a_screen(cookbook)
    examples, wrong = compare_page(scsitool, ROOT / "docs/scsitool.md", update)
    help_text = scsitool.run(["--help"]).stdout
    commands = re.findall(r"^  ([a-z-]+) ", help_text.split("Subcommands:")[1].split("Example:")[0], re.MULTILINE)
    return problems + wrong + [f"docs/scsitool.md: no example of {command}" for command in commands
                               if not update and not any(command in example.split() for example in examples)]


def main(arguments):
    update = "--update" in arguments
    scsitool = Scsitool([one for one in arguments if not one.startswith("--")][0])
    problems = compare_cases(scsitool, update)
    problems += compare_documentation(scsitool, update)
    for check in CHECKS:
        problems += [f"{check.__name__}: {problem}" for problem in check(scsitool, SAMPLES)]
    problems += compare_lines(scsitool)
    documents = compare_documents(scsitool)
    problems += documents or []
    for problem in problems:
        print(problem)
    if documents is None:
        print("python3-jsonschema is not installed: no document was validated")
    return 1 if problems else SKIPPED if documents is None else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
