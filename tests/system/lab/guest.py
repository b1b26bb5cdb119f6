"""The guest as a job sees it: programs are run in it and their results come back."""
import json
import shlex
import time

from lab.errors import GuestError

# Limits of what hangs, not of what is slow: a busy machine takes several times as long as an idle one, and whoever
# waits for something that comes waits no longer for a higher limit.
BOOT_SECONDS = 600
COMMAND_SECONDS = 400
WAIT_SECONDS = 400
# The guest ends a command at its limit; the host waits a little longer for that news.
GRACE_SECONDS = 30
TIMED_OUT = 124
JOURNAL = "/run/journal"
MAXIMUM_ANSWER_LINE = 200


class Result:
    """How a command ended and what it wrote."""

    def __init__(self, command, status, stdout, stderr):
        self.command = command
        self.status = status
        self.stdout = stdout.decode("utf-8", "replace")
        self.stderr = stderr.decode("utf-8", "replace")

    def __str__(self):
        return f"{self.command}\nstatus {self.status}\n{self.stdout}{self.stderr}".strip()

    @property
    def json(self):
        """Standard output as a JSON document; what it is instead stands in the error."""
        try:
            return json.loads(self.stdout)
        except ValueError as error:
            raise GuestError(f"no JSON document came from {self} ({error})") from None


class Guest:
    """The line to the agent that runs in the guest."""

    def __init__(self, machine):
        self._machine = machine
        self._received = b""
        # The same command on this machine, for captures of the guest.
        self.outside = None
        # Boots one more machine of this job: a context that yields (guest, machine).
        self.boot_another = None
        line = self._read_line(BOOT_SECONDS)
        if line != "ready":
            raise GuestError(f"the guest's agent said {line!r} instead of \"ready\"")

    def run(self, command, status=0, seconds=COMMAND_SECONDS):
        """Runs a bash script, or a program given as a list of words.

        Any exit status but the expected one is an error, unless that is None.
        """
        result = self._ask(command, seconds)
        if result.status == TIMED_OUT and status != TIMED_OUT:
            raise GuestError(f"no end within {seconds} s: {result}\nconsole:\n{self._machine.console_tail()}")
        if status is not None and result.status != status:
            raise GuestError(f"expected exit status {status} of {result}")
        return result

    def scsitool(self, *arguments, status=0, seconds=COMMAND_SECONDS):
        """Runs the command under test with --json and returns its document."""
        result = self.run(["scsitool", "--json", *arguments], status, seconds)
        document = result.json
        head = document.get("scsitool", {})
        if next(iter(document), None) != "scsitool" or head.get("exit_status") != result.status:
            raise GuestError(f"the document does not begin with its own exit status: {result}")
        return document

    def wait_for(self, what, script, seconds=WAIT_SECONDS):
        """Waits until a script ends with status 0, which is asked inside the guest every tenth of a second."""
        loop = f"until {{ {script}\n}}; do sleep 0.1; done"
        if self._ask(loop, seconds).status != 0:
            raise GuestError(f"waited {seconds} s in vain for {what}\nconsole:\n{self._machine.console_tail()}")

    def dry_run(self, *arguments):
        """The effects, in order, that the command would have: its journal of a dry run."""
        self.run(["rm", "-f", JOURNAL])
        self.run(["scsitool", "--dry-run", "--journal", JOURNAL, *arguments])
        run, *effects = [json.loads(line) for line in self.run(["cat", JOURNAL]).stdout.splitlines()]
        if list(run) != ["run"]:
            raise GuestError(f"the journal does not begin with its run: {run}")
        return effects

    def _ask(self, command, seconds):
        script = command if isinstance(command, str) else shlex.join(command)
        escaped = script.replace("\\", "\\\\").replace("\n", "\\n")
        begin = time.monotonic()
        self._machine.agent.settimeout(None)
        self._machine.agent.sendall(f"{seconds} {escaped}\n".encode())
        result = self._read_result(script, seconds + GRACE_SECONDS)
        self._machine.requests.append(f"{time.monotonic() - begin:6.1f} s, status {result.status}: {escaped}")
        return result

    def _read_result(self, script, seconds):
        words = self._read_line(seconds).split()
        if len(words) != 4 or words[0] != "result":
            raise GuestError(f"the guest's agent answered {' '.join(words)!r}")
        status, out_bytes, error_bytes = map(int, words[1:])
        return Result(script, status, self._read_bytes(out_bytes, seconds),
                      self._read_bytes(error_bytes, seconds))

    def _read_line(self, seconds):
        deadline = time.monotonic() + seconds
        while b"\n" not in self._received[:MAXIMUM_ANSWER_LINE]:
            self._receive(deadline)
        line, self._received = self._received.split(b"\n", 1)
        return line.decode("utf-8", "replace")

    def _read_bytes(self, count, seconds):
        deadline = time.monotonic() + seconds
        while len(self._received) < count:
            self._receive(deadline)
        content, self._received = self._received[:count], self._received[count:]
        return content

    def _receive(self, deadline):
        self._machine.agent.settimeout(max(deadline - time.monotonic(), 0.001))
        try:
            piece = self._machine.agent.recv(1 << 16)
        except (TimeoutError, BlockingIOError):
            raise GuestError("the guest never reported an exit status; the end of its console:\n"
                             + self._machine.console_tail()) from None
        if not piece:
            raise GuestError("the guest went away; the end of its console:\n" + self._machine.console_tail())
        self._received += piece
