"""Disks of the kernel's own debug driver and of the emulator: their records and their UDIDs.

Every expected UDID is written out from the properties that the disk was given here: the emulator puts `serial` into
page 0x80 and `device_id`, then `wwn`, into page 0x83 (header of 4 bytes, designator header of 4, identifier).
"""
import collections

from lab import disks_of, same_outside
from lab.job import Hardware, disk, disk_bus

TYPICAL_SECONDS = 14

DiskCase = collections.namedtuple("DiskCase", "what properties udid")

SIXTEEN = "ABCDEFGHIJKLMNOP"
SIXTEEN_PAIRS = "41:42:43:44:45:46:47:48:49:4A:4B:4C:4D:4E:4F:50"
MSA_VOLUME = "00c0ffd5a1b20000c3d4e5f600112233"

# The logical unit number of a case is its place in the list. "{node}" stands for the disk's node in upper case.
CASES = [
    DiskCase("a disk of no known array is named by its serial number and its NAA name",
             dict(vendor="ACME", product="COLD STORE", serial="S0001", wwn="0x5000c50000000003"),
             "UDID##ACME##COLD_STORE##S0001##5000C50000000003"),
    DiskCase("without page 0x80 the NAA name alone remains",
             dict(vendor="ACME", product="NOSERIAL", wwn="0x5000c50000000004"),
             "UDID##ACME##NOSERIAL####5000C50000000004"),
    DiskCase("without an NAA name only path and host remain",
             dict(vendor="ACME", product="NONAA", serial="S0002"),
             "UDID##ACME##NONAA##{node}@GUEST"),
    DiskCase("a CLARiiON without page 0xC0 takes the array's number from page 0x80",
             dict(vendor="DGC", product="RAID 5", serial="CKM00112233445", device_id=SIXTEEN),
             f"UDID##DGC##CLARIION##CKM00112233445##{SIXTEEN_PAIRS}"),
    DiskCase("a CLARiiON number that is not alphanumeric stays without its separator",
             dict(vendor="DGC", product="VRAID", serial="CKM 0011", device_id=SIXTEEN),
             f"UDID##DGC##CLARIION##CKM 0011{SIXTEEN_PAIRS}"),
    DiskCase("a LUNZ is no CLARiiON volume",
             dict(vendor="DGC", product="LUNZ", serial="CKM00112233446", wwn="0x5000c50000000005"),
             "UDID##DGC##LUNZ##CKM00112233446##5000C50000000005"),
    DiskCase("a 3PAR volume",
             dict(vendor="3PARdata", product="VV", serial="01628834", device_id=SIXTEEN),
             "UDID##HP##3PAR##01628834##4142434445464748494A4B4C4D4E4F50"),
    DiskCase("a 3PAR volume whose page 0x80 has 11 bytes falls to the generic name",
             dict(vendor="3PARdata", product="VV", serial="1628834", device_id=SIXTEEN,
                  wwn="0x5000c50000000006"),
             "UDID##3PARDATA##VV##1628834##5000C50000000006"),
    DiskCase("an ESS volume",
             dict(vendor="IBM", product="2105800", serial="0200642ABC", device_id=SIXTEEN),
             "UDID##IBM##TOTALSTORAGE##IBM.2105-0200642##4F50"),
    DiskCase("an SVC volume",
             dict(vendor="IBM", product="2145", serial="0200a0c0", device_id=SIXTEEN),
             "UDID##IBM##TOTALSTORAGE##IBM.2145-0200A0C##4F50"),
    DiskCase("an MSA volume, the array's part empty",
             dict(vendor="HP", product="MSA2012fc", serial="0123",
                  device_id="=28 bytes before the volume=" + MSA_VOLUME),
             f"UDID##HP##MSA####{MSA_VOLUME.upper()}"),
    DiskCase("a Hitachi volume without numbers in its INQUIRY data",
             dict(vendor="HITACHI", product="OPEN-V", serial="0124"),
             "UDID##HITACHI##HDS##0##0"),
    DiskCase("an LSI volume without page 0xC8 falls to the generic name",
             dict(vendor="LSI", product="INF-01-00", serial="0125", wwn="0x5000c50000000007"),
             "UDID##LSI##INF-01-00##0125##5000C50000000007"),
    DiskCase("a NetApp volume whose controller does not answer falls to the generic name",
             dict(vendor="NETAPP", product="LUN", serial="0126", wwn="0x5000c50000000008"),
             "UDID##NETAPP##LUN##0126##5000C50000000008"),
    DiskCase("a FAStT volume without page 0xC8 falls to the generic name",
             dict(vendor="IBM", product="3552", serial="0127", wwn="0x5000c50000000009"),
             "UDID##IBM##3552##0127##5000C50000000009"),
]
CD_LUN = len(CASES)
VANISHING_LUN = CD_LUN + 1
DEBUG_DISKS = 2
SIZE_KB = 64 * 1024
FULL_COMPARISON = ["std", "80", "83"]


def hardware():
    """One adapter with a disk a case, a CD-ROM and a disk that will vanish."""
    devices = disk_bus("s")
    for lun, case in enumerate(CASES):
        devices += disk("s", lun, **case.properties)
    devices += disk("s", CD_LUN, drive_type="scsi-cd")
    devices += disk("s", VANISHING_LUN, vendor="ACME", product="GONE", serial="S0003", wwn="0x5000c5000000000a")
    return Hardware(devices)


