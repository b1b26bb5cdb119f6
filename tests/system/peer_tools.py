"""What other tools print about a host's SCSI disks, cell by cell.

Each function takes a tool's output and returns {cell: {device: value}}; a device is named by its node. What a tool
leaves empty is left out.
"""
import collections
import json
import re

ASSOCIATIONS = {"Addressed logical unit": "logical unit", "Target port": "target port",
                "Target device that contains addressed lu": "target device"}
SIZE = re.compile(r"([0-9.]+)([kMGT]?)B?")
# "mpatha (36000c5...) dm-0 ACME,VOLUME", "size=64M features='0' hwhandler='0' wp=rw"
MAP = re.compile(r"(\S+) \((\S+)\) (dm-\d+) (.*)")
MAP_ATTRIBUTES = re.compile(r"size=(\S+) features='(.*)' hwhandler='(.*)' wp=(\S+)")
GROUP = re.compile(r"[|` +-]*policy='(.*)' prio=(\S+) status=(\S+)")
PATH = re.compile(r"[|` -]*(\d+:\d+:\d+:\d+) (\S+)\s+(\d+:\d+)\s+(\S+)\s+(\S+)\s+(\S+)")


class Cells(collections.defaultdict):
    """Values by cell and device."""

    def __init__(self):
        super().__init__(dict)

    def put(self, device, **values):
        """Adds what is told; underscores in a cell's name stand for blanks."""
        for cell, value in values.items():
            if value not in ("", "-", None):
                self[cell.replace("_", " ")][device] = value


def size_range(text, thousand):
    """The least and the most bytes that a size such as "67.1MB" stands for, rounded in whatever way."""
    digits, unit = SIZE.fullmatch(text).groups()
    bytes_a_unit = thousand ** " kMGT".index(unit or " ")
    slack = 10 ** -len(digits.partition(".")[2])
    return (float(digits) - slack) * bytes_a_unit, (float(digits) + slack) * bytes_a_unit


def lsscsi_transport(text):
    """Of lsscsi -tsw: "[1:0:0:0] disk iqn...,t,0x1 0x6000... /dev/sdb 67.1MB"."""
    cells = Cells()
    for line in text.splitlines():
        address, kind, *middle, node, size = line.split()
        port, _, group = next((word for word in middle if ",t," in word), "").partition(",t,")
        cells.put(node, address=address, type=kind, node=node, size=size, transport_target=port,
                  transport_portal_group=group, WWN=next((word for word in middle if word.startswith("0x")), ""))
    return cells


def lsscsi_generic(text):
    """Of lsscsi -g: "[1:0:0:0] disk ACME VOLUME 1.00 /dev/sdb /dev/sg1", in columns."""
    cells = Cells()
    for line in text.splitlines():
        node, generic = line.split()[-2:]
        # The address and the type take 21 columns, the fields of the INQUIRY data their own length and a blank each.
        cells.put(node, vendor=line[21:29].strip(), model=line[30:46].strip(), revision=line[47:51].strip(),
                  sg_node=generic)
    return cells


def node_of(name):
    """The node of a disk or partition, or of a map, by its name."""
    return f"/dev/{name}" if re.fullmatch(r"sd[a-z]+\d*", name) else f"/dev/mapper/{name}"


def lsblk(text):
    """Of lsblk -J: partitions and maps stand as children of their disk."""
    cells = Cells()

    def mount_points(entry):
        below = (point for child in entry.get("children", []) for point in mount_points(child))
        return {point for point in entry["mountpoints"] if point}.union(below)

    def add(entry, disk):
        node = node_of(entry["name"])
        mounted = sorted(mount_points(entry))
        if re.fullmatch(r"sd[a-z]+\d+", entry["name"]):
            cells.put(node, partition_NAME=node, partition_SIZE=entry["size"], partition_MOUNTPOINTS=mounted)
        else:
            cells.put(node, NAME=entry["name"], SIZE=entry["size"], VENDOR=(entry["vendor"] or "").strip(),
                      MODEL=(entry["model"] or "").strip(), WWN=entry["wwn"], MOUNTPOINTS=mounted)
            if disk and node.startswith("/dev/mapper/"):
                cells.put(disk, tree=entry["name"])
        for child in entry.get("children", []):
            add(child, node)

    for entry in json.loads(text)["blockdevices"]:
        add(entry, None)
    return cells


def multipath(text):
    """Of multipath -ll: a map, its groups, and the paths of these."""
    cells = Cells()
    node = group = None
    for line in text.splitlines():
        if found := MAP.fullmatch(line):
            node = f"/dev/mapper/{found[1]}"
            vendor, product = found[4].split(",")
            cells.put(node, name=found[1], WWID=found[2], dm_node=found[3], vendor=vendor, product=product)
        elif found := MAP_ATTRIBUTES.fullmatch(line):
            cells.put(node, size=found[1], features=found[2], hwhandler=found[3], wp=found[4])
        elif found := GROUP.fullmatch(line):
            group = found
        elif found := PATH.fullmatch(line):
            cells.put(f"/dev/{found[2]}", policy=group[1], prio=group[2], status=group[3], address=found[1],
                      path_node=found[2], number=found[3], dm_state=found[4], checker_state=found[5],
                      kernel_state=found[6])
    return cells


def sg_vpd(text, node):
    """Of sg_vpd -p di: each cell has a list, one value for each designator of the page."""
    cells = {name: [] for name in ("association", "transport", "designator type", "code set", "value")}
    association = None
    for line in text.splitlines()[1:]:
        words = line.strip()
        if words.rstrip(":") in ASSOCIATIONS:
            association = words.rstrip(":")
        elif words.startswith("designator type:"):
            kind, codes = words.split(",  code set: ")
            for cell, value in (("association", association), ("transport", ""), ("value", ""),
                                ("designator type", kind.partition(": ")[2]), ("code set", codes)):
                cells[cell].append(value)
        elif words.startswith("transport: "):
            cells["transport"][-1] = words.partition(": ")[2]
        elif not words.endswith(":"):
            # What a designator says may stand on several lines: vendor and the rest of a T10 name.
            cells["value"][-1] += line.strip(" ") if ": " not in line else line.partition(": ")[2]
    return {cell: {node: values} for cell, values in cells.items()}
