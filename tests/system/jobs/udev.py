"""udev with the rules that are shipped: links by UDID appear, follow, move to the map, go, and lead nowhere twice."""
from pathlib import Path

from array_families import FAMILIES, unit
from iscsi_target import Target
from lab import disks_of, multipath
from lab.initiator import start_initiator
from lab.job import PORTALS, Hardware, disk_bus
from lab.pages import ASCII, T10_VENDOR, designator

TYPICAL_SECONDS = 60

RULES = Path(__file__).parents[3] / "packaging" / "udev" / "66-scsitool.rules"
IQN = "iqn.2026-01.lab.example:links"
BUS = "hot"
PATHS = len(PORTALS)
SETTLE = "udevadm settle -t 100"
# An emulated machine on a busy one takes its time; who does not answer is another job's business.
PATIENCE = ("--deadline 5 ", "--deadline 60 ")
LINKS = "/dev/disk/by-udid"
# What the family reads is one UDID, with a blank and a slash in it; the NAA names are two.
ARRAY = {96: b"00c0ff d5/1bXY"}
VOLUME = designator(T10_VENDOR, ASCII, b"HP      " + b"00c0ffd5a1b20000c3d4e5f600112299")
TWIN_LINK = "UDID##HP##MSA##00C0FF\\x20D5\\x2f1BXY##00C0FFD5A1B20000C3D4E5F600112299"
# What a link, a rule or a shell would make something else of, in what the disk calls itself.
HOSTILE = {"vendor": "ACME", "product": "A/B $(x)", "serial": "S 1", "wwn": 0x5000c50000000003}
HOSTILE_LINK = "UDID##ACME##A\\x2fB_\\x24\\x28X\\x29##S\\x201##5000C50000000003"

target = Target(IQN, {1: FAMILIES[1].unit, 11: FAMILIES[11].unit})


def hardware():
    """An array with two portals, and an adapter whose disks the kernel sees come and go."""
    return Hardware(disk_bus(BUS, hotplug=True), targets=[target])


def run(guest, machine, checks):
    """The job."""
    start_initiator(guest)
    guest.run("modprobe -a virtio_pci virtio_scsi\nmkdir -p /etc/udev/rules.d")
    rules = RULES.read_text("utf-8").replace(*PATIENCE)
    guest.run(f"cat >/etc/udev/rules.d/{RULES.name} <<'EOF'\n{rules}EOF")
    multipath.start_udev(guest)
    check_no_links(guest, checks)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100\niscsiadm -m node -T {IQN} --login")
    disks_of.wait_for_disks(guest, PATHS * len(target.units))
    check_paths(guest, checks)
    check_partition(guest, checks)
    check_no_storm(guest, checks)
    check_hot_add(guest, machine, checks)
    check_twins(guest, checks)
    check_maps(guest, checks)


def links(guest):
    """Where each link leads: {"UDID##...": "sda"}."""
    listing = guest.run(f"{SETTLE}\ncd {LINKS} 2>/dev/null && for link in *; do "
                        'echo "$(readlink -f "$link") $link"; done; true').stdout
    pairs = [line.split(" ", 1) for line in listing.splitlines()]
    return {link: node.rsplit("/", 1)[1] for node, link in pairs if link != "*"}


def nodes_by_lun(guest):
    """The kernel's names of the paths of every volume."""
    nodes = {}
    for address, node in disks_of.disks_by_address(guest).items():
        nodes.setdefault(int(address.split(":")[3]), []).append(node.rsplit("/", 1)[1])
    return nodes


def properties(guest, names):
    """What udev has from the command of each of these."""
    listing = guest.run(f'for name in {" ".join(names)}; do udevadm info -q property -n "$name" | '
                        'sed -n "s/^SCSITOOL_/$name &/p"; done').stdout
    found = {name: {} for name in names}
    for name, line in (line.split(" ", 1) for line in listing.splitlines()):
        key, value = line.split("=", 1)
        found[name][key] = value
    return found


def check_no_links(guest, checks):
    """Nothing is there to be named."""
    checks.equal("no disk, no link", links(guest), {})


def check_paths(guest, checks):
    """One link a volume, to one of its paths; both paths have the properties."""
    found, nodes = links(guest), nodes_by_lun(guest)
    checks.equal("one link a volume", sorted(found), sorted(FAMILIES[lun].udid for lun in target.units))
    for lun in target.units:
        udid = FAMILIES[lun].udid
        checks.true(f"the link of volume {lun} leads to a path of it", found.get(udid) in nodes[lun], f"{found}")
        for node, mine in properties(guest, nodes[lun]).items():
            checks.equal(f"{node}: udev has its UDID in three forms",
                         [mine.get(f"SCSITOOL_{key}") for key in ("UDID", "UDID_ENC", "LINK")], [udid] * 3)


def check_partition(guest, checks):
    """A partition has the link of its disk with its number."""
    node = nodes_by_lun(guest)[11][0]
    guest.run(f"echo ',8M' | sfdisk -q /dev/{node}")
    guest.wait_for("the partition", f"[ -e /sys/class/block/{node}1 ]")
    guest.run(f"udevadm trigger --settle /sys/class/block/{node} /sys/class/block/{node}1")
    checks.equal("a partition has a link", links(guest).get(f"{FAMILIES[11].udid}-part1"), f"{node}1")