def run(guest, machine, checks):
    """The job."""
    guest.run(f"modprobe -a sd_mod sr_mod sg && modprobe scsi_debug max_luns={DEBUG_DISKS} dev_size_mb=8\n"
              "modprobe -a virtio_pci virtio_scsi")
    disks_of.wait_for_disks(guest, DEBUG_DISKS + len(CASES) + 1)
    guest.wait_for("the CD-ROM", "[ -e /sys/block/sr0 ]")
    nodes = disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "virtio_scsi"))
    debug_nodes = disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "scsi_debug"))
    check_map(guest, checks, nodes, debug_nodes)
    check_records(guest, checks, nodes, debug_nodes)
    check_single_questions(guest, checks, nodes)
    check_hexadecimal_form(guest, checks, [nodes[0], debug_nodes[0]])
    check_sizes(guest, checks, nodes, debug_nodes)
    check_vanished_disk(guest, machine, checks, nodes)
    same_outside.check(guest, checks, "disks")


def device_map(guest, status=0):
    """The UDIDs that `devices` prints, by name, in its order."""
    return {entry["name"]: entry["udid"] for entry in guest.scsitool("devices", status=status)["devices"]}


def check_map(guest, checks, nodes, debug_nodes):
    """The whole map: every disk, nothing else, each under the UDID worked out above."""
    udids = device_map(guest)
    for lun, case in enumerate(CASES):
        checks.equal(case.what, udids.get(nodes[lun]), case.udid.format(node=nodes[lun].upper()))
    for lun, node in sorted(debug_nodes.items()):
        checks.equal(f"the debug driver's disk {lun}", udids.get(node), debug_udid(lun))
    checks.equal("the map holds the disks in the order of their names, and no CD-ROM", list(udids),
                 sorted([*nodes.values(), *debug_nodes.values()]))


def debug_udid(lun):
    """The debug driver numbers its first adapter's first target 2000 and its names 3333333000000000 and up."""
    number = 2000 + lun
    return f"UDID##LINUX##SCSI_DEBUG##{number}##{0x3333333000000000 + number:X}"


def check_records(guest, checks, nodes, debug_nodes):
    """Every record beside what sg_inq and sg_vpd read from the same disk."""
    theirs = disks_of.pages_by_sg_utils(guest, [*nodes.values(), *debug_nodes.values()], ["00", "80", "83"])
    for node, pages in theirs.items():
        record = guest.scsitool("inquiry", node)["records"][0]
        ours = {code: bytes.fromhex(digits) for code, digits in record["pages"].items()}
        for code in FULL_COMPARISON:
            checks.equal(f"{node}: page {code} has the bytes that sg3-utils read",
                         ours.get(code, b"").hex(), pages.get(code, b"").hex())
        std = pages["std"]
        checks.equal(f"{node}: identity",
                     [record["vendor"], record["product"], record["firmware"]],
                     [field(std, 8, 16).rstrip(" "), field(std, 16, 32).rstrip(" "), field(std, 32, 36)])
        checks.equal(f"{node}: list of pages", record["supported_pages"], list(pages["00"][4:]))


def field(page, start, end):
    """Text of a page up to its first NUL."""
    return page[start:end].split(b"\0")[0].decode("latin-1")


def check_single_questions(guest, checks, nodes):
    """One device asked for by its name."""
    node, udid = nodes[6], CASES[6].udid
    checks.equal("udid", guest.scsitool("udid", node)["udid"], udid)
    checks.equal("validate", [(entry["name"], entry["udid"]) for entry in guest.scsitool("validate", node)["devices"]],
                 [(node, udid)])
    checks.equal("devices NAME", [(entry["name"], entry["udid"])
                                  for entry in guest.scsitool("devices", node)["devices"]], [(node, udid)])


def check_hexadecimal_form(guest, checks, nodes):
    """sg_inq and sg_vpd decode what `inquiry --hex` prints as they decode the disk itself."""
    for node in nodes:
        live = guest.run(f"sg_inq --len=252 {node}").stdout.splitlines()
        printed = guest.run(f"scsitool inquiry {node} --hex >/tmp/hex && sg_inq --inhex=/tmp/hex").stdout.splitlines()
        # Both but for the length, which follows what was asked for, and the serial number, which is in another page.
        checks.equal(f"{node}: sg_inq decodes the printed data as the disk's",
                     [line for line in printed if "length=" not in line],
                     [line for line in live if "length=" not in line and "Unit serial number" not in line])
        for page, name in (("80", "sn"), ("83", "di")):
            checks.equal(f"{node}: sg_vpd decodes the printed page {page} as the disk's",
                         guest.run(f"scsitool inquiry {node} --hex --page {page} >/tmp/hex\n"
                                   f"sg_vpd --page={name} --inhex=/tmp/hex").stdout,
                         guest.run(f"sg_vpd --page={name} {node}").stdout)


def check_sizes(guest, checks, nodes, debug_nodes):
    """`disks` reports every disk with its size."""
    document = guest.scsitool("disks")
    checks.equal("disks ends well", document["result"], 0)
    expected = {node: SIZE_KB for node in nodes.values()} | {node: 8 * 1024 for node in debug_nodes.values()}
    checks.equal("disks gives the sizes", {entry["name"]: entry["size_kb"] for entry in document["disks"]}, expected)


def check_vanished_disk(guest, machine, checks, nodes):
    """A disk that the array took away while the kernel still lists it disturbs no other."""
    before = device_map(guest)
    machine.monitor("device_del", id=f"slun{VANISHING_LUN}dev")
    gone = nodes[VANISHING_LUN]
    guest.wait_for("the disk to fall silent", f"! sg_turs {gone} 2>/dev/null")
    after = device_map(guest, status=3)
    before.pop(gone)
    checks.equal("all other disks keep their UDIDs when one vanishes",
                 {name: udid for name, udid in after.items() if name != gone}, before)
    checks.true("the vanished disk is left out or has no identity of its own",
                "5000C5000000000A" not in after.get(gone, ""), after)
