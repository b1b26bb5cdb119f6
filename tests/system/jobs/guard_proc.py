"""Disks in use and the commands that need /proc/scsi/scsi, on a kernel that has it."""
import guard_array
from guard_array import Array
from guard_matrix import Matrix, by_address
from lab import rescan_script
from lab.job import Hardware, Kernel
from lab.proc_scsi import LOAD_MID_LAYER

TYPICAL_SECONDS = 120

array = Array()


def hardware():
    """A card on the network of an array with a disk for every use."""
    return Hardware(targets=array.targets, kernel=Kernel.PROC_SCSI)


def run(guest, _, checks):
    """The job."""
    guest.run(LOAD_MID_LAYER)
    guard_array.prepare(guest)
    # `remove-dead` ends with a rescan, which removes nothing and which other jobs watch.
    rescan_script.silence(guest)
    matrix = Matrix(guest, checks, array)
    matrix.begin_uses()
    matrix.check_one_by_one("address", by_address)
    array.withdraw()
    matrix.check_refused("dead", ["remove-dead"])
    matrix.bring_back()
    matrix.end_uses()
    matrix.drop_maps()
    matrix.check_taken_one_by_one("address", by_address)
    matrix.bring_back()
    array.withdraw()
    matrix.check_taken("dead", ["remove-dead"])
