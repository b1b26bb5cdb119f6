"""An array that changes under a host: numbers of every size, a number given to another volume, a path that fails."""
from iscsi_target import Target, lun_field
from lab import disks_of, same_outside
from lab.initiator import disks_of_target, log_in, start_initiator
from lab.job import PORTALS, Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 60

IQN = "iqn.2026-01.lab.example:changing"
# Each side of what three bits (byte 1 of a command block), five, eight and fourteen bits hold.
LUNS = [0, 7, 8, 31, 32, 255, 256, 16383, 16384, 40000]
UDID = "UDID##ACME##VOLUME##S{:03}##6000C50000000000000000000000{:04X}"
# What the library makes of the node and the host where a disk tells nothing.
UNIDENTIFIED = "UDID######"
# What the array gives the number of another volume.
GIVEN_LUN, NEW_VOLUME = 8, 4000
WITHDRAWN_LUN, ADDED_LUN = 31, 33
INQUIRY, PAGE_80, PAGE_83 = 0x12, 0x80, 0x83
FAILS_AT = 255
# A dead session gives its commands back at once.
SHORT_TIMES = "\n".join(
    f"iscsiadm -m node -T {IQN} -o update -n {name} -v 1" for name in
    ("node.session.timeo.replacement_timeout", "node.conn[0].timeo.noop_out_interval",
     "node.conn[0].timeo.noop_out_timeout"))

target = Target(IQN, {lun: plain_unit(lun, "VOLUME") for lun in LUNS})


def hardware():
    """A card on the array's network, two portals: every volume has two paths."""
    return Hardware(targets=[target])


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    log_in(guest, IQN, settings=SHORT_TIMES)
    disks_of.wait_for_disks(guest, len(LUNS))
    check_numbers(guest, checks)
    check_other_volume(guest, checks)
    check_hot_changes(guest, checks)
    same_outside.check(guest, checks, "changing-array")
    check_lost_page(guest, checks)
    log_in(guest, IQN, portal="10.0.2.101", settings=SHORT_TIMES)
    disks_of.wait_for_disks(guest, len(PORTALS) * len(target.units))
    check_failing_path(guest, checks)


def udid_of(volume):
    """The UDID of a plain volume."""
    return UDID.format(volume, volume)


def kernel_number(lun):
    """A logical unit number as the kernel writes it: the words of the eight bytes, the first one lowest."""
    field = lun_field(lun)
    return sum(int.from_bytes(field[at:at + 2], "big") << 8 * at for at in range(0, len(field), 2))


def nodes_by_lun(guest):
    """The disks by the number that the array gave them."""
    numbers = {kernel_number(lun): lun for lun in (*LUNS, ADDED_LUN)}
    return {numbers.get(number, number): node for number, node in disks_of_target(guest, IQN).items()}


def identified(document):
    """The UDIDs by node, of disks that have told who they are."""
    return {entry["name"]: entry["udid"] for entry in document["devices"]
            if entry["name"].startswith("/dev/sd") and not entry["udid"].startswith(UNIDENTIFIED)}


def udids(guest, status=0):
    """The UDIDs that `devices` prints."""
    return identified(guest.scsitool("devices", status=status))


def check_numbers(guest, checks):
    """Every volume has its UDID, whatever the size of its number; it is found by its address."""
    nodes = nodes_by_lun(guest)
    found = udids(guest)
    checks.equal("a disk for every number", sorted(nodes), LUNS)
    checks.equal("volumes at numbers of every size have their UDIDs", {lun: found.get(nodes[lun]) for lun in nodes},
                 {lun: udid_of(lun) for lun in LUNS})
    host = disks_of.host_of_driver(guest, "iscsi_tcp")
    for lun in (256, 16383, 16384, 40000):
        address = f"{host}:0:0:{kernel_number(lun)}"
        checks.equal(f"{address} names volume {lun}", guest.run(["scsitool", "udid", address]).stdout.split()[-1],
                     udid_of(lun))


def check_other_volume(guest, checks):
    """A number is given to another volume: from then on its UDID is told, whatever the kernel still holds."""
    node = nodes_by_lun(guest)[GIVEN_LUN]
    target.units[GIVEN_LUN] = plain_unit(NEW_VOLUME, "VOLUME")
    cached = guest.run(f"od -An -tx1 -v /sys/block/{node.removeprefix('/dev/')}/device/vpd_pg83").stdout.split()
    checks.contains("the kernel's page is still the former volume's", "".join(cached), f"{GIVEN_LUN:04x}")
    checks.equal("the UDID is the new volume's", udids(guest, status=3)[node], udid_of(NEW_VOLUME))
    checks.contains("doctor says that another disk answers",
                    [finding["code"] for finding in guest.scsitool("doctor", status=3)["findings"]], "DOC016")
    guest.run(f"echo 1 >/sys/block/{node.removeprefix('/dev/')}/device/rescan")
    checks.equal("and after the kernel has asked anew, too", udids(guest)[node], udid_of(NEW_VOLUME))


