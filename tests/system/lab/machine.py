"""One virtual machine: the emulator's process, its console, its monitor and the line to the agent in the guest."""
import json
import os
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
from pathlib import Path

from lab.errors import GuestError
from lab.host_tools import find_tool

CONNECT_SECONDS = 120
MONITOR_SECONDS = 120
# Should the runner itself be killed, the emulator still ends by this time.
LONGEST_LIFE_SECONDS = 1800
CONSOLE_TAIL_LINES = 40
# The check of the timer counts interrupts against a busy loop and fails when this machine is busy: the kernel would
# then try other ways until it hangs.
KERNEL_ARGUMENTS = "console=ttyS0 quiet panic=-1 mitigations=off nokaslr no_timer_check"


class Machine:
    """Boots the guest and ends it; used in a `with` statement, so that nothing of it is left behind."""

    _lock = threading.Lock()
    _running = set()
    _no_more = False

    def __init__(self, kernel, ramdisk, devices, memory_mib=1024, kernel_arguments=""):
        self._work = Path(tempfile.mkdtemp(prefix="scsitool-vm-"))
        self._console = self._work / "console"
        self._errors = self._work / "qemu-errors"
        self._arguments = [
            "-accel", "tcg", "-machine", "q35", "-cpu", "qemu64", "-m", str(memory_mib),
            "-display", "none", "-nodefaults", "-no-reboot",
            "-serial", f"file:{self._console}",
            "-chardev", f"socket,id=agent,path={self._work / 'agent'},server=on,wait=off",
            "-serial", "chardev:agent",
            "-qmp", f"unix:{self._work / 'monitor'},server=on,wait=off",
            "-kernel", str(kernel), "-initrd", str(ramdisk),
            "-append", f"{KERNEL_ARGUMENTS} {kernel_arguments}".strip(), *devices]
        self._process = None
        self.agent = None
        # What the guest was asked, how long it took and how it ended, for whoever wants to know where time goes.
        self.requests = []

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.agent:
            self.agent.close()
        self.kill()
        with self._lock:
            self._running.discard(self)
        shutil.rmtree(self._work, ignore_errors=True)

    def kill(self):
        """Ends the emulator at once."""
        if self._process and self._process.poll() is None:
            # The time limit's own process is the emulator's parent: both stand in one process group.
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()

    @classmethod
    def end_all(cls):
        """Ends every machine there is and starts no other: an interrupted run must not wait for its jobs."""
        with cls._lock:
            cls._no_more = True
            for machine in cls._running:
                machine.kill()

    def monitor(self, command, **arguments):
        """Carries out one command of the emulator's monitor, for instance device_add."""
        with self._connect("monitor") as line, line.makefile("rw", encoding="utf-8") as stream:
            line.settimeout(MONITOR_SECONDS)
            stream.readline()
            _ask(stream, "qmp_capabilities", {})
            return _ask(stream, command, {name.replace("_", "-"): value for name, value in arguments.items()})

    def console_text(self):
        """All that the kernel and the first process have written on the console so far."""
        text = self._console.read_text(encoding="utf-8", errors="replace") if self._console.exists() else ""
        return text.replace("\r", "")

    def console_tail(self):
        """The last lines of the console and of the emulator's own messages."""
        lines = self.console_text().splitlines()[-CONSOLE_TAIL_LINES:]
        if self._errors.exists():
            lines += self._errors.read_text(encoding="utf-8", errors="replace").splitlines()
        return "\n".join(lines) or "(nothing was written on the console)"

    def _start(self):
        command = [find_tool("timeout"), "--foreground", "-k", "5", str(LONGEST_LIFE_SECONDS),
                   find_tool("qemu-system-x86_64"), *self._arguments]
        with open(self._errors, "wb") as errors, self._lock:
            if self._no_more:
                raise GuestError("the run was interrupted")
            self._process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=errors,
                                             stderr=errors, start_new_session=True)
            self._running.add(self)
        self.agent = self._connect("agent")

    def _connect(self, name):
        deadline = time.monotonic() + CONNECT_SECONDS
        while time.monotonic() < deadline:
            if self._process.poll() is not None:
                raise GuestError(f"the emulator ended at once:\n{self.console_tail()}")
            line = socket.socket(socket.AF_UNIX)
            try:
                line.connect(str(self._work / name))
                return line
            except OSError:
                line.close()
                time.sleep(0.02)
        raise GuestError(f"the emulator opened no {name} line within {CONNECT_SECONDS} s")


def _ask(stream, command, arguments):
    stream.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
    stream.flush()
    for text in stream:
        answer = json.loads(text)
        if "error" in answer:
            raise GuestError(f"monitor command {command} failed: {answer['error']['desc']}")
        if "return" in answer:
            return answer["return"]
    raise GuestError(f"the emulator closed its monitor during {command}")
