#!/usr/bin/env python3
"""Holds what commands cost on hosts with thousands of volumes against the limits.

    bench/views_check.py [COMMAND]

Processor time is measured, not the clock, and the least of some rounds: other work on the machine
hardly shows in it. The limits in seconds are for a slow machine; what tells a cost that grows
faster than the number of volumes is the growth from the smaller to the larger host.
"""

import os
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


def processes_below(pid):
    """A process with all that it and they have forked."""
    found = [pid]
    try:
        children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text()
    except OSError:
        children = ""
    for child in children.split():
        found += processes_below(int(child))
    return found


def memory_of(pid):
    """MiB that a process and those that it has forked have in use together, each page once."""
    kibibytes = 0
    for one in processes_below(pid):
        try:
            lines = pathlib.Path(f"/proc/{one}/smaps_rollup").read_text().splitlines()
        except OSError:
            continue  # it has just ended
        kibibytes += sum(int(line.split()[1]) for line in lines if line.startswith("Pss:"))
    return kibibytes / 1024


def cost(arguments, given=None):
    """Processor seconds, seconds and the most MiB of one run, which must print something."""
    most = 0.0
    with tempfile.TemporaryFile() as printed:
        began = time.monotonic()
        run = subprocess.Popen([str(one) for one in arguments], stdin=given, stdout=printed,
                               stderr=subprocess.DEVNULL if given else None)
        while os.waitid(os.P_PID, run.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is None:
            most = max(most, memory_of(run.pid))
            time.sleep(LOOK_EVERY)
        seconds = time.monotonic() - began
        _, status, used = os.wait4(run.pid, 0)
        run.returncode = os.waitstatus_to_exitcode(status)
        assert given or (run.returncode == 0 and printed.seek(0, os.SEEK_END) > 0), arguments
    # One process alone tells its peak itself.
    return used.ru_utime + used.ru_stime, seconds, max(most, used.ru_maxrss / 1024)


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
