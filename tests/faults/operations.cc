#include "operations.h"

#include <map>
#include <new>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "cli/run.h"
#include "scsi/record_list.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"
#include "scsitool/udid/device_udid_factory.h"

namespace faults {
namespace {

using Records = std::vector<CScsiDeviceData*>;

// The factory leaves its generators to whoever took them: one is enough for all.
CUDIDFactory& factory() {
    static CUDIDFactory instance;
    return instance;
}

CLinuxDeviceDiscovery& discovery() {
    static CLinuxDeviceDiscovery instance;
    return instance;
}

std::string addressOf(const SLinuxScsiDevice& device) {
    return std::to_string(device.host) + ":" + std::to_string(device.channel) + ":" +
           std::to_string(device.id) + ":" + std::to_string(device.lun);
}

// Owns what an operation gives, also when the next one throws.
class Owned {
  public:
    Owned() = default;
    ~Owned() {
        for (const CScsiDeviceData* const record : records) {
            delete record;
        }
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    Records records;
};

void tellMap(Answering& answering, const DeviceMap& devices) {
    for (const auto& [name, device] : devices) {
        answering.found(name, device.uid);
    }
}

void enumerate(Answering& answering, bool withRescan) {
    DeviceMap devices;
    answering.call("enumerateDeviceMap", [&] {
        devices = factory().enumerateDeviceMap(withRescan, withRescan, false, "",
                                               withRescan ? " -r" : "");
    });
    tellMap(answering, devices);
}

void oneUdid(Answering& answering, const std::string& disk, bool rescanIfMissing) {
    std::string udid;
    answering.call("getCachedUniqueDeviceID", [&] {
        udid = factory().getCachedUniqueDeviceID(disk.c_str(), rescanIfMissing);
    });
    answering.found(disk, udid);
}

void oneMap(Answering& answering, const std::string& disk) {
    DeviceMap devices;
    answering.call("validateDeviceMap", [&] { devices = factory().validateDeviceMap(disk); });
    tellMap(answering, devices);
}

void inventory(Answering& answering) {
    std::map<int, std::vector<int>> targets;
    answering.code("getTargetIds", [&] { return discovery().getTargetIds(targets); });
    for (const auto& [host, ids] : targets) {
        for (const int id : ids) {
            answering.found("target " + std::to_string(host) + " " + std::to_string(id), "");
        }
    }
    std::map<int, int> luns;
    std::map<int, int> ids;
    std::map<int, int> channels;
    std::vector<SLinuxScsiDevice> devices;
    answering.call("getDeviceList", [&] { devices = discovery().getDeviceList(true); });
    for (const SLinuxScsiDevice& device : devices) {
        luns[device.host] = ids[device.host] = channels[device.host] = 0;
        answering.found("address " + addressOf(device), "");
    }
    answering.code("scanForAdapterMaximums",
                   [&] { return discovery().scanForAdapterMaximums(luns, ids, channels); });
    answering.code("getDeviceCount", [&] { return discovery().getDeviceCount(); });
}

void removeDead(Answering& answering, bool removeLun0) {
    Owned owned;
    answering.call("rescan",
                   [&] { owned.records = discovery().rescan(false, false, false, "", ""); });
    // What has no address is dropped from the list and stays the caller's.
    Records listed = owned.records;
    answering.call("removeDeadDevices", [&] { discovery().removeDeadDevices(listed, removeLun0); });
}

void adapters(Answering& answering) {
    std::map<std::string, std::vector<int>> drivers;
    answering.code("GetHostAdapterList", [&] { return discovery().GetHostAdapterList(drivers); });
    answering.code("RescanScsiMidLayer2_4",
                   [&] { return discovery().RescanScsiMidLayer2_4(drivers); });
    std::vector<std::string> names;
    answering.code("GetHostAdapterList2_6",
                   [&] { return discovery().GetHostAdapterList2_6(names); });
    for (const std::string& name : names) {
        answering.found("adapter " + name, "");
    }
}

void initiator(Answering& answering) {
    CScsiTool tool;
    std::string iqn;
    std::string portal = "10.0.0.1";
    std::string target = "iqn.2026-01.org.acme:a";
    answering.code("GetHostIQN", [&] { return tool.GetHostIQN(iqn); });
    answering.found("initiator", iqn);
    answering.code("DiscoverIscsiTargets", [&] { return tool.DiscoverIscsiTargets(portal); });
    answering.code("LoginToIscsiIQN", [&] { return tool.LoginToIscsiIQN(target); });
    answering.code("RescanIscsiSessions", [&] { return tool.RescanIscsiSessions(); });
    answering.code("LogoutFromIscsiIQN", [&] { return tool.LogoutFromIscsiIQN(target); });
}

void nativeDisks(Answering& answering) {
    std::vector<CScsiDeviceData> disks;
    answering.code("enumerateNativeDevicePathsExt",
                   [&] { return discovery().enumerateNativeDevicePathsExt(disks); });
    for (const CScsiDeviceData& disk : disks) {
        answering.found(disk.m_deviceName, std::to_string(disk.m_sizeKb));
    }
}

void nativePaths(Answering& answering, const std::string& disk) {
    std::vector<std::string> paths;
    answering.call("enumerateNativeDevicePaths",
                   [&] { paths = discovery().enumerateNativeDevicePaths(); });
    for (const std::string& path : paths) {
        answering.found(path, "");
    }
    unsigned long size = 0;
    answering.code("getDiskSize", [&] { return discovery().getDiskSize(disk, size); });
    answering.found(disk, std::to_string(size));
}

void pseudoDevices(Answering& answering) {
    static CDmpDiscoveryManager manager;
    DeviceMap devices;
    answering.code("enumerateDmpDevices", [&] { return manager.enumerateDmpDevices(devices); });
    tellMap(answering, devices);
    answering.code("rescan of the multipath layer", [&] { return manager.rescan(); });
}

void removeRecord(Answering& answering, const std::string& disk) {
    Owned owned;
    answering.call("validateDevice", [&] { owned.records = discovery().validateDevice(disk); });
    CScsiTool tool;
    for (CScsiDeviceData* const record : owned.records) {
        answering.code("RemoveDevice of a record", [&] { return tool.RemoveDevice(record); });
    }
}

void portNames(Answering& answering) {
    std::vector<std::string> names;
    answering.call("getWWPN", [&] { names = WWPN().getWWPN(); });
    for (const std::string& name : names) {
        answering.found("port " + name, "");
    }
}

std::vector<Operation> libraryOperations() {
    using A = Answering;
    const std::string map = "/dev/mapper/mpatha";
    return {
        {"enumerate", [](A& to, const std::string&) { enumerate(to, false); }},
        {"rescan and enumerate", [](A& to, const std::string&) { enumerate(to, true); }},
        {"one UDID", [](A& to, const std::string& disk) { oneUdid(to, disk, false); }},
        {"a UDID that is missing",
         [](A& to, const std::string&) { oneUdid(to, "/dev/sdzz", true); }},
        {"one device's map", oneMap},
        {"remove a map",
         [=](A& to, const std::string&) {
             to.call("removeDevice", [&] { factory().removeDevice(map); });
         }},
        {"remove stale devices",
         [](A& to, const std::string&) {
             to.code("removeStaleDevices", [] { return factory().removeStaleDevices(" -r"); });
         }},
        {"remove dead devices", [](A& to, const std::string&) { removeDead(to, false); }, true},
        {"remove dead devices and LUN 0", [](A& to, const std::string&) { removeDead(to, true); },
         true},
        {"remove an address",
         [](A& to, const std::string&) {
             to.call("RemoveDevice", [] { discovery().RemoveDevice(2, 0, 0, 5); });
         }},
        {"remove a record", removeRecord},
        {"flush maps",
         [](A& to, const std::string&) {
             to.code("FlushMultipathStaleDevices",
                     [] { return discovery().FlushMultipathStaleDevices(); });
         }},
        {"native disks", [](A& to, const std::string&) { nativeDisks(to); }},
        {"native paths", nativePaths},
        {"pseudo-devices", [](A& to, const std::string&) { pseudoDevices(to); }},
        {"inventory", [](A& to, const std::string&) { inventory(to); }},
        {"adapters", [](A& to, const std::string&) { adapters(to); }},
        {"initiator", [](A& to, const std::string&) { initiator(to); }},
        {"port names", [](A& to, const std::string&) { portNames(to); }},
    };
}

// A stream keeps to itself that there was no memory for what is read or written.
void requireWhole(const std::ios& stream) {
    if (stream.bad()) {
        throw std::bad_alloc();
    }
}

// Blanks that align a table's columns say nothing.
std::string withoutAlignment(const std::string& line) {
    std::istringstream words(line);
    std::string plain;
    for (std::string word; words >> word;) {
        plain += (plain.empty() ? "" : " ") + word;
    }
    requireWhole(words);
    return plain;
}

template <class Take>
void forEachLine(const std::ostringstream& text, Take take) {
    std::istringstream lines(text.str());
    for (std::string line; std::getline(lines, line);) {
        take(line);
    }
    requireWhole(lines);
}

void runCommand(Answering& answering, const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    answering.code(kCommand, [&] {
        const int status = cli::run(words, out, err, cli::Surroundings(), host::current());
        if (status != 0 && err.tellp() == std::streampos(0)) {
            throw std::runtime_error("nobody says what went wrong");
        }
        return status;
    });
    requireWhole(out);
    requireWhole(err);
    forEachLine(out, [&](const std::string& line) { answering.found(withoutAlignment(line), ""); });
    forEachLine(err, [&](const std::string& line) { answering.said(line); });
}

// A command, by which the guard is in between. One device at a time is asked: nothing is forked.
Operation command(std::vector<std::string> words) {
    std::string name = kCommand;
    for (const std::string& word : words) {
        name += " " + word;
    }
    words.insert(words.begin(), {"--jobs", "1", "--deadline", "0"});
    return {name,
            [words](Answering& answering, const std::string&) { runCommand(answering, words); }};
}

}  // namespace

std::vector<Operation> operations() {
    std::vector<Operation> all = libraryOperations();
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"volumes", "--paths"},
                                               {"doctor", "--json"},
                                               {"bus"},
                                               {"prune"},
                                               {"remove-dead", "--lun0"},
                                               {"remove-stale"},
                                               {"remove", "/dev/mapper/mpatha"},
                                               {"remove-address", "2:0:0:5"},
                                               {"flush-multipath"},
                                               {"iscsi", "logout", "iqn.2026-01.org.acme:a"},
                                               {"rescan", "--changes"}}) {
        all.push_back(command(words));
    }
    return all;
}

}  // namespace faults
