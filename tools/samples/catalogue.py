"""The recorded hosts that ship with the project."""

from . import arrays as a
from . import in_use as u
from . import pages as p
from . import site
from .hosts import Host
from .parts import (BY_HAND, GIB, front_ports, multipath_volume, no_initiator, rescan_script,
                    use_fibre_channel_and_iscsi, use_multipath_tools)


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


SAMPLES = {"plain-server": plain_server, "enterprise": site.today,
           "enterprise-yesterday": site.yesterday, "enterprise-partner": site.partner,
           "families": families, "kernel-2.4": kernel_2_4, "in-use": in_use}
