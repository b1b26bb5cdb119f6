"""The command line: picks jobs, runs them in machines of their own, reports and counts."""
import argparse
import collections
import concurrent.futures
import contextlib
import functools
import importlib
import os
import shutil
import signal
import sys
import tempfile
import threading
import time
import traceback
from pathlib import Path

from lab.checks import Checks
from lab.command_overlay import write_command_overlay
from lab.errors import LabError
from lab.failed_job import FailedJobs
from lab.helpers import build_helpers
from lab.host_tools import require_tools
from lab.image import open_cache, prepare_image
from lab.job import Kernel, run_machine
from lab.machine import Machine
from lab.outside import Outside
from lab.newest_kernel import prepare_newest
from lab.proc_scsi import NotOffered, prepare_modules, write_old_release

HERE = Path(__file__).resolve().parent.parent
PROJECT = HERE.parent.parent
MOST_MACHINES = 2


class Report:
    """Prints one job at a time, whatever the number of jobs that run, and counts."""

    def __init__(self):
        self._lock = threading.Lock()
        self.passed = 0
        self.failed = 0
        self.skipped = 0
        self._tables = {}

    def skip(self, jobs, reason):
        """Says that jobs cannot run on this machine."""
        self.skipped += len(jobs)
        print(f"skipped: {', '.join(jobs)}: {reason}", flush=True)

    def job_ended(self, name, seconds, checks):
        """Prints a job's checks."""
        with self._lock:
            self.passed += checks.passed
            self.failed += checks.failed
            for table in checks.tables:
                self._tables.setdefault(table.title, table.empty_copy()).merge(table)
            print(f"{name} ({seconds:.1f} s)", *checks.lines, sep="\n", flush=True)

    def close(self):
        """Prints the closing line and returns the exit status."""
        if self.passed + self.failed == 0:
            print("no check was made: that counts as a failure", flush=True)
            self.failed = 1
        for table in self._tables.values():
            print(*table.lines(), sep="\n", flush=True)
        skipped = f", {self.skipped} skipped" if self.skipped else ""
        print(f"{self.passed} passed, {self.failed} failed{skipped}", flush=True)
        return 1 if self.failed else 0


def job_names():
    """The names of all jobs, in the order in which they start: the longest first."""
    modules = [load_job(path.stem) for path in (HERE / "jobs").glob("*.py") if path.stem != "__init__"]
    modules.sort(key=lambda module: -module.TYPICAL_SECONDS)
    return [module.__name__.rpartition(".")[2] for module in modules]


def load_job(name):
    """The module of a job."""
    return importlib.import_module(f"jobs.{name}")


def parse_arguments():
    """The command line."""
    parser = argparse.ArgumentParser(prog="tests/system/run", description="Runs scsitool on a real kernel.")
    parser.add_argument("jobs", nargs="*", metavar="JOB", help="jobs to run; all of them by default")
    parser.add_argument("--command", type=Path, help="the scsitool to test (default: the newest in build/)")
    parser.add_argument("--library-dir", dest="lib_dir", type=Path, help="where libscsitool.so.1 lies")
    parser.add_argument("--console-dir", type=Path,
                        help="keep every guest's console, and what it was asked, in this folder")
    parser.add_argument("--failures-dir", type=Path, default=PROJECT / "build" / "system-failures",
                        help="where the files of a failed job go (default: %(default)s)")
    parser.add_argument("--captures-dir", type=Path,
                        help="keep the captures of guests that jobs took in this folder")
    parser.add_argument("--parallel", type=int, default=min(MOST_MACHINES, os.cpu_count() or 1),
                        help="machines at a time (default: %(default)s)")
    parser.add_argument("--list", action="store_true", help="list the jobs")
    parser.add_argument("--build-only", action="store_true", help="build the guest and stop")
    return parser.parse_args()


def find_command(given):
    """The command under test."""
    if given:
        if not os.access(given, os.X_OK) or given.is_dir():
            raise LabError(f"{given} is no program")
        return given
    found = [path for path in PROJECT.glob("build/**/scsitool") if path.is_file() and os.access(path, os.X_OK)]
    if not found:
        raise LabError("no scsitool in build/: build it first, or name it with --command")
    return max(found, key=lambda path: path.stat().st_mtime)


GuestFiles = collections.namedtuple("GuestFiles", "kernel ramdisk")


