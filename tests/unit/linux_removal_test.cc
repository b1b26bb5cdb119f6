#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "scripted_host.h"
#include "scsi_table_text.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::appended;
using test::kScsiTable;
using test::ProcessTraceScope;
using test::ran;
using test::ScriptedHost;
using test::tableEntry;
using test::tableOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kPidof[] = "/sbin/pidof -x multipathd";
constexpr char kFlush[] = "/sbin/multipath -F";

/// A host with these disks, whose addresses can be removed; it has no rescan script.
RecordedHostData hostWithDisks(const std::vector<SLinuxScsiDevice>& addresses) {
    RecordedHostData data;
    data.files[kScsiTable] = tableOf(addresses);
    for (const SLinuxScsiDevice& address : addresses) {
        data.files["/sys/class/scsi_device/" + test::textOf(address) + "/device/delete"] = "";
        data.files["/sys/class/scsi_host/host" + std::to_string(address.host) + "/scan"] = "";
    }
    return data;
}

Texts removalOf(const SLinuxScsiDevice& address) {
    const std::string numbers = std::to_string(address.channel) + " " + std::to_string(address.id) +
                                " " + std::to_string(address.lun) + "\n";
    return {
        appended(kScsiTable,
                 "scsi remove-single-device " + std::to_string(address.host) + " " + numbers),
        appended("/sys/class/scsi_device/" + test::textOf(address) + "/device/delete", "1"),
        appended("/sys/class/scsi_host/host" + std::to_string(address.host) + "/scan", numbers)};
}

struct TracedDiscovery : CLinuxDeviceDiscovery {
    explicit TracedDiscovery(TraceCapture& trace) {
        m_traceLog = trace.log();
        m_scsiTool.m_traceLog = trace.log();
    }
};

/// Records with the addresses given, and the list of pointers that the operations take.
class Records {
  public:
    CScsiDeviceData& add(const SLinuxScsiDevice& address, const std::string& vendor = "VENDOR  ",
                         const std::string& product = "MODEL   ") {
        m_owned.push_back(std::make_unique<CScsiDeviceData>(
            "/dev/sd" + std::to_string(m_owned.size()), "", "localhost", address.id,
            static_cast<unsigned>(address.channel), address.lun, address.host, vendor, product, "",
            0));
        list.push_back(m_owned.back().get());
        return *m_owned.back();
    }
    std::vector<CScsiDeviceData*> list;

  private:
    std::vector<std::unique_ptr<CScsiDeviceData>> m_owned;
};

TEST(AddressRemoval, WritesTheTableThenTheDeviceThenTheScan) {
    const ScriptedHost host(hostWithDisks({{5, 1, 2, 3}}));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(host.effects(),
              (Texts{appended("/proc/scsi/scsi", "scsi remove-single-device 5 1 2 3\n"),
                     appended("/sys/class/scsi_device/5:1:2:3/device/delete", "1"),
                     appended("/sys/class/scsi_host/host5/scan", "1 2 3\n")}));
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function RemoveDevice [N, device_discovery_linux]",
                     "[3] INFO: RemoveDevice [5,1,2,3]",
                     "[3] INFO: removing: scsi remove-single-device 5 1 2 3\n\n",
                     "[3] INFO: removing: /sys/class/scsi_device/5:1:2:3/device/delete",
                     "[3] INFO: scaning after remove: 1 2 3\n",
                     "[6] Exiting Function RemoveDevice [N, device_discovery_linux]"}));
}

// A kernel may hang in any of the three writes: the line that names it is there then.
TEST(AddressRemoval, EachStepIsTracedBeforeItsWrite) {
    TraceCapture trace(3);
    Texts events;
    ScriptedHost host(hostWithDisks({{5, 1, 2, 3}}));
    host.afterAppend = [&](const std::string& path, const std::string&) {
        events.push_back(path);
        events.push_back(trace.lines().back());
    };
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(
        events,
        (Texts{"/proc/scsi/scsi", "[3] INFO: removing: scsi remove-single-device 5 1 2 3\n\n",
               "/sys/class/scsi_device/5:1:2:3/device/delete",
               "[3] INFO: removing: /sys/class/scsi_device/5:1:2:3/device/delete",
               "/sys/class/scsi_host/host5/scan", "[3] INFO: scaning after remove: 1 2 3\n"}));
}

