"""Captures of hosts with a volume that is withdrawn, another, far away, write-protected or late."""
import sick
from iscsi_target import UNIT_NOT_SUPPORTED, LogicalUnit, Target, illegal_request
from lab import disks_of
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 200

DELAY_SECONDS = 0.2
NO_UNIT_AT_TWO = "! sg_turs /dev/sdb && ! sg_turs /dev/sdc"
OTHER_PAGE = '[ "$(sg_vpd -r -p di /dev/sdb | base64)" != "$(base64 </sys/block/sdb/device/vpd_pg83)" ]'


class WithdrawnUnit(LogicalUnit):
    """Refuses every command as arrays do for a volume that was taken back."""

    def execute(self, block, data_out):
        """Carries out one command block and returns its Reply."""
        return illegal_request(UNIT_NOT_SUPPORTED)


def target_of(name, luns):
    """A target with plain volumes under these numbers."""
    return Target(f"iqn.2026-01.lab.example:{name}", {lun: plain_unit(lun, "VOLUME") for lun in luns})


withdrawn = target_of("withdrawn", [0, 1, 2])
remapped = target_of("remapped", [0, 1])
far = target_of("far", [0, 44, 300])
protected = target_of("protected", [0, 1])
slow = target_of("slow", [0, 1, 2, 3])
targets = [withdrawn, remapped, far, protected, slow]


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=targets, portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run("iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null")
    protected.units[1].is_write_protected = True
    slow.seconds_an_answer = DELAY_SECONDS
    check(guest, checks, "withdrawn-lun", withdrawn, NO_UNIT_AT_TWO, withdraw)
    check(guest, checks, "remapped-lun", remapped, OTHER_PAGE, remap)
    check(guest, checks, "far-lun", far, "ls /sys/class/scsi_device | grep -q ':16684$'")
    check(guest, checks, "write-protected", protected, "grep -q 1 /sys/block/sdb/ro")
    check(guest, checks, "slow-array", slow, f"sleep {DELAY_SECONDS} &\nsg_turs /dev/sda && ! kill $!")


def check(guest, checks, sample, target, proof, fall_ill=None):
    """One host: the disks of one target, which then fall ill."""
    guest.run(f"iscsiadm -m node -T {target.name} --login >/dev/null")
    disks_of.wait_for_disks(guest, len(target.units))
    if fall_ill:
        fall_ill(target)
    sick.check_capture(guest, checks, sample, proof)
    guest.run(f"iscsiadm -m node -T {target.name} --logout >/dev/null")
    guest.wait_for("the disks to go", "! ls /sys/block | grep -q '^sd'")


def withdraw(target):
    """One volume is gone as peripheral qualifier 3 tells it, the other as sense data do."""
    target.units[2] = WithdrawnUnit(target.units[2].standard_inquiry, {})
    del target.units[1]


def remap(target):
    """Another volume, and a larger one, stands at an address that the kernel has known by another."""
    target.units[1] = plain_unit(100, "VOLUME", 2 * target.units[1].blocks * 512)
