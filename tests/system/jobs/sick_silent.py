"""A capture of a host with a disk that swallows commands."""
import sick
from iscsi_target import Target
from lab import disks_of
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 300

SILENT_LUN = 1
# Every question costs the kernel's ten seconds, so few are asked.
COMMANDS = [["devices"], ["volumes"], ["disks"], ["--dry-run", "prune"], ["inquiry", "/dev/sda"], ["udid", "/dev/sdb"]]
# It is not refused, it times out.
NO_ANSWER = "! sg_raw --timeout=1 /dev/sdb 00 00 00 00 00 00"


target = Target("iqn.2026-01.lab.example:silent", {lun: plain_unit(lun, "VOLUME") for lun in range(2)})


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=[target], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null\n"
              f"iscsiadm -m node -T {target.name} --login >/dev/null")
    disks_of.wait_for_disks(guest, len(target.units))
    target.silent = {SILENT_LUN}
    sick.check_capture(guest, checks, "silent-disk", NO_ANSWER, COMMANDS)
