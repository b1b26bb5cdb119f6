#!/usr/bin/env python3
"""Writes recorded hosts with many volumes of one array, for measurements.

    bench/make_hosts.py FOLDER [--hosts N] [--volumes N] [--paths N]

Host K of the fleet is FOLDER/hostK.json. Each volume is seen through that many paths and, with
more than one, under a multipath map. Every host but the first lacks one volume, its own, so that
there is something to be found that only some see.
"""

import argparse
import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools"))

from samples import pages as p  # noqa: E402
from samples.hosts import disk_letters  # noqa: E402

COMPANY, ARRAY = 0x0000C5, 0x17
GIBIBYTE = 1 << 30
LUNS_A_TARGET = 256
INQUIRY = p.standard_inquiry("ACME", "VOLUME", "1.00", length=96)


def disk_number(index):
    """The kernel's dev_t of an sd disk, whose majors do not suffice for thousands."""
    return f"259:{index * 16 % (1 << 20)}"


class Host:
    """One recorded host that grows disk by disk."""

    def __init__(self, name):
        self.name = name
        self.files, self.directories, self.links, self.devices = {}, {}, {}, {}
        self.disks, self.maps, self.addresses = [], [], []

    def pages(self, volume, port):
        name = p.naa6(COMPANY, ARRAY, volume)
        return {"std": INQUIRY.hex(),
                "00": p.vpd_page(0x00, bytes([0x00, 0x80, 0x83])).hex(),
                "80": p.serial_page(f"ARRAY17V{volume:06d}").hex(),
                "83": p.vpd_page(0x83, p.logical_unit_naa(name) + p.path_designators(
                    p.naa5(COMPANY, port), port, port)).hex()}

    def disk(self, volume, port, size):
        kernel_name = disk_letters(len(self.disks))
        target, lun = divmod(volume, LUNS_A_TARGET)
        address = f"{port}:0:{target}:{lun}"
        number = disk_number(len(self.disks))
        self.disks.append((kernel_name, size))
        self.addresses.append(address)
        inquiry = self.pages(volume, port)
        self.devices["/dev/" + kernel_name] = {
            "number": number, "size_bytes": size, "inquiry": inquiry,
            "id_lun": f"0x{port << 24 & 0xff000000 | (lun & 0xff) << 8 | target & 0xff:08x}"}
        folder = f"/sys/class/block/{kernel_name}/"
        self.directories[folder] = [".", "..", "dev", "device", "holders", "size"]
        self.directories[folder + "holders/"] = [".", ".."]
        self.files[folder + "dev"] = number + "\n"
        self.files[folder + "size"] = f"{size // 512}\n"
        self.links[folder + "device"] = f"../../../{address}"
        device = f"/sys/class/scsi_device/{address}/device/"
        self.files[device + "state"] = "running\n"
        self.files[device + "access_state"] = "active/optimized\n"
        self.files[device + "vendor"] = "ACME    \n"
        self.files[device + "model"] = "VOLUME          \n"
        self.files[device + "rev"] = "1.00\n"
        self.files[device + "vpd_pg80"] = {"hex": inquiry["80"]}
        self.files[device + "vpd_pg83"] = {"hex": inquiry["83"]}
        return kernel_name

    def map(self, volume, disks, size):
        kernel_name, alias = f"dm-{len(self.maps)}", f"mpath{len(self.maps)}"
        folder = f"/sys/class/block/{kernel_name}/"
        number = f"253:{len(self.maps)}"
        self.maps.append((kernel_name, size))
        self.devices["/dev/mapper/" + alias] = {
            "number": number, "size_bytes": size, "inquiry": self.pages(volume, 1),
            "id_lun": self.devices["/dev/" + disks[0]]["id_lun"]}
        self.directories[folder] = [".", "..", "dev", "dm", "holders", "size", "slaves"]
        self.directories[folder + "holders/"] = [".", ".."]
        self.directories[folder + "slaves/"] = [".", ".."] + disks
        self.files[folder + "dev"] = number + "\n"
        self.files[folder + "size"] = f"{size // 512}\n"
        self.files[folder + "dm/name"] = alias + "\n"
        self.files[folder + "dm/uuid"] = f"mpath-3{p.naa6(COMPANY, ARRAY, volume).hex()}\n"
        for disk in disks:
            self.directories[f"/sys/class/block/{disk}/holders/"].append(kernel_name)

    def recording(self):
        lines = [f"   8 {index:8} {size // 1024:10} {name}"
                 for index, (name, size) in enumerate(self.disks)]
        lines += [f" 253 {index:8} {size // 1024:10} {name}"
                  for index, (name, size) in enumerate(self.maps)]
        self.files["/proc/partitions"] = "\n".join(["major minor  #blocks  name", ""] + lines) + "\n"
        names = [name for name, _ in self.disks]
        maps = [name for name, _ in self.maps]
        aliases = [f"mpath{index}" for index in range(len(self.maps))]
        self.directories["/sys/class/block/"] = [".", ".."] + names + maps
        self.directories["/sys/class/scsi_device/"] = [".", ".."] + self.addresses
        self.directories["/dev/"] = [".", ".."] + names + ["mapper"]
        self.directories["/dev/mapper/"] = [".", "..", "control"] + aliases
        return {"comment": "Written by bench/make_hosts.py, not captured.",
                "format": "scsitool-host/1", "hostname": self.name,
                "kernel_release": "6.1.0-18-amd64", "files": in_order(self.files),
                "directories": in_order(self.directories), "links": in_order(self.links),
                "devices": in_order(self.devices), "commands": []}


def in_order(members):
    """As a capture writes them."""
    return dict(sorted(members.items()))


def usual_size(volume):
    return (1 + volume % 64) * GIBIBYTE


def make_host(index, volumes, paths, name=None, size_of=usual_size):
    host = Host(name or f"host{index}")
    for volume in range(volumes):
        if volume == index - 1:
            continue
        size = size_of(volume)
        disks = [host.disk(volume, port, size) for port in range(1, paths + 1)]
        if paths > 1:
            host.map(volume, disks, size)
    return host.recording()


def write_hosts(folder, hosts, volumes, paths):
    """Writes them and gives their files."""
    folder.mkdir(parents=True, exist_ok=True)
    files = [folder / f"host{index}.json" for index in range(hosts)]
    for index, file in enumerate(files):
        text = json.dumps(make_host(index, volumes, paths), indent=2)
        file.write_text(text + "\n", encoding="utf-8")
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--hosts", type=int, default=1)
    parser.add_argument("--volumes", type=int, default=5000)
    parser.add_argument("--paths", type=int, default=1)
    options = parser.parse_args()
    write_hosts(options.folder, options.hosts, options.volumes, options.paths)


if __name__ == "__main__":
    main()