def check_hot_changes(guest, checks):
    """One volume goes while the host runs, and one comes."""
    before = nodes_by_lun(guest)
    del target.units[WITHDRAWN_LUN]
    found = udids(guest, status=3)
    checks.true("a withdrawn volume has no UDID", found.get(before[WITHDRAWN_LUN]) is None, found)
    target.units[ADDED_LUN] = plain_unit(ADDED_LUN, "VOLUME")
    guest.run("scsitool prune\niscsiadm -m session -R", None)
    disks_of.wait_for_disks(guest, len(target.units))
    nodes = nodes_by_lun(guest)
    checks.equal("pruned, the withdrawn one is gone, and the other has come", sorted(nodes), sorted(target.units))
    checks.equal("the added one has its UDID", udids(guest).get(nodes[ADDED_LUN]), udid_of(ADDED_LUN))


def check_lost_page(guest, checks):
    """The only path fails when a disk has told its name and is asked for its serial number: no other path contradicts
    the UDID that the library makes of the name alone, and it is told that a page did not come."""
    node = nodes_by_lun(guest)[FAILS_AT]

    def fail_at_serial_number(lun, block):
        """The portal goes when this volume is asked for its serial number, without an answer."""
        if lun == FAILS_AT and block[0] == INQUIRY and block[2] == PAGE_80:
            target.silent = frozenset([lun])
            target.dead_portals.add(1)

    target.before_command = fail_at_serial_number
    document = guest.scsitool("--jobs", "1", "--deadline", "0", "devices", status=3)
    target.before_command = lambda lun, block: None
    told = {entry["name"]: entry for entry in document["devices"]}
    checks.true("the name of the disk had come", "naa.6000c500" in (told[node]["logical_unit_name"] or ""), told[node])
    checks.true("its UDID is not the volume's", told[node]["udid"] != udid_of(FAILS_AT), told[node]["udid"])
    checks.contains("the page that did not come is named",
                    [(one["name"], page["page"]) for one in document["missing_pages"] for page in one["pages"]],
                    (node, f"{PAGE_80:02x}"))
    expected = {udid_of(NEW_VOLUME if lun == GIVEN_LUN else lun) for lun in target.units}
    checks.equal("no other UDID is told of a disk that is well",
                 {entry["udid"] for entry in told.values() if entry["state"] == "ok"} - expected, set())
    target.silent = frozenset()
    target.dead_portals.clear()
    wait_for_paths(guest, len(target.units))
    checks.equal("when the path has come back all is told", set(udids(guest).values()), expected)


def wait_for_paths(guest, count):
    """Waits until so many disks run and no session is down."""
    guest.wait_for("the paths", f'[ "$(grep -lx running /sys/block/sd*/device/state | wc -l)" = {count} ] &&\n'
                   "! iscsiadm -m session -P 1 | grep -q 'State: .*FAILED'")


def check_failing_path(guest, checks):
    """A path fails while its disks are asked: what the other path tells is whole. Wherever the disks of this one were
    at that moment, a UDID that is not the volume's stands with the page that did not come: with no serial number, the
    name alone, or with no list of pages the node and the host, that is what the library makes of what has come."""
    volumes = {lun: NEW_VOLUME if lun == GIVEN_LUN else lun for lun in target.units}
    expected = {udid_of(volume) for volume in volumes.values()}
    for options in ([], ["--jobs", "1", "--deadline", "0"]):
        what = " ".join(options) or "side by side"
        begun = set()

        def fail_in_between(lun, block):
            """The second portal goes when this volume is asked for its name."""
            if lun == FAILS_AT and block[0] == INQUIRY and block[2] == PAGE_83:
                begun.add(lun)
                target.dead_portals.add(2)

        target.before_command = fail_in_between
        document = guest.scsitool(*options, "devices", status=None, seconds=900)
        target.before_command = lambda lun, block: None
        found = identified(document)
        told = [udid for udid in found.values() if udid in expected]
        marked = {one["name"] for one in document.get("missing_pages", [])}
        checks.true(f"{what}: the path has failed in between", begun)
        checks.equal(f"{what}: every volume is told", set(told), expected)
        checks.true(f"{what}: by one path or by both", all(told.count(udid) <= 2 for udid in expected), told)
        checks.equal(f"{what}: what else is told lacks a page that is named",
                     {name for name, udid in found.items() if udid not in expected} - marked, set())
        target.dead_portals.clear()
        wait_for_paths(guest, len(PORTALS) * len(target.units))
        checks.equal(f"{what}: when the path has come back both tell it",
                     sorted(udids(guest).values()), sorted(list(expected) * 2))
