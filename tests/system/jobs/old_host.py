"""A host of the 2.4 kind: an inventory in /proc/scsi/scsi, and orders to add and remove written into it."""
from lab import disks_of, same_outside
from lab.job import Hardware, Kernel
from lab.proc_scsi import DRIVER_NAME, GUEST_FOLDER, LOAD_MID_LAYER, OLD_RELEASE

TYPICAL_SECONDS = 25

DISKS = 3
LOAD_DRIVERS = f"""
{LOAD_MID_LAYER}
modprobe -a sd_mod sg
insmod /{GUEST_FOLDER}/scsi_debug.ko max_luns={DISKS} dev_size_mb=8
"""


def hardware():
    """No hardware but the kernel's own debug driver, which bears the name of a Fibre Channel driver."""
    return Hardware(kernel=Kernel.OLD_HOST)


def run(guest, _, checks):
    """The job."""
    checks.equal("the release that the library goes by", guest.run("uname -r").stdout.strip(), OLD_RELEASE)
    guest.run(LOAD_DRIVERS)
    disks_of.wait_for_disks(guest, DISKS)
    check_inventory(guest, checks)
    check_removal_of_address(guest, checks)
    check_rescan(guest, checks)
    check_dead_removal(guest, checks)


def addresses(guest):
    """The addresses of all disks, as the kernel's sysfs knows them."""
    return sorted([int(number) for number in address.split(":")] for address in disks_of.disks_by_address(guest))


def check_inventory(guest, checks):
    """`bus` shows what the file shows."""
    document = guest.scsitool("bus")
    checks.equal("bus: all addresses", document["devices"], addresses(guest))
    checks.equal("bus: the disks among them", document["disks"], addresses(guest))
    checks.equal("bus: their number", document["count"], DISKS)
    checks.equal("bus: targets of every adapter", document["targets"], {"0": [0]})


def check_removal_of_address(guest, checks):
    """`remove-address` takes one disk from the kernel."""
    before = addresses(guest)
    checks.equal("dry run of remove-address", guest.dry_run("remove-address", "0", "0", "0", "1")[0],
                 removal_of("0 0 0 1"))
    checks.equal("a dry run removes nothing", addresses(guest), before)
    guest.scsitool("remove-address", "0", "0", "0", "1")
    checks.equal("remove-address takes one disk away", addresses(guest), [[0, 0, 0, 0], [0, 0, 0, 2]])
    checks.equal("bus no longer lists it", guest.scsitool("bus")["devices"], [[0, 0, 0, 0], [0, 0, 0, 2]])


def removal_of(address):
    """The order to the kernel that removes an address."""
    return {"effect": "append", "path": "/proc/scsi/scsi", "data": f"scsi remove-single-device {address}\n"}


def check_rescan(guest, checks):
    """`rescan` asks the adapter, probes the addresses around the known ones and finds the disk again."""
    result = guest.run("scsitool --trace 3 rescan", 3)
    checks.contains("rescan takes the way of a 2.4 kernel", result.stderr, "INFO: doing 2.4 kernel SCSI bus scan")
    checks.contains("rescan asks the adapter for a scan of its own", result.stderr,
                    f"INFO: low-level rescanning qlogic hba: /proc/scsi/{DRIVER_NAME}/0")
    checks.contains("the debug driver, which knows no such order, is told of", result.stderr,
                    f"the rescan is not complete: /proc/scsi/{DRIVER_NAME}/0: ")
    checks.equal("rescan finds the disk again", addresses(guest), [[0, 0, 0, lun] for lun in range(DISKS)])


def check_dead_removal(guest, checks):
    """`remove-dead` takes the address away at which no disk answers any more."""
    guest.run(f"echo {DISKS - 1} >/sys/bus/pseudo/drivers/{DRIVER_NAME}/max_luns")
    same_outside.check(guest, checks, "old-host", more=[["--json", "bus"], ["--dry-run", "remove-dead"]])
    checks.equal("dry run of remove-dead", guest.dry_run("remove-dead")[0], removal_of("0 0 0 2"))
    checks.equal("a dry run removes no dead address", len(addresses(guest)), DISKS)
    checks.equal("remove-dead names what it removed", guest.scsitool("remove-dead", status=3)["addresses"],
                 [[0, 0, 0, 2]])
    checks.equal("remove-dead leaves the disks that answer", addresses(guest), [[0, 0, 0, 0], [0, 0, 0, 1]])
