#include "scsitool/dmp/dmp_powerpath.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scripted_host.h"
#include "slot_of.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::ran;
using test::ScriptedHost;
using test::slotOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

const Texts kPowermtRuns = {ran("/sbin/powermt check force dev=all class=all"),
                            ran("/sbin/powermt release"), ran("/sbin/powermt config"),
                            ran("/sbin/powermt save")};

RecordedHostData hostWithNodes(const Texts& names) {
    RecordedHostData data;
    data.directories["/dev/"] = names;
    return data;
}

RecordedHostData hostWithPowermt(int exitStatus) {
    RecordedHostData data;
    data.files["/sbin/powermt"] = "";
    data.commands = {{"/sbin/powermt check force dev=all class=all", {"dead", "paths"}, exitStatus},
                     {"/sbin/powermt release", {"busy"}, exitStatus},
                     {"/sbin/powermt config", {}, exitStatus},
                     {"/sbin/powermt save", {"read-only", " file system"}, exitStatus}};
    return data;
}

Texts keysOf(const DeviceMap& devices) {
    Texts keys;
    for (const auto& [key, info] : devices) {
        keys.push_back(key);
    }
    return keys;
}

TEST(PowerPath, NodesAreEnteredWithClaimLevelSixteen) {
    const ScriptedHost host(
        hostWithNodes({".", "..", "sda", "emcpowera", "emcpowera1", "emcpower", "emcpoweraa"}));
    CDmpPowerPathDiscovery module;
    DeviceMap devices;
    EXPECT_EQ(module.enumerateDmpDevices(devices), 0);
    ASSERT_EQ(keysOf(devices), (Texts{"/dev/emcpowera", "/dev/emcpoweraa"}));
    for (const auto& [key, info] : devices) {
        EXPECT_EQ(info.dmpClaimLevel, 16) << key;
        EXPECT_EQ(info.deviceName, key);
        EXPECT_EQ(info.uid, "") << key;
        EXPECT_EQ(info.nativePaths, Texts{}) << key;
    }
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(PowerPath, NumberAtTheEndIsAPartition) {
    const ScriptedHost host(
        hostWithNodes({"emcpower0", "emcpowera0", "emcpowera9", "emcpower1a", "emcpowera12"}));
    CDmpPowerPathDiscovery module;
    DeviceMap devices;
    module.enumerateDmpDevices(devices);
    EXPECT_EQ(keysOf(devices), Texts{"/dev/emcpower1a"});
}

TEST(PowerPath, NodeWithTheNameInsideIsEntered) {
    const ScriptedHost host(hostWithNodes({"xemcpower", "remcpowera", "EMCPOWERA"}));
    CDmpPowerPathDiscovery module;
    DeviceMap devices;
    module.enumerateDmpDevices(devices);
    EXPECT_EQ(keysOf(devices), (Texts{"/dev/remcpowera", "/dev/xemcpower"}));
}

TEST(PowerPath, HostWithoutNodesAddsNothing) {
    const ScriptedHost host;
    CDmpPowerPathDiscovery module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    DeviceMap devices;
    EXPECT_EQ(module.enumerateDmpDevices(devices), 0);
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function enumerateDmpDevices [N, dmp_powerpath]",
                     "[3] INFO: enumerating devices using command [], lines returned [0]",
                     "[6] Exiting Function enumerateDmpDevices [N, dmp_powerpath]"}));
}

TEST(PowerPath, EntryUnderTheSamePathIsReplaced) {
    const ScriptedHost host(hostWithNodes({"emcpowera"}));
    CDmpPowerPathDiscovery module;
    DeviceMap devices;
    devices["/dev/emcpowera"] = {1, "other", "UDID##X", {"/dev/sda"}};
    module.enumerateDmpDevices(devices);
    EXPECT_EQ(devices["/dev/emcpowera"].dmpClaimLevel, 16);
    EXPECT_EQ(devices["/dev/emcpowera"].deviceName, "/dev/emcpowera");
    EXPECT_EQ(devices["/dev/emcpowera"].uid, "");
    EXPECT_EQ(devices["/dev/emcpowera"].nativePaths, Texts{});
}

