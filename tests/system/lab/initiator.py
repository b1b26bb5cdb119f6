"""Brings up what the distribution's iSCSI initiator needs in the guest."""

CONNECT = """
modprobe -a virtio_pci virtio_net sd_mod sg crc32c_generic iscsi_tcp
until [ -e /sys/class/net/eth0 ]; do sleep 0.1; done
ifconfig eth0 10.0.2.15 netmask 255.255.255.0 up
iscsid </dev/null >/dev/null 2>&1
"""


def start_initiator(guest):
    """Loads the drivers, sets the address and starts the initiator's daemon."""
    guest.run(CONNECT)
    guest.wait_for("the initiator's daemon", "iscsiadm -m iface >/dev/null 2>&1")


def log_in(guest, *targets, portal="10.0.2.100", settings=""):
    """Opens sessions to targets by one portal, in this order; a script may change settings in between."""
    logins = "\n".join(f"iscsiadm -m node -T {name} -p {portal} --login" for name in targets)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p {portal} >/dev/null\n{settings}\n{logins}")


def disks_of_target(guest, name):
    """Node of every disk of one target's sessions by its logical unit number, as the kernel has it."""
    # .../session1/device/target0:0:0/0:0:0:3/block/sdb
    lines = guest.run("for session in /sys/class/iscsi_session/session*; do\n"
                      "  for disk in $session/device/target*/*/block/sd*; do\n"
                      '    [ -e "$disk" ] && echo "$(cat $session/targetname) $disk"\n'
                      "  done\ndone; true").stdout.splitlines()
    paths = [path.split("/") for target, path in map(str.split, lines) if target == name]
    return {int(parts[-3].split(":")[3]): f"/dev/{parts[-1]}" for parts in paths}
