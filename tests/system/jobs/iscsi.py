"""The distribution's initiator against an array of made-up pages: targets, sessions, and the UDIDs of the families."""
from array_families import FAMILIES, clariion
from iscsi_target import Target
from lab import disks_of, same_outside
from lab.initiator import start_initiator
from lab.job import Hardware

TYPICAL_SECONDS = 20

IQN = "iqn.2026-01.lab.example:families"
ADDED_LUN = 40
ADDED_UDID = "UDID##DGC##CLARIION##CKM00112233445##60:06:01:60:A1:B2:C3:D4:E5:F6:07:18:29:30:4A:40"
ABSENT_UDID = "UDID##ACME##NONE##0##0"
# With it a login finds no disk by itself: they come when somebody has the session rescanned.
MANUAL_SCAN = f"iscsiadm -m node -T {IQN} -o update -n node.session.scan -v manual"
LATE_SECONDS = 3
LATE_SCAN = f"""
{{ until iscsiadm -m session; do sleep 0.1; done; sleep {LATE_SECONDS}; iscsiadm -m session -R; }} >/dev/null 2>&1 &
"""
# What a shell would make programs of: with blanks and quotes, which no target's name has, and without.
REFUSED_NAME = "iqn.2026-01.lab.example:x;touch /tmp/a`touch /tmp/b`$(touch /tmp/c)|touch /tmp/d"
HOSTILE_NAME = "iqn.2026-01.lab.example:x;id>/tmp/a|id>/tmp/b&$(id>/tmp/c)"
# The kernel keeps the addressing method of a number above 255: flat space is 0x4000.
FLAT_SPACE = 0x4000

target = Target(IQN, {lun: family.unit for lun, family in FAMILIES.items()})


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=[target], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    check_name_and_discovery(guest, checks)
    check_login(guest, checks)
    nodes = family_nodes(guest)
    check_families(guest, checks, nodes)
    check_explanations(guest, checks, nodes)
    check_address_removal(guest, checks)
    check_new_unit(guest, checks)
    check_withdrawn_unit(guest, checks, nodes)
    same_outside.check(guest, checks, "iscsi", more=[["iscsi", "iqn"]])
    # What asks for maps brings device-mapper's own node up.
    guest.run("rm -rf /dev/mapper")
    check_logout(guest, checks)
    check_wait(guest, checks)
    check_hostile_name(guest, checks)


def family_nodes(guest):
    """The disks by the number that the array gave them."""
    return {lun & ~FLAT_SPACE: node
            for lun, node in disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "iscsi_tcp")).items()}


def device_map(guest, status=0):
    """The UDIDs that `devices` prints, by name."""
    return {entry["name"]: entry["udid"] for entry in guest.scsitool("devices", status=status)["devices"]}


def check_name_and_discovery(guest, checks):
    """The initiator's name, and the targets behind a portal."""
    document = guest.scsitool("iscsi", "iqn")
    checks.equal("iscsi iqn", [document["result"], document["iqn"]], [0, "iqn.1993-08.org.debian:01:guest"])
    checks.equal("iscsi discover ends well", guest.scsitool("iscsi", "discover", "10.0.2.100")["result"], 0)
    checks.equal("iscsi discover makes the target known to the initiator",
                 guest.run("iscsiadm -m node").stdout.split(), ["10.0.2.100:3260,1", IQN])


def check_login(guest, checks):
    """Login brings a session and the disks."""
    check_dry_run(guest, checks, "login")
    checks.true("a dry run opens no session", guest.run("iscsiadm -m session", status=None).status != 0)
    checks.equal("iscsi login ends well", guest.scsitool("iscsi", "login", IQN)["result"], 0)
    checks.contains("iscsi login opens a session", guest.run("iscsiadm -m session").stdout, IQN)
    disks_of.wait_for_disks(guest, len(FAMILIES))


def check_dry_run(guest, checks, word):
    """A dry run tells the command and leaves it undone."""
    checks.equal(f"dry run of iscsi {word}", guest.dry_run("iscsi", word, IQN),
                 [{"effect": "command", "command": f"/sbin/iscsiadm -m node -T {IQN} --{word}", "timeout": 600}])


def check_families(guest, checks, nodes):
    """Every family under the UDID that its bytes give."""
    udids = device_map(guest)
    for lun, family in FAMILIES.items():
        checks.equal(family.what, udids.get(nodes[lun]), family.udid)
    checks.equal("the map holds the array's volumes and nothing else", sorted(udids), sorted(nodes.values()))


