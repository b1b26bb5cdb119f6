"""What lsscsi, lsblk, multipath and sg_vpd say of a host's disks, beside the same of scsitool; docs/compared.md."""
import collections
import json
import re

import compared_table
import peer_tools
from iscsi_target import LogicalUnit, Target
from lab import disks_of, multipath, pages
from lab.initiator import start_initiator
from lab.job import PORTALS, Hardware

TYPICAL_SECONDS = 35

IQN = "iqn.2026-01.lab.example:peers"
VOLUMES = 2
NATIVE = "/dev/sda"
# The native disk stays one, and a map waits for its paths.
CONFIGURE = """
sed -i 's/no_path_retry fail/no_path_retry queue/' /etc/multipath.conf
cat >>/etc/multipath.conf <<END
blacklist {
  device {
    vendor "Linux"
    product ".*"
  }
}
END
"""
# Columns of the designators, and the heading behind each.
EXPLAIN_COLUMNS = ["ASSOCIATION", "TYPE", "CODE SET", "VALUE"]
EXPLAIN_ENDS = ["TYPE", "CODE SET", "LENGTH", "TAKEN"]
# The columns of the tree below a volume, and where its cells begin.
TREE_COLUMNS = ["address", "device", "state", "initiator", "target", "group", "driver"]
BRANCH = re.compile(r"[|`]- ")
LSBLK = "lsblk -J -o NAME,SIZE,VENDOR,MODEL,WWN,MOUNTPOINTS"


def volume(number):
    """A volume with designators of every association."""
    designators = [
        pages.naa_designator(f"6000c50000000000000000000000{number:04x}"),
        pages.designator(pages.T10_VENDOR, pages.ASCII, b"ACME    VOLUME %d" % number),
        pages.designator(pages.RELATIVE_PORT, pages.BINARY, bytes([0, 0, 0, 1]), pages.TARGET_PORT),
        pages.designator(pages.PORT_GROUP, pages.BINARY, bytes([0, 0, 0, 7]), pages.TARGET_PORT),
        pages.designator(pages.SCSI_NAME, pages.UTF_8, IQN.encode() + b"\0\0\0", pages.TARGET_DEVICE)]
    return LogicalUnit(pages.standard_inquiry("ACME", "VOLUME", "1.00"),
                       pages.array_pages(f"S{number:03d}", designators))


target = Target(IQN, {number: volume(number) for number in range(VOLUMES)})


def hardware():
    """A card on the array's network, two portals: every volume has two paths."""
    return Hardware(targets=[target])


def run(guest, _, checks):
    """The job."""
    make_disks(guest)
    both, not_ours = compared_table.rows()
    told = {"lsscsi -tsw": peer_tools.lsscsi_transport(guest.run("lsscsi -tsw 2>/dev/null").stdout),
            "lsscsi -g": peer_tools.lsscsi_generic(guest.run("lsscsi -g").stdout),
            "lsblk": peer_tools.lsblk(guest.run(LSBLK).stdout),
            "multipath -ll": peer_tools.multipath(guest.run("multipath -ll").stdout),
            "sg_vpd -p di": collections.defaultdict(dict)}
    columns = [row.column for row in both if row.command == "devices" and row.column]
    ours = Ours(*devices_of(guest, columns))
    for node in (NATIVE, multipath.map_members(guest)["/dev/mapper/mpatha"][0]):
        for cell, values in peer_tools.sg_vpd(guest.run(["sg_vpd", "-p", "di", node]).stdout, node).items():
            told["sg_vpd -p di"][cell].update(values)
        ours.explain(guest, node)
    check_table(checks, told, both, not_ours)
    for row in both:
        if row.says or row.cell in told[row.tool]:
            check_row(checks, row, told[row.tool][row.cell], ours)
    check_others(guest, checks, told, [row for row in both if row.command == "devices" and row.cell in told[row.tool]])
    check_names(guest, checks, told)


