"""Real device-mapper maps over two paths: what `devices` makes of them, how they go away, and what protects them."""
from array_families import FAMILIES
from iscsi_target import Target
from lab import disks_of, multipath, same_outside
from lab.initiator import start_initiator
from lab.job import PORTALS, Hardware

TYPICAL_SECONDS = 30

IQN = "iqn.2026-01.lab.example:paths"
LUNS = [0, 1, 7, 11]
PATHS = len(PORTALS)
MULTIPATH_CLAIM = 16

target = Target(IQN, {lun: FAMILIES[lun].unit for lun in LUNS})


def hardware():
    """A card on the array's network, two portals: every volume has two paths."""
    return Hardware(targets=[target])


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    multipath.start_udev(guest)
    check_without_daemon(guest, checks)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100\niscsiadm -m node -T {IQN} --login")
    disks_of.wait_for_disks(guest, PATHS * len(LUNS))
    multipath.start_multipathd(guest, len(LUNS))
    maps = multipath.map_members(guest)
    check_devices(guest, checks, maps)
    check_volumes(guest, checks, maps)
    names = sorted(maps)
    check_dry_run(guest, checks, names)
    check_removal(guest, checks, names[0])
    check_refresh(guest, checks, names)
    check_swap(guest, checks, names[2])
    check_open_map(guest, checks, names[3], maps[names[3]])
    mount_map(guest, names[1])
    check_mounted_map(guest, checks, names[1], maps[names[1]])
    same_outside.check(guest, checks, "multipath", more=[["--dry-run", "flush-multipath"]])
    check_flush(guest, checks, names[1])


def check_without_daemon(guest, checks):
    """Without a pidof where the library looks, and then without the daemon, nothing is flushed."""
    document = guest.scsitool("flush-multipath", status=1)
    checks.equal("flush-multipath fails when pidof is not under /sbin", document["result"], 11)
    multipath.link_pidof(guest)
    document = guest.scsitool("flush-multipath", status=1)
    checks.equal("flush-multipath fails when the daemon does not run", document["result"], 11)


def paths_by_lun(guest):
    """The nodes of both paths of every volume."""
    paths = {}
    for address, node in disks_of.disks_by_address(guest).items():
        paths.setdefault(int(address.split(":")[3]), []).append(node)
    return {lun: sorted(nodes) for lun, nodes in paths.items()}


def check_devices(guest, checks, maps):
    """A map and both of its paths carry the one UDID of their volume."""
    entries = {entry["name"]: entry for entry in guest.scsitool("devices")["devices"]}
    for lun, nodes in paths_by_lun(guest).items():
        mine = [name for name, members in maps.items() if members == nodes]
        checks.equal(f"volume {lun} has one map over its {PATHS} paths", [len(mine), len(nodes)], [1, PATHS])
        names = mine + nodes
        checks.equal(f"{', '.join(names)}: one UDID", [entries[name]["udid"] for name in names],
                     [FAMILIES[lun].udid] * len(names))
        checks.equal(f"{mine[0]} is told from its paths by its claim level",
                     [entries[name]["claim_level"] for name in names], [MULTIPATH_CLAIM] + [0] * len(nodes))


def check_volumes(guest, checks, maps):
    """One row a volume, with the map and the paths that carry it."""
    volumes = {volume["udid"]: volume for volume in guest.scsitool("volumes")["volumes"]}
    for lun, nodes in paths_by_lun(guest).items():
        mine = [name for name, members in maps.items() if members == nodes]
        row = volumes.get(FAMILIES[lun].udid, {})
        checks.equal(f"volumes: all that carries volume {lun}",
                     sorted(entry["name"] for entry in row.get("devices", [])), sorted(mine + nodes))


def existing_maps(guest):
    """The names under /dev/mapper."""
    return [f"/dev/mapper/{name}" for name in guest.run("ls /dev/mapper").stdout.split() if name != "control"]


def check_dry_run(guest, checks, names):
    """A dry run tells the commands in their order and leaves everything as it is."""
    checks.equal("dry run of remove", guest.dry_run("remove", names[0]),
                 [{"effect": "command", "command": f"/usr/sbin/dmsetup remove {names[0]}", "timeout": 600}])
    checks.equal("dry run of flush-multipath", guest.dry_run("flush-multipath"),
                 [{"effect": "command", "command": "/sbin/multipath -F", "timeout": 600}])
    checks.equal("a dry run takes no map away", existing_maps(guest), names)


