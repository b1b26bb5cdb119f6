"""A place to stop in the middle of a removal: the kernel flushes a disk's cache before it lets go of the disk."""
import threading

from iscsi_target import Target

SYNCHRONIZE_CACHE = (0x35, 0x91)
LONGEST_STOP_SECONDS = 60
# The kernel asks for a flush only where it knows of a cache; "temporary" keeps the disk out of it.
ENABLE_CACHE = 'for disk in /sys/class/scsi_disk/*/cache_type; do echo "temporary write back" >"$disk"; done'


class Gap:
    """The first of its targets that is asked to flush a disk's cache waits until the test has done what it wants."""

    def __init__(self):
        self._lock = threading.Lock()
        self._armed = False
        self._entered = threading.Event()
        self._left = threading.Event()
        self._where = None

    def arm(self):
        """The next flush stops."""
        with self._lock:
            self._armed = True
            self._where = None
            self._entered.clear()
            self._left.clear()

    def wait(self, seconds):
        """Waits for the flush, and returns the target that was asked for it, or None."""
        self._entered.wait(seconds)
        with self._lock:
            self._armed = False
            return self._where

    def close(self):
        """The flush comes back."""
        self._left.set()

    def pass_by(self, target):
        """Called for every flush."""
        with self._lock:
            if not self._armed:
                return
            self._armed = False
            self._where = target
        self._entered.set()
        self._left.wait(LONGEST_STOP_SECONDS)


class GapTarget(Target):
    """A target that tells a gap of every flush."""

    def __init__(self, name, units, gap):
        super().__init__(name, units)
        self._gap = gap

    def execute(self, lun, block, data_out):
        """Carries out one command for one logical unit number."""
        if block[0] in SYNCHRONIZE_CACHE:
            self._gap.pass_by(self)
        return super().execute(lun, block, data_out)