def make_disks(guest):
    """Two maps, one mounted and one with a path that is offline, and a native disk with a mounted partition."""
    start_initiator(guest)
    guest.run(f"modprobe scsi_debug dev_size_mb=16\nmodprobe ext4\n{CONFIGURE}")
    multipath.start_udev(guest)
    guest.run(f"echo ',8M' | sfdisk -q {NATIVE}\n"
              "iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null\n"
              f"iscsiadm -m node -T {IQN} --login >/dev/null")
    disks_of.wait_for_disks(guest, 1 + VOLUMES * len(PORTALS))
    multipath.start_multipathd(guest, VOLUMES)
    guest.run(f"for where in '{NATIVE}1 /srv' '/dev/mapper/mpatha /mnt'; do\n"
              "  set -- $where\n  mkdir -p $2\n  mke2fs -q $1 >/dev/null 2>&1\n  mount -t ext4 $1 $2\ndone")
    offline = multipath.map_members(guest)["/dev/mapper/mpathb"][0].rpartition("/")[2]
    guest.run(f"echo offline >/sys/block/{offline}/device/state")
    guest.wait_for("the daemon to see it", "multipathd show paths | grep -q faulty")
    guest.run("udevadm settle -t 20")


def table_of(guest, command, columns):
    """The cells of a table by device and column."""
    told = guest.run(["scsitool", command, "--no-headings", "-o", ",".join(columns)], 3).stdout
    rows = [dict(zip(columns, re.split(" {2,}", line))) for line in told.splitlines()]
    return {row["device"]: row for row in rows}


def devices_of(guest, columns, command="devices"):
    """What devices or disks says: entries of its document and cells of its table."""
    # One path is offline: that is told by the exit status, and that path has an entry of its own.
    document = guest.scsitool(command, status=3)
    cells = table_of(guest, command, list(dict.fromkeys(["device", *columns])))
    return [*document[command], *document["unidentified"]], cells


def volumes_of(guest):
    """The same of volumes --paths: its document has maps and disks, its tree the disks."""
    document = guest.scsitool("volumes", "--paths", status=3)
    cells = {}
    for line in guest.run(["scsitool", "volumes", "--paths", "--no-headings", "-o", "volume"], 3).stdout.splitlines():
        if branch := BRANCH.match(line):
            row = dict(zip(TREE_COLUMNS, re.split(" {2,}", line[branch.end():])))
            cells[row["device"]] = row
    return [entry for volume in document["volumes"] for entry in volume["devices"]], cells


class Ours:
    """The same as scsitool says it: by column and by JSON member, of every device."""

    def __init__(self, entries, cells):
        self.members = {entry["name"]: entry for entry in entries}
        self.columns = cells
        for entry in list(self.members.values()):
            for partition in entry["partitions"] or []:
                self.members[partition["name"]] = {"partitions[]": partition}
        for cells in list(self.columns.values()):
            for name in cells.get("partitions", "").split():
                self.columns.setdefault(name, {"partitions": name})

    def explain(self, guest, node):
        """Adds the designators of a disk: of each column and member a list."""
        designators = guest.scsitool("explain", node)["explanations"][0]["designators"]
        for name in designators[0]:
            self.members[node][name] = [designator[name] for designator in designators]
        lines = guest.run(["scsitool", "explain", node]).stdout.splitlines()
        heads = lines.index("Designators of page 0x83:") + 1
        below = lines[heads + 1:heads + 1 + len(designators)]
        for name, end in zip(EXPLAIN_COLUMNS, EXPLAIN_ENDS):
            start, end = lines[heads].index(name), lines[heads].index(end)
            self.columns[node][name] = [line[start:end].strip() for line in below]

    def column(self, node, name):
        """What a table says; None for a device that it does not have."""
        return self.columns.get(node, {}).get(name)

    def member(self, node, path):
        """What a document says."""
        value = self.members.get(node)
        for name in path.split("."):
            value = value.get(name) if value else None
        return value


def same(told):
    """What is the same letter by letter."""
    return told


