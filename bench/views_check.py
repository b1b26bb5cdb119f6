#!/usr/bin/env python3
"""Holds what commands cost on hosts with thousands of volumes against the limits.

    bench/views_check.py [COMMAND]

Processor time is measured, not the clock, and the least of some rounds: other work on the machine
hardly shows in it. The limits in seconds are for a slow machine; what tells a cost that grows
faster than the number of volumes is the growth from the smaller to the larger host.
"""

import pathlib
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "bench"))

from make_hosts import write_hosts  # noqa: E402

FEW, MANY = 500, 5000
MOST_GROWTH = 2.0 * MANY / FEW
MOST_MEBIBYTES = 200
ROUNDS = 3


def cost(arguments):
    """Processor seconds and the most MiB in use at once of one run, whose output must not be empty.

    A process of its own runs the command, so that the figures are of that command alone.
    """
    child = ("import resource, subprocess, sys\n"
             "done = subprocess.run(sys.argv[1:], stdout=subprocess.PIPE, check=True)\n"
             "used = resource.getrusage(resource.RUSAGE_CHILDREN)\n"
             "assert done.stdout\n"
             "print(used.ru_utime + used.ru_stime, used.ru_maxrss / 1024)\n")
    printed = subprocess.run([sys.executable, "-c", child, *map(str, arguments)],
                             stdout=subprocess.PIPE, check=True, text=True).stdout
    seconds, mebibytes = map(float, printed.split())
    return seconds, mebibytes


def least_cost(arguments, rounds=ROUNDS):
    runs = [cost(arguments) for _ in range(rounds)]
    return min(run[0] for run in runs), max(run[1] for run in runs)


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


def check_matrix(limits, command, folder, hosts, most_seconds):
    files = saved_lines(command, folder, hosts)
    seconds, mebibytes = least_cost([command, "matrix", *files], rounds=1)
    print(f"matrix of {hosts} hosts of {MANY} volumes each")
    limits.expect("processor time", seconds, most_seconds, "s")
    limits.expect("memory", mebibytes, MOST_MEBIBYTES, "MiB")


def main():
    command = sys.argv[1] if len(sys.argv) > 1 else TOP / "build" / "release" / "cli" / "scsitool"
    limits = Limits()
    with tempfile.TemporaryDirectory() as folder:
        check_volumes(limits, command, pathlib.Path(folder), paths=1, most_seconds=1.5)
        check_volumes(limits, command, pathlib.Path(folder), paths=2, most_seconds=4)
        check_matrix(limits, command, pathlib.Path(folder), hosts=100, most_seconds=10)
    return 0 if limits.is_held else 1


if __name__ == "__main__":
    sys.exit(main())
