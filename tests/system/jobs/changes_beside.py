"""A disk appears while the others of its array are slow, and while one of them does not answer at all."""
from iscsi_target import Target
from lab import disks_of, rescan_script
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 120

IQN = "iqn.2026-01.lab.example:growing"
DISKS = 16
SECONDS_AN_ANSWER = 0.05
SILENT = 5
DEADLINE = 3
PROBE_SECONDS = 5

OTHER_IQN = "iqn.2026-01.lab.example:another"

target = Target(IQN, {lun: plain_unit(lun, "GROWING") for lun in range(DISKS)})
# A scan of the target with the silent disk would wait for that disk.
other = Target(OTHER_IQN, {0: plain_unit(100, "ANOTHER")})


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=[target, other], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100 && iscsiadm -m node -T {IQN} --login")
    disks_of.wait_for_disks(guest, DISKS)
    target.seconds_an_answer = SECONDS_AN_ANSWER
    check_rescan(guest, checks, DISKS)
    check_silent(guest, checks)


def nodes_of(guest):
    """The disks of the array by their logical unit numbers."""
    return disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "iscsi_tcp"))


def check_rescan(guest, checks, lun):
    """`rescan --changes` asks the slow disks side by side before and after, and names the new one and no other."""
    target.units[lun] = plain_unit(lun, "GROWING")
    # The distribution's script takes its time with every disk; what it does is another job's business. The disk driver
    # looks at a new disk when the scan has ended.
    guest.run(f"printf '#!/bin/sh\\nfor scan in /sys/class/scsi_host/host*/scan; do echo \"- - -\" >$scan; done\\n"
              f"sleep {PROBE_SECONDS}\\n' >{rescan_script.SCRIPT}")
    document = guest.scsitool("rescan", "--changes", seconds=900)
    check_appeared(checks, document, [nodes_of(guest).get(lun)], "rescan --changes")


def check_silent(guest, checks):
    """A disk that swallows its commands is named, and is none that has gone; the new one is found all the same."""
    silent = nodes_of(guest)[SILENT]
    before = set(disks_of.disks_by_address(guest).values())
    target.silent = frozenset([SILENT])
    answer = guest.run(f"scsitool --deadline {DEADLINE} --json iscsi login {OTHER_IQN} --changes", status=3,
                       seconds=900)
    appeared = sorted(set(disks_of.disks_by_address(guest).values()) - before)
    checks.equal("the silent disk is named", answer.stderr,
                 f"scsitool: 1 of {len(before) + 1} disks did not answer: {silent}\n")
    check_appeared(checks, answer.json, appeared, "iscsi login --changes beside a silent disk")


def check_appeared(checks, document, nodes, what):
    """One volume has appeared and none has gone."""
    checks.equal(f"{what}: no volume has gone", document["changes"]["disappeared"], [])
    checks.equal(f"{what}: one has appeared", [one["devices"] for one in document["changes"]["appeared"]], [nodes])
