"""A Fibre Channel host without hardware: FCoE over the emulator's network card."""
from lab.job import Hardware

TYPICAL_SECONDS = 8

# FCoE makes the port's name from the card's address 52:54:00:12:34:56, with 2000 in front.
PORT_NAME = "0x2000525400123456"


def hardware():
    """A network card and nothing behind it."""
    return Hardware(network=True)


def run(guest, _, checks):
    """The job."""
    checks.equal("without Fibre Channel there is no port name", wwpns(guest), [])
    guest.run("modprobe -a virtio_pci virtio_net libfcoe fcoe\n"
              "until [ -e /sys/class/net/eth0 ]; do sleep 0.1; done\n"
              "ifconfig eth0 up && echo eth0 >/sys/bus/fcoe/ctlr_create")
    guest.wait_for("the Fibre Channel host", "ls /sys/class/fc_host/host*/port_name >/dev/null 2>&1")
    host = guest.run("ls /sys/class/fc_host").stdout.strip()
    checks.equal("the port's name and its host", wwpns(guest), [f"{PORT_NAME}@@{host}"])
    guest.run("echo eth0 >/sys/bus/fcoe/ctlr_destroy")
    guest.wait_for("the Fibre Channel host to go", "! ls /sys/class/fc_host | grep -q host")
    checks.equal("the name goes with its port", wwpns(guest), [])


def wwpns(guest):
    """What `wwpn` reports, whatever its exit status says of an empty list."""
    return guest.run(["scsitool", "--json", "wwpn"], status=None).json["wwpns"]
