#include "scsitool/dmp/dmp_linux_device_mapper.h"

#include <gtest/gtest.h>

#include <cerrno>
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

constexpr char kMultipath[] = "/sbin/multipath -v0 ";

RecordedHostData hostWithMaps(const Texts& names) {
    RecordedHostData data;
    data.directories["/dev/mapper/"] = names;
    return data;
}

RecordedHostData hostWithMultipath(const recording::RecordedCommand& answer) {
    RecordedHostData data;
    data.commands = {answer};
    return data;
}

Texts keysOf(const DeviceMap& devices) {
    Texts keys;
    for (const auto& [key, info] : devices) {
        keys.push_back(key);
    }
    return keys;
}

Texts enumeratedKeys(const Texts& names) {
    const ScriptedHost host(hostWithMaps(names));
    CDmpLinuxDeviceMapper module;
    DeviceMap devices;
    EXPECT_EQ(module.enumerateDmpDevices(devices), 0);
    return keysOf(devices);
}

TEST(LinuxDeviceMapper, MapIsEnteredWithClaimLevelSixteen) {
    const ScriptedHost host(hostWithMaps({"mpatha"}));
    CDmpLinuxDeviceMapper module;
    DeviceMap devices;
    EXPECT_EQ(module.enumerateDmpDevices(devices), 0);
    ASSERT_EQ(keysOf(devices), Texts{"/dev/mapper/mpatha"});
    const SDeviceInfo& info = devices["/dev/mapper/mpatha"];
    EXPECT_EQ(info.dmpClaimLevel, 16);
    EXPECT_EQ(info.deviceName, "/dev/mapper/mpatha");
    EXPECT_EQ(info.uid, "");
    EXPECT_EQ(info.nativePaths, Texts{});
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(LinuxDeviceMapper, PartitionMapsOfOneDigitAreSkipped) {
    EXPECT_EQ(enumeratedKeys({"mpatha", "mpathap1", "mpathap9", "mpathap0", "mpathap", "p1"}),
              (Texts{"/dev/mapper/mpatha", "/dev/mapper/mpathap"}));
}

TEST(LinuxDeviceMapper, PartitionMapsOfTwoDigitsAreEntered) {
    EXPECT_EQ(enumeratedKeys({"mpathap12"}), Texts{"/dev/mapper/mpathap12"});
}

TEST(LinuxDeviceMapper, DigitWithoutTheLetterIsNoPartition) {
    EXPECT_EQ(enumeratedKeys({"1", "mpath1", "mpathP1", "mpathap/", "mpathap:"}),
              (Texts{"/dev/mapper/1", "/dev/mapper/mpath1", "/dev/mapper/mpathP1",
                     "/dev/mapper/mpathap/", "/dev/mapper/mpathap:"}));
}

TEST(LinuxDeviceMapper, NamesWithADashAreSkipped) {
    EXPECT_EQ(enumeratedKeys({"vg00-lvol1", "-", "a-", "mpathb"}), Texts{"/dev/mapper/mpathb"});
}

TEST(LinuxDeviceMapper, DotEntriesAndControlNodeAreEntered) {
    EXPECT_EQ(enumeratedKeys({".", "..", "control"}),
              (Texts{"/dev/mapper/.", "/dev/mapper/..", "/dev/mapper/control"}));
}

TEST(LinuxDeviceMapper, MissingDirectoryHasNoEntries) {
    const ScriptedHost host;
    CDmpLinuxDeviceMapper module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    DeviceMap devices;
    EXPECT_EQ(module.enumerateDmpDevices(devices), 0);
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
                     "[3] INFO: readdir lines returned [0] devices.",
                     "[6] Exiting Function enumerateDmpDevices [N, dmp_linux_device_mapper]"}));
}

TEST(LinuxDeviceMapper, EntryUnderTheSamePathIsReplaced) {
    const ScriptedHost host(hostWithMaps({"mpatha"}));
    CDmpLinuxDeviceMapper module;
    DeviceMap devices;
    devices["/dev/mapper/mpatha"] = {3, "other", "UDID##X", {"/dev/sda"}};
    devices["/dev/emcpowera"] = {16, "/dev/emcpowera", "", {}};
    module.enumerateDmpDevices(devices);
    ASSERT_EQ(keysOf(devices), (Texts{"/dev/emcpowera", "/dev/mapper/mpatha"}));
    EXPECT_EQ(devices["/dev/mapper/mpatha"].dmpClaimLevel, 16);
    EXPECT_EQ(devices["/dev/mapper/mpatha"].deviceName, "/dev/mapper/mpatha");
    EXPECT_EQ(devices["/dev/mapper/mpatha"].uid, "");
    EXPECT_EQ(devices["/dev/mapper/mpatha"].nativePaths, Texts{});
}