def check_no_storm(guest, checks):
    """A look at all disks is one event each: none of them makes another."""
    before, triggered, after = guest.run(
        f"{SETTLE}\ncat /sys/kernel/uevent_seqnum\nudevadm trigger -v --subsystem-match=block | wc -l\n{SETTLE}\n"
        f"sleep 1\n{SETTLE}\ncat /sys/kernel/uevent_seqnum").stdout.split()
    checks.equal("to look at disks changes nothing on them", int(after) - int(before), int(triggered))


def check_hot_add(guest, machine, checks):
    """The link of a disk comes and goes with it; a hostile name is made safe, a disk without a name has none."""
    before = links(guest)
    for number, names in enumerate((HOSTILE, {"vendor": "ACME", "product": "NAMELESS"})):
        plug(machine, number, names)
        disks_of.wait_for_disks(guest, PATHS * len(target.units) + number + 1)
    checks.equal("a disk that is plugged in has a link, one without a name of its own has none",
                 sorted(link for link in links(guest) if link not in before), [HOSTILE_LINK])
    for number in range(2):
        machine.monitor("device_del", id=f"plugged{number}")
    guest.wait_for("the disks to go", f'[ "$(ls -d /sys/block/sd* | wc -l)" -eq {PATHS * len(target.units)} ]')
    checks.equal("the link goes with its disk", links(guest), before)


def plug(machine, number, names):
    """A disk that the kernel sees come."""
    machine.monitor("blockdev-add", driver="null-co", node_name=f"drive{number}", size=64 << 20)
    machine.monitor("device_add", driver="scsi-hd", id=f"plugged{number}", bus=f"{BUS}.0", lun=number,
                    drive=f"drive{number}", **names)


def twin(number):
    """One of two volumes of one UDID."""
    return unit("HP", "MSA2012fc", f"600c0ff000d5a1b2c3d4e5f60100{number:04x}", length=160, vendor_specific=ARRAY,
                more_designators=[VOLUME])


def check_twins(guest, checks):
    """Volumes of one UDID: the one has its link while it is alone, neither when both are there."""
    target.units[20] = twin(20)
    rescan(guest)
    checks.true("a volume that is alone has its link", TWIN_LINK in links(guest))
    target.units[21] = twin(21)
    rescan(guest)
    checks.true("of two volumes with one UDID none has a link", TWIN_LINK not in links(guest))
    nodes = nodes_by_lun(guest)
    known = properties(guest, nodes[20] + nodes[21])
    checks.equal("udev knows why", [mine.get("SCSITOOL_SHARED") for mine in known.values()], ["1"] * 2 * PATHS)
    del target.units[21]
    guest.run("\n".join(f"echo 1 >/sys/block/{node}/device/delete" for node in nodes[21]))
    checks.true("the one that is left has its link back", links(guest).get(TWIN_LINK) in nodes[20])
    guest.run("\n".join(f"echo 1 >/sys/block/{node}/device/delete" for node in nodes[20]))
    checks.true("it goes with the last path", TWIN_LINK not in links(guest))
    target.units[21] = twin(21)
    rescan(guest)
    checks.true("of two that come at once none has a link", TWIN_LINK not in links(guest))
    nodes = nodes_by_lun(guest)
    guest.run("\n".join(f"echo 1 >/sys/block/{node}/device/delete" for node in nodes[20] + nodes[21]))
    del target.units[20], target.units[21]


def rescan(guest):
    """Has the sessions look for volumes."""
    guest.run("iscsiadm -m session -R >/dev/null")
    disks_of.wait_for_disks(guest, PATHS * len(target.units))


def check_maps(guest, checks):
    """Where there is a map the link leads to it, of a partition to the map of the partition, and back when it is gone."""
    multipath.start_multipathd(guest, len(target.units))
    numbers = guest.run('for map in /sys/block/dm-*; do echo "$(basename "$map") $(ls "$map/slaves")"; done').stdout
    maps = {line.split()[1]: line.split()[0] for line in numbers.splitlines() if line.startswith("dm-")}
    nodes = nodes_by_lun(guest)
    wanted = {FAMILIES[lun].udid: maps.get(sorted(nodes[lun])[0]) for lun in target.units}
    found = links(guest)
    checks.equal("a map has the link that its paths have", {udid: found.get(udid) for udid in wanted}, wanted)
    guest.run(f"kpartx -a -p -part /dev/{wanted[FAMILIES[11].udid]}")
    checks.true("a partition's map has the link of the partition",
                links(guest).get(f"{FAMILIES[11].udid}-part1", "").startswith("dm-"))
    guest.run(f"kpartx -d -p -part /dev/{wanted[FAMILIES[11].udid]}\n{SETTLE}\nmultipathd shutdown; sleep 1\n"
              f"multipath -F; {SETTLE}; multipath -F", None)
    checks.true("without maps the links lead to paths again",
                all(links(guest).get(FAMILIES[lun].udid) in nodes[lun] for lun in target.units), str(links(guest)))
