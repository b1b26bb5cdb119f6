"""What hosts are built of: tools, adapters, volumes over several paths."""

from . import pages as p

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


def multipath_volume(host, alias, volume, target, lun, ports, dead_port=None):
    """A volume over one Fibre Channel path a port, and the map over its disks.

    The adapters host2 and host3 see every second port; a port is a target of its own.
    """
    addresses = [(2 + index % 2, 0, target + index // 2, lun) for index in range(len(ports))]
    disks = [host.disk(volume, address, port) for address, port in zip(addresses, ports)]
    if dead_port is not None:
        host.dead_disk((2, 0, target + len(ports) // 2, lun), volume, dead_port)
    if alias is not None:
        host.map(alias, volume, addresses[0], ports[0], disks)
    return addresses


def front_ports(company, first, count, group=1):
    """Port names, target port groups and relative port numbers of an array's ports."""
    return [(p.naa5(company, first + index), group + index % 2, 1 + index)
            for index in range(count)]


def use_fibre_channel_and_iscsi(host, first_port=0x21000024FF3A6E10):
    host.fc_ports({"host2": first_port, "host3": first_port + 1})
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
