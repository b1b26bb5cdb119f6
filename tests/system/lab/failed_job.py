"""What a failed job leaves: the guest's console and kernel log, what it was asked, a trace, a journal, a capture."""
from lab.errors import LabError

SECONDS = 120
FOLDER = "/run/failed"
# Reads alone. A disk that does not answer is given up soon, for the state of the guest may be what failed.
SCRIPT = f"""
mkdir -p {FOLDER}; cd {FOLDER}
dmesg >kernel-log
scsitool --deadline 3 --trace 9 --trace-time --trace-file trace --journal journal --json devices >devices.json 2>errors
scsitool --deadline 3 capture {FOLDER}/capture.json >/dev/null 2>>errors
true
"""


class FailedJobs:
    """Writes the files of failed jobs into a folder, and says where they are."""

    def __init__(self, folder):
        self._folder = folder

    def keep_console(self, name, machine):
        """The console and the requests: of these there is something even when the guest has gone."""
        self._write(name, "console", machine.console_text())
        self._write(name, "requests", "\n".join(machine.requests) + "\n")

    def keep_state(self, name, guest):
        """What the command makes of the guest as the job has left it."""
        try:
            names = guest.run(f"{SCRIPT}\nls", None, SECONDS).stdout.split()
            for one in names:
                self._write(name, one, guest.run(["cat", f"{FOLDER}/{one}"]).stdout)
        except (LabError, OSError) as error:
            self._write(name, "state-not-taken", f"{error}\n")

    def where(self, name):
        """Where the files of one job lie."""
        return self._folder / name

    def _write(self, name, what, text):
        folder = self._folder / name
        folder.mkdir(parents=True, exist_ok=True)
        (folder / what).write_text(text, "utf-8")
