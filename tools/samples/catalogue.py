"""The recorded hosts that ship with the project."""

from . import arrays as a
from . import in_use as u
from . import pages as p
from .hosts import Host

GIB = 1 << 30
BY_HAND = "Written by tools/make_samples.py, not captured: names and page bytes are made up " \
          "after SPC-4 and the makers' public numbering. "
SCRIPT_SCAN = " --alltargets --issue-lip -d"
SCRIPT_REMOVE = " --remove --flush -d"


def rescan_script(host, path):
    host.files[path] = "#!/bin/bash\n"
    host.command(path + SCRIPT_SCAN, ["Scanning SCSI subsystem for new devices",
                                      "0 new or changed device(s) found.          "])
    host.command(path + SCRIPT_REMOVE, ["Syncing file systems",
                                        "0 device(s) removed.                 "])


def no_initiator(host):
    for arguments in ("-m session -R", "-m discovery -t sendtargets -p 192.0.2.10:3260"):
        host.missing_program("/sbin/iscsiadm " + arguments)


def plain_server():
    """Two local disks with partitions and a CD-ROM; no multipath, no Fibre Channel."""
    host = Host("files01", "6.1.0-18-amd64", BY_HAND + "A plain server.")
    disk = host.disk(
        a.ata_disk("KINGSTON SKC600512G", "0103", "50026B7785A1C2D3",
                   p.naa5(a.KINGSTON, 0x785A1C2D3), 512110190592), (0, 0, 0, 0))
    host.partition(disk, 1, GIB // 2)
    host.partition(disk, 2, 400 * GIB)
    data = host.disk(
        a.local_disk("SEAGATE", "ST1800MM0129", "C004", "WBN0A1B20000E821", p.naa5(
            a.SEAGATE, 0x0B1A2C3D7), 1800360124416), (1, 0, 2, 0))
    host.partition(data, 1, 1676 * GIB)
    host.cd_rom(a.cd_rom("KLJC5HK1234"), (2, 0, 0, 0))
    host.mount("/dev/sda2", "/", "ext4")
    host.mount("/dev/sda1", "/boot", "ext4")
    host.mount("/dev/sdb1", "/srv", "xfs")
    host.sysfs_adapters()
    host.fc_ports({})
    rescan_script(host, "/usr/bin/rescan-scsi-bus.sh")
    host.missing_program("/sbin/multipath -v0 ")
    host.missing_program("/sbin/pidof -x multipathd")
    no_initiator(host)
    return host


def multipath_volume(host, alias, volume, target, lun, ports, with_dead_path=False):
    """A volume over one Fibre Channel path a port, and the map over its disks.

    The adapters host2 and host3 see every second port; a port is a target of its own.
    """
    addresses = [(2 + index % 2, 0, target + index // 2, lun) for index in range(len(ports))]
    disks = [host.disk(volume, address, port) for address, port in zip(addresses, ports)]
    if with_dead_path:
        host.dead_disk((2, 0, target + len(ports) // 2, lun), volume)
    if alias is not None:
        host.map(alias, volume, addresses[0], ports[0], disks)
    return addresses


def front_ports(company, first, count, group=1):
    """Port names, target port groups and relative port numbers of an array's ports."""
    return [(p.naa5(company, first + index), group + index % 2, 1 + index)
            for index in range(count)]


def use_fibre_channel_and_iscsi(host):
    host.fc_ports({"host2": 0x21000024FF3A6E10, "host3": 0x21000024FF3A6E11})
    host.files["/sbin/iscsiadm"] = ""
    host.files["/etc/iscsi/initiatorname.iscsi"] = \
        "InitiatorName=iqn.1994-05.com.redhat:6a1f20c9d3b4\n"
    target = "iqn.1992-08.com.netapp:sn.135902718"
    iscsiadm = "/sbin/iscsiadm "
    host.command(iscsiadm + "-m discovery -t sendtargets -p 192.0.2.10:3260",
                 [f"192.0.2.10:3260,1001 {target}", f"192.0.2.11:3260,1002 {target}"])
    for action, past in (("login", "Login to"), ("logout", "Logout of")):
        host.command(f"{iscsiadm}-m node -T {target} --{action}",
                     [f"{past} [iface: default, target: {target}, portal: 192.0.2.10,3260] "
                      "successful."])
    host.command(iscsiadm + "-m session -R",
                 [f"Rescanning session [sid: 1, target: {target}, portal: 192.0.2.10,3260]"])


def use_multipath_tools(host):
    for path in ("/sbin/multipath", "/sbin/pidof", "/usr/sbin/dmsetup"):
        host.files[path] = ""
    host.command("/sbin/multipath -v0 ")
    host.command("/sbin/multipath -F", ["Nov 20 02:14:07 | mpatha: map in use"], 1)
    host.command("/sbin/pidof -x multipathd", ["1187"])


def use_power_path(host):
    host.files["/sbin/powermt"] = ""
    for arguments in (" check force dev=all class=all", " release", " config", " save"):
        host.command("/sbin/powermt" + arguments)


def enterprise():
    """Six arrays, two to four paths a volume, multipath maps, PowerPath, a dead disk."""
    host = Host("db01", "4.18.0-553.el8_10.x86_64", BY_HAND +
                "A database server on Fibre Channel with six arrays.")
    system = host.disk(a.local_disk("HPE", "EG000600JWJNP", "HPD4", "WAE1X2Y3", p.naa5(
        a.SEAGATE, 0x0A7C1E2F3), 600127266816), (0, 0, 0, 0))
    host.partition(system, 1, GIB)
    host.partition(system, 2, 557 * GIB)
    host.use_device_mapper()
    host.set_holders(f"{system}/{system}2", [host.dm_node("vg00-root", 100 * GIB)])
    host.cd_rom(a.cd_rom("KLJC5HK5678"), (1, 0, 0, 0))
    processors = front_ports(a.CLARIION, 0xBB6A01234, 4)
    multipath_volume(host, "mpatha", a.clariion(1), 0, 1, processors)
    host.map_partition("mpatha", 1, 99 * GIB)
    multipath_volume(host, "mpathb", a.clariion(2), 0, 2, processors)
    multipath_volume(host, None, a.clariion_lunz(), 0, 0, processors[:1])
    multipath_volume(host, "mpathc", a.hitachi(0x00A5), 2, 0,
                     front_ports(a.HITACHI, 0x005012345, 2))
    multipath_volume(host, "mpathd", a.netapp(), 3, 0, front_ports(a.NETAPP, 0x038303634, 4))
    multipath_volume(host, "mpathe", a.ibm_2107(0x100A), 5, 0,
                     front_ports(a.IBM, 0x303080123, 2))
    multipath_volume(host, "mpathf", a.three_par(0x2B), 6, 0,
                     front_ports(a.THREE_PAR, 0x010001303, 4), with_dead_path=True)
    host.map_partition("mpathf", 1, 99 * GIB)
    directors = front_ports(a.SYMMETRIX, 0x301200123, 2)
    addresses = multipath_volume(host, None, a.symmetrix(0x0484), 9, 7, directors)
    host.power_path("emcpowera", a.symmetrix(0x0484), addresses[0], directors[0])
    host.mount("/dev/mapper/vg00-root", "/", "xfs")
    host.mount("/dev/sda1", "/boot", "xfs")
    host.mount("/dev/mapper/mpathap1", "/u01", "xfs")
    host.files["/proc/swaps"] = "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n"
    host.sysfs_adapters()
    use_fibre_channel_and_iscsi(host)
    rescan_script(host, "/bin/rescan-scsi-bus.sh")
    use_multipath_tools(host)
    use_power_path(host)
    return host


def without(volume, page):
    """The volume with one page less, which is what its family's own format stumbles over."""
    if page == 0x80:
        volume.serial = None
    elif page == 0x83:
        volume.designators = b""
    else:
        del volume.more_pages[page]
    return volume


def short_inquiry(volume, length=36):
    """The volume with standard INQUIRY data that ends before the maker's own bytes."""
    volume.std_length = length
    volume.std_extra = {offset: content[:length - offset] for offset, content
                        in volume.std_extra.items() if offset < length}
    return volume


def first_name(volume):
    """The designator that the general rule prefers: all families here have one NAA 6 name."""
    at = volume.designators.index(bytes([p.BINARY, p.NAA, 0, 16]))
    return volume.designators[at + 4:at + 20].hex()


def failing_volumes():
    """For each family a volume that its own format cannot name, and why."""
    msa = a.hp_msa(2)
    msa.designators = msa.designators[:20]
    eva = short_inquiry(a.hp_eva(2), 96)
    netapp = a.netapp("80Ab2?IpTK8m")
    netapp.sg_io = {}
    cases = [
        (msa, "Page 0x83 ends before the T10 name."),
        (eva, "INQUIRY data end before the controller's name."),
        (short_inquiry(a.hp_xp(0x00B7)), "INQUIRY data without vendor specific bytes."),
        (without(a.ibm_2105(0x2B), 0x80), "No page 0x80."),
        (without(a.ibm_ds(2, "1815"), 0x80), "No page 0x80."),
        (without(a.clariion(3), 0x83), "No page 0x83: path and host are all that is left."),
        (short_inquiry(a.symmetrix(0x0485), 96), "INQUIRY data end before the frame's number."),
        (short_inquiry(a.hitachi(0x00A6), 55), "INQUIRY data one byte too short."),
        (without(a.lsi(2), 0xC8), "No page 0xC8."),
        (netapp, "The controller does not answer the maker's own command."),
        (without(a.three_par(0x2C), 0x80), "No page 0x80."),
        (short_inquiry(a.fujitsu(2)), "INQUIRY data without vendor specific bytes."),
    ]
    for volume, why in cases:
        name = first_name(volume) if volume.designators else None
        yield a.by_default(volume, (volume.serial or "").strip(), name, why)


def odd_disks():
    """Disks of no family, one for each kind of name that the general rule knows."""
    eui = bytes.fromhex("0025385a71b0c2d4")
    yield a.local_disk("SEAGATE", "ST600MM0009", "LS0A", "S0M5ABCD", p.naa5(
        a.SEAGATE, 0x09A8B7C6D), 600127266816)
    yield a.compellent(0x11)
    disk = a.local_disk("ACME", "EUI DISK", "1.00", "EUI00017", b"", 50 * GIB)
    disk.designators, disk.body = p.designator(p.EUI64, p.BINARY, eui), f"EUI00017##{eui.hex()}"
    yield disk
    disk = a.local_disk("LIO-ORG", "volume-17", "4.0", "c0a1f3d2-1b7e", b"", 50 * GIB)
    disk.designators = p.logical_unit_t10("LIO-ORG", b"volume-17:c0a1f3d2-1b7e")
    disk.body = "c0a1f3d2-1b7e##LIO-ORG volume-17:c0a1f3d2-1b7e"
    yield disk
    disk = a.local_disk("ACME", "SERIAL ONLY", "1.00", "S0017", b"", 50 * GIB)
    disk.designators, disk.body = b"", None
    disk.comment = "A serial number alone is no name: path and host are all that is left."
    yield disk


def families():
    """Every array family by two paths, a volume of each that fails, and disks of no family."""
    host = Host("lab07", "5.14.0-427.el9.x86_64", BY_HAND +
                "Every array family: one volume that its own format names and one that it does "
                "not, two paths each; then disks of no family.")
    good = [a.hp_msa(1), a.hp_eva(1), a.hp_xp(0x00B6), a.ibm_2105(0x2A), a.ibm_ds(1),
            a.clariion(1), a.symmetrix(0x0484), a.hitachi(0x00A5), a.lsi(1), a.netapp(),
            a.three_par(0x2B), a.fujitsu(1)]
    volumes = [volume for pair in zip(good, failing_volumes()) for volume in pair]
    for target, volume in enumerate(volumes + list(odd_disks())):
        ports = front_ports(0x000E1E, 0x0C0FFEE00 + 16 * target, 2)
        multipath_volume(host, None, volume, target, 1, ports)
    host.sysfs_adapters()
    use_fibre_channel_and_iscsi(host)
    rescan_script(host, "/bin/rescan-scsi-bus.sh")
    host.missing_program("/sbin/multipath -v0 ")
    host.missing_program("/sbin/pidof -x multipathd")
    return host


def kernel_2_4():
    """A 2.4 kernel: the SCSI table is a file, adapters are found under /proc/scsi."""
    host = Host("old03", "2.4.21-4.ELsmp", BY_HAND +
                "A 2.4 kernel with QLogic and Emulex adapters and no sysfs.", has_sysfs=False)
    system = host.disk(a.local_disk("COMPAQ", "BD03685A24", "HPB1", "B2J0A1B2", p.naa5(
        a.SEAGATE, 0x012345678), 36420075008), (0, 0, 0, 0))
    host.partition(system, 1, GIB)
    host.mounts = [("/dev/root", "/", "ext3"), ("/proc", "/proc", "proc")]
    for volume, address in ((a.hitachi(0x0010), (1, 0, 0, 0)), (a.hitachi(0x0011), (1, 0, 0, 1)),
                            (a.symmetrix(0x0101), (2, 0, 1, 3)), (a.clariion(7), (3, 0, 2, 0))):
        host.disk(volume, address)
    host.list_command("/proc/scsi", ["lpfc", "qla2300", "scsi", "sg"])
    host.list_command("/proc/scsi/qla2300", ["1", "2", "HbaApiNode"])
    host.list_command("/proc/scsi/lpfc", ["3"])
    host.list_command("/proc/scsi/qla2xxx/", None)
    host.list_command("/proc/scsi/qla2300/", ["1", "2"])
    for number in (1, 2):
        host.files[f"/proc/scsi/qla2300/{number}"] = (
            f"QLogic PCI to Fibre Channel Host Adapter for QLA2340:\n"
            f"        Firmware version:  3.03.15, Driver version 7.05.00\n"
            f"SCSI Device Information:\n"
            f"scsi-qla{number}-adapter-node=200000e08b0{number}5a7c;\n"
            f"scsi-qla{number}-adapter-port=210000e08b0{number}5a7c;\n")
    host.files["/proc/scsi/lpfc/3"] = "Emulex LightPulse FC SCSI lpfc 7.3.6\n"
    host.missing_program("/sbin/multipath -v0 ")
    host.missing_program("/sbin/pidof -x multipathd")
    no_initiator(host)
    return host


def in_use():
    """Every way in which a disk can be used, one disk each; target 9 is unused, target 10 gone."""
    host = Host("files02", "6.1.0-18-amd64", BY_HAND +
                "Every disk is used in another way: what a removal refuses.", has_sysfs=False)
    uses = u.Uses(host)
    for target, (use, count) in enumerate((
            (u.mounted_disks, 4), (u.swap_disks, 2), (u.btrfs_disks, 2), (u.stacked_disks, 5),
            (u.opened_disks, 3))):
        use(uses, [uses.disk(u.volume(16 * target + lun), (0, 0, target, lun))
                   for lun in range(count)])
        if target == 0:
            host.use_device_mapper()
    u.multipath_disks(uses, 5, 1)
    u.power_path_disk(uses, 7, 1)
    uses.disk(u.volume(200), (0, 0, 9, 1))
    gone = uses.disk(u.volume(201), (0, 0, 10, 1))
    host.devices[f"/dev/{gone}"] = {"comment": "Gone: open(2) gives ENXIO.", "open_errno": 6,
                                    "number": host.devices[f"/dev/{gone}"]["number"]}
    del host.expected[f"/dev/{gone}"]
    uses.session((0, 0, 0, 0))
    uses.finish()
    host.sysfs_adapters()
    use_fibre_channel_and_iscsi(host)
    use_multipath_tools(host)
    rescan_script(host, "/usr/bin/rescan-scsi-bus.sh")
    host.files["/usr/bin/rescan-scsi-bus.sh"] = (
        '#!/bin/bash\nVERSION="20180615"\n'
        "IPQUAL=$(echo \"$INQ\" | sed -n 's/ *PQual=\\([0-9]*\\)  Device.*/\\1/p')\n")
    host.command("/usr/bin/sg_inq --len=36 /dev/sg0", [
        "standard INQUIRY:", "  PQual=0  PDT=0  RMB=0  LU_CONG=0  hot_pluggable=0  version=0x06 ",
        " Vendor identification: SEAGATE ", " Product identification: ST600MM0009     "])
    host.command("/usr/bin/sg_inq -V", ["Version string: 2.10 20210328"])
    return host


SAMPLES = {"plain-server": plain_server, "enterprise": enterprise, "families": families,
           "kernel-2.4": kernel_2_4, "in-use": in_use}