class Laboratory:
    """What all jobs of a run share."""

    def __init__(self, files, console_dir, failures, outside, report):
        self._files = files
        self._console_dir = console_dir
        self._failures = failures
        self._outside = outside
        self._report = report

    def run_job(self, name):
        """Runs one job; whatever ends it early is one failed check."""
        checks = Checks()
        begin = time.monotonic()
        try:
            job = load_job(name)
            with self._boot(name, checks, job.hardware()) as (guest, machine):
                job.run(guest, machine, checks)
        except LabError as error:
            checks.fail("the job runs to its end", str(error))
        except Exception:  # pylint: disable=broad-exception-caught
            checks.fail("the job runs to its end", traceback.format_exc())
        if not checks.passed + checks.failed:
            checks.fail("the job makes a check", "it made none")
        if checks.failed:
            checks.lines.append(f"  the files of this job are in {self._failures.where(name)}")
        self._report.job_ended(name, time.monotonic() - begin, checks)

    @contextlib.contextmanager
    def _boot(self, name, checks, hardware):
        """A machine of a job. The job may boot others beside it or after it by `guest.boot_another`."""
        failed_before = checks.failed
        keep = functools.partial(self._keep_console, name, checks)
        with run_machine(self._files[hardware.kernel], hardware, keep) as (guest, machine):
            guest.outside = self._outside
            guest.boot_another = lambda more, what: self._boot(f"{name}-{what}", checks, more)
            try:
                yield guest, machine
            except Exception:
                self._failures.keep_state(name, guest)
                raise
            if checks.failed > failed_before:
                self._failures.keep_state(name, guest)

    def _keep_console(self, name, checks, machine):
        if checks.failed or sys.exc_info()[0]:
            self._failures.keep_console(name, machine)
        if self._console_dir:
            self._console_dir.mkdir(parents=True, exist_ok=True)
            (self._console_dir / f"{name}.console").write_text(machine.console_text(), "utf-8")
            (self._console_dir / f"{name}.requests").write_text("\n".join(machine.requests) + "\n", "utf-8")


def say(text):
    """Tells the person at the terminal what takes its time."""
    print(text, flush=True)


def concatenate(target, parts):
    """Archives one after the other make one tree in the guest, later files in the place of earlier ones."""
    with open(target, "wb") as file:
        for part in parts:
            with open(part, "rb") as source:
                shutil.copyfileobj(source, file)
    return target


def build_guests(names, work, report):
    """The guest, kernel and modules of every other kernel that is wanted, and the jobs that can run."""
    others = {}
    with open_cache(say) as (cache, source):
        image = prepare_image(cache, source, say)

        def proc_scsi():
            modules = prepare_modules(cache, source, say)
            old_kernel = work / "old-kernel"
            write_old_release(image.kernel, old_kernel)
            return {Kernel.PROC_SCSI: (image.kernel, modules), Kernel.OLD_HOST: (old_kernel, modules)}

        def newest():
            built = prepare_newest(cache, say)
            return {Kernel.NEWEST: (built.kernel, built.base)}

        for kernels, prepare in (({Kernel.PROC_SCSI, Kernel.OLD_HOST}, proc_scsi), ({Kernel.NEWEST}, newest)):
            wanted = [name for name in names if load_job(name).hardware().kernel in kernels]
            try:
                others.update(prepare() if wanted else {})
            except NotOffered as reason:
                report.skip(wanted, str(reason))
                names = [name for name in names if name not in wanted]
    return image, others, names


def run_jobs(arguments, names, report):
    """Builds what is missing and runs the jobs."""
    require_tools()
    with tempfile.TemporaryDirectory(prefix="scsitool-system-") as folder:
        work = Path(folder)
        overlay = work / "command"
        outside = None
        if not arguments.build_only:
            command = find_command(arguments.command)
            outside = Outside(command, arguments.lib_dir, arguments.captures_dir)
            write_command_overlay(command, arguments.lib_dir, build_helpers(work), overlay)
        image, others, names = build_guests(names, work, report)
        if arguments.build_only:
            say(f"the guest is ready in {image.folder}")
            return
        usual = GuestFiles(image.kernel, concatenate(work / "ramdisk", [image.base, overlay]))
        files = {Kernel.USUAL: usual}
        for which, (kernel, modules) in others.items():
            files[which] = GuestFiles(kernel, concatenate(work / which.name, [usual.ramdisk, modules]))
        laboratory = Laboratory(files, arguments.console_dir, FailedJobs(arguments.failures_dir), outside, report)
        # What takes the time is not to take that of other machines.
        quiet = [name for name in names if getattr(load_job(name), "NEEDS_QUIET", False)]
        run_in_parallel(laboratory, quiet, 1)
        run_in_parallel(laboratory, [name for name in names if name not in quiet], arguments.parallel)


def run_in_parallel(laboratory, names, machines):
    """Runs the jobs with so many machines at a time."""
    with concurrent.futures.ThreadPoolExecutor(max(machines, 1)) as pool:
        try:
            list(pool.map(laboratory.run_job, names))
        except BaseException:
            pool.shutdown(wait=False, cancel_futures=True)
            Machine.end_all()
            raise


def main():
    """Runs the command line; returns the exit status."""
    # A run that is ended unwinds like any other, so that machines and folders go away.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda received, _: sys.exit(128 + received))
    arguments = parse_arguments()
    known = job_names()
    unknown = [name for name in arguments.jobs if name not in known]
    if unknown:
        print(f"no such job: {', '.join(unknown)}; there are {', '.join(known)}", file=sys.stderr)
        return 2
    if arguments.list:
        print("\n".join(known))
        return 0
    report = Report()
    try:
        run_jobs(arguments, [name for name in known if name in (arguments.jobs or known)], report)
    except LabError as error:
        print(f"tests/system/run: {error}", file=sys.stderr)
        report.failed += 1
    return 0 if arguments.build_only and not report.failed else report.close()