// The kernel reads "-1" as 0.
TEST(AddressRemoval, WritesNothingForANegativeAddress) {
    const ScriptedHost host(hostWithDisks({{0, 0, 0, 0}}));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(-1, 0, 0, 0);
    discovery.RemoveDevice(0, -1, 0, 0);
    discovery.RemoveDevice(0, 0, -1, 0);
    discovery.RemoveDevice(0, 0, 0, -1);
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.lines().at(1), "[3] INFO: RemoveDevice [-1,0,0,0]");
    EXPECT_EQ(trace.lines().size(), 12U);
    discovery.RemoveDevice(0, 0, 0, 0);
    EXPECT_EQ(host.effects().size(), 3U);
}

TEST(AddressRemoval, HostWithoutTheTableRemovesNothing) {
    RecordedHostData data = hostWithDisks({{5, 1, 2, 3}});
    data.files.erase(kScsiTable);
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function RemoveDevice [N, device_discovery_linux]",
                     "[3] INFO: RemoveDevice [5,1,2,3]",
                     "[3] INFO: remove device failed to open /proc/scsi/scsi for: scsi "
                     "remove-single-device 5 1 2 3\n\n",
                     "[6] Exiting Function RemoveDevice [N, device_discovery_linux]"}));
}

TEST(AddressRemoval, StopsAtTheDeviceThatCannotBeOpened) {
    RecordedHostData data = hostWithDisks({{5, 1, 2, 3}});
    data.files.erase("/sys/class/scsi_device/5:1:2:3/device/delete");
    const ScriptedHost host(data);
    TraceCapture trace(3);
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(host.effects(),
              Texts{appended("/proc/scsi/scsi", "scsi remove-single-device 5 1 2 3\n")});
    EXPECT_EQ(trace.lines(),
              (Texts{"[3] INFO: RemoveDevice [5,1,2,3]",
                     "[3] INFO: removing: scsi remove-single-device 5 1 2 3\n\n",
                     "[2] WARNING: remove device failed to open "
                     "/sys/class/scsi_device/5:1:2:3/device/delete for device removal"}));
}

TEST(AddressRemoval, StopsAtTheScanThatCannotBeOpened) {
    RecordedHostData data = hostWithDisks({{5, 1, 2, 3}});
    data.files.erase("/sys/class/scsi_host/host5/scan");
    const ScriptedHost host(data);
    TraceCapture trace(3);
    TracedDiscovery discovery(trace);
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(host.effects().size(), 2U);
    EXPECT_EQ(trace.lines().back(),
              "[2] WARNING: device failed to open /sys/class/scsi_host/host5/scan for device scan "
              "1 2 3\n");
}

TEST(AddressRemoval, RefusedTextIsNotToldApart) {
    ScriptedHost host(hostWithDisks({{5, 1, 2, 3}}));
    host.appendResults[kScsiTable] = {0, ENODEV};
    host.appendResults["/sys/class/scsi_device/5:1:2:3/device/delete"] = {0, EIO};
    CLinuxDeviceDiscovery discovery;
    discovery.RemoveDevice(5, 1, 2, 3);
    EXPECT_EQ(host.effects(), removalOf({5, 1, 2, 3}));
}

TEST(DeadDevices, AddressThatNoRecordHoldsIsRemoved) {
    const ScriptedHost host(hostWithDisks({{0, 0, 0, 1}, {0, 0, 1, 1}, {0, 0, 2, 5}}));
    CLinuxDeviceDiscovery discovery;
    Records records;
    records.add({0, 0, 1, 1});
    discovery.removeDeadDevices(records.list, false);
    Texts expected = removalOf({0, 0, 0, 1});
    for (const std::string& effect : removalOf({0, 0, 2, 5})) {
        expected.push_back(effect);
    }
    EXPECT_EQ(host.effects(), expected);
    EXPECT_EQ(records.list.size(), 1U);
}