TEST(PowerPath, EnumerationIsTraced) {
    const ScriptedHost host(hostWithNodes({"emcpowerb", "emcpower", "emcpowerb1", "emcpowera"}));
    CDmpPowerPathDiscovery module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    DeviceMap devices;
    module.enumerateDmpDevices(devices);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function enumerateDmpDevices [N, dmp_powerpath]",
                     "[3] INFO: enumerating devices using command [], lines returned [4]",
                     "[3] INFO: adding powerpath device to the map [/dev/emcpowerb]",
                     "[3] INFO: adding powerpath device to the map [/dev/emcpowera]",
                     "[6] Exiting Function enumerateDmpDevices [N, dmp_powerpath]"}));
}

TEST(PowerPath, RescanWithoutTheToolRunsNothing) {
    const ScriptedHost host;
    CDmpPowerPathDiscovery module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    EXPECT_EQ(module.rescan(), 0);
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescan [N, dmp_powerpath]",
                     "[3] CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() called.",
                     "[2] CDmpPowerPathDiscovery: WARNING: powermt command (/sbin/powermt) was "
                     "not found.",
                     "[6] Exiting Function rescan [N, dmp_powerpath]"}));
}

TEST(PowerPath, RescanRunsFourCommandsInOrder) {
    const ScriptedHost host(hostWithPowermt(0));
    CDmpPowerPathDiscovery module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    EXPECT_EQ(module.rescan(), 0);
    EXPECT_EQ(host.effects(), kPowermtRuns);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescan [N, dmp_powerpath]",
                     "[3] CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() called.",
                     "[3] CDmpPowerPathDiscovery: removing dead powerpath devices",
                     "[3] CDmpPowerPathDiscovery: running powermt release (Linux only) ",
                     "[3] CDmpPowerPathDiscovery: running powermt config",
                     "[3] CDmpPowerPathDiscovery: running powermt save",
                     "[3] CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() completed.",
                     "[6] Exiting Function rescan [N, dmp_powerpath]"}));
}

TEST(PowerPath, EveryCommandFailingStillRunsAllFour) {
    const ScriptedHost host(hostWithPowermt(1));
    CDmpPowerPathDiscovery module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    EXPECT_EQ(module.rescan(), 0);
    EXPECT_EQ(host.effects(), kPowermtRuns);
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function rescan [N, dmp_powerpath]",
               "[3] CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() called.",
               "[3] CDmpPowerPathDiscovery: removing dead powerpath devices",
               "[2] CDmpPowerPathDiscovery: removal of dead powerpath devices failed with message "
               "[ deadpaths ].",
               "[3] CDmpPowerPathDiscovery: running powermt release (Linux only) ",
               "[2] CDmpPowerPathDiscovery: Linux powermt release failed, some emcpower devices "
               "may not have been reclaimed for later use, error message - [busy].",
               "[3] CDmpPowerPathDiscovery: running powermt config",
               "[2] CDmpPowerPathDiscovery: removal of dead powerpath devices failed with error "
               "[].",
               "[3] CDmpPowerPathDiscovery: running powermt save",
               "[2] CDmpPowerPathDiscovery: running powerpath save failed with error [ read-only "
               "file system].",
               "[3] CDmpPowerPathDiscovery: ExecuteEmcPowerPathCommands() completed.",
               "[6] Exiting Function rescan [N, dmp_powerpath]"}));
}

TEST(PowerPath, RescanWorksWithoutATraceLog) {
    const ScriptedHost host(hostWithPowermt(1));
    CDmpPowerPathDiscovery module;
    EXPECT_EQ(module.rescan(), 0);
    EXPECT_EQ(host.effects(), kPowermtRuns);
}

TEST(PowerPath, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CDmpPowerPathDiscovery::registerTraceLog), 2);
    EXPECT_EQ(slotOf(&CDmpPowerPathDiscovery::enumerateDmpDevices), 3);
    EXPECT_EQ(slotOf(&CDmpPowerPathDiscovery::rescan), 4);
}

}  // namespace