def unit_name(told):
    """A WWN as the name of a logical unit."""
    return "naa." + told.removeprefix("0x")


def mount_points(ours):
    """The mount points among the users of a disk, in either form."""
    if isinstance(ours, list):
        return sorted(user["name"] for user in ours if user["kind"] == "mount")
    return sorted(user for user in ours.split(", ") if user.startswith("/"))


def maps_above(ours):
    """The map among the users of a disk, or the column as it is."""
    if isinstance(ours, list):
        return next(user["name"] for user in ours if user["kind"] == "map")
    return ours.rpartition("/")[2]


def last_word(ours):
    """Of "2 enabled" the state."""
    return ours.split(" ")[-1]


def write_protection(ours):
    """As multipath writes it."""
    return {True: "ro", False: "rw"}.get(ours, ours)


def associations(ours):
    """Without the transport that stands behind one."""
    return [one.split(" (")[0] for one in ours]


def transports(ours):
    """What stands behind them."""
    return [one.partition(" (")[2].rstrip(")") for one in ours]


def designator_value(told):
    """A number or a name in hexadecimal without its prefix; small numbers are decimal with us."""
    digits = told.removeprefix("0x")
    return digits if digits == told or len(digits) > 4 else str(int(digits, 16))


TYPES = {"T10 vendor identification": "T10 vendor ID", "Relative target port": "relative target port",
         "Target port group": "target port group"}
TRANSPORTS = {"Serial Attached SCSI Protocol (SPL-4)": "SAS"}

# How a cell is turned into ours, and ours where it says more than the cell. Cells that are the same are not named.
THEIRS = {
    ("lsscsi -tsw", "address"): lambda told: told.strip("[]"),
    ("lsscsi -tsw", "transport portal group"): lambda told: str(int(told, 16)),
    ("lsscsi -tsw", "WWN"): unit_name,
    ("lsscsi -tsw", "size"): lambda told: peer_tools.size_range(told, 1000),
    ("lsblk", "NAME"): peer_tools.node_of,
    ("lsblk", "SIZE"): lambda told: peer_tools.size_range(told, 1024),
    ("lsblk", "WWN"): unit_name,
    ("lsblk", "partition SIZE"): lambda told: peer_tools.size_range(told, 1024),
    ("multipath -ll", "name"): peer_tools.node_of,
    ("multipath -ll", "path node"): peer_tools.node_of,
    ("multipath -ll", "size"): lambda told: peer_tools.size_range(told, 1024),
    ("sg_vpd -p di", "association"): lambda told: [peer_tools.ASSOCIATIONS[one] for one in told],
    ("sg_vpd -p di", "transport"): lambda told: [TRANSPORTS.get(one, one) for one in told],
    ("sg_vpd -p di", "designator type"): lambda told: [TYPES.get(one, one) for one in told],
    ("sg_vpd -p di", "code set"): lambda told: [one.replace("Binary", "binary") for one in told],
    ("sg_vpd -p di", "value"): lambda told: [designator_value(one) for one in told],
}
OURS = {
    ("lsscsi -tsw", "transport portal group"): str,
    ("lsblk", "MOUNTPOINTS"): mount_points,
    ("lsblk", "tree"): maps_above,
    ("lsblk", "partition MOUNTPOINTS"): mount_points,
    ("multipath -ll", "wp"): write_protection,
    ("multipath -ll", "status"): last_word,
    ("sg_vpd -p di", "association"): associations,
    ("sg_vpd -p di", "transport"): transports,
    # We tell which NAA it is.
    ("sg_vpd -p di", "designator type"): lambda ours: [re.sub(r"^(NAA) \d+$", r"\1", one) for one in ours],
}