TEST(DeadDevices, EveryNumberOfTheAddressCounts) {
    for (const SLinuxScsiDevice& other :
         std::vector<SLinuxScsiDevice>{{2, 2, 3, 4}, {1, 3, 3, 4}, {1, 2, 4, 4}, {1, 2, 3, 5}}) {
        const ScriptedHost host(hostWithDisks({{1, 2, 3, 4}}));
        CLinuxDeviceDiscovery discovery;
        Records records;
        records.add(other);
        discovery.removeDeadDevices(records.list, false);
        EXPECT_EQ(host.effects(), removalOf({1, 2, 3, 4})) << test::textOf(other);
    }
}

TEST(DeadDevices, RecordsWithoutAnAddressAreDroppedAndEveryAddressIsDead) {
    const std::vector<SLinuxScsiDevice> disks = {{0, 0, 0, 0}, {0, 0, 0, 1}};
    for (const bool removeLun0 : {false, true}) {
        const ScriptedHost host(hostWithDisks(disks));
        CLinuxDeviceDiscovery discovery;
        Records records;
        records.add({-1, 0, 0, 0});
        records.add({-1, 0, 0, 1});
        discovery.removeDeadDevices(records.list, removeLun0);
        EXPECT_TRUE(records.list.empty());
        Texts expected = removeLun0 ? removalOf(disks[0]) : Texts{};
        for (const std::string& effect : removalOf(disks[1])) {
            expected.push_back(effect);
        }
        EXPECT_EQ(host.effects(), expected) << removeLun0;
    }
}

TEST(DeadDevices, OnlyDisksAndUnknownTypesAreRemoved) {
    RecordedHostData data = hostWithDisks({});
    data.files[kScsiTable] = tableEntry({0, 0, 0, 1}, "CD-ROM") + tableEntry({0, 0, 0, 2}, "RAID") +
                             tableEntry({0, 0, 0, 3}, "Unknown");
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Records records;
    discovery.removeDeadDevices(records.list, true);
    EXPECT_EQ(host.effects(),
              Texts{appended("/proc/scsi/scsi", "scsi remove-single-device 0 0 0 3\n")});
}

TEST(DeadDevices, TrailingBlanksOfTheIdentityAreGone) {
    const ScriptedHost host(hostWithDisks({{0, 0, 0, 1}}));
    CLinuxDeviceDiscovery discovery;
    Records records;
    const CScsiDeviceData& matching = records.add({0, 0, 0, 1}, "HP      ", " OPEN-V   ");
    const CScsiDeviceData& dropped = records.add({-1, 0, 0, 0}, "DGC  ", "  ");
    discovery.removeDeadDevices(records.list, false);
    EXPECT_EQ(matching.m_vendorId, "HP");
    EXPECT_EQ(matching.m_productId, " OPEN-V");
    EXPECT_EQ(dropped.m_vendorId, "DGC");
    EXPECT_EQ(dropped.m_productId, "");
}

TEST(DeadDevices, WalkBeginsAgainBehindEveryDroppedRecord) {
    const ScriptedHost host(hostWithDisks({{0, 0, 1, 2}, {0, 0, 1, 3}}));
    TraceCapture trace(3);
    TracedDiscovery discovery(trace);
    Records records;
    records.add({0, 0, 1, 2}, "A ", "B ");
    records.add({-1, 0, 0, 0}, "C", "D");
    records.add({0, 0, 1, 2}, "E", "F");
    discovery.removeDeadDevices(records.list, true);
    EXPECT_EQ(records.list.size(), 2U);
    EXPECT_EQ(
        trace.lines(),
        (Texts{"[3] removeDeadDevices : removeLun0 = 1", "[3] INFO: reading /proc/scsi/scsi\n",
               "[3] INFO: iter devices a[0] b[0] t[1] l[2] vendor[A], product[B]",
               "[3] INFO: iter devices a[-1] b[0] t[0] l[0] vendor[C], product[D]",
               "[3] INFO: iter devices a[0] b[0] t[1] l[2] vendor[A], product[B]",
               "[3] INFO: iter devices a[0] b[0] t[1] l[2] vendor[E], product[F]",
               "[3] INFO: found match comparing devices a[0,0] b[0,0] t[1,1] l[2,2]",
               "[3] INFO: removing device a[0] b[0] t[1] l[3]", "[3] INFO: RemoveDevice [0,0,1,3]",
               "[3] INFO: removing: scsi remove-single-device 0 0 1 3\n\n",
               "[3] INFO: removing: /sys/class/scsi_device/0:0:1:3/device/delete",
               "[3] INFO: scaning after remove: 0 1 3\n",
               "[3] INFO: Doing kernel SCSI bus scan. Release string is [5.10.0]",
               "[3] Info:Trying with rescan-scsi-bus.sh",
               "[3] Info: failed to open file[/bin/rescan-scsi-bus.sh]",
               "[3] Info:Trying with [/usr/bin/rescan-scsi-bus.sh]",
               "[3] Info: failed to open file[/usr/bin/rescan-scsi-bus.sh]"}));
}

