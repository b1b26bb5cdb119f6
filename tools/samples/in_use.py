"""A host on which every disk is used in another way, so that each refusal can be seen."""

from . import arrays as a
from . import pages as p

GIB = 1 << 30
SCSI_DEVICES = "/sys/class/scsi_device/"
BLOCK = "/sys/class/block/"
TARGET_CORE = "/sys/kernel/config/target/core/"
IQN = "iqn.1992-08.com.netapp:sn.135902718"


class Uses:
    """Adds what a current kernel shows of a host's disks and of who uses them."""

    def __init__(self, host):
        self.host = host
        self.mounts = []
        self.swaps = []
        host.directories.update({name: [".", ".."] for name in (
            SCSI_DEVICES, BLOCK, "/sys/fs/btrfs/", "/proc/77/fd/")})
        host.directories["/proc/"] = [".", "..", "1", "77", "self"]
        host.links.update({"/proc/self": "1", "/proc/self/ns/mnt": "mnt:[4026531841]",
                           "/proc/77/ns/mnt": "mnt:[4026532205]"})
        host.files.update({"/proc/77/stat": "77 (dd) S 1 77 77 0\n", "/proc/77/comm": "dd\n",
                           "/proc/77/mountinfo": ""})

    def block(self, name, number, path=None):
        """A block device of the kernel's that is free."""
        folder = f"{BLOCK}{name}/"
        self.host.directories[BLOCK].append(name)
        self.host.directories[folder] = [".", "..", "dev", "holders", "slaves"]
        for kind in ("holders/", "slaves/"):
            self.host.directories[folder + kind] = [".", ".."]
        self.host.files[folder + "dev"] = number + "\n"
        self.host.devices.setdefault(path or f"/dev/{name}", {})["number"] = number

    def disk(self, volume, address):
        """A disk that is free, with its generic node; gives its name."""
        name = self.host.disk(volume, address)
        text = ":".join(str(part) for part in address)
        minor = (self.host.disks - 1) * 16
        generic = f"sg{self.host.disks - 1}"
        device = f"{SCSI_DEVICES}{text}/device/"
        self.block(name, f"8:{minor}")
        self.host.directories[SCSI_DEVICES].append(text)
        self.host.directories.update({
            device: [".", "..", "block", "delete", "scsi_generic"],
            device + "block/": [".", "..", name],
            device + "scsi_generic/": [".", "..", generic]})
        self.host.files.update({
            device + "vendor": f"{volume.vendor:8}\n", device + "model": f"{volume.product:16}\n",
            device + "rev": f"{volume.revision:4}\n", device + "type": "0\n",
            device + "delete": "", f"{device}scsi_generic/{generic}/dev": f"21:{minor // 16}\n"})
        self.host.links[f"{BLOCK}{name}/device"] = f"../../../{text}"
        self.host.devices[f"/dev/{generic}"] = {"number": f"c 21:{minor // 16}"}
        return name

    def partition(self, disk, number):
        name = f"{disk}{number}"
        minor = int(self.host.devices[f"/dev/{disk}"]["number"].split(":")[1]) + number
        self.host.partition(disk, number, GIB)
        self.block(name, f"8:{minor}")
        self.host.directories[f"{BLOCK}{disk}/"].append(name)
        return name

    def map(self, alias, uuid, below):
        """A device-mapper map that the host already has a node of."""
        name = self.host.dm_names[alias]
        number = f"253:{name[3:]}"
        self.block(name, number)
        self.host.devices[f"/dev/mapper/{alias}"]["number"] = number
        self.host.files[f"{BLOCK}{name}/dm/name"] = alias + "\n"
        self.host.files[f"{BLOCK}{name}/dm/uuid"] = uuid + "\n"
        for disk in below:
            self.hold(disk, name)
        return name, number

    def hold(self, below, above):
        self.host.directories[f"{BLOCK}{below}/holders/"].append(above)
        self.host.directories[f"{BLOCK}{above}/slaves/"].append(below)
        self.claim(below)

    def claim(self, *names):
        """The kernel refuses an exclusive open."""
        for name in names:
            self.host.devices[f"/dev/{name}"]["in_use"] = True

    def mount(self, number, point, source="none", kind="xfs", process=None):
        line = f"30 20 {number} / {point} rw - {kind} {source} rw\n"
        if process is None:
            self.mounts.append(line)
        else:
            self.host.files[f"/proc/{process}/mountinfo"] += line

    def write_to(self, descriptor, node):
        self.host.directories["/proc/77/fd/"].append(str(descriptor))
        self.host.links[f"/proc/77/fd/{descriptor}"] = node
        self.host.files[f"/proc/77/fdinfo/{descriptor}"] = "pos:\t0\nflags:\t0100002\n"

    def export(self, adapter, name, path):
        adapters = self.host.directories.setdefault(TARGET_CORE, [".", ".."])
        adapters.append(adapter)
        self.host.directories[f"{TARGET_CORE}{adapter}/"] = [".", "..", "hba_info", name]
        self.host.files[f"{TARGET_CORE}{adapter}/{name}/udev_path"] = path + "\n"

    def session(self, address):
        folder = "/sys/class/iscsi_session/session1/"
        text = ":".join(str(part) for part in address)
        target = "target" + text.rpartition(":")[0]
        self.host.directories["/sys/class/iscsi_session/"] = [".", "..", "session1"]
        self.host.directories[folder + "device/"] = [".", "..", target]
        self.host.directories[f"{folder}device/{target}/"] = [".", "..", text]
        self.host.files[folder + "targetname"] = IQN + "\n"

    def finish(self):
        self.host.files["/proc/self/mountinfo"] = "".join(self.mounts)
        self.host.files["/proc/swaps"] = "Filename\tType\tSize\tUsed\tPriority\n" + "".join(
            f"/dev/{name} partition 1048572 0 -2\n" for name in self.swaps)


