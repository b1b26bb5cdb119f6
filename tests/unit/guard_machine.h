#ifndef SCSITOOL_TESTS_GUARD_MACHINE_H
#define SCSITOOL_TESTS_GUARD_MACHINE_H

#include <functional>
#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"

namespace test {

/// INQUIRY data of a connected disk (SPC-3, 36 bytes).
inline recording::Bytes standardInquiry(const std::string& product = "Disk            ") {
    const std::string bytes =
        std::string("\x00\x00\x05\x02\x1f\x00\x00\x02", 8) + "ACME    " + product + "0430";
    return recording::Bytes(bytes.begin(), bytes.end());
}

/// Page 0x83 with the unit's NAA identifier and, behind it, one of the port.
inline recording::Bytes identification(std::uint8_t unit, std::uint8_t port) {
    return {0x00, 0x83, 0x00, 0x18,                                                  //
            0x01, 0x03, 0x00, 0x08, 0x50, 0x00, 0xc5, 0x00, 0x12, 0x34, 0x56, unit,  //
            0x01, 0x93, 0x00, 0x08, 0x50, 0x00, 0xc5, 0x00, 0x99, 0x00, 0x00, port};
}

/// A script that reads sg_inq by patterns of its own.
inline std::string rescanScript(const std::string& qualifierPattern) {
    return "#!/bin/bash\nVERSION=\"20230413\"\n"
           "  IVEND=$(echo \"$INQ\" | grep 'Vendor identification:' | sed 's/^[^:]*: //')\n"
           "  IPQUAL=$(echo \"$INQ\" | sed -n 's/" +
           qualifierPattern + "/\\1/p')\n";
}

constexpr const char* kReadable = " *PQual=\\([0-9]*\\)  PDT.*";
constexpr const char* kUnreadable = " *PQual=\\([0-9]*\\)  Device.*";

inline host::DeviceNumber blockNumber(unsigned major, unsigned minor) {
    return {host::DeviceNumber::Kind::kBlock, major, minor};
}

/// A disk of the machine: node, sysfs entries and its generic node.
inline void addDisk(recording::RecordedHostData& data, const std::string& name,
                    const std::string& address, unsigned minor, const std::string& generic) {
    const std::string device = "/sys/class/scsi_device/" + address + "/device/";
    const std::string block = "/sys/class/block/" + name + "/";
    data.directories["/sys/class/scsi_device/"].push_back(address);
    data.directories["/sys/class/block/"].push_back(name);
    data.directories["/dev/"].push_back(name);
    data.directories[device] = {".", "..", "block", "scsi_generic", "vendor", "delete"};
    data.directories[device + "block/"] = {".", "..", name};
    data.directories[device + "scsi_generic/"] = {".", "..", generic};
    data.directories[block] = {".", "..", "dev", "holders"};
    data.directories[block + "holders/"] = {".", ".."};
    data.files[block + "dev"] = "8:" + std::to_string(minor) + "\n";
    data.files["/sys/block/" + name + "/device/delete"] = "";
    data.files[device + "scsi_generic/" + generic + "/dev"] = "21:" + std::to_string(minor) + "\n";
    data.files[device + "delete"] = "";
    data.files[device + "vendor"] = "ACME    \n";
    data.files[device + "model"] = "Disk            \n";
    data.files[device + "rev"] = "0430\n";
    data.files[device + "type"] = "0\n";
    data.links[block + "device"] = "../../../" + address;
    recording::RecordedDevice node;
    node.number = blockNumber(8, minor);
    node.standardInquiry = recording::RecordedPage(standardInquiry());
    node.pages[0x83] = recording::RecordedPage(identification(7, static_cast<std::uint8_t>(minor)));
    node.sgIo[recording::Bytes(6, 0)] = {};
    data.devices["/dev/" + name] = node;
    node.number = {host::DeviceNumber::Kind::kCharacter, 21, minor};
    data.devices["/dev/" + generic] = node;
}

/// A block device that is no SCSI disk: a partition, a map, a loop device.
inline void addBlock(recording::RecordedHostData& data, const std::string& name,
                     const host::DeviceNumber& number) {
    const std::string block = "/sys/class/block/" + name + "/";
    data.directories["/sys/class/block/"].push_back(name);
    data.directories["/dev/"].push_back(name);
    data.directories[block] = {".", "..", "dev", "holders", "slaves"};
    data.directories[block + "holders/"] = {".", ".."};
    data.directories[block + "slaves/"] = {".", ".."};
    data.files[block + "dev"] =
        std::to_string(number.major) + ":" + std::to_string(number.minor) + "\n";
    recording::RecordedDevice node;
    node.number = number;
    data.devices["/dev/" + name] = node;
}

inline void addMap(recording::RecordedHostData& data, const std::string& name, unsigned minor,
                   const std::string& mapName, const std::string& uuid) {
    addBlock(data, name, blockNumber(253, minor));
    data.files["/sys/class/block/" + name + "/dm/name"] = mapName + "\n";
    data.files["/sys/class/block/" + name + "/dm/uuid"] = uuid + "\n";
    data.links["/dev/mapper/" + mapName] = "../" + name;
}

inline void addHolder(recording::RecordedHostData& data, const std::string& below,
                      const std::string& above) {
    data.directories["/sys/class/block/" + below + "/holders/"].push_back(above);
    data.directories["/sys/class/block/" + above + "/slaves/"].push_back(below);
}

/// A process that has a node open for writing.
inline void addWriter(recording::RecordedHostData& data, const std::string& node) {
    data.directories["/proc/77/fd/"] = {".", "..", "0", "7"};
    data.links["/proc/77/fd/0"] = "socket:[12]";
    data.links["/proc/77/fd/7"] = node;
    data.files["/proc/77/fdinfo/7"] = "pos:\t0\nflags:\t0100002\nmnt_id:\t27\n";
    data.files["/proc/77/comm"] = "dd\n";
}

/// An idle host with everything that a live one has: disk sdb with partition sdb1 at 2:0:0:5 behind
/// an iSCSI session, disk sdc of the same volume at 3:0:0:5, and the unused multipath map mpatha
/// (dm-0) over sdd at 4:0:0:1.
inline recording::RecordedHostData guardedMachine() {
    recording::RecordedHostData data;
    for (const char* folder : {"/sys/class/scsi_device/", "/sys/class/block/", "/dev/"}) {
        data.directories[folder] = {".", ".."};
    }
    addDisk(data, "sdb", "2:0:0:5", 16, "sg1");
    addDisk(data, "sdc", "3:0:0:5", 32, "sg2");
    addDisk(data, "sdd", "4:0:0:1", 48, "sg3");
    addBlock(data, "sdb1", blockNumber(8, 17));
    data.directories["/sys/class/block/sdb/"].push_back("sdb1");
    addMap(data, "dm-0", 0, "mpatha", "mpath-3600");
    addHolder(data, "sdd", "dm-0");
    data.devices["/dev/sdd"].inUse = true;
    data.files["/proc/scsi/scsi"] =
        "Attached devices:\nHost: scsi2 Channel: 00 Id: 00 Lun: 05\n"
        "  Vendor: A\n  Type:   Direct-Access\n";
    data.files["/proc/partitions"] = "   8       16    1048576 sdb\n";
    data.files["/proc/swaps"] = "Filename Type Size Used Priority\n";
    data.files["/proc/self/mountinfo"] = "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
    data.directories["/proc/"] = {".", "..", "1", "77", "self", "swaps"};
    data.links["/proc/self"] = "1";
    data.links["/proc/self/ns/mnt"] = "mnt:[1]";
    data.links["/proc/77/ns/mnt"] = "mnt:[1]";
    data.files["/proc/77/stat"] = "77 (dd) S 1 77\n";
    data.directories["/proc/77/fd/"] = {".", ".."};
    data.directories["/sys/class/iscsi_session/"] = {".", "..", "session1"};
    data.files["/sys/class/iscsi_session/session1/targetname"] = "iqn.2026-01.org.acme:a\n";
    data.directories["/sys/class/iscsi_session/session1/device/"] = {".", "..", "target2:0:0"};
    data.directories["/sys/class/iscsi_session/session1/device/target2:0:0/"] = {".", "..",
                                                                                 "2:0:0:5"};
    data.files["/usr/bin/rescan-scsi-bus.sh"] = rescanScript(kReadable);
    for (const char* generic : {"sg1", "sg2", "sg3"}) {
        data.commands.push_back({"/usr/bin/sg_inq --len=36 /dev/" + std::string(generic),
                                 {"standard INQUIRY:", "  PQual=0  PDT=0  RMB=0  version=0x05 ",
                                  " Vendor identification: ACME    "}});
    }
    data.commands.push_back({"/usr/bin/sg_inq -V", {"Version string: 2.10 20210328"}});
    data.files["/sys/class/scsi_host/host2/scan"] = "";
    return data;
}

/// A way in which disk sdb of the machine is used, and the reason that the guard names.
struct UseKind {
    std::string name;
    std::function<void(recording::RecordedHostData&)> begin;
    std::string reason;
};

inline std::vector<UseKind> kindsOfUse() {
    using Data = recording::RecordedHostData;
    const auto claimed = [](Data& data) { data.devices["/dev/sdb"].inUse = true; };
    return {
        {"mounted",
         [=](Data& data) {
             claimed(data);
             data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
         },
         "mounted at /data"},
        {"partition mounted",
         [=](Data& data) {
             data.devices["/dev/sdb1"].inUse = true;
             data.files["/proc/self/mountinfo"] =
                 "30 20 8:17 / /my\\040data rw shared:1 - xfs none rw\n";
         },
         "mounted at /my data"},
        {"mounted in another namespace",
         [=](Data& data) {
             claimed(data);
             data.links["/proc/77/ns/mnt"] = "mnt:[2]";
             data.files["/proc/77/mountinfo"] = "9 8 8:16 / /inside rw - xfs x rw\n";
         },
         "mounted at /inside"},
        {"mounted under another name and number",
         [=](Data& data) {
             data.files["/proc/self/mountinfo"] = "30 20 0:45 / /pool rw - btrfs /dev/sdb1 rw\n";
         },
         "mounted at /pool"},
        {"claimed by nobody known", claimed, "in use: the kernel refuses an exclusive open"},
        {"partition claimed by nobody known",
         [](Data& data) { data.devices["/dev/sdb1"].inUse = true; },
         "in use: the kernel refuses an exclusive open"},
        {"second device of a btrfs",
         [=](Data& data) {
             claimed(data);
             data.directories["/sys/fs/btrfs/"] = {".", "..", "features", "1234-uuid"};
             data.directories["/sys/fs/btrfs/1234-uuid/devices/"] = {".", "..", "sda2", "sdb"};
         },
         "part of a mounted btrfs file system (sdb)"},
        {"swap",
         [](Data& data) {
             data.files["/proc/swaps"] = "Filename Type Size Used Priority\n/dev/sdb1 p 1 0 -2\n";
         },
         "used as swap (/dev/sdb1)"},
        {"swap under another name",
         [](Data& data) {
             data.files["/proc/swaps"] = "Filename Type Size Used Priority\n/dev/swap p 1 0 -2\n";
             data.devices["/dev/swap"].number = blockNumber(8, 17);
         },
         "used as swap (/dev/swap)"},
        {"held by md",
         [](Data& data) {
             addBlock(data, "md127", blockNumber(9, 127));
             addHolder(data, "sdb", "md127");
         },
         "held by md (md127)"},
        {"held by LVM through a partition",
         [](Data& data) {
             addMap(data, "dm-3", 3, "vg00-root", "LVM-abc");
             addHolder(data, "sdb1", "dm-3");
         },
         "held by LVM (dm-3, vg00-root)"},
        {"held by dm-crypt",
         [](Data& data) {
             addMap(data, "dm-4", 4, "secret", "CRYPT-LUKS2-x");
             addHolder(data, "sdb", "dm-4");
         },
         "held by dm-crypt (dm-4, secret)"},
        {"multipath member whose map is mounted",
         [=](Data& data) {
             claimed(data);
             addMap(data, "dm-5", 5, "mpathb", "mpath-3601");
             addHolder(data, "sdb", "dm-5");
             addHolder(data, "sdc", "dm-5");
             data.files["/proc/self/mountinfo"] = "30 20 253:5 / /db rw - xfs x rw\n";
         },
         "held by the multipath map (dm-5, mpathb), whose other living paths are sdc"},
        {"loop over the disk",
         [](Data& data) {
             addBlock(data, "loop0", blockNumber(7, 0));
             data.files["/sys/class/block/loop0/loop/backing_file"] = "/dev/alias\n";
             data.devices["/dev/alias"].number = blockNumber(8, 16);
         },
         "under the loop device loop0"},
        {"exported by the kernel's target",
         [=](Data& data) {
             claimed(data);
             data.directories["/sys/kernel/config/target/core/"] = {".", "..", "alua", "iblock_0"};
             data.directories["/sys/kernel/config/target/core/iblock_0/"] = {".", "..", "hba_info",
                                                                             "disk1"};
             data.files["/sys/kernel/config/target/core/iblock_0/disk1/udev_path"] = "/dev/sdb\n";
         },
         "exported by the kernel's target (iblock_0/disk1)"},
        {"exported as a file of the kernel's target",
         [](Data& data) {
             data.directories["/sys/kernel/config/target/core/"] = {".", "..", "fileio_0"};
             data.directories["/sys/kernel/config/target/core/fileio_0/"] = {".", "..", "d"};
             data.files["/sys/kernel/config/target/core/fileio_0/d/info"] =
                 "Status: ACTIVATED\nTCM FILEIO ID: 0        File: /dev/sdb  Size: 1 Mode: x\n";
         },
         "exported by the kernel's target (fileio_0/d)"},
        {"open for writing", [](Data& data) { addWriter(data, "/dev/sdb"); },
         "open for writing in process 77 (dd)"},
        {"open for writing by another node",
         [](Data& data) {
             addWriter(data, "/tmp/mine");
             data.devices["/tmp/mine"].number = blockNumber(8, 17);
         },
         "open for writing in process 77 (dd)"},
        {"open for writing by its generic node", [](Data& data) { addWriter(data, "/dev/sg1"); },
         "open for writing in process 77 (dd)"},
        {"path of a PowerPath device",
         [](Data& data) {
             addBlock(data, "emcpowera", blockNumber(120, 0));
             auto& pseudo = data.devices["/dev/emcpowera"];
             pseudo.standardInquiry = recording::RecordedPage(standardInquiry());
             pseudo.pages[0x83] = recording::RecordedPage(identification(7, 99));
             data.files["/proc/self/mountinfo"] = "30 20 120:0 / /pp rw - xfs x rw\n";
         },
         "a path of the PowerPath device emcpowera, which is mounted at /pp"},
    };
}

}  // namespace test

#endif
