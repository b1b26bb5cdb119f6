#!/usr/bin/env python3
"""Ends the command at random moments while it rescans this machine, and looks at what is left.

usage: interruption_test.py SCSITOOL

Needs root, for an IPC namespace (the rescan lock's key is fixed) and a mount namespace, in which
the rescan script and the multipath tools are stand-ins that touch nothing. Exit status 77: skipped.
"""
import ctypes
import json
import os
import pty
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SKIPPED = 77
ROUNDS = 210
SEED = 1001
LOCK_KEY = 1001
SEM_GETVAL = 12
SEM_GETZCNT = 15  # who waits for the value to be zero
PR_SET_CHILD_SUBREAPER = 36
PATIENCE = 30
SCRIPT = '/bin/rescan-scsi-bus.sh'
TOOLS = ['/sbin/multipath', '/sbin/multipathd', '/sbin/dmsetup', '/sbin/powermt',
         '/etc/powermt', '/sbin/iscsiadm']
INTERRUPTING = [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]

libc = ctypes.CDLL(None, use_errno=True)


def skip(why):
    print(f'SKIPPED: {why}')
    sys.exit(SKIPPED)


def enter_namespaces():
    if os.environ.get('SCSITOOL_IN_NAMESPACES'):
        return
    if os.geteuid() != 0:
        skip('ending the command at random moments needs root')
    if not os.path.exists(SCRIPT):
        skip(f'{SCRIPT} is missing (sg3-utils)')
    unshare = ['unshare', '--ipc', '--mount', '--propagation', 'private']
    if subprocess.run([*unshare, 'true'], capture_output=True).returncode != 0:
        skip('no IPC and mount namespace can be had')
    environment = {**os.environ, 'SCSITOOL_IN_NAMESPACES': '1'}
    os.execvpe('unshare', [*unshare, sys.executable, '-B', *sys.argv], environment)


def stand_in(path, text, folder):
    if os.path.exists(path):
        file = folder / os.path.basename(path)
        file.write_text('#!/bin/sh\n' + text)
        file.chmod(0o755)
        subprocess.run(['mount', '--bind', file, os.path.realpath(path)], check=True)


def lock_value():
    """The value of the rescan lock: 0 is free. -1 when nobody has made it yet."""
    identifier = libc.semget(LOCK_KEY, 0, 0)
    return libc.semctl(identifier, 0, SEM_GETVAL) if identifier >= 0 else -1


def wait_for(condition, what):
    limit = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > limit:
            raise AssertionError(what)
        time.sleep(0.002)


def nobody_is_left():
    """Orphans come to this process. __WALL finds a keeper too."""
    wall = 0x40000000
    status = ctypes.c_int()
    while libc.waitpid(-1, ctypes.byref(status), os.WNOHANG | wall) > 0:
        pass
    return libc.waitpid(-1, ctypes.byref(status), os.WNOHANG | wall) < 0


class Bench:
    def __init__(self, scsitool, folder):
        self.command = [scsitool, '--json', '--journal', str(folder / 'journal'), 'devices',
                        '--rescan']
        self.journal = folder / 'journal'
        self.effects = folder / 'effects'
        self.out = folder / 'out'
        self.err = folder / 'err'
        # The script has a descendant in the background, as a scan that hangs would.
        stand_in(SCRIPT, f'echo begin >> {self.effects}\nsleep 60 &\nsleep 0.03\n'
                         f'echo end >> {self.effects}\nkill $!\n', folder)
        for tool in TOOLS:
            stand_in(tool, f'echo begin >> {self.effects}\nsleep 0.01\n'
                           f'echo end >> {self.effects}\n', folder)

    def clear(self):
        for file in (self.journal, self.effects, self.out, self.err):
            file.write_text('')

    def start(self):
        with open(self.out, 'w') as out, open(self.err, 'w') as err:
            return subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=out, stderr=err)

    def start_on_terminal(self):
        process, terminal = pty.fork()
        if process == 0:
            out = os.open(self.out, os.O_WRONLY)
            os.dup2(out, 1)
            os.execv(self.command[0], self.command)
        return process, terminal

    def check_whole(self):
        """What every end has to leave, SIGKILL included."""
        wait_for(nobody_is_left, 'a process is left')
        assert lock_value() in (0, -1), 'the lock is held'
        journal = self.journal.read_text()
        assert journal == '' or journal.endswith('\n'), f'half a line: {journal!r}'
        lines = [json.loads(line) for line in journal.splitlines()]
        effects = self.effects.read_text().split()
        begun, ended = effects.count('begin'), effects.count('end')
        assert begun - ended <= 1, f'more than the effect in hand was cut: {effects}'
        journaled = sum(1 for line in lines if line.get('effect') == 'command')
        assert begun <= journaled, f'{begun} commands ran, {journaled} are in the journal'

    def check_interrupted(self, number, status):
        """Returns whether the signal came while the command was at work."""
        out = self.out.read_text()
        if status == -number:
            assert out == '', 'ended by the signal after it had begun to print'
            return False
        document = json.loads(out)
        assert document['scsitool']['exit_status'] == status, out
        if status != 128 + number:
            return False
        error = self.err.read_text()
        assert error.startswith(f'scsitool: interrupted by {signal.Signals(number).name}'), error
        assert document['error'] == error[len('scsitool: '):].rstrip('\n'), out
        return True