def check_refused(guest, checks, what, arguments, reason, said=""):
    """A refusal is exit status 1, on standard output what was to go, on standard error the reason and the way round."""
    result = guest.run(["scsitool", *arguments], status=None)
    checks.equal(f"{what}: refused", [result.status, result.stdout[:len(said)] if said else result.stdout], [1, said])
    checks.contains(f"{what}: the reason is named", result.stderr, reason)
    checks.contains(f"{what}: the way round is named", result.stderr, "--force")


def address_of(guest, wanted):
    """The four numbers of a disk's address."""
    return next(address.split(":") for address, node in disks_of.disks_by_address(guest).items() if node == wanted)


def mount_map(guest, name):
    """Puts a file system on a map and mounts it."""
    guest.run(f"mke2fs {name} >/dev/null && modprobe ext4 && mount -t ext4 {name} /mnt")


def check_mounted_map(guest, checks, name, paths):
    """A map with a mounted file system, and the disks behind it, are protected."""
    check_refused(guest, checks, "removal of a mounted map", ["remove", name], "mounted at /mnt")
    address = address_of(guest, paths[0])
    check_refused(guest, checks, "removal of a path of a mounted map", ["remove-address", *address],
                  "mounted at /mnt", f"{':'.join(address)} is {paths[0]}, ")
    forced = guest.run(["scsitool", "remove", "--force", name], status=None)
    checks.equal("a forced removal of a mounted map fails, because device-mapper keeps it",
                 [forced.status, name in existing_maps(guest)], [1, True])


def check_swap(guest, checks, name):
    """A map used as swap space is protected."""
    guest.run(f"mkswap {name} && swapon {name}")
    check_refused(guest, checks, "removal of a map used as swap", ["remove", name], "used as swap")
    guest.run(f"swapoff {name}")


def check_open_map(guest, checks, name, paths):
    """A map that another process writes to is protected, and a disk that a map holds."""
    guest.run(f"sleep 600 9<>{name} >/dev/null 2>&1 & echo $! >/run/writer")
    check_refused(guest, checks, "removal of a map that is written to", ["remove", name], "open for writing in process")
    guest.run("kill $(cat /run/writer)")
    refused = guest.scsitool("remove-address", *address_of(guest, paths[0]), status=1)["refused"]
    checks.equal("removal of a path of a map: its map is the reason",
                 [(entry["device"], entry["reason"].startswith("held by ")) for entry in refused], [(paths[0], True)])


def check_removal(guest, checks, name):
    """`remove` takes one map away and leaves the others and the paths."""
    before = existing_maps(guest)
    guest.scsitool("remove", name)
    guest.run("udevadm settle -t 20")
    checks.equal("remove takes one map away", existing_maps(guest), [other for other in before if other != name])


def check_refresh(guest, checks, names):
    """A rescan ends with the multipath tool's own, which makes the map anew."""
    # No adapter has this number: the rescan script, which other jobs watch, ends at once.
    result = guest.run("scsitool --trace 6 devices --rescan --rescan-args=--hosts=99")
    checks.contains("a rescan has the maps refreshed", result.stderr, "calling command [/sbin/multipath -v0 ].")
    guest.run("udevadm settle -t 20")
    checks.equal("the refresh makes the removed map anew", existing_maps(guest), names)


def check_flush(guest, checks, mounted):
    """`flush-multipath` takes all unused maps away, and those alone."""
    flush(guest, checks, "while one is mounted")
    checks.equal("a flush leaves the mounted map alone", existing_maps(guest), [mounted])
    guest.run("umount /mnt")
    flush(guest, checks, "with none in use")
    checks.equal("a flush takes all unused maps away", existing_maps(guest), [])
    checks.equal("the paths stay", len(disks_of.disks_by_address(guest)), PATHS * len(LUNS))


def flush(guest, checks, when):
    """Flushes, and once more: udev may still hold a map for a moment after its last user has gone."""
    checks.equal(f"flush-multipath {when} ends well", guest.scsitool("flush-multipath")["result"], 0)
    guest.run("udevadm settle -t 20\nscsitool flush-multipath", status=None)
