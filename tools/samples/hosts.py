"""A recorded host that is built up disk by disk, and the device map that must come of it."""

from dataclasses import dataclass

from . import arrays as a
from . import pages as p

ENXIO, EISDIR = 6, 21
SD_MAJORS = [8] + list(range(65, 72)) + list(range(128, 136))
DISK_KINDS = ["sd", "sr", "em", "dm", "md"]  # in the order in which the drivers come up
PERIPHERAL_TYPES = {0x00: "Direct-Access    ", 0x05: "CD-ROM           "}


def disk_letters(index):
    """sda, ..., sdz, sdaa, as the kernel names them."""
    letters = ""
    index += 1
    while index > 0:
        index, rest = divmod(index - 1, 26)
        letters = chr(ord("a") + rest) + letters
    return "sd" + letters


@dataclass
class Attached:
    """A SCSI device with a block device, as the kernel has attached it."""
    name: str
    number: str
    volume: a.Volume
    address: tuple
    port: tuple | None = None
    is_dead: bool = False
    is_failed: bool = False  # to device-mapper

    @property
    def state(self):
        return "transport-offline" if self.is_dead else "running"

    @property
    def access(self):
        """The access state of the port's group; None where the array tells none."""
        if not self.volume.alua or self.port is None:
            return None
        is_other = self.volume.asymmetric and self.port[1] != 1
        return "active/non-optimized" if is_other else "active/optimized"

    def pages(self):
        return self.volume.inquiry(b"" if self.port is None else p.path_designators(*self.port))


