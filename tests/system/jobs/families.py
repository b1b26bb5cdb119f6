"""Every disk of the sample hosts as a real one: its UDID on a guest is the one that the recorded host gives.

A second guest with another name and other device names, and the first one after a reboot, see the same.
"""
import json
import re

from iscsi_target import Target
from lab import disks_of, same_outside
from lab.initiator import disks_of_target, log_in, start_initiator
from lab.job import Hardware
from recorded_units import RecordedDisks

TYPICAL_SECONDS = 80

SAMPLES = {name: RecordedDisks(name) for name in ("families", "kernel-2.4")}
TARGETS = {sample: Target(f"iqn.2026-01.lab.example:{sample}", disks.units) for sample, disks in SAMPLES.items()}
# Of one sample alone: what the second guest and the rebooted one see.
SHARED = "families"
# Disks that the second guest has before those of the array, so that it gives these other names.
OWN_DISKS = 3
OTHER_NAME = "partner"
OF_A_PATH = re.compile(r"/DEV/SD[A-Z]+@[A-Z0-9]+$")


def hardware():
    """A card on the array's network, both portals."""
    return Hardware(targets=TARGETS.values())


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    log_in(guest, *(target.name for target in TARGETS.values()))
    disks_of.wait_for_disks(guest, sum(len(disks.units) for disks in SAMPLES.values()))
    udids = udids_of(guest)
    for sample, disks in SAMPLES.items():
        check_sample(guest, checks, sample, disks, udids)
    before = numbered_udids(guest, udids)
    with guest.boot_another(hardware(), OTHER_NAME) as (partner, _):
        check_partner(partner, checks, disks_of_target(guest, TARGETS[SHARED].name), before)
    with guest.boot_another(hardware(), "rebooted") as (rebooted, _):
        check_reboot(rebooted, checks, before)


def udids_in(document):
    """The UDIDs of a document by node. What a disk has that nothing identifies, a path of this host, has no host."""
    return {entry["name"]: OF_A_PATH.sub("the path", entry["udid"]) for entry in document["devices"]}


def udids_of(guest):
    """The UDID of every disk of a guest by its node."""
    return udids_in(guest.scsitool(*same_outside.PATIENT, "devices", status=None))


def recorded_udids(guest, text):
    """The same of a recorded host."""
    (_, out, _), = guest.outside.replay(text, [["--json", "devices"]])
    return udids_in(json.loads(out))


def check_sample(guest, checks, sample, disks, udids):
    """Each disk of one sample has on the guest the UDID that it has where it was recorded."""
    nodes = disks_of_target(guest, TARGETS[sample].name)
    recorded = recorded_udids(guest, disks.text)
    checks.equal(f"{sample}: the kernel has all {len(disks.units)} disks", sorted(nodes), sorted(disks.units))
    got = {name: udids.get(nodes.get(number)) for number, name in disks.names.items()}
    expected = {name: recorded.get(name) for name in disks.names.values()}
    named = sum(bool(udid) and not udid.endswith("the path") for udid in expected.values())
    checks.true(f"{sample}: {named} of {len(expected)} disks identify themselves", named > len(expected) * 3 // 4, expected)
    checks.equal(f"{sample}: every UDID is that of the recorded host",
                 {name: udid for name, udid in got.items() if udid != expected[name]},
                 {name: udid for name, udid in expected.items() if udid != got[name]})


def numbered_udids(guest, udids):
    """The UDIDs of the shared array's volumes by their numbers there."""
    return {number: udids.get(node) for number, node in disks_of_target(guest, TARGETS[SHARED].name).items()}


def check_partner(guest, checks, nodes_before, before):
    """Another host, which came to the same volumes by the other portal and after disks of its own."""
    guest.run(f"hostname {OTHER_NAME}\nmodprobe -a sd_mod sg\nmodprobe scsi_debug max_luns={OWN_DISKS} dev_size_mb=8")
    disks_of.wait_for_disks(guest, OWN_DISKS)
    start_initiator(guest)
    log_in(guest, TARGETS[SHARED].name, portal="10.0.2.101")
    disks_of.wait_for_disks(guest, OWN_DISKS + len(SAMPLES[SHARED].units))
    nodes = disks_of_target(guest, TARGETS[SHARED].name)
    same = [number for number, node in nodes.items() if nodes_before.get(number) == node]
    checks.equal("the second guest has another name", guest.run("hostname").stdout.strip(), OTHER_NAME)
    checks.equal("and another node for each volume", same, [])
    checks.equal("the second guest sees every volume under the same UDID",
                 numbered_udids(guest, udids_of(guest)), before)
    same_outside.check(guest, checks, "partner")


def check_reboot(guest, checks, before):
    """The host of before, booted again."""
    start_initiator(guest)
    log_in(guest, TARGETS[SHARED].name)
    disks_of.wait_for_disks(guest, len(before))
    checks.equal("after a reboot every volume has its UDID", numbered_udids(guest, udids_of(guest)), before)
