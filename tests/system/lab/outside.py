"""The command under test on this machine, where it works on recorded hosts alone."""
import os
import subprocess
import tempfile
from pathlib import Path

REPLAY_SECONDS = 400


class Outside:
    """Replays captures that were taken in a guest, and keeps them where they are wanted."""

    def __init__(self, command, library_dir, captures_dir):
        self._command = os.path.abspath(command)
        self._captures_dir = captures_dir
        self._environment = dict(os.environ)
        if library_dir:
            self._environment["LD_LIBRARY_PATH"] = os.path.abspath(library_dir)

    def keep(self, name, text):
        """Writes a capture into the folder that was named for them, if one was."""
        if self._captures_dir:
            self._captures_dir.mkdir(parents=True, exist_ok=True)
            (self._captures_dir / f"{name}.json").write_text(text, "utf-8")

    def replay(self, capture, commands):
        """Exit status and both outputs of every command, a list of words each, on a recorded host given as text."""
        with tempfile.TemporaryDirectory(prefix="scsitool-replay-") as folder:
            file = Path(folder) / "host.json"
            file.write_text(capture, "utf-8")
            return [self._run(["--host", str(file), *words], str(file)) for words in commands]

    def _run(self, words, file):
        done = subprocess.run([self._command, *words], env=self._environment, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, errors="replace", timeout=REPLAY_SECONDS, check=False)
        return done.returncode, done.stdout.replace(file, "FILE"), done.stderr.replace(file, "FILE")
