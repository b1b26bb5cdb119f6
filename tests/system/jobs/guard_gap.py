"""Two stale disks that nobody uses; while the first is being removed, the other is mounted: it stays."""
import json

import uses
from gap import ENABLE_CACHE, Gap, GapTarget
from iscsi_target import LogicalUnit
from lab import disks_of, rescan_script
from lab.initiator import start_initiator
from lab.job import Hardware, Kernel
from lab.proc_scsi import LOAD_MID_LAYER
from plain_unit import plain_unit

TYPICAL_SECONDS = 60

LUN = 5
RUN_SECONDS = 600
LIST_SESSIONS = r"""
for session in /sys/class/iscsi_session/*; do
  echo "$(cat "$session/targetname")" $(ls -d "$session"/device/target*/*/block/* 2>/dev/null)
done
"""
gap = Gap()
names = [f"iqn.2026-01.lab.example:{which}" for which in ("one", "other")]
targets = [GapTarget(name, {}, gap) for name in names]
volumes = {name: plain_unit(number, "KNOWN") for number, name in enumerate(names)}


def hardware():
    """A card on the network of an array with two targets, so that one can answer while the other waits."""
    return Hardware(targets=targets, portals=1, kernel=Kernel.PROC_SCSI)


def run(guest, _, checks):
    """The job."""
    guest.run(LOAD_MID_LAYER)
    start_initiator(guest)
    uses.copy_scripts(guest)
    guest.run("iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null")
    present()
    guest.run("iscsiadm -m node --login >/dev/null")
    disks_of.wait_for_disks(guest, len(targets))
    rescan_script.mend(guest, "/dev/sda")
    for arguments in (["remove-dead"], ["remove-stale", "--", "--ids=0"], ["prune"]):
        check_gap(guest, checks, arguments)


def present():
    """Both volumes answer."""
    for target in targets:
        target.units[LUN] = volumes[target.name]


def prepare(guest):
    """Both disks are there, bear a file system and then fall silent."""
    present()
    guest.run("iscsiadm -m session -R >/dev/null")
    disks_of.wait_for_disks(guest, len(targets))
    for node in nodes(guest).values():
        uses.call(guest, "make_file_system", node, "8M")
    guest.run(ENABLE_CACHE)
    for target in targets:
        target.units.clear()


def nodes(guest):
    """Node of the disk of every target, by the target's name."""
    listing = guest.run(LIST_SESSIONS).stdout
    found = (line.split() for line in listing.splitlines())
    return {words[0]: "/dev/" + words[1].rpartition("/")[2] for words in found if len(words) > 1}


def instance_of(guest, node):
    """What tells a disk from another one that has got its node later; empty when there is none."""
    return guest.run(f"cat /sys/block/{node.removeprefix('/dev/')}/diskseq", None).stdout.strip()


def check_gap(guest, checks, arguments):
    """One removal that is stopped in its middle."""
    what = arguments[0]
    prepare(guest)
    by_name = nodes(guest)
    before = {node: instance_of(guest, node) for node in by_name.values()}
    gap.arm()
    guest.run(f"rm -f /run/gap.*\n(scsitool --json {' '.join(arguments)} >/run/gap.out 2>/run/gap.err\n"
              "echo $? >/run/gap.status) </dev/null >/dev/null 2>&1 &")
    first = gap.wait(RUN_SECONDS)
    checks.true(f"{what}: the removal of a disk that nobody uses is under way", first is not None)
    if first is None:
        return
    second, = [target for target in targets if target is not first]
    node = by_name[second.name]
    revive_as_another(second)
    mounted = guest.run(f"mkdir -p /mnt/gap\nmount -t ext4 {node} /mnt/gap", None).status == 0
    gap.close()
    guest.wait_for(f"the end of {what}", "[ -s /run/gap.status ]", RUN_SECONDS)
    gone = by_name[first.name]
    checks.true(f"{what}: the unused disk goes", instance_of(guest, gone) != before[gone], gone)
    if mounted:
        check_outcome(guest, checks, what, node, before[node])
        guest.run("umount /mnt/gap")
    else:
        checks.equal("what a script has in hand is held meanwhile, and nobody can mount it", what, "remove-stale")
    take_all_away(guest)


def revive_as_another(target):
    """The volume answers again, its blocks are those of before, its name is not: only its user protects it."""
    volume = volumes[target.name]
    target.units[LUN] = LogicalUnit(volume.standard_inquiry.replace(b"KNOWN", b"OTHER"), volume.pages)
    target.units[LUN].medium = volume.medium


def check_outcome(guest, checks, what, node, instance):
    """What was mounted stays, and is named."""
    document = json.loads(guest.run("cat /run/gap.out").stdout)
    checks.equal(f"{what}: the disk that was mounted meanwhile stays", instance_of(guest, node), instance)
    status = guest.run("cat /run/gap.status").stdout.strip()
    if what == "prune":
        check_second_look(checks, document["prune"]["devices"], node, status)
        return
    checks.equal(f"{what}: the status tells", status, "1")
    checks.true(f"{what}: the mounted disk is named",
                [entry for entry in document.get("refused", []) if entry["device"] == node], document)


def check_second_look(checks, rows, node, status):
    """`prune` looks again right before each removal: what lives by then is not even tried."""
    row, = [row for row in rows if row["device"] == node]
    checks.equal("prune: the mounted disk stays for what was seen last", [row["outcome"], row["message"]],
                 ["stays", "it lives by now"])
    checks.equal("prune: its user is named", row["users"], ["mounted at /mnt/gap"])
    checks.equal("prune: nothing failed", status, "0")


def take_all_away(guest):
    """By hand, for the next one to begin anew."""
    guest.run('for request in /sys/block/sd*/device/delete; do echo 1 >"$request"; done', None)
    for target in targets:
        target.units.clear()
