#include "operations.h"

#include <map>
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

// Owns what an operation gives, also when the next one throws.
class Owned {
  public:
    explicit Owned(Records taken) : records(std::move(taken)) {}
    ~Owned() {
        for (const CScsiDeviceData* const record : records) {
            delete record;
        }
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    Records records;
};

void inventory() {
    std::map<int, std::vector<int>> targets;
    discovery().getTargetIds(targets);
    std::map<int, int> luns;
    std::map<int, int> ids;
    std::map<int, int> channels;
    for (const SLinuxScsiDevice& device : discovery().getDeviceList(true)) {
        luns[device.host] = ids[device.host] = channels[device.host] = 0;
    }
    discovery().scanForAdapterMaximums(luns, ids, channels);
    discovery().getDeviceCount();
}

void removeDead(bool removeLun0) {
    Owned owned(discovery().rescan(false, false, false, "", ""));
    // What has no address is dropped from the list and stays the caller's.
    Records listed = owned.records;
    discovery().removeDeadDevices(listed, removeLun0);
}

void adapters() {
    std::map<std::string, std::vector<int>> drivers;
    discovery().GetHostAdapterList(drivers);
    discovery().RescanScsiMidLayer2_4(drivers);
    std::vector<std::string> names;
    discovery().GetHostAdapterList2_6(names);
}

void initiator() {
    CScsiTool tool;
    std::string iqn;
    std::string portal = "10.0.0.1";
    std::string target = "iqn.2026-01.org.acme:a";
    tool.GetHostIQN(iqn);
    tool.DiscoverIscsiTargets(portal);
    tool.LoginToIscsiIQN(target);
    tool.RescanIscsiSessions();
    tool.LogoutFromIscsiIQN(target);
}

void nativeDisks() {
    std::vector<CScsiDeviceData> disks;
    discovery().enumerateNativeDevicePathsExt(disks);
}

void pseudoDevices() {
    static CDmpDiscoveryManager manager;
    DeviceMap devices;
    manager.enumerateDmpDevices(devices);
    manager.rescan();
}

void removeRecord(const std::string& disk) {
    Owned owned(discovery().validateDevice(disk));
    CScsiTool tool;
    for (CScsiDeviceData* const record : owned.records) {
        tool.RemoveDevice(record);
    }
}

std::vector<Operation> libraryOperations() {
    return {
        {"enumerate",
         [](const std::string&) { factory().enumerateDeviceMap(false, false, false, "", ""); }},
        {"rescan and enumerate",
         [](const std::string&) { factory().enumerateDeviceMap(true, true, false, "", " -r"); }},
        {"one UDID",
         [](const std::string& disk) { factory().getCachedUniqueDeviceID(disk.c_str(), false); }},
        {"a UDID that is missing",
         [](const std::string&) { factory().getCachedUniqueDeviceID("/dev/sdzz", true); }},
        {"one device's map", [](const std::string& disk) { factory().validateDeviceMap(disk); }},
        {"remove a map", [](const std::string&) { factory().removeDevice("/dev/mapper/mpatha"); }},
        {"remove stale devices", [](const std::string&) { factory().removeStaleDevices(" -r"); }},
        {"remove dead devices", [](const std::string&) { removeDead(false); }, true},
        {"remove dead devices and LUN 0", [](const std::string&) { removeDead(true); }, true},
        {"remove an address", [](const std::string&) { discovery().RemoveDevice(2, 0, 0, 5); }},
        {"remove a record", removeRecord},
        {"flush maps", [](const std::string&) { discovery().FlushMultipathStaleDevices(); }},
        {"native disks", [](const std::string&) { nativeDisks(); }},
        {"pseudo-devices", [](const std::string&) { pseudoDevices(); }},
        {"inventory", [](const std::string&) { inventory(); }},
        {"adapters", [](const std::string&) { adapters(); }},
        {"initiator", [](const std::string&) { initiator(); }},
        {"port names", [](const std::string&) { WWPN().getWWPN(); }},
    };
}

// A command, by which the guard is in between. One device at a time is asked: nothing is forked.
Operation command(std::vector<std::string> words) {
    std::string name = "scsitool";
    for (const std::string& word : words) {
        name += " " + word;
    }
    words.insert(words.begin(), {"--jobs", "1", "--deadline", "0"});
    return {name, [words](const std::string&) {
                constexpr int kDoneInPart = 3;
                std::ostringstream out;
                std::ostringstream err;
                const int status = cli::run(words, out, err, cli::Surroundings(), host::current());
                if (status < 0 || status > kDoneInPart) {
                    throw std::runtime_error("the exit status is " + std::to_string(status));
                }
                if (status != 0 && err.str().empty()) {
                    throw std::runtime_error("nobody says what went wrong");
                }
            }};
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
                                               {"remove-stale", "-r"},
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
