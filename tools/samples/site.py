"""One site: a database server as it is and as it was a day before, and its cluster partner."""

from . import arrays as a
from . import kernel as k
from . import pages as p
from .hosts import Host
from .parts import (BY_HAND, GIB, front_ports, multipath_volume, rescan_script,
                    use_fibre_channel_and_iscsi, use_multipath_tools, use_power_path)

KERNEL = "4.18.0-553.el8_10.x86_64"
PROCESSORS = front_ports(a.CLARIION, 0xBB6A01234, 4)
THREE_PAR_PORTS = front_ports(a.THREE_PAR, 0x010001303, 5)
LVM_ROOT = "LVM-yI6cX1mTq0Zb4vQ9sWn2dKfR7hLpUe3gaB5oVtJx8NiEkMwCzDyGrHuSlPqAfOjT"
LVM_SWAP = "LVM-yI6cX1mTq0Zb4vQ9sWn2dKfR7hLpUe3gQm3ZrW8xTnB1vKcY6sHdJfL0pGaEiUoV"
LVM_DATA = "LVM-tR5nY8uJ2wKqM6bXc0VzHs4LdPfG1aEiV9pOq3rT7yUkWmNxBvCzZlKjHgFdSaQe"


def adapters():
    """Where the server has its adapters."""
    def fibre_channel(function, number):
        return k.Adapter(f"pci0000:ae/0000:ae:00.0/0000:af:00.{function}", "qla2xxx",
                         f"rport-{number}:0-{{target}}/")
    return {0: k.Adapter("pci0000:5c/0000:5c:00.0/0000:5d:00.0", "smartpqi",
                         "port-0:{target}/end_device-0:{target}/"),
            1: k.Adapter("pci0000:00/0000:00:17.0/ata1", "ahci"),
            2: fibre_channel(0, 2), 3: fibre_channel(1, 3)}


def system_disk(host, serial, name):
    """The server's own disk with what it starts from, and its CD-ROM."""
    disk = host.disk(a.local_disk("HPE", "EG000600JWJNP", "HPD4", serial, p.naa5(
        a.SEAGATE, name), 600127266816), (0, 0, 0, 0))
    host.partition(disk, 1, GIB)
    host.partition(disk, 2, 557 * GIB)
    host.use_device_mapper()
    host.dm_node("vg00-root", 100 * GIB)
    host.dm_node("vg00-swap", 8 * GIB)
    host.cd_rom(a.cd_rom("KLJC5HK5678"), (1, 0, 0, 0))
    return disk


def show_system_disk(kernel, disk):
    kernel.map("vg00-root", LVM_ROOT, [f"{disk}2"])
    kernel.map("vg00-swap", LVM_SWAP, [f"{disk}2"])
    kernel.mount("dm-0", "/dev/mapper/vg00-root", "/")
    kernel.mount(f"{disk}1", "/dev/sda1", "/boot")
    kernel.swap("dm-1", 8 * GIB)


def use_tools(host):
    rescan_script(host, "/bin/rescan-scsi-bus.sh")
    host.files["/bin/rescan-scsi-bus.sh"] = (
        '#!/bin/bash\nVERSION="20180615"\n'
        "IPQUAL=$(echo \"$INQ\" | sed -n 's/ *PQual=\\([0-9]*\\)  Device.*/\\1/p')\n")
    host.files["/usr/bin/sg_inq"] = ""
    host.command("/usr/bin/sg_inq -V", ["Version string: 1.97 20180118"])
    use_multipath_tools(host)


def lost_path(host, name):
    """A path that answers again, and that the multipath daemon does not trust yet."""
    host.devices[f"/dev/{name}"]["comment"] = \
        "It answers; the multipath daemon keeps the path failed for a while, for it lost commands."
    next(one for one in host.attached if one.name == name).is_failed = True


def data_volumes(is_before):
    """The volumes of the multipath maps, by the maps' names."""
    volumes = {"mpatha": a.clariion(1), "mpathb": a.clariion(2), "mpathc": a.hitachi(0x00A5),
               "mpathd": a.netapp(), "mpathe": a.ibm_2107(0x100A), "mpathf": a.three_par(0x2B)}
    if is_before:
        volumes["mpatha"].revision = volumes["mpathb"].revision = "0532"
        volumes["mpathe"].size = 80 * GIB
        volumes["mpathg"] = a.clariion(3)
    return volumes