class Host:
    """Collects what the recording needs. Nothing is written before `recording()`."""

    def __init__(self, name, kernel, comment, has_sysfs=True):
        self.name, self.kernel, self.comment = name, kernel, comment
        self.has_sysfs = has_sysfs
        self.files, self.devices, self.links, self.commands = {}, {}, {}, []
        self.directories = {"/dev/": [".", ".."]}
        self.expected = {}
        self.mounts = [("proc", "/proc", "proc"), ("sysfs", "/sys", "sysfs")]
        self.partitions, self.scsi_table = [], []
        self.attached = []
        self.disks = 0
        self.maps = 0
        self.dm_names = {}
        self.scsi_hosts = set()

    # Disks and what stands on them.

    def disk(self, volume, address, port=None):
        """One sd disk at (host, channel, target, LUN); gives its kernel name."""
        name = disk_letters(self.disks)
        major, minor = SD_MAJORS[self.disks // 16], self.disks % 16 * 16
        self.disks += 1
        self.partitions.append((major, minor, volume.size // 1024, name))
        self.attached.append(Attached(name, f"{major}:{minor}", volume, address, port))
        self.node("/dev/" + name, volume, address, port)
        self.expect("/dev/" + name, volume, 0)
        self.set_holders(name, [])
        return name

    def node(self, path, volume, address, port=None):
        host, channel, target, lun = address
        entry = {"comment": volume.comment} if volume.comment else {}
        entry["id_lun"] = f"0x{host << 24 | channel << 16 | lun << 8 | target:08x}"
        entry["size_bytes"] = volume.size
        entry["inquiry"] = volume.inquiry(b"" if port is None else p.path_designators(*port))
        if volume.sg_io:
            entry["sg_io"] = volume.sg_io
        self.devices[path] = entry
        self.scsi_hosts.add(host)
        if path.count("/") == 2:  # a native node has a line of its own in the SCSI table
            self.scsi_table.append((address, volume))
            self.directories["/dev/"].append(path[len("/dev/"):])

    def expect(self, path, volume, claim_level):
        self.expected[path] = {"udid": volume.udid(path, self.name), "claim_level": claim_level}

    def expect_unknown(self, path, claim_level):
        """A node that opens and answers no INQUIRY keeps its path as its name."""
        self.expected[path] = {"udid": f"UDID######{path}@{self.name}".upper(),
                               "claim_level": claim_level}

    def dead_disk(self, address, volume, port):
        """A disk whose path is gone: the node is left and does not open."""
        name = disk_letters(self.disks)
        major, minor = SD_MAJORS[self.disks // 16], self.disks % 16 * 16
        self.partitions.append((major, minor, volume.size // 1024, name))
        self.attached.append(Attached(name, f"{major}:{minor}", volume, address, port, True, True))
        self.disks += 1
        self.devices["/dev/" + name] = {
            "comment": "The array's port behind it is gone: open(2) gives ENXIO.",
            "open_errno": ENXIO}
        self.directories["/dev/"].append(name)
        self.scsi_table.append((address, volume))
        self.set_holders(name, [])

    def cd_rom(self, volume, address):
        self.partitions.append((11, 0, volume.size // 1024, "sr0"))
        self.attached.append(Attached("sr0", "11:0", volume, address))
        self.node("/dev/sr0", volume, address)

    def partition(self, disk, number, size):
        at = next(i for i, line in enumerate(self.partitions) if line[3] == disk)
        major, minor = self.partitions[at][0], self.partitions[at][1] + number
        self.partitions.insert(at + number, (major, minor, size // 1024, f"{disk}{number}"))
        self.devices[f"/dev/{disk}{number}"] = {"size_bytes": size}
        self.directories["/dev/"].append(f"{disk}{number}")
        self.set_holders(f"{disk}/{disk}{number}", [])

    def mount(self, source, target, kind):
        self.mounts.append((source, target, kind))

    def set_holders(self, name, holders):
        """`name` is a disk's (sda) or a partition's (sda/sda1)."""
        if not self.has_sysfs:
            return
        self.directories[f"/sys/block/{name}/holders/"] = [".", ".."] + holders
        parent, _, entry_name = f"/sys/block/{name}".rpartition("/")
        for directory, entry in ((f"/sys/block/{name}/", "holders"), (parent + "/", entry_name)):
            names = self.directories.setdefault(directory, [".", ".."])
            if entry not in names:
                names.append(entry)

    # Multipath.

    def use_device_mapper(self):
        self.directories["/dev/"].append("mapper")
        self.directories["/dev/mapper/"] = [".", "..", "control"]
        for entry in (".", ".."):
            self.devices["/dev/mapper/" + entry] = {"open_errno": EISDIR}
        self.devices["/dev/mapper/control"] = {
            "comment": "Opens, and takes no SCSI command."}
        self.expect_unknown("/dev/mapper/control", 16)

    def map(self, alias, volume, address, port, disks):
        """A multipath map over disks; its INQUIRY data comes through one of them."""
        path = "/dev/mapper/" + alias
        self.node(path, volume, address, port)
        self.expect(path, volume, 16)
        number = self.dm_node(alias, volume.size)
        for disk in disks:
            self.set_holders(disk, [number])
        self.command(f"/usr/sbin/dmsetup remove {path}")
        return path

    def map_partition(self, alias, number, size):
        below = self.dm_names[alias]
        self.set_holders(below, [self.dm_node(f"{alias}p{number}", size)])

    def dm_node(self, alias, size):
        """A device-mapper node that no disk is asked through (LVM, a partition of a map)."""
        number = f"dm-{self.maps}"
        self.partitions.append((253, self.maps, size // 1024, number))
        self.maps += 1
        self.dm_names[alias] = number
        self.directories["/dev/mapper/"].append(alias)
        self.devices.setdefault("/dev/mapper/" + alias, {"size_bytes": size})
        self.set_holders(number, [])
        return number

    def power_path(self, name, volume, address, port):
        self.partitions.append((120, 0, volume.size // 1024, name))
        entry_count = len(self.scsi_table)
        self.node("/dev/" + name, volume, address, port)
        del self.scsi_table[entry_count:]  # a pseudo-device has no address of its own
        self.expect("/dev/" + name, volume, 16)

    # Commands and files.

    def command(self, text, output=(), exit_status=0):
        entry = {"command": text}
        if output:
            entry["output"] = list(output)
        if exit_status:
            entry["exit_status"] = exit_status
        self.commands.append(entry)

    def missing_program(self, text):
        self.commands.append({"comment": "Not installed on this host.", "command": text,
                              "exit_status": 127})

    def list_command(self, directory, names):
        """/bin/ls of a directory; `names` is None for one that is not there."""
        if names is None:
            error = f"/bin/ls: cannot access '{directory}': No such file or directory"
            self.command(f"/bin/ls {directory}", [error], 2)
        else:
            self.command(f"/bin/ls {directory}", names)

    def adapters(self):
        names = [f"host{number}" for number in sorted(self.scsi_hosts)]
        self.directories["/sys/class/scsi_host/"] = [".", ".."] + names
        self.list_command("/sys/class/scsi_host", names)
        self.list_command("/sys/class/scsi_host/", names)
        for name in names:
            self.files[f"/sys/class/scsi_host/{name}/scan"] = ""

    def sysfs_adapters(self):
        """The adapters, and of the devices behind them what a removal is written to."""
        self.adapters()
        for (address, _) in self.scsi_table:
            text = ":".join(str(part) for part in address)
            self.files[f"/sys/class/scsi_device/{text}/device/delete"] = ""
        self.directories["/sys/class/scsi_device/"] = [".", ".."] + [
            ":".join(str(part) for part in address) for (address, _) in self.scsi_table]

    def fc_ports(self, ports):
        """`ports`: adapter name to port name, {} for a host without Fibre Channel."""
        for driver in ("qla2xxx", "qla2300", "lpfc"):
            self.list_command(f"/proc/scsi/{driver}/", None)
        self.list_command("/sys/class/fc_host/", list(ports) or None)
        if ports:
            self.directories["/sys/class/fc_host/"] = [".", ".."] + list(ports)
        for adapter, port_name in ports.items():
            self.files[f"/sys/class/fc_host/{adapter}/port_name"] = f"0x{port_name:016x}\n"

    # The whole.

    def recording(self):
        text = "major minor  #blocks  name\n\n"
        for line in sorted(self.partitions, key=lambda entry: DISK_KINDS.index(entry[3][:2])):
            text += "%4d  %7d %10d %s\n" % line
        self.files["/proc/partitions"] = text
        self.files["/proc/mounts"] = "".join(
            f"{source} {target} {kind} rw,relatime 0 0\n" for source, target, kind in self.mounts)
        self.files["/proc/scsi/scsi"] = self.scsi_text()
        directories = {name: self.directories[name] for name in sorted(self.directories)}
        links = {"links": dict(sorted(self.links.items()))} if self.links else {}
        return {"comment": self.comment, "format": "scsitool-host/1", "hostname": self.name,
                "kernel_release": self.kernel, "files": dict(sorted(self.files.items())),
                "directories": directories, **links, "devices": self.devices,
                "commands": self.commands}

    def scsi_text(self):
        text = "Attached devices:\n"
        for address, volume in sorted(self.scsi_table, key=lambda entry: entry[0]):
            text += "Host: scsi%d Channel: %02d Id: %02d Lun: %02d\n" % address
            text += f"  Vendor: {volume.vendor:8} Model: {volume.product:16} " \
                    f"Rev: {volume.revision:4}\n"
            text += f"  Type:   {PERIPHERAL_TYPES[volume.device_type]}" \
                    f"                ANSI  SCSI revision: {volume.version:02x}\n"
        return text