def check_table(checks, told, both, not_ours):
    """The document has each cell once, no other, and an example that came in this guest."""
    # A cell that a tool left empty has no example.
    documented = sorted((row.tool, row.cell) for row in [*both, *not_ours] if row.says or row.cell in told[row.tool])
    checks.equal("docs/compared.md has every cell of every tool, once", documented,
                 sorted((tool, cell) for tool, cells in told.items() for cell in cells))
    for row in [*both, *not_ours]:
        if not row.says:
            continue
        values = told[row.tool].get(row.cell, {}).values()
        said = {one for value in values for one in (value if isinstance(value, list) else [value])}
        checks.quietly(f"{row.tool}, {row.cell}: the document's example", row.says in said, True, said)


def agree(theirs, ours):
    """A rounded size agrees with the one that rounds to it."""
    if isinstance(theirs, tuple):
        return theirs[0] <= int(ours) * 1024 <= theirs[1]
    return ours == theirs


def check_row(checks, row, told, ours):
    """One line for a cell of a tool: ours is the same on every device that the tool fills it in for."""
    theirs_as = THEIRS.get((row.tool, row.cell), same)
    ours_as = OURS.get((row.tool, row.cell), same)
    problems = []
    for node, value in told.items():
        places = [("member", row.member, ours.member(node, row.member))]
        if row.column:
            places.append(("column", row.column, ours.column(node, row.column)))
        for kind, name, mine in places:
            if mine is None or not agree(theirs_as(value), ours_as(mine)):
                problems.append(f"{node}: {row.tool} says {json.dumps(value)}, our {kind} {name} {json.dumps(mine)}")
    where = f"{row.column or '(no column)'}, {row.member}"
    checks.true(f"{row.tool}, {row.cell}: {where} says the same of {len(told)}", told and not problems,
                "\n".join(problems))


def differences(row, told, ours):
    """Where a view says something else than a tool, and for how many devices it says anything."""
    theirs_as = THEIRS.get((row.tool, row.cell), same)
    ours_as = OURS.get((row.tool, row.cell), same)
    problems = []
    answers = 0
    for node, value in told.items():
        for mine in (ours.member(node, row.member), ours.column(node, row.column)):
            if mine not in (None, "-", "", []):
                answers += 1
                if not agree(theirs_as(value), ours_as(mine)):
                    problems.append(f"{node}: {row.tool} says {json.dumps(value)}, ours {json.dumps(mine)}")
    return problems, answers


def check_others(guest, checks, told, rows):
    """What volumes --paths and disks say of these cells is the same, and each cell they say of some disk."""
    # Without the maps a disk is its own volume to disks, and is not put below a map.
    columns = [row.column for row in rows if row.column not in ("", "volume")]
    views = {"volumes --paths": Ours(*volumes_of(guest)), "disks": Ours(*devices_of(guest, columns, "disks"))}
    for view, ours in views.items():
        silent = []
        for row in rows:
            # Of a map disks has no row.
            values = {node: value for node, value in told[row.tool][row.cell].items()
                      if view != "disks" or not node.startswith("/dev/mapper/")}
            problems, answers = differences(row, values, ours)
            if values and not answers:
                silent.append(f"{row.tool}, {row.cell}")
            checks.quietly(f"{view}: {row.tool}, {row.cell}", problems, [], "")
        checks.equal(f"{view} says something of every cell", silent, [])


def check_names(guest, checks, told):
    """By every name that the others print, ours finds the same device."""
    mapped = "/dev/mapper/mpatha"
    path = next(node for node, name in told["lsblk"]["tree"].items() if name == "mpatha")
    names = [(told["multipath -ll"][cell][mapped], mapped) for cell in ("name", "WWID", "dm node")]
    names += [(told["lsblk"]["WWN"][path], mapped), (told["lsblk"]["MOUNTPOINTS"][mapped][0], mapped)]
    names += [(told["lsscsi -tsw"][cell][path], path) for cell in ("address", "node")]
    names += [(told["lsscsi -g"]["sg node"][path], path), (told["lsblk"]["partition NAME"][f"{NATIVE}1"], NATIVE)]
    for name, node in names:
        checks.equal(f"find {name}", guest.scsitool("find", name, status=None).get("name"), node)
