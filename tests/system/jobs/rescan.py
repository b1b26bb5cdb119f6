"""The distribution's rescan script: a disk presented while the guest runs is found, a withdrawn one is taken away."""
from lab import disks_of, rescan_script
from lab.job import Hardware, disk, disk_bus

TYPICAL_SECONDS = 40

UDID = "UDID##ACME##{}##{}##5000C500000000{:02X}"
NEW_LUN = 5


def hardware():
    """An adapter whose new disks the kernel is not told of, with two disks, and the backing of a third."""
    return Hardware([*disk_bus("s"),
                     *disk("s", 0, vendor="ACME", product="FIRST", serial="H0", wwn="0x5000c50000000020"),
                     *disk("s", 1, vendor="ACME", product="SECOND", serial="H1", wwn="0x5000c50000000021")])


def run(guest, machine, checks):
    """The job."""
    guest.run("modprobe -a sd_mod sg virtio_pci virtio_scsi")
    disks_of.wait_for_disks(guest, 2)
    known = {UDID.format("FIRST", "H0", 0x20), UDID.format("SECOND", "H1", 0x21)}
    added = UDID.format("THIRD", "H5", 0x25)
    checks.equal("the disks of the boot", udids(guest), known)
    present_disk(machine)
    checks.equal("a disk presented later is not seen by itself", udids(guest), known)
    check_dry_run(guest, checks, known)
    check_rescan(guest, checks, known, added)
    machine.monitor("device_del", id="third")
    check_stale_removal(guest, checks, known, added)


def udids(guest, status=0):
    """The UDIDs of the guest's disks. The script's flush brings device-mapper's own node up, which is none."""
    return {entry["udid"] for entry in guest.scsitool("devices", status=status)["devices"]
            if entry["name"].startswith("/dev/sd")}


def present_disk(machine):
    """What a storage administrator does: one more volume for this host."""
    machine.monitor("blockdev-add", driver="null-co", node_name="new", size=64 << 20)
    machine.monitor("device_add", driver="scsi-hd", id="third", bus="s.0", lun=NEW_LUN, drive="new", vendor="ACME",
                    product="THIRD", serial="H5", wwn=0x5000c50000000025)


def check_dry_run(guest, checks, known):
    """A dry run tells the script's command and finds nothing."""
    checks.equal("dry run of rescan", guest.dry_run("rescan"),
                 [{"effect": "command", "command": "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d",
                   "timeout": 600}])
    checks.equal("a dry run finds no disk", udids(guest), known)


def check_rescan(guest, checks, known, added):
    """`rescan --changes` finds the disk and names it."""
    document = guest.scsitool("rescan", "--changes", "--wait", added, "--timeout", "60", seconds=900)
    checks.equal("rescan ends well", document["result"], 0)
    node = disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "virtio_scsi"))[NEW_LUN]
    changes = {name: document["changes"][name] for name in ("appeared", "disappeared")}
    checks.equal("rescan --changes names the new disk and no other", changes,
                 {"appeared": [{"udid": added, "devices": [node], "identity": "unit", "whole_volume": True}],
                  "disappeared": []})
    checks.equal("rescan --wait ends when the new disk is there", document["waited"], {"udid": added, "devices": [node]})
    check_vain_wait(guest, checks, added + "X")
    checks.equal("the new disk is in the map", udids(guest), known | {added})


def check_vain_wait(guest, checks, udid):
    """`rescan --wait` for a disk that does not come ends with its time."""
    # No adapter has this number: the script ends at once.
    ended = guest.run(["scsitool", "rescan", "--wait", udid, "--timeout", "2", "--", "--hosts=99"], None)
    checks.equal("a rescan that waits in vain says so", [ended.status, ended.stderr.splitlines()[-1:]],
                 [1, [f"scsitool: {udid} did not appear in 2 s"]])


def check_stale_removal(guest, checks, known, added):
    """`remove-stale` takes the withdrawn disk away and no other."""
    node = disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "virtio_scsi"))[NEW_LUN]
    guest.wait_for("the disk to fall silent", f"! sg_turs {node} 2>/dev/null")
    checks.true("a withdrawn disk has no UDID, and that is told", added not in udids(guest, status=3))
    rescan_script.mend(guest, "/dev/sda")
    checks.equal("remove-stale ends well", guest.scsitool("remove-stale", seconds=900)["result"], 0)
    left = disks_of.disks_by_address(guest).values()
    checks.true("remove-stale takes the withdrawn disk away", node not in left, list(left))
    checks.equal("remove-stale leaves the disks that answer", udids(guest), known)
