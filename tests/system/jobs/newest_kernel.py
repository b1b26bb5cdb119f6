"""The newest kernel that the distribution's archive has: the map is that of the distribution's own kernel, whichever ioctl
carries the commands."""
import errno
import json

from array_families import FAMILIES
from iscsi_target import Target
from lab import disks_of, same_outside, send_command
from lab.initiator import log_in, start_initiator
from lab.job import Hardware, Kernel

TYPICAL_SECONDS = 55

# What a kernel may name otherwise at each boot.
NAMES = {"name", "kernel_name", "generic_node", "device_number"}

target = Target("iqn.2026-01.lab.example:newest", {lun: family.unit for lun, family in FAMILIES.items()})


def hardware(kernel=Kernel.NEWEST):
    """A card on the array's network, one portal."""
    return Hardware(targets=[target], portals=1, kernel=kernel)


def run(guest, _, checks):
    """The job."""
    release = bring_up(guest)
    newest = maps_of(guest)
    with guest.boot_another(hardware(Kernel.USUAL), "usual") as (usual, _):
        usual_release = bring_up(usual)
        checks.true(f"Linux {release} is not Linux {usual_release}", release != usual_release)
        for what, found in maps_of(usual).items():
            checks.equal(f"{what}: on Linux {release} what it is on Linux {usual_release}", newest[what], found)
    told = json.dumps(newest["devices"])
    for family in FAMILIES.values():
        checks.contains(family.what, told, family.udid)
    check_ioctl(guest, checks, release)
    same_outside.check(guest, checks, "newest-kernel")


def bring_up(guest):
    """Connects the array; returns the kernel's release."""
    start_initiator(guest)
    log_in(guest, target.name)
    disks_of.wait_for_disks(guest, len(FAMILIES))
    return guest.run("uname -r").stdout.strip()


def maps_of(guest):
    """What each listing says of the disks, whatever their names."""
    return {what: sorted((without_names(one) for one in guest.scsitool(what)[what]), key=json.dumps)
            for what in ("devices", "volumes")}


def without_names(value):
    """An entry without what the kernel calls its disk."""
    if isinstance(value, dict):
        return {key: without_names(one) for key, one in value.items() if key not in NAMES}
    return [without_names(one) for one in value] if isinstance(value, list) else value


def check_ioctl(guest, checks, release):
    """The kernel takes SCSI_IOCTL_SEND_COMMAND and warns of each request, or it does not and says nothing; the map is the
    same where it refuses, and by SG_IO from the start."""
    answer = int(guest.run("takes_send_command /dev/sda").stdout)
    asked, said, asked_in_all, said_in_all = send_command.warnings_of_requests(guest)
    checks.lines.append(f"        Linux {release} answers SCSI_IOCTL_SEND_COMMAND with {errno.errorcode.get(answer, 'success')}"
                        f" and warns of {said} of {asked} requests")
    checks.contains("the kernel takes SCSI_IOCTL_SEND_COMMAND, or it does not know it", (0, *send_command.UNKNOWN), answer)
    checks.equal("it warns of every request that it takes", said_in_all, 0 if answer else asked_in_all)
    expected = guest.run(["scsitool", "devices"]).stdout
    for what, words in (("refused", send_command.without(errno.ENOTTY, ["devices"])),
                        ("--transport sg_io", ["scsitool", "--transport", "sg_io", "devices"])):
        checks.equal(f"{what}: the same map", guest.run(words).stdout, expected)