def check_explanations(guest, checks, nodes):
    """`explain` ends in the same UDID."""
    for lun in (0, 1, 3, 5, 300):
        explained = guest.run(["scsitool", "explain", nodes[lun]], status=None)
        checks.contains(f"explain names the UDID of {FAMILIES[lun].what}", str(explained), FAMILIES[lun].udid)


def check_address_removal(guest, checks):
    """The kernel has no /proc/scsi/scsi, and so nothing is removed by address, a number above 255 included."""
    host = disks_of.host_of_driver(guest, "iscsi_tcp")
    before = disks_of.disks_by_address(guest)
    for lun in (FLAT_SPACE | 300, 0):
        checks.contains("the disk is there", before, f"{host}:0:0:{lun}")
        failed = guest.run(["scsitool", "remove-address", host, "0", "0", str(lun)], status=None)
        checks.equal(f"removal of LUN {lun} fails on a kernel without /proc/scsi/scsi", failed.status, 1)
        checks.contains("the missing file is named", failed.stderr, "/proc/scsi/scsi")
    checks.equal("neither took a disk away", disks_of.disks_by_address(guest), before)


def check_new_unit(guest, checks):
    """A volume presented during a session is found by a rescan of the session."""
    target.units[ADDED_LUN] = clariion("60060160a1b2c3d4e5f6071829304a40")
    checks.true("a new volume is not seen by itself", ADDED_UDID not in device_map(guest).values())
    checks.equal("iscsi rescan ends well", guest.scsitool("iscsi", "rescan")["result"], 0)
    disks_of.wait_for_disks(guest, len(FAMILIES) + 1)
    udids = device_map(guest)
    checks.equal("iscsi rescan finds the new volume", udids.get(family_nodes(guest)[ADDED_LUN]), ADDED_UDID)


def check_withdrawn_unit(guest, checks, nodes):
    """A withdrawn volume stays behind as a disk that does not answer, and disturbs no other."""
    del target.units[ADDED_LUN]
    udids = device_map(guest, status=3)
    checks.true("a withdrawn volume loses its UDID", ADDED_UDID not in udids.values(), udids)
    checks.equal("a withdrawn volume disturbs no other", {node: udids.get(node) for node in nodes.values()},
                 {nodes[lun]: family.udid for lun, family in FAMILIES.items()})


def check_logout(guest, checks):
    """Logout takes the session and the disks away."""
    check_dry_run(guest, checks, "logout")
    checks.contains("a dry run closes no session", guest.run("iscsiadm -m session").stdout, IQN)
    checks.equal("iscsi logout ends well", guest.scsitool("iscsi", "logout", IQN)["result"], 0)
    guest.wait_for("the disks to go", "! ls /sys/block | grep -q '^sd'")
    checks.true("iscsi logout closes the session", guest.run("iscsiadm -m session", status=None).status != 0)
    checks.equal("no volume is left after the logout", guest.scsitool("devices", status=1)["devices"], [])


def check_wait(guest, checks):
    """A login ends when the volume is there that comes only later, or with the time-out when it does not come."""
    guest.run(MANUAL_SCAN)
    ended = guest.run(["scsitool", "iscsi", "login", IQN, "--wait", ABSENT_UDID, "--timeout", "2"], 1)
    checks.contains("a login that waits in vain says so", ended.stderr,
                    f"scsitool: {ABSENT_UDID} did not appear in 2 s\n")
    guest.run(f"iscsiadm -m node -T {IQN} --logout")
    guest.run(LATE_SCAN)
    udid = FAMILIES[0].udid
    clock = "echo $EPOCHREALTIME"
    begun = float(guest.run(clock).stdout)
    document = guest.scsitool("iscsi", "login", IQN, "--wait", udid, "--timeout", "60")
    taken = float(guest.run(clock).stdout) - begun
    nodes = [name for name, one in device_map(guest).items() if one == udid]
    checks.equal("a login waits for a volume that comes later", document["waited"], {"udid": udid, "devices": nodes})
    checks.true(f"it took {taken:.1f} s, until it had come", nodes and taken >= LATE_SECONDS)
    guest.run(f"iscsiadm -m node -T {IQN} --logout")


def check_hostile_name(guest, checks):
    """What stands in a target's name starts no program."""
    checks.equal("a target name with blanks and quotes is a wrong command line",
                 guest.run(["scsitool", "iscsi", "login", REFUSED_NAME], status=None).status, 2)
    checks.equal("another hostile target name is only a name the initiator does not know",
                 guest.scsitool("iscsi", "login", HOSTILE_NAME, status=1)["result"], 0)
    checks.equal("no program came of either", guest.run("ls /tmp").stdout, "")