TEST(DeadDevices, LunZeroIsTracedAsRemovedAndKept) {
    const ScriptedHost host(hostWithDisks({{3, 1, 2, 0}}));
    TraceCapture trace(3);
    TracedDiscovery discovery(trace);
    Records records;
    discovery.removeDeadDevices(records.list, false);
    EXPECT_EQ(host.effects(), Texts{});
    ASSERT_GE(trace.lines().size(), 4U);
    EXPECT_EQ(trace.lines()[0], "[3] removeDeadDevices : removeLun0 = 0");
    EXPECT_EQ(trace.lines()[2], "[3] INFO: removing device a[3] b[1] t[2] l[0]");
    EXPECT_EQ(trace.lines()[3], "[3] INFO: Device is not removed as LUN=0 and removeLun0 = false");
}

TEST(DeadDevices, BusIsRescannedAtTheEndWithoutArguments) {
    RecordedHostData data = hostWithDisks({{0, 0, 0, 1}});
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    data.commands = {{"/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d", {}}};
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Records records;
    discovery.removeDeadDevices(records.list, false);
    Texts expected = removalOf({0, 0, 0, 1});
    expected.push_back(ran("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d"));
    EXPECT_EQ(host.effects(), expected);
}

TEST(DeadDevices, RescanIsTheVirtualOne) {
    struct Overridden : CLinuxDeviceDiscovery {
        int rescanScsiBus(bool flag, const std::string& scriptArguments) override {
            calls.push_back((flag ? "true [" : "false [") + scriptArguments + "]");
            return 0;
        }
        Texts calls;
    } discovery;
    const ScriptedHost host;
    Records records;
    discovery.removeDeadDevices(records.list, false);
    EXPECT_EQ(discovery.calls, Texts{"false []"});
}

RecordedHostData hostWithDmsetup(const Texts& output, int exitStatus) {
    RecordedHostData data;
    data.commands = {{"/usr/sbin/dmsetup remove /dev/mapper/mpatha", output, exitStatus}};
    return data;
}

TEST(MapRemoval, RunsDmsetupWithThePathAsGiven) {
    const ScriptedHost host(hostWithDmsetup({"noise"}, 0));
    TraceCapture trace;
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    TracedDiscovery discovery(trace);
    discovery.removeDevice("/dev/mapper/mpatha");
    EXPECT_EQ(host.effects(), Texts{ran("/usr/sbin/dmsetup remove /dev/mapper/mpatha")});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function removeDevice [N, device_discovery_linux]",
                     "[3] CLinuxDeviceDiscovery::removeDevice - Executing "
                     "command:[/usr/sbin/dmsetup remove /dev/mapper/mpatha]",
                     "[6] Exiting Function removeDevice [N, device_discovery_linux]"}));
    EXPECT_EQ(process.lines(),
              Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: exited, status= [0]"});
}

TEST(MapRemoval, FailureIsTracedWithOutputAndStatus) {
    const ScriptedHost host(hostWithDmsetup({"device busy", "Command failed"}, 1));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    discovery.removeDevice("/dev/mapper/mpatha");
    const std::string command = "[/usr/sbin/dmsetup remove /dev/mapper/mpatha]";
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function removeDevice [N, device_discovery_linux]",
                     "[3] CLinuxDeviceDiscovery::removeDevice - Executing command:" + command,
                     "[2] CLinuxDeviceDiscovery::removeDevice - command  failed " + command +
                         " with output [device busyCommand failed]",
                     "[2] CLinuxDeviceDiscovery::removeDevice - Return code: 1",
                     "[6] Exiting Function removeDevice [N, device_discovery_linux]"}));
}

