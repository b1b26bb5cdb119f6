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
