#!/usr/bin/env python3
"""Holds what commands cost on hosts with thousands of volumes against the limits.

    bench/views_check.py [COMMAND]

Processor time is measured, not the clock, and the least of some rounds: other work on the machine
hardly shows in it. The matrix of recorded hosts, which two processes share, stays with its limit
within half of that by the clock where two processors have nothing else to do. The limits in seconds are for a slow machine; what tells a cost that grows
faster than the number of volumes is the growth from the smaller to the larger host.
"""

import pathlib
import subprocess
import sys
import tempfile
import time

TOP = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "bench"))

from make_hosts import write_hosts  # noqa: E402

FEW, MANY = 500, 5000
HOSTS = 100
MOST_GROWTH = 2.0 * MANY / FEW
MOST_MEBIBYTES = 200
ROUNDS = 3
LOOK_EVERY = 0.05  # seconds


# Runs the command and tells how it ended and what it cost: a small process of its own does, for what
# this one has in memory would count as the command's.
RUNNER = """
import resource, subprocess, sys, time
began = time.monotonic()
done = subprocess.run(sys.argv[1:], stdout=subprocess.PIPE)
used = resource.getrusage(resource.RUSAGE_CHILDREN)
print(done.returncode, len(done.stdout), used.ru_utime + used.ru_stime,
      time.monotonic() - began, used.ru_maxrss / 1024)
"""


def processes_below(pid):
    """All that a process has forked, and they in turn."""
    try:
        children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text()
    except OSError:
        return []
    found = [int(child) for child in children.split()]
    return found + [one for child in found for one in processes_below(child)]


def memory_below(pid):
    """MiB that these have in use together, each page once."""
    kibibytes = 0
    for one in processes_below(pid):
        try:
            lines = pathlib.Path(f"/proc/{one}/smaps_rollup").read_text().splitlines()
        except OSError:
            continue  # it has just ended
        kibibytes += sum(int(line.split()[1]) for line in lines if line.startswith("Pss:"))
    return kibibytes / 1024


def cost(arguments, given=None):
    """Processor seconds, seconds by the clock and the most MiB of one run. It has to succeed and
    print something, but for what it makes of a text that is given to it."""
    runner = subprocess.Popen([sys.executable, "-c", RUNNER, *map(str, arguments)], text=True,
                              stdin=given, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL if given else None)
    together = 0.0
    while runner.poll() is None:
        together = max(together, memory_below(runner.pid))
        time.sleep(LOOK_EVERY)
    status, printed, seconds, clock, alone = map(float, runner.stdout.read().split())
    assert given or (status == 0 and printed > 0), arguments
    return seconds, clock, max(together, alone)


def least_cost(arguments, rounds=ROUNDS):
    runs = [cost(arguments) for _ in range(rounds)]
    return min(run[0] for run in runs), max(run[2] for run in runs)


class Limits:
    def __init__(self):
        self.is_held = True

    def expect(self, what, value, most, unit):
        self.is_held = self.is_held and value <= most
        verdict = "" if value <= most else "  OVER THE LIMIT"
        print(f"  {what}: {value:.2f} {unit} (at most {most:g}){verdict}", flush=True)


def check_volumes(limits, command, folder, paths, most_seconds):
    seconds = {}
    for volumes in (FEW, MANY):
        [host] = write_hosts(folder, 1, volumes, paths)
        seconds[volumes], mebibytes = least_cost([command, "--host", host, "volumes"])
    print(f"volumes of a recorded host, {MANY} of {paths} path(s) each")
    limits.expect("processor time", seconds[MANY], most_seconds, "s")
    limits.expect(f"growth from {FEW} to {MANY}", seconds[MANY] / seconds[FEW], MOST_GROWTH,
                  "times")
    limits.expect("memory", mebibytes, MOST_MEBIBYTES, "MiB")


def saved_lines(command, folder, hosts):
    """What so many hosts print of their volumes, in the form that fleets are compared in. Ten are
    written and asked; the others say the same under names of their own."""
    written = write_hosts(folder, min(hosts, 10), MANY, 1)
    files = []
    for index in range(hosts):
        host = written[index % len(written)]
        if index < len(written):
            lines = subprocess.run([command, "--host", host, "volumes", "--ndjson"],
                                   stdout=subprocess.PIPE, check=True).stdout
        else:
            lines = files[index % len(written)].read_bytes().replace(
                f'"host":"{host.stem}"'.encode(), f'"host":"host{index}"'.encode())
        files.append(folder / f"host{index}.ndjson")
        files[-1].write_bytes(lines)
    return files


def check_matrix(limits, command, folder, what, files, most_seconds):
    seconds, clock, mebibytes = cost([command, "matrix", *files])
    if seconds > most_seconds:  # once more: it may have been the rest of the machine
        again, clock, _ = cost([command, "matrix", *files])
        seconds = min(seconds, again)
    print(f"matrix of {len(files)} {what} of {MANY} volumes each: {clock:.1f} s by the clock")
    limits.expect("processor time", seconds, most_seconds, "s")
    limits.expect("memory", mebibytes, MOST_MEBIBYTES, "MiB")


def recorded_hosts(folder):
    """So many recorded hosts. Ten are written; the others are these under names of their own."""
    written = write_hosts(folder, 10, MANY, 1)
    for index in range(len(written), HOSTS):
        host = written[index % 10]
        written.append(folder / f"host{index}.json")
        written[-1].write_bytes(host.read_bytes().replace(
            f'"hostname": "{host.stem}"'.encode(), f'"hostname": "host{index}"'.encode()))
    return written


MAILED = {
    "prose": lambda i: "The quick brown fox has 0a disks and /dev/sda is one of them.\n",
    "devices": lambda i: f"/dev/d{i % 1024}\n00 80 00 04 41 42 43 {i % 251:02x}\n",
    "one line": lambda i: "00 83 00 0c ",
    "repeated lines": lambda i: "00000000 00 80 00 04 41 42 43 44\n*\n00100000\n",
}
MAILED_BYTES = 10_000_000


def check_mailed(limits, command, folder):
    """What people send is whatever it is: it is read in one pass, and takes no more than it has."""
    print(f"explain - of {MAILED_BYTES} bytes that somebody mailed")
    for what, line in MAILED.items():
        text = "".join(line(i) for i in range(MAILED_BYTES // len(line(0))))
        (folder / "mailed").write_text(text, encoding="utf-8")
        with open(folder / "mailed", "rb") as given:
            seconds, _, mebibytes = cost([command, "explain", "-"], given)
        limits.expect(f"{what}, processor time", seconds, 3, "s")
        limits.expect(f"{what}, memory", mebibytes, MOST_MEBIBYTES, "MiB")


def main():
    command = sys.argv[1] if len(sys.argv) > 1 else TOP / "build" / "release" / "cli" / "scsitool"
    limits = Limits()
    checks = [
        lambda folder: check_volumes(limits, command, folder, paths=1, most_seconds=1),
        lambda folder: check_volumes(limits, command, folder, paths=2, most_seconds=1.5),
        lambda folder: check_matrix(limits, command, folder, "recorded hosts",
                                    recorded_hosts(folder), most_seconds=20),
        lambda folder: check_matrix(limits, command, folder, "saved lists",
                                    saved_lines(command, folder, HOSTS), most_seconds=10),
        lambda folder: check_mailed(limits, command, folder),
    ]
    for check in checks:
        with tempfile.TemporaryDirectory() as folder:
            check(pathlib.Path(folder))
    return 0 if limits.is_held else 1


if __name__ == "__main__":
    sys.exit(main())
