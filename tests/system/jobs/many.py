"""A host with many disks: the map is whole, and no descriptor is left open on the way."""
import collections

from lab import disks_of
from lab.job import Hardware

TYPICAL_SECONDS = 40

DISKS = 512
# Far fewer than there are disks, and enough for the libraries that the command loads.
DESCRIPTORS = 32


def hardware():
    """No hardware but the kernel's own debug driver."""
    return Hardware()


def run(guest, _, checks):
    """The job."""
    guest.run(f"modprobe -a sd_mod sg && modprobe scsi_debug max_luns={DISKS} dev_size_mb=8")
    disks_of.wait_for_disks(guest, DISKS)
    document = guest.run(f"ulimit -n {DESCRIPTORS}\nscsitool --json devices", seconds=900).json
    entries = document["devices"]
    checks.equal("every disk is in the map, with no more descriptors than a few", len(entries), DISKS)
    kinds = collections.Counter(entry["udid"].rpartition("##")[0].rpartition("##")[0] for entry in entries)
    checks.equal("every disk has a UDID of the debug driver's kind", kinds, {"UDID##LINUX##SCSI_DEBUG": DISKS})
    checks.equal("no two disks share a UDID", len({entry["udid"] for entry in entries}), DISKS)
    nodes = disks_of.disks_by_address(guest).values()
    checks.equal("the map holds the kernel's disks", {entry["name"] for entry in entries}, set(nodes))
