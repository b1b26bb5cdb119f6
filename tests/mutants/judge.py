"""Builds a copy of the tree with one change and asks the tests."""
import json
import os
import subprocess
import sys
from pathlib import Path

import coverage
from mutations import apply

CAUGHT, SURVIVED, BROKEN = "caught", "survived", "does not compile"
BUILD_SECONDS = 1800
INTEGRATION_SECONDS = 300
# ctest's word for a test that lacks something here.
SKIPPED = 77


class Judge:
    """A copy of what is committed, built without optimisation."""

    def __init__(self, project):
        self.work = project / "build" / "mutants"
        self.tree = self.work / "tree"
        # Where the release preset builds, so that ccache has what is not changed.
        self.build = self.tree / "build/release"
        self.unit_tests = self.build / "tests/unit/unit_tests"
        self.work.mkdir(parents=True, exist_ok=True)
        self.head = output_of(["git", "rev-parse", "HEAD"], project)
        self.prepare(project)
        self.coverage = self.measured()

    def prepare(self, project):
        """The tree as it is committed, built."""
        if not self.tree.exists():
            subprocess.run(["git", "clone", "--quiet", "--shared", project, self.tree], check=True)
        subprocess.run(["git", "fetch", "--quiet", "origin", self.head], cwd=self.tree, check=True)
        subprocess.run(["git", "checkout", "--quiet", "--force", "--detach", self.head], cwd=self.tree, check=True)
        subprocess.run(["cmake", "--preset", "release", "-DSCSITOOL_MUTANTS=ON", *faster_linker()], cwd=self.tree,
                       check=True, stdout=subprocess.DEVNULL)
        if not self.builds("unit_tests", "scsitool_command"):
            sys.exit("mutants: what is committed does not build")

    def measured(self):
        """Which tests run which line; kept as long as nothing was committed."""
        kept = self.work / f"covered-{self.head}.json"
        if not kept.exists():
            if not self.passes_integration():
                sys.exit("mutants: the integration tests fail on what is committed")
            document = coverage.measure(apart([str(self.unit_tests), "--gtest_brief=1"]), self.unit_tests, self.tree,
                                        self.work / "trace")
            for old in self.work.glob("covered-*.json"):
                old.unlink()
            kept.write_text(json.dumps(document), "utf-8")
        return coverage.load(kept)

    def judge(self, path, change):
        """What the tests make of a change."""
        file = self.tree / path
        text = file.read_text("utf-8")
        file.write_text(apply(text, change), "utf-8")
        try:
            if not self.builds("unit_tests"):
                return BROKEN
            batches = self.coverage.batches_of(path, change.line)
            if not all(self.passes(batch) for batch in batches):
                return CAUGHT
            return SURVIVED if self.builds("scsitool_command") and self.passes_integration() else CAUGHT
        finally:
            file.write_text(text, "utf-8")

    def builds(self, *targets):
        """Whether the tree compiles; what is changed is not worth keeping in ccache."""
        return succeeds(["env", "CCACHE_READONLY=1", "ninja", "-C", str(self.build), "-j1", *targets], BUILD_SECONDS)

    def passes(self, tests):
        """Whether some unit tests pass in several times the time that they have taken."""
        names = ":".join(test.name for test in tests)
        seconds = 20 + 5 * sum(test.milliseconds for test in tests) / 1000
        return succeeds(apart([str(self.unit_tests), f"--gtest_filter={names}", "--gtest_fail_fast", "--gtest_brief=1"]),
                        seconds)

    def passes_integration(self):
        """Whether the command prints what is expected."""
        script = self.tree / "tests/integration/scsitool_test.py"
        command = apart([sys.executable, "-B", str(script), str(self.build / "cli/scsitool")])
        return succeeds(command, INTEGRATION_SECONDS, (0, SKIPPED))


def output_of(command, folder):
    """The line that a command prints."""
    return subprocess.run(command, cwd=folder, check=True, text=True, stdout=subprocess.PIPE).stdout.strip()


def faster_linker():
    """The linker that every change is linked by, where it is installed."""
    return ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold"] if Path("/usr/bin/ld.gold").exists() else []


def apart(command):
    """A command whose processes see and end no other, whatever number a change makes of a process's, with the memory
    that it may fill bounded."""
    rights = [] if os.geteuid() == 0 else ["--map-root-user"]
    # The shell stands where a namespace has its init: it takes the end of whatever lost its parent.
    return ["unshare", *rights, "--pid", "--fork", "--mount-proc", "--kill-child", "prlimit", f"--as={8 << 30}",
            "sh", "-c", '"$@"; exit $?', "sh", *command]


def succeeds(command, seconds, good=(0,)):
    """Runs a command and what it starts in a group of their own; one that takes longer counts as failed."""
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL,
                          start_new_session=True) as process:
        try:
            return process.wait(seconds) in good
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            return False