TEST(MapRemoval, SignalIsTheStatusOfATimeOut) {
    RecordedHostData data = hostWithDmsetup({}, 0);
    data.commands.front().timedOut = true;
    const ScriptedHost host(data);
    TraceCapture trace(2);
    TracedDiscovery discovery(trace);
    discovery.removeDevice("/dev/mapper/mpatha");
    EXPECT_EQ(trace.lines(), (Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: killed by signal [9]",
                                    "[2] CLinuxDeviceDiscovery::removeDevice - command  failed "
                                    "[/usr/sbin/dmsetup remove /dev/mapper/mpatha] with output []",
                                    "[2] CLinuxDeviceDiscovery::removeDevice - Return code: 9"}));
}

TEST(MapRemoval, EmptyPathIsRefused) {
    const ScriptedHost host;
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    discovery.removeDevice("");
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function removeDevice [N, device_discovery_linux]",
                     "[2] CLinuxDeviceDiscovery::removeDevice: - Device Path is NULL. Will not "
                     "execute dmsetup command",
                     "[6] Exiting Function removeDevice [N, device_discovery_linux]"}));
}

TEST(MapRemoval, OtherPathsAreLeftAloneSilently) {
    const ScriptedHost host;
    TraceCapture trace(5);
    TracedDiscovery discovery(trace);
    for (const char* const path : {"/dev/sdc", "/dev/mapper", "mapper/x", "/dev/dm-0"}) {
        discovery.removeDevice(path);
    }
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(MapRemoval, ExceptionIsTracedWithItsText) {
    ScriptedHost host;
    host.beforeCommand = [](const std::string&) { throw std::runtime_error("out of reach"); };
    TraceCapture trace(2);
    TracedDiscovery discovery(trace);
    discovery.removeDevice("/dev/mapper/mpatha");
    host.beforeCommand = [](const std::string&) { throw 6; };
    discovery.removeDevice("/dev/mapper/mpathb");
    EXPECT_EQ(trace.lines(),
              (Texts{"[1] libscsitool: ERROR: CLinuxDeviceDiscovery::removeDevice Failed to "
                     "remove device [/dev/mapper/mpatha]. Exception: [out of reach]",
                     "[1] libscsitool: ERROR: CLinuxDeviceDiscovery::removeDevice Failed to "
                     "remove device [/dev/mapper/mpathb]. Exception: [unknown exception]"}));
}

TEST(StaleDevices, ScriptRunsInRemovalMode) {
    RecordedHostData data;
    data.files["/usr/bin/rescan-scsi-bus.sh"] = "";
    data.commands = {{"/usr/bin/rescan-scsi-bus.sh --remove --flush -d --luns=1", {}}};
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.removeStaleDevices(" --luns=1"), 0);
    EXPECT_EQ(host.effects(),
              Texts{ran("/usr/bin/rescan-scsi-bus.sh --remove --flush -d --luns=1")});
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function removeStaleDevices [N, device_discovery_linux]",
               "[6] Entering Function executeRescanScsiScript [N, device_discovery_linux]",
               "[3] Info:Trying with rescan-scsi-bus.sh",
               "[3] Info: failed to open file[/bin/rescan-scsi-bus.sh]",
               "[3] Info:Trying with [/usr/bin/rescan-scsi-bus.sh]",
               "[3] Info: Executing [/usr/bin/rescan-scsi-bus.sh --remove --flush -d --luns=1]",
               "[6] Exiting Function executeRescanScsiScript [N, device_discovery_linux]",
               "[6] Exiting Function removeStaleDevices [N, device_discovery_linux]"}));
}

TEST(StaleDevices, MissingOrFailingScriptGivesSix) {
    CLinuxDeviceDiscovery discovery;
    {
        const ScriptedHost host;
        EXPECT_EQ(discovery.removeStaleDevices(""), 6);
        EXPECT_EQ(host.effects(), Texts{});
    }
    RecordedHostData data;
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    data.commands = {{"/bin/rescan-scsi-bus.sh --remove --flush -d", {}, 1}};
    const ScriptedHost host(data);
    EXPECT_EQ(discovery.removeStaleDevices(""), 6);
}

