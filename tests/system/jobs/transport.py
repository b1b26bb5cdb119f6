"""The two ioctls that carry commands: one is refused, the other is used; the kernel's words about the older one."""
import errno
import re
import shlex

from array_families import FAMILIES
from iscsi_target import Target
from lab import disks_of, send_command
from lab.initiator import log_in, start_initiator
from lab.job import Hardware
from lab.send_command import INTERVAL_SECONDS, UNKNOWN, WARNING, kernel_lines, without

TYPICAL_SECONDS = 40

# One disk after the other: a refusal of the process is that of the kernel's own side of it.
IN_TURN = ["--jobs", "1", "--deadline", "0"]

target = Target("iqn.2026-01.lab.example:transport", {lun: family.unit for lun, family in FAMILIES.items()})


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=[target], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    log_in(guest, target.name)
    disks_of.wait_for_disks(guest, len(FAMILIES))
    expected = guest.run(["scsitool", "devices"]).stdout
    for family in FAMILIES.values():
        checks.contains(f"by SCSI_IOCTL_SEND_COMMAND: {family.what}", expected, family.udid)
    check_warnings(guest, checks)
    check_sg_io(guest, checks, expected)
    for number in UNKNOWN:
        check_refused(guest, checks, number, expected)
    check_denied(guest, checks)
    check_library(guest, checks)


def check_warnings(guest, checks):
    """The kernel says of every request that it is deprecated, or how many it has not said it of."""
    asked, said, asked_in_all, said_in_all = send_command.warnings_of_requests(guest)
    checks.true(f"the kernel warns of {said} of {asked} requests", min(send_command.BURST, asked) <= said <= asked, said)
    checks.equal("with those that it has kept back it is one for each request", said_in_all, asked_in_all)


def check_sg_io(guest, checks, expected):
    """By SG_IO the map is the same, and the kernel says nothing."""
    kernel_lines(guest)
    for options in ([], IN_TURN):
        found = guest.run(["scsitool", *options, "--transport", "sg_io", "devices"])
        checks.equal(f"--transport sg_io {' '.join(options)}: the same map", found.stdout, expected)
    guest.run(f"sleep {INTERVAL_SECONDS + 1}")
    checks.equal("and no line of the kernel about it", [line for line in kernel_lines(guest) if "scsi_ioctl" in line
                                                        or WARNING in line], [])


def check_refused(guest, checks, number, expected):
    """Where the kernel does not know the ioctl, the map, the trace and the journal are what they are elsewhere."""
    name = errno.errorcode[number]
    for options in ([], IN_TURN):
        found = guest.run(without(number, [*options, "devices"]), None)
        checks.equal(f"{name} {' '.join(options)}: the same map", [found.status, found.stdout], [0, expected])
    traced = ["--trace", "9", "--journal", "-", *IN_TURN, "devices"]
    plain, refused = (guest.run(words, None).stderr for words in (["scsitool", *traced], without(number, traced)))
    checks.equal(f"{name}: the same trace and journal", steady(refused), steady(plain))


def steady(text):
    """The lines but for the time that a journal begins with."""
    return [re.sub(r'"at":"[^"]*"', "", line) for line in text.splitlines()]


def check_denied(guest, checks):
    """What is denied for want of rights is not tried another way."""
    document = guest.run(without(errno.EPERM, ["--json", "devices"]), None).json
    told = {entry["udid"] for entry in document["devices"]}
    checks.equal("EPERM: no disk tells its UDID, whatever the kernel knows by itself",
                 [family.what for family in FAMILIES.values() if family.udid in told], [])


def check_library(guest, checks):
    """What takes no SCSI commands takes none by SG_IO either."""
    for number in (None, errno.ENOTTY):
        words = ["inquiry", "/dev/null"]
        found = guest.run(without(number, words) if number else ["scsitool", *words], None)
        checks.equal(f"{shlex.join(words)}, refused: {bool(number)}", [found.status, found.stdout], [1, ""])