def volume(number):
    return a.local_disk("SEAGATE", "ST600MM0009", "LS0A", f"S0M5U{number:03d}", p.naa5(
        a.SEAGATE, 0x09A8B0000 + number), 600127266816)


def mounted_disks(uses, disks):
    """Mounted, a partition mounted, mounted in another namespace, unmounted lazily and busy."""
    uses.mount("8:0", "/data")
    uses.mount("8:17", "/home")
    uses.mount("8:32", "/inside", process=77)
    uses.claim(disks[0], uses.partition(disks[1], 1), disks[1], disks[2], disks[3])


def swap_disks(uses, disks):
    """Swap on a disk and on a partition."""
    uses.swaps += [disks[0], uses.partition(disks[1], 1)]
    uses.claim(disks[0], disks[1], f"{disks[1]}1")


def btrfs_disks(uses, disks):
    """A file system over two disks, of which mountinfo names one."""
    folder = "/sys/fs/btrfs/0a1b2c3d-uuid/devices/"
    uses.host.directories["/sys/fs/btrfs/"].append("0a1b2c3d-uuid")
    uses.host.directories[folder] = [".", "..", *disks]
    uses.mount("0:45", "/pool", f"/dev/{disks[0]}", "btrfs")
    uses.claim(*disks)


def stacked_disks(uses, disks):
    """Ways of use that stand between the disk and its user: md, LVM, dm-crypt, loop, target."""
    uses.block("md127", "9:127")
    uses.hold(disks[0], "md127")
    for disk, alias, uuid in ((disks[1], "vg00-root", "LVM-0123456789"),
                              (disks[2], "luks-secret", "CRYPT-LUKS2-0123456789-secret")):
        uses.host.dm_node(alias, GIB)
        uses.map(alias, uuid, [disk])
    uses.block("loop0", "7:0")
    uses.host.files[BLOCK + "loop0/loop/backing_file"] = f"/dev/{disks[3]}\n"
    uses.export("iblock_0", "disk1", f"/dev/{disks[4]}")
    uses.claim(disks[4])


def opened_disks(uses, disks):
    """Disks that are open for writing, by three kinds of node."""
    numbers = [uses.host.devices[f"/dev/{disk}"]["number"] for disk in disks]
    uses.host.devices["/tmp/mine"] = {"number": numbers[1]}
    nodes = (f"/dev/{disks[0]}", "/tmp/mine", f"/dev/sg{int(numbers[2].split(':')[1]) // 16}")
    for descriptor, node in enumerate(nodes, 3):
        uses.write_to(descriptor, node)


def multipath_disks(uses, target, lun):
    """Two paths of a map that is mounted."""
    shared = volume(100 + lun)
    addresses = [(0, 0, target, lun), (0, 0, target + 1, lun)]
    disks = [uses.disk(shared, address) for address in addresses]
    uses.host.map("mpathm", shared, addresses[0], None, [])
    name, number = uses.map("mpathm", f"mpath-3{shared.serial}", disks)
    uses.mount(number, "/db", "/dev/mapper/mpathm")
    uses.claim(name)


def power_path_disk(uses, target, lun):
    """A path of a PowerPath device that is mounted."""
    shared = a.symmetrix(0x0484)
    uses.disk(shared, (0, 0, target, lun))
    uses.host.power_path("emcpowera", shared, (0, 0, target, lun), None)
    uses.block("emcpowera", "120:0")
    uses.mount("120:0", "/pp", "/dev/emcpowera")