TEST(LinuxDeviceMapper, EnumerationIsTracedInDirectoryOrder) {
    const ScriptedHost host(hostWithMaps({"mpathb", "mpathap1", "vg00-lvol1", "mpatha"}));
    CDmpLinuxDeviceMapper module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    DeviceMap devices;
    module.enumerateDmpDevices(devices);
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
               "[3] INFO: readdir lines returned [4] devices.",
               "[3] Working on device [/dev/mapper/mpathb]",
               "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/mpathb]",
               "[3] Working on device [/dev/mapper/mpathap1]",
               "[3] Working on device [/dev/mapper/vg00-lvol1]",
               "[3] Working on device [/dev/mapper/mpatha]",
               "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/mpatha]",
               "[6] Exiting Function enumerateDmpDevices [N, dmp_linux_device_mapper]"}));
}

TEST(LinuxDeviceMapper, RescanRunsMultipathQuietly) {
    const ScriptedHost host(hostWithMultipath({kMultipath, {"noise"}}));
    CDmpLinuxDeviceMapper module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    EXPECT_EQ(module.rescan(), 0);
    EXPECT_EQ(host.effects(), Texts{ran("/sbin/multipath -v0 ", 600)});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescan [N, dmp_linux_device_mapper]",
                     "[6] calling command [/sbin/multipath -v0 ].",
                     "[6] Exiting Function rescan [N, dmp_linux_device_mapper]"}));
}

TEST(LinuxDeviceMapper, FailedRescanTracesTheOutputWithoutASeparator) {
    const ScriptedHost host(hostWithMultipath({kMultipath, {"no paths", "DM failed"}, 1}));
    CDmpLinuxDeviceMapper module;
    TraceCapture trace;
    module.registerTraceLog(trace.log());
    EXPECT_EQ(module.rescan(), 11);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescan [N, dmp_linux_device_mapper]",
                     "[6] calling command [/sbin/multipath -v0 ].",
                     "[1] Failed to refresh devices with message ==>no pathsDM failed.",
                     "[6] Exiting Function rescan [N, dmp_linux_device_mapper]"}));
}

TEST(LinuxDeviceMapper, RescanGivesTheResultOfThePipe) {
    CDmpLinuxDeviceMapper module;
    recording::RecordedCommand timedOut{kMultipath, {}};
    timedOut.timedOut = true;
    {
        const ScriptedHost host(hostWithMultipath(timedOut));
        EXPECT_EQ(module.rescan(), 5);
    }
    const ScriptedHost withoutTheTool;
    EXPECT_EQ(module.rescan(), 11);
}

TEST(ReadDir, PatternIsLookedForAnywhereInTheName) {
    const ScriptedHost host(hostWithMaps({"ab", "b", "xabx", ".", "control", "AB"}));
    CDmpLinuxDeviceMapper module;
    EXPECT_EQ(module.readDir("/dev/mapper/", "ab"), (Texts{"/dev/mapper/ab", "/dev/mapper/xabx"}));
    EXPECT_EQ(module.readDir("/dev/mapper/", "").size(), 6U);
}

TEST(ReadDir, PatternInTheDirectoryAloneDoesNotCount) {
    const ScriptedHost host(hostWithMaps({"ab"}));
    CDmpLinuxDeviceMapper module;
    EXPECT_EQ(module.readDir("/dev/mapper/", "mapper"), Texts{});
}

TEST(ReadDir, DirectoryAndNameAreJoinedAsTheyAre) {
    const ScriptedHost host(hostWithMaps({"ab"}));
    CDmpLinuxDeviceMapper module;
    EXPECT_EQ(module.readDir("/dev/mapper", ""), Texts{"/dev/mapperab"});
}

TEST(ReadDir, UnreadableDirectoryHasNoEntriesAndIsSilent) {
    ScriptedHost host;
    host.listings["/dev/mapper/"] = {EACCES, 0, {"mpatha"}};
    CDmpLinuxDeviceMapper module;
    testing::internal::CaptureStdout();
    EXPECT_EQ(module.readDir("/dev/mapper/", ""), Texts{});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ReadDir, FailedReadKeepsWhatWasReadAndIsToldOnStandardOutput) {
    ScriptedHost host;
    host.listings["/dev/mapper/"] = {0, EIO, {"mpatha"}};
    CDmpLinuxDeviceMapper module;
    testing::internal::CaptureStdout();
    EXPECT_EQ(module.readDir("/dev/mapper/", ""), Texts{"/dev/mapper/mpatha"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error reading directory /dev/mapper/");
}

TEST(LinuxDeviceMapper, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CDmpLinuxDeviceMapper::registerTraceLog), 2);
    EXPECT_EQ(slotOf(&CDmpLinuxDeviceMapper::enumerateDmpDevices), 3);
    EXPECT_EQ(slotOf(&CDmpLinuxDeviceMapper::rescan), 4);
    EXPECT_EQ(slotOf(&CDmpLinuxDeviceMapper::readDir), -1);
}

TEST(LinuxDeviceMapper, HasNoDataBeyondTheTraceLog) {
    EXPECT_EQ(sizeof(CDmpLinuxDeviceMapper), sizeof(qzfi_pdk_4_4::CFiTraceable));
}

}  // namespace
