"""What a current kernel and udev show of a host's SCSI disks: sysfs as one tree of directories with
the links of /sys/class and /sys/block into it, device numbers, exclusive opens, and udev's links."""

from dataclasses import dataclass

DEVICES = "/sys/devices/"
VIRTUAL = "virtual/block/"
SECTOR = 512
CONTROL_NUMBER = "c 10:236"
MULTIPATHD = "1187"
MOUNT_NAMESPACE = "mnt:[4026531840]"


@dataclass
class Adapter:
    """An adapter: where it is on the PCI bus, its driver, and what stands between it and a target:
    {target} is the target's number."""
    place: str
    driver: str
    between: str = ""


def text_of(address):
    return ":".join(str(part) for part in address)


class Kernel:
    """Shows a host that was built up without sysfs. `adapters`: number to Adapter."""

    def __init__(self, host, adapters):
        self.host, self.adapters = host, adapters
        self.folders = {}  # of block devices by their kernel names
        self.mounts = []
        self.swaps = []
        self.sg_nodes = {}
        for name in ("/sys/class/block/", "/sys/block/", "/sys/class/scsi_device/",
                     "/sys/class/fc_remote_ports/", "/dev/disk/by-id/", "/dev/disk/by-path/",
                     "/sys/fs/btrfs/"):
            host.directories[name] = [".", ".."]
        for attached in host.attached:
            self.scsi_device(attached)
        for major, minor, blocks, name in host.partitions:
            if name not in self.folders:
                self.block_device(name, f"{major}:{minor}", blocks)
        for alias, name in host.dm_names.items():
            self.mapper_node(alias, name)

    # Pieces of the tree.

    def folder(self, path, entries=()):
        """A directory below /sys/devices; gives its whole path."""
        self.host.directories.setdefault(DEVICES + path, [".", ".."]).extend(entries)
        return DEVICES + path

    def attributes(self, folder, texts):
        for name, text in texts.items():
            self.host.files[folder + name] = text if isinstance(text, dict) else f"{text}\n"

    def in_class(self, kind, name, place):
        """The link that leads from /sys/class (or /sys/block) to a device."""
        root = "/sys/block/" if kind == "" else f"/sys/class/{kind}/"
        up = "../" if kind == "" else "../../"
        self.host.directories[root].append(name)
        self.host.links[root + name] = f"{up}devices/{place}".rstrip("/")

    def place_of(self, address):
        """Below /sys/devices/: the directory of the device at an address."""
        number, channel, target, _ = address
        adapter = self.adapters[number]
        between = adapter.between.format(target=target)
        return f"{adapter.place}/host{number}/{between}target{number}:{channel}:{target}/" \
               f"{text_of(address)}/"

    # SCSI devices.

    def scsi_device(self, attached):
        place, address = self.place_of(attached.address), text_of(attached.address)
        generic = f"sg{len(self.sg_nodes)}"
        folder = self.folder(place, ["block", "scsi_device", "scsi_generic"])
        self.folder(place + "block/", [attached.name])
        self.folder(place + "scsi_generic/", [generic])
        self.in_class("scsi_device", address, f"{place}scsi_device/{address}")
        self.host.links[f"{folder}scsi_device/{address}/device"] = f"../../../{address}"
        self.scsi_attributes(folder, attached)
        minor = len(self.sg_nodes)
        self.host.files[f"{folder}scsi_generic/{generic}/dev"] = f"21:{minor}\n"
        self.block_device(attached.name, attached.number, attached.volume.size // 1024,
                          place + "block/")
        self.host.links[f"{folder}block/{attached.name}/device"] = f"../../../{address}"
        self.generic_node(generic, minor, attached)
        self.udev_links(attached)

    def scsi_attributes(self, folder, attached):
        volume, pages = attached.volume, attached.pages()
        self.attributes(folder, {
            "vendor": f"{volume.vendor:8}", "model": f"{volume.product:16}",
            "rev": f"{volume.revision:4}", "type": volume.device_type,
            "scsi_level": volume.version + 1, "state": attached.state,
            "inquiry": {"hex": pages["std"]}, "timeout": 30, "queue_depth": 64,
            **{f"vpd_pg{code.lstrip('0') or '0'}": {"hex": pages[code]}
               for code in ("00", "80", "83") if code in pages},
            "access_state": attached.access or {"text": "", "read_errno": 22}})
        if volume.device_type == 0:
            self.attributes(folder, {"wwid": "naa." + volume.naa().hex()})
        self.host.files[folder + "delete"] = ""

    def generic_node(self, generic, minor, attached):
        node = self.host.devices[f"/dev/{attached.name}"]
        entry = {"number": f"c 21:{minor}"}
        if attached.is_dead:
            entry["inquiry"] = {"std": "0000000000"}  # the command never reaches the disk
        else:
            entry.update({key: node[key] for key in ("id_lun", "inquiry", "sg_io") if key in node})
            self.host.command(f"/usr/bin/sg_inq --len=36 /dev/{generic}", inquired(attached))
        self.host.devices[f"/dev/{generic}"] = entry
        self.host.directories["/dev/"].append(generic)
        self.sg_nodes[attached.name] = generic

    def udev_links(self, attached):
        if attached.volume.device_type != 0:
            return
        digits = attached.volume.naa().hex()
        for name in (f"wwn-0x{digits}", f"scsi-3{digits}"):
            self.udev_link("by-id", name, attached.name)
        if attached.port is not None:
            number, _, _, lun = attached.address
            pci = self.adapters[number].place.rpartition("/")[2]
            self.udev_link("by-path", f"pci-{pci}-fc-0x{attached.port[0].hex()}-lun-{lun}",
                           attached.name)

    def udev_link(self, folder, name, kernel_name, takes_over=False):
        """Of several devices that claim a name the first has it, unless a later one goes before."""
        path = f"/dev/disk/{folder}/{name}"
        if path not in self.host.links:
            self.host.directories[f"/dev/disk/{folder}/"].append(name)
        elif not takes_over:
            return
        self.host.links[path] = f"../../{kernel_name}"

    # Adapters and ports.

    def show_adapters(self):
        """The attributes of the adapters that the host has, and the arrays' ports behind them."""
        for number in sorted(self.host.scsi_hosts):
            folder = f"/sys/class/scsi_host/host{number}/"
            self.attributes(folder, {"proc_name": self.adapters[number].driver,
                                     "state": "running", "unique_id": 0})
            port = self.host.files.get(f"/sys/class/fc_host/host{number}/port_name")
            if port:
                self.attributes(f"/sys/class/fc_host/host{number}/", {
                    "node_name": port.strip().replace("0x21", "0x20"), "port_state": "Online",
                    "speed": "16 Gbit"})
        for attached in self.host.attached:
            if attached.port is not None:
                self.remote_port(attached)
            elif self.adapters[attached.address[0]].driver == "smartpqi":
                self.sas_port(attached)

    def remote_port(self, attached):
        number, _, target, _ = attached.address
        name = f"rport-{number}:0-{target}"
        if name not in self.host.directories["/sys/class/fc_remote_ports/"]:
            self.host.directories["/sys/class/fc_remote_ports/"].append(name)
        self.attributes(f"/sys/class/fc_remote_ports/{name}/", {
            "port_name": f"0x{attached.port[0].hex()}", "roles": "FCP Target",
            "port_state": "Blocked" if attached.is_dead else "Online"})

    def sas_port(self, attached):
        number, _, target, _ = attached.address
        name = int.from_bytes(attached.volume.naa(), "big")
        self.host.directories["/sys/class/sas_device/"] = [".", "..", f"end_device-{number}:{target}"]
        self.attributes(f"/sys/class/sas_device/end_device-{number}:{target}/",
                        {"sas_address": f"0x{name - 2:016x}"})
        self.attributes(f"/sys/class/scsi_host/host{number}/",
                        {"host_sas_address": "0x51402ec0115d2f00"})

    # Block devices.

    def block_device(self, name, number, blocks, place=None):
        parent = next((disk for disk in self.folders if is_partition(name, disk)), None)
        if place is None:
            place = VIRTUAL if parent is None else self.folders[parent]
        self.folders[name] = f"{place}{name}/"
        folder = self.folder(self.folders[name], ["dev", "holders", "ro", "size"])
        self.folder(self.folders[name] + "holders/")
        self.attributes(folder, {"dev": number, "size": blocks * 1024 // SECTOR, "ro": 0})
        self.in_class("block", name, self.folders[name])
        if parent is None:
            self.in_class("", name, self.folders[name])
            self.folder(self.folders[name], ["slaves"])
            self.folder(self.folders[name] + "slaves/")
        else:
            self.folder(place, [name])
            self.attributes(folder, {"partition": name[len(parent):]})
        self.host.devices.setdefault(f"/dev/{name}", {})["number"] = number

    def mapper_node(self, alias, name):
        """The node is the kernel's; the map's name is a link to it."""
        number = self.host.devices[f"/dev/{name}"]["number"]
        self.host.devices[f"/dev/{name}"] = {
            **self.host.devices.pop(f"/dev/mapper/{alias}"), "number": number}
        self.host.directories["/dev/"].append(name)
        self.host.links[f"/dev/mapper/{alias}"] = f"../{name}"

    def new_block(self, name, number, size):
        """A block device that is made of others."""
        major, _, minor = number.partition(":")
        self.host.partitions.append((int(major), int(minor), size // 1024, name))
        self.host.directories["/dev/"].append(name)
        self.host.devices[f"/dev/{name}"] = {"size_bytes": size}
        self.block_device(name, number, size // 1024)

    def map(self, alias, uuid, below):
        """What device-mapper says of a map over block devices, by their kernel names."""
        name = self.host.dm_names[alias]
        folder = self.folder(self.folders[name], ["dm"])
        self.attributes(folder + "dm/", {"name": alias, "uuid": uuid, "suspended": 0})
        self.udev_link("by-id", f"dm-name-{alias}", name)
        self.udev_link("by-id", f"dm-uuid-{uuid}", name)
        self.hold(name, below)
        return name

    def multipath(self, alias, volume):
        """A multipath map with all the paths that the kernel has to the volume."""
        paths = [one for one in self.host.attached if one.volume.naa() == volume.naa()]
        digits = volume.naa().hex()
        name = self.map(alias, f"mpath-3{digits}", [path.name for path in paths])
        self.udev_link("by-id", f"wwn-0x{digits}", name, takes_over=True)
        return f"{alias}: 0 {volume.size // SECTOR} multipath {table_of(paths)}"

    def partition_map(self, alias, number, volume):
        self.map(f"{alias}p{number}", f"part{number}-mpath-3{volume.naa().hex()}",
                 [self.host.dm_names[alias]])

    def hold(self, above, below):
        for name in below:
            self.folder(self.folders[name] + "holders/", [above])
            self.folder(self.folders[above] + "slaves/", [name])
        self.claim(*below)

    def claim(self, *names):
        """The kernel refuses an exclusive open, of a partition's disk too."""
        for name in names:
            self.host.devices[f"/dev/{name}"]["in_use"] = True
            for disk in self.folders:
                if is_partition(name, disk):
                    self.host.devices[f"/dev/{disk}"]["in_use"] = True

    # Who uses them.

    def mount(self, name, source, point, kind="xfs"):
        self.mounts.append((self.host.devices[f"/dev/{name}"]["number"], source, point, kind))
        self.host.mount(source, point, kind)
        self.claim(name)

    def swap(self, name, size):
        self.swaps.append(f"/dev/{name} partition {size // 1024 - 4} 0 -2\n")
        self.claim(name)

    def finish(self, maps):
        """`maps`: the lines that device-mapper tells of its multipath maps."""
        host = self.host
        host.command("/usr/sbin/dmsetup status --target multipath", maps)
        host.files["/proc/self/mountinfo"] = "".join(
            f"{24 + index} 1 {number} / {point} rw,relatime shared:{1 + index} - {kind} {source} rw\n"
            for index, (number, source, point, kind) in enumerate(self.mounts))
        host.files["/proc/swaps"] = "Filename\tType\tSize\tUsed\tPriority\n" + "".join(self.swaps)
        host.directories["/dev/"].append("disk")
        host.devices["/dev/mapper/control"]["number"] = CONTROL_NUMBER
        self.processes()

    def processes(self):
        """The multipath daemon, which has device-mapper open."""
        folder = f"/proc/{MULTIPATHD}/"
        self.host.directories["/proc/"] = [".", "..", MULTIPATHD, "self"]
        self.host.directories[folder + "fd/"] = [".", "..", "4"]
        self.host.links.update({
            "/proc/self": "20417", "/proc/self/ns/mnt": MOUNT_NAMESPACE,
            folder + "ns/mnt": MOUNT_NAMESPACE, folder + "fd/4": "/dev/mapper/control"})
        self.host.files.update({
            folder + "comm": "multipathd\n",
            folder + "stat": f"{MULTIPATHD} (multipathd) S 1 {MULTIPATHD} {MULTIPATHD} 0 -1\n",
            folder + "fdinfo/4": "pos:\t0\nflags:\t0100002\nmnt_id:\t24\n"})
        self.host.devices[folder + "fd/4"] = {"number": CONTROL_NUMBER}


def is_partition(name, disk):
    return name != disk and name.startswith(disk) and disk[:2] == "sd" \
        and name[len(disk):].isdigit()


def table_of(paths):
    """As the kernel prints a map's status: its path groups, each path with its state."""
    groups = {}
    for path in paths:
        groups.setdefault(path.access, []).append(path)
    text = f"2 0 0 0 {len(groups)} 1 "
    for index, group in enumerate(groups.values()):
        text += f"{'A' if index == 0 else 'E'} 0 {len(group)} 2 "
        for path in group:
            text += f"{path.number} F 3 0 1 " if path.is_failed else f"{path.number} A 0 0 1 "
    return text


def inquired(attached):
    volume = attached.volume
    return ["standard INQUIRY:",
            f"  PQual=0  Device_type={volume.device_type}  RMB={int(volume.device_type == 5)}  "
            f"LU_CONG=0  version=0x{volume.version:02x} ",
            f" Vendor identification: {volume.vendor:8}",
            f" Product identification: {volume.product:16}",
            f" Product revision level: {volume.revision:4}"]
