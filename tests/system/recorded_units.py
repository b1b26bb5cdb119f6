"""Logical units that answer what the disks of a recorded host answer, each as one that an array serves."""
import json
import re
from pathlib import Path

from iscsi_target import DEFAULT_SIZE_BYTES, LogicalUnit
from plain_unit import plain_unit

SAMPLES = Path(__file__).resolve().parent.parent.parent / "samples"
DISK = re.compile(r"/dev/sd[a-z]+")
# The kernel asks the unit with this number for all others, so it is one of no particular kind.
FIRST = 1


class RecordedDisks:
    """The disks of one sample that answer INQUIRY with a response, by the numbers that they are given."""

    def __init__(self, sample):
        self.text = (SAMPLES / f"{sample}.json").read_text("utf-8")
        devices = json.loads(self.text)["devices"]
        names = [name for name, device in devices.items() if DISK.fullmatch(name) and is_served(device)]
        self.names = dict(enumerate(names, FIRST))
        self.units = {number: unit_of(devices[name]) for number, name in self.names.items()}
        self.units[0] = plain_unit(0, "FIRST")


def is_served(device):
    """True when every answer of an entry is data: what the kernel itself has ended no disk can be asked to say."""
    answers = [*device.get("inquiry", {}).values(), *device.get("sg_io", {}).values()]
    return "std" in device.get("inquiry", {}) and all(isinstance(answer, str) for answer in answers)


def unit_of(device):
    """The logical unit of one device entry: its INQUIRY data, pages, the makers' own commands, and its size."""
    responses = {code: bytes.fromhex(answer) for code, answer in device["inquiry"].items()}
    standard = responses.pop("std")
    commands = {bytes.fromhex(block): bytes.fromhex(data) for block, data in device.get("sg_io", {}).items()}
    # Some record a size of 0, which no capacity can tell.
    return LogicalUnit(standard, {int(code, 16): page for code, page in responses.items()}, commands,
                       device.get("size_bytes") or DEFAULT_SIZE_BYTES)