RecordedHostData hostWithDaemon(const Texts& flushOutput, int flushStatus) {
    RecordedHostData data;
    data.directories["/dev/mapper/"] = {"."};
    data.commands = {{kPidof, {"812"}}, {kFlush, flushOutput, flushStatus}};
    return data;
}

TEST(MultipathFlush, RunsWhenTheDaemonRuns) {
    const ScriptedHost host(hostWithDaemon({}, 0));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(host.effects(), (Texts{ran(kPidof), ran(kFlush)}));
    EXPECT_EQ(
        trace.lines(),
        (Texts{"[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - calling command "
               "[/sbin/pidof -x multipathd].",
               "[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipath "
               "unused/stale device maps",
               "[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices Calling Multipath "
               "Stale Device Path Flushing command [/sbin/multipath -F]."}));
}

TEST(MultipathFlush, FailingFlushIsToldToTheProcessAndGivesZero) {
    const ScriptedHost host(hostWithDaemon({" mpatha: map in use\t\r", ""}, 1));
    TraceCapture trace;
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(process.lines(),
              Texts{"[2] WARN: FlushMultipathStaleDevices - command [/sbin/multipath -F] executed "
                    "with value [11]"});
    ASSERT_EQ(trace.lines().size(), 5U);
    EXPECT_EQ(trace.lines()[3], "[5] INFO: Mapped Devices in use :mpatha: map in use");
    EXPECT_EQ(trace.lines()[4], "[5] INFO: Mapped Devices in use :");
}

TEST(MultipathFlush, FailingFlushWithoutAProcessLogIsSilent) {
    const ScriptedHost host(hostWithDaemon({}, 1));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
}

TEST(MultipathFlush, SilentPidofMeansThatTheDaemonDoesNotRun) {
    RecordedHostData data = hostWithDaemon({}, 0);
    data.commands[0].output.clear();
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(host.effects(), Texts{ran(kPidof)});
    EXPECT_EQ(
        trace.lines(),
        (Texts{"[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - calling command "
               "[/sbin/pidof -x multipathd].",
               "[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipathd daemon not "
               "running"}));
}

TEST(MultipathFlush, FailingPidofGivesItsResult) {
    RecordedHostData data;
    data.commands = {{kPidof, {"no", "proc"}, 1}};
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 11);
    EXPECT_EQ(host.effects(), Texts{ran(kPidof)});
    EXPECT_EQ(
        trace.lines(),
        (Texts{"[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - calling command "
               "[/sbin/pidof -x multipathd].",
               "[1] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices - command  "
               "[/sbin/pidof -x multipathd] failed  with output [noproc]"}));
    data.commands.front().exitStatus = 0;
    data.commands.front().timedOut = true;
    const ScriptedHost slowHost(data);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 5);
}

TEST(MultipathFlush, HostWithoutTheMapDirectoryIsNotFlushed) {
    RecordedHostData data = hostWithDaemon({}, 0);
    data.directories.clear();
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(host.effects(), Texts{ran(kPidof)});
    EXPECT_EQ(trace.lines().back(),
              "[3] INFO: CLinuxDeviceDiscovery::FlushMultipathStaleDevices multipath unused/stale "
              "device maps");
}

TEST(MultipathFlush, FileInPlaceOfTheMapDirectoryIsNotFlushed) {
    RecordedHostData data = hostWithDaemon({}, 0);
    data.directories.clear();
    data.files["/dev/mapper"] = "";
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(host.effects(), Texts{ran(kPidof)});
}

TEST(MultipathFlush, ExceptionGivesSix) {
    ScriptedHost host;
    host.beforeCommand = [](const std::string&) { throw std::runtime_error("out of reach"); };
    TraceCapture trace(2);
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 6);
    EXPECT_EQ(trace.lines(),
              Texts{"[2] CLinuxDeviceDiscovery::FlushMultipathStaleDevices: Exception Occurred"});
}

}  // namespace
