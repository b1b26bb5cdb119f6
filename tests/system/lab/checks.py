"""The checks of a job: each is one line of the report, and a failed one does not end the job."""
import json


class Checks:
    """Collects what was checked, in order."""

    def __init__(self):
        self.passed = 0
        self.failed = 0
        self.lines = []
        self.tables = []

    def equal(self, what, got, expected):
        """Passes when both are equal."""
        self._record(what, got == expected, lambda: f"expected: {_show(expected)}\n     got: {_show(got)}")

    def true(self, what, condition, detail=""):
        """Passes when the condition holds; the detail is shown when it does not."""
        self._record(what, bool(condition), lambda: str(detail))

    def contains(self, what, text, part):
        """Passes when the text, or the list, holds the part."""
        self._record(what, part in text, lambda: f"expected within: {_show(part)}\n            got: {_show(text)}")

    def matches(self, what, got, pattern):
        """Passes when a compiled pattern matches the whole text."""
        self._record(what, pattern.fullmatch(got), lambda: f"expected: {pattern.pattern}\n     got: {_show(got)}")

    def quietly(self, what, got, expected, detail):
        """For a cell of a table: passes when both are equal, and has a line of its own only when they are not."""
        if got == expected:
            self.passed += 1
        else:
            self.fail(what, f"expected: {_show(expected)}\n     got: {_show(got)}\n{detail}")

    def fail(self, what, detail):
        """A failure that no comparison found."""
        self._record(what, False, lambda: detail)

    def _record(self, what, good, explain):
        if good:
            self.passed += 1
            self.lines.append(f"  ok    {what}")
            return
        self.failed += 1
        self.lines.append(f"  FAIL  {what}")
        self.lines += [f"        {line}" for line in explain().splitlines()]


def _show(value):
    return value if isinstance(value, str) else json.dumps(value, default=repr)