def attach(host, volumes, is_before):
    """All paths, in the order in which the kernel finds them."""
    multipath_volume(host, "mpatha", volumes["mpatha"], 0, 1, PROCESSORS)
    host.map_partition("mpatha", 1, 99 * GIB)
    multipath_volume(host, "mpathb", volumes["mpathb"], 0, 12, PROCESSORS)
    multipath_volume(host, None, a.clariion_lunz(), 0, 0, PROCESSORS[:1])
    multipath_volume(host, "mpathc", volumes["mpathc"], 2, 0,
                     front_ports(a.HITACHI, 0x005012345, 2))
    multipath_volume(host, "mpathd", volumes["mpathd"], 3, 0,
                     front_ports(a.NETAPP, 0x038303634, 4))
    multipath_volume(host, "mpathe", volumes["mpathe"], 5, 0,
                     front_ports(a.IBM, 0x303080123, 2))
    ports = THREE_PAR_PORTS if is_before else THREE_PAR_PORTS[:4]
    multipath_volume(host, "mpathf", volumes["mpathf"], 6, 0, ports,
                     None if is_before else THREE_PAR_PORTS[4])
    host.map_partition("mpathf", 1, 99 * GIB)
    directors = front_ports(a.SYMMETRIX, 0x301200123, 2)
    addresses = multipath_volume(host, None, a.symmetrix(0x0484), 9, 7, directors)
    host.power_path("emcpowera", a.symmetrix(0x0484), addresses[0], directors[0])
    host.dm_node("vgdata-u02", 90 * GIB)
    if is_before:
        multipath_volume(host, "mpathg", volumes["mpathg"], 0, 3, PROCESSORS)
    else:
        lost_path(host, "sdp")


def show_uses(host, kernel, volumes):
    """Partitions of maps, LVM, md and PowerPath; mpathc, and mpathg, are unused."""
    for alias in ("mpatha", "mpathf"):
        kernel.partition_map(alias, 1, volumes[alias])
    kernel.map("vgdata-u02", LVM_DATA, [host.dm_names["mpathb"]])
    kernel.new_block("md0", "9:0", 80 * GIB - (128 << 20))
    kernel.hold("md0", [host.dm_names["mpathd"], host.dm_names["mpathe"]])
    kernel.attributes(kernel.folder(kernel.folders["md0"] + "md/"),
                      {"level": "raid1", "array_state": "clean"})
    kernel.claim("sdx", "sdy")
    for name, source, point in (
            (host.dm_names["mpathap1"], "/dev/mapper/mpathap1", "/u01"),
            (host.dm_names["vgdata-u02"], "/dev/mapper/vgdata-u02", "/u02"),
            ("md0", "/dev/md0", "/u03"), ("emcpowera", "/dev/emcpowera", "/u04"),
            (host.dm_names["mpathfp1"], "/dev/mapper/mpathfp1", "/backup")):
        kernel.mount(name, source, point)


def database_server(comment, is_before):
    host = Host("db01", KERNEL, BY_HAND + comment, has_sysfs=False)
    disk = system_disk(host, "WAE1X2Y3", 0x0A7C1E2F3)
    volumes = data_volumes(is_before)
    attach(host, volumes, is_before)
    kernel = k.Kernel(host, adapters())
    show_system_disk(kernel, disk)
    maps = [kernel.multipath(alias, volume) for alias, volume in volumes.items()]
    show_uses(host, kernel, volumes)
    host.adapters()
    use_fibre_channel_and_iscsi(host)
    kernel.show_adapters()
    use_tools(host)
    use_power_path(host)
    kernel.finish(maps)
    return host


def today():
    """Six arrays, two to five paths a volume, multipath maps, PowerPath, a failed and a dead path."""
    return database_server("A database server on Fibre Channel with six arrays.", False)


def yesterday():
    return database_server("The server of enterprise.json a day before: the array's firmware was "
                           "older, a volume smaller, another not withdrawn, all paths lived.", True)


def partner():
    """Two volumes are shared, under other names; it stands by and mounts none of them."""
    host = Host("db02", KERNEL, BY_HAND + "The cluster partner of the server of enterprise.json.",
                has_sysfs=False)
    disk = system_disk(host, "WAE1X2Z7", 0x0A7C1E4B1)
    volumes = {"mpatha": a.clariion(2), "mpathb": a.clariion(1), "mpathc": a.clariion(5)}
    for (alias, volume), lun in zip(volumes.items(), (12, 1, 5)):
        multipath_volume(host, alias, volume, 0, lun, PROCESSORS)
    kernel = k.Kernel(host, adapters())
    show_system_disk(kernel, disk)
    maps = [kernel.multipath(alias, volume) for alias, volume in volumes.items()]
    host.adapters()
    use_fibre_channel_and_iscsi(host, 0x21000024FF3A7B20)
    kernel.show_adapters()
    use_tools(host)
    kernel.finish(maps)
    return host
