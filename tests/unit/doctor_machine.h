#ifndef SCSITOOL_TESTS_DOCTOR_MACHINE_H
#define SCSITOOL_TESTS_DOCTOR_MACHINE_H

#include <string>
#include <vector>

#include "cli_harness.h"
#include "guard_machine.h"
#include "recording/capture/recorded_host_writer.h"

namespace test {

/// Every tool that an operation asks for, and what those answer that only read.
inline void addTools(recording::RecordedHostData& data) {
    for (const char* tool :
         {"/sbin/multipath", "/usr/sbin/dmsetup", "/sbin/pidof", "/sbin/powermt", "/sbin/iscsiadm",
          "/bin/ls", "/usr/bin/sg_inq", "/usr/bin/rescan-scsi-bus.sh", "/proc/scsi/scsi"}) {
        data.files.emplace(tool, "");
    }
    data.files["/etc/iscsi/initiatorname.iscsi"] = "InitiatorName=iqn.2026-01.org.acme:h\n";
    data.commands.push_back({"/sbin/pidof -x multipathd", {"412"}});
    for (const char* driver : {"qla2xxx", "qla2300", "lpfc"}) {
        data.commands.push_back(
            {std::string("/bin/ls /proc/scsi/") + driver + "/", {"No such file"}, 2});
    }
    data.commands.push_back({"/bin/ls /sys/class/fc_host/", {"host2"}});
    data.files["/sys/class/fc_host/host2/port_name"] = "0x21000024ff3a6e10\n";
    data.directories["/sys/class/"] = {".", "..", "block", "fc_host", "scsi_device"};
}

/// The guarded machine with all that a sound one has: nothing is to be found there.
inline recording::RecordedHostData soundMachine() {
    recording::RecordedHostData data = guardedMachine();
    addTools(data);
    data.files["/proc/partitions"] =
        "   8 16 1048576 sdb\n   8 32 1048576 sdc\n   8 48 1048576 sdd\n";
    std::uint32_t word = 0x02000500;
    for (const char* disk : {"/dev/sdb", "/dev/sdc", "/dev/sdd"}) {
        recording::RecordedDevice& device = data.devices[disk];
        device.pages[0x00] = recording::Bytes{0x00, 0x00, 0x00, 0x02, 0x00, 0x83};
        device.idLun = disk == std::string("/dev/sdd") ? 0x04000100 : word;
        word += 0x01000000;
    }
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpatha"};
    recording::RecordedDevice map = data.devices["/dev/sdd"];
    map.number = data.devices["/dev/dm-0"].number;
    map.inUse = false;
    data.devices["/dev/dm-0"] = map;
    return data;
}

/// The answers to a command, as the machine gives them.
inline std::vector<recording::RecordedCommand>::iterator commandOf(
    recording::RecordedHostData& data, const std::string& command) {
    return std::find_if(data.commands.begin(), data.commands.end(),
                        [&command](const auto& one) { return one.command == command; });
}

/// Has a command answered with "there is no such program".
inline void takeCommandAway(recording::RecordedHostData& data, const std::string& command) {
    commandOf(data, command)->output.clear();
    commandOf(data, command)->exitStatus = 127;
}

inline cli::Surroundings root() {
    cli::Surroundings surroundings;
    surroundings.isRoot = true;
    return surroundings;
}

/// The command run by root on a machine.
inline CliResult runOnMachine(const recording::RecordedHostData& data,
                              const std::vector<std::string>& arguments) {
    CliMachine machine(data);
    return machine.run(arguments, root());
}

/// The command run on a recording of a machine.
inline CliResult runOnRecording(const recording::RecordedHostData& data,
                                std::vector<std::string> arguments) {
    const TempFolder folder;
    const std::string file = folder.write("host.json", recording::recordedHostText(data, {}));
    arguments.insert(arguments.begin(), {"--host", file});
    CliMachine nowhere({});
    return nowhere.run(arguments);
}

}  // namespace test

#endif
