"""What an enumeration costs beside the system calls that it cannot do without, in instructions."""
from lab import disks_of
from lab.command_overlay import DISK_COST
from lab.job import Hardware

TYPICAL_SECONDS = 40

DISKS = 256
MOST_PERCENT = 130


def hardware():
    """A processor whose clock counts instructions: the figures repeat, whatever else this machine does."""
    return Hardware(["-icount", "shift=0,sleep=off"])


def run(guest, _, checks):
    """The job."""
    guest.run(f"modprobe -a sd_mod sg && modprobe scsi_debug max_luns={DISKS} dev_size_mb=8", seconds=900)
    disks_of.wait_for_disks(guest, DISKS)
    guest.run("udevadm settle -t 60", None, seconds=90)
    calls = cost(guest, checks, "calls")
    library = cost(guest, checks, "library")
    checks.true(f"{library} instructions a disk are at most {MOST_PERCENT} % of the system calls' {calls}",
                library * 100 <= calls * MOST_PERCENT, f"{library * 100 // calls} %")


def cost(guest, checks, way):
    """Instructions a disk, of the cheapest of three rounds; the kernel's own are among them."""
    rounds = [list(map(int, line.split())) for line in guest.run([DISK_COST, way], seconds=900).stdout.splitlines()]
    checks.equal(f"{way}: every disk is asked in each round", [disks for disks, _ in rounds], [DISKS] * 3)
    return min(took for _, took in rounds) // DISKS