def duration_of_a_run(bench):
    bench.clear()
    start = time.monotonic()
    bench.start().wait()
    duration = time.monotonic() - start
    wait_for(nobody_is_left, 'a process is left by a run that nobody disturbed')
    assert bench.effects.read_text().split()[:2] == ['begin', 'end'], 'the stand-in did not run'
    return duration


def kill_at_random_moments(bench):
    duration = duration_of_a_run(bench)
    moments = random.Random(SEED)
    interrupted = 0
    for turn in range(ROUNDS):
        bench.clear()
        pause = moments.uniform(0, duration)
        kind = turn % 5
        if kind == 4:
            process, terminal = bench.start_on_terminal()
            time.sleep(pause)
            os.close(terminal)
            os.waitpid(process, 0)
        else:
            number = [signal.SIGKILL, *INTERRUPTING][kind]
            process = bench.start()
            time.sleep(pause)
            process.send_signal(number)
            status = process.wait(PATIENCE)
            if number != signal.SIGKILL:
                interrupted += bench.check_interrupted(number, status)
        try:
            bench.check_whole()
        except AssertionError as error:
            raise AssertionError(f'turn {turn}, {pause:.4f} s: {error}') from error
    assert interrupted > 0, 'no signal came while the command was at work'
    print(f'{ROUNDS} ends within {duration:.3f} s each, {interrupted} of them told')


def wait_for_lock_ends_and_leaves_the_holder_alone(bench):
    bench.clear()
    identifier = libc.semget(LOCK_KEY, 1, 0o1000 | 0o666)
    assert identifier >= 0
    assert libc.semop(identifier, (ctypes.c_short * 3)(0, 1, 0), 1) == 0
    try:
        for number in INTERRUPTING:
            process = bench.start()
            wait_for(lambda: libc.semctl(identifier, 0, SEM_GETZCNT) == 1,
                     'it does not wait for the lock')
            start = time.monotonic()
            process.send_signal(number)
            assert process.wait(PATIENCE) == 128 + number
            assert time.monotonic() - start < PATIENCE / 2
            assert lock_value() == 1, 'the lock of somebody else was given back'
            assert bench.effects.read_text() == '', 'something ran without the lock'
            assert bench.check_interrupted(number, 128 + number)
    finally:
        libc.semop(identifier, (ctypes.c_short * 3)(0, -1, 0), 1)


def ignored_signal_stays_ignored(bench):
    bench.clear()
    with open(bench.out, 'w') as out:
        process = subprocess.Popen(['nohup', *bench.command], stdin=subprocess.DEVNULL, stdout=out,
                                   stderr=subprocess.DEVNULL)
    wait_for(lambda: bench.effects.read_text() != '', 'the command does not get to work')
    process.send_signal(signal.SIGHUP)
    process.wait(PATIENCE)
    assert json.loads(bench.out.read_text())['scsitool']['exit_status'] == process.returncode
    assert process.returncode in (0, 1, 3), process.returncode
    bench.check_whole()


def second_signal_ends_at_once(bench):
    bench.clear()
    # A reader that takes nothing: the document cannot be written.
    reading, writing = os.pipe()
    os.set_blocking(writing, False)
    try:
        while True:
            os.write(writing, b'x' * 4096)
    except BlockingIOError:
        os.set_blocking(writing, True)
    process = subprocess.Popen(bench.command, stdin=subprocess.DEVNULL, stdout=writing,
                               stderr=subprocess.DEVNULL)
    wait_for(lambda: bench.effects.read_text() != '', 'the command does not get to work')
    process.send_signal(signal.SIGINT)
    time.sleep(0.5)
    assert process.poll() is None, 'the document was dropped'
    process.send_signal(signal.SIGTERM)
    assert process.wait(PATIENCE) == 128 + signal.SIGTERM
    os.close(reading)
    os.close(writing)
    bench.check_whole()


def main():
    enter_namespaces()
    libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    folder = Path(tempfile.mkdtemp())
    try:
        bench = Bench(os.path.abspath(sys.argv[1]), folder)
        for test in (kill_at_random_moments, wait_for_lock_ends_and_leaves_the_holder_alone,
                     ignored_signal_stays_ignored, second_signal_ends_at_once):
            test(bench)
            print(f'ok {test.__name__}')
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == '__main__':
    main()
