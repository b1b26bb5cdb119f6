#!/usr/bin/env python3
"""The schema of recorded hosts takes every sample and agrees with the table of cases."""

import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SKIPPED = 77

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed")
    sys.exit(SKIPPED)


def load(path):
    return json.loads((ROOT / path).read_text(encoding="utf-8"))


def with_format(case):
    return {"format": "scsitool-host/1", **case}


def main():
    schema = load("src/recording/recorded_host.schema.json")
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    failures = []
    samples = sorted((ROOT / "samples").glob("*.json"))
    for sample in samples:
        failures += [f"{sample.name}: {error.json_path}: {error.message}"
                     for error in validator.iter_errors(load(sample))]
    cases = load("tests/schema/recorded_host_cases.json")
    failures += [f"refused: {json.dumps(case)}" for case in cases["accepted"]
                 if not validator.is_valid(with_format(case))]
    failures += [f"accepted: {json.dumps(case)}" for case in cases["refused"]
                 if validator.is_valid(with_format(case))]
    if not samples or not cases["accepted"] or not cases["refused"]:
        failures.append("nothing to try")
    if validator.is_valid({}):
        failures.append("accepted: a document without a format")
    print("\n".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
