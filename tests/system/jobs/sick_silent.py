"""A capture of a host with a disk that swallows commands: every command says on it what it said in the guest."""
import json

import sick
from iscsi_target import Target
from lab import disks_of
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 400

SAMPLE = "silent-disk"
SILENT_LUN = 1
SILENT_NODE = "/dev/sdb"
SILENT_ADDRESS = "0:0:0:1"
# Less than the kernel's own ten seconds: it is the command that gives the disk up.
DEADLINE = 2
OPTIONS = ["--deadline", str(DEADLINE)]
# It is not refused, it times out.
NO_ANSWER = f"! timeout 20 sg_raw --timeout=1 {SILENT_NODE} 00 00 00 00 00 00"

target = Target("iqn.2026-01.lab.example:silent", {lun: plain_unit(lun, "VOLUME") for lun in range(3)})


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
    # The processes that the commands before have left behind have the silent disk open, more and more of them.
    sick.check_capture(guest, checks, SAMPLE, NO_ANSWER, OPTIONS, [SILENT_ADDRESS])
    check_capture(guest, checks)


def check_capture(guest, checks):
    """The disk that was given up is recorded as that, not as one that does not open; the others are as ever."""
    devices = json.loads(guest.run(["cat", sick.CAPTURE]).stdout)["devices"]
    silent = devices[SILENT_NODE]
    checks.equal("how long it was waited for", silent.get("given_up_after"), DEADLINE)
    checks.true("the open had worked", "open_errno" not in silent, silent)
    checks.equal("what did not come", silent.get("inquiry"), {"std": {"errno": 110}})
    checks.true("what the kernel knows by itself", silent.get("size_bytes"), silent)
    others = {node: device.get("given_up_after") for node, device in devices.items() if device.get("inquiry")}
    checks.true("the others answered", others.get("/dev/sda", 0) is None and others.get("/dev/sdc", 0) is None, others)
