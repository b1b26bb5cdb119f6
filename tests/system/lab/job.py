"""What a job asks for, and what it is given."""
import contextlib
import enum
import tempfile
from pathlib import Path

from iscsi_target import TargetServer

from lab.guest import Guest
from lab.machine import Machine

MAC_ADDRESS = "52:54:00:12:34:56"
PORTALS = ["10.0.2.100:3260", "10.0.2.101:3260"]
RELAY_SCRIPT = """#!/bin/sh
exec python3 -I -S '{program}' --relay '{socket}'
"""


class Kernel(enum.Enum):
    """What runs on a machine."""

    USUAL = "the distribution's kernel"
    PROC_SCSI = "the same with modules beside it that give it /proc/scsi/scsi"
    OLD_HOST = "the same again, which calls itself 2.4"
    NEWEST = "the newest that the distribution's archive has"


class Hardware:
    """The machine that a job wants: disks of the emulator, a network card, an array behind it."""

    def __init__(self, devices=(), network=False, targets=(), portals=len(PORTALS), memory_mib=1024,
                 kernel=Kernel.USUAL):
        self.devices = list(devices)
        self.network = network or bool(targets)
        self.targets = list(targets)
        self.portals = PORTALS[:portals]
        self.memory_mib = memory_mib
        self.kernel = kernel


def disk_bus(name, hotplug=False):
    """A SCSI host adapter. With hotplug off the kernel is not told of new disks, as on a fabric."""
    return ["-device", f"virtio-scsi-pci,id={name},hotplug={'on' if hotplug else 'off'}"]


def disk(bus, lun, size_mib=64, drive_type="scsi-hd", **properties):
    """A disk of the emulator without a medium worth the name: it reads as zeros."""
    name = f"{bus}lun{lun}"
    more = "".join(f",{key}={value}" for key, value in properties.items())
    return ["-drive", f"if=none,id={name},format=raw,file.driver=null-co,file.size={size_mib}M",
            "-device", f"{drive_type},id={name}dev,bus={bus}.0,lun={lun},drive={name}{more}"]


@contextlib.contextmanager
def run_machine(guest_files, hardware, on_end):
    """Boots a machine for a job and yields (guest, machine); `on_end` gets the machine while it still stands."""
    with contextlib.ExitStack() as stack:
        devices = list(hardware.devices)
        if hardware.network:
            devices += _network(stack, hardware.targets, hardware.portals)
        machine = stack.enter_context(Machine(guest_files.kernel, guest_files.ramdisk, devices, hardware.memory_mib))
        stack.callback(on_end, machine)
        yield Guest(machine), machine


def _network(stack, targets, portals):
    """A card on a closed network: nothing is reachable on it but the portals of the job's own targets."""
    forwards = ""
    if targets:
        work = Path(stack.enter_context(tempfile.TemporaryDirectory(prefix="scsitool-net-")))
        for number, portal in enumerate(portals, 1):
            server = stack.enter_context(TargetServer(work / f"portal{number}", targets, portals, number))
            relay = work / f"relay{number}"
            relay.write_text(RELAY_SCRIPT.format(program=server.program, socket=server.socket_path), "utf-8")
            relay.chmod(0o755)
            forwards += f",guestfwd=tcp:{portal}-cmd:{relay}"
    return ["-netdev", f"user,id=net0,restrict=on{forwards}",
            "-device", f"virtio-net-pci,netdev=net0,romfile=,mac={MAC_ADDRESS}"]
