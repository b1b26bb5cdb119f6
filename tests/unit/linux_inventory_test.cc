#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "discovery/scsi_table.h"
#include "scripted_host.h"
#include "scsi_table_text.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::kScsiTable;
using test::ScriptedHost;
using test::tableEntry;
using test::tableOf;
using test::textsOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;
using Maximums = std::map<int, int>;
using Targets = std::map<int, std::vector<int>>;

RecordedHostData hostWithTable(const std::string& content) {
    RecordedHostData data;
    data.files[kScsiTable] = content;
    return data;
}

std::string mixedTable() {
    return "Attached devices:\n" + tableEntry({0, 0, 0, 0}, "CD-ROM") + tableEntry({2, 0, 1, 0}) +
           tableEntry({2, 0, 1, 3}, "Unknown") + tableEntry({2, 1, 4, 0}, "Sequential-Access") +
           tableEntry({3, 0, 5, 0}, "RAID");
}

SLinuxScsiDevice parsed(const std::string& line) {
    SLinuxScsiDevice address{};
    EXPECT_TRUE(discovery::parseAddress(line, address)) << line;
    return address;
}

TEST(ScsiTable, AddressLineIsReadAsTheKernelWritesIt) {
    EXPECT_EQ(test::textOf(parsed("Host: scsi12 Channel: 01 Id: 02 Lun: 03\n")), "12:1:2:3");
    EXPECT_EQ(test::textOf(parsed("Host: scsi0 Channel: 00 Id: 99 Lun: 99")), "0:0:99:99");
}

TEST(ScsiTable, NumbersAreReadAsTheCLibraryReadsThem) {
    // Two characters of channel, id and LUN each, signs and blanks as scanf has them.
    EXPECT_EQ(test::textOf(parsed("Host: scsi1 Channel: 0 Id: 1 Lun: 100\n")), "1:0:1:10");
    EXPECT_EQ(test::textOf(parsed("Host: scsi1 Channel: 00 Id: 01 Lun: 255\n")), "1:0:1:25");
    EXPECT_EQ(test::textOf(parsed("Host: scsi-1 Channel: -1 Id: +2 Lun:7")), "-1:-1:2:7");
    EXPECT_EQ(test::textOf(parsed("Host:scsi 4 Channel:05 Id:06 Lun: \n07")), "4:5:6:7");
    EXPECT_EQ(test::textOf(parsed("Host: scsi4294967297 Channel: 00 Id: 00 Lun: 00")), "1:0:0:0");
}

TEST(ScsiTable, OtherLinesAreNoAddresses) {
    SLinuxScsiDevice address{};
    for (const char* const line :
         {"", "Attached devices:\n", "Host:", "Host: scsi", "Host: scsi0", "host: scsi0",
          "Host: scsi0 Channel: 00 Id: 00", "Host: scsi0 Channel: 00 Id: 00 Lun: ",
          "Host: scsi0 Channel: 00 Id: 00 Lun: x", " Host: scsi0 Channel: 00 Id: 00 Lun: 00",
          "Host: scsi0 Channel: 100 Id: 00 Lun: 00", "Host: scsi0 Channel: 00 Id: 256 Lun: 00",
          "  Vendor: Host: scsi0 Channel: 00 Id: 00 Lun: 00",
          "Host: scsix Channel: 00 Id: 00 Lun: 00", "Host: ide0 Channel: 00 Id: 00 Lun: 00"}) {
        EXPECT_FALSE(discovery::parseAddress(line, address)) << line;
    }
}

TEST(LinuxInventory, AllDevicesAreListedInFileOrder) {
    const ScriptedHost host(hostWithTable(mixedTable()));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(textsOf(discovery.getDeviceList(false)),
              (Texts{"0:0:0:0", "2:0:1:0", "2:0:1:3", "2:1:4:0", "3:0:5:0"}));
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(LinuxInventory, DisksAreThoseOfTypeDirectAccessAndUnknown) {
    const ScriptedHost host(hostWithTable(mixedTable()));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(textsOf(discovery.getDeviceList(true)), (Texts{"2:0:1:0", "2:0:1:3"}));
}

TEST(LinuxInventory, DeviceWithoutItsTypeLineIsNoDisk) {
    const std::string first = "Host: scsi0 Channel: 00 Id: 00 Lun: 00\n";
    CLinuxDeviceDiscovery discovery;
    for (const std::string& end : {std::string(), std::string("  Vendor: V\n").substr(0, 11)}) {
        const ScriptedHost host(hostWithTable(first + end));
        EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{}) << end;
        EXPECT_EQ(textsOf(discovery.getDeviceList(false)), Texts{"0:0:0:0"}) << end;
    }
    // The empty text behind the last line feed takes the type's place and names none.
    const ScriptedHost host(hostWithTable(first + "  Vendor: V\n"));
    EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{});
    EXPECT_EQ(textsOf(discovery.getDeviceList(false)), Texts{"0:0:0:0"});
}

TEST(LinuxInventory, TypeLineWithoutALineFeedCounts) {
    const ScriptedHost host(
        hostWithTable("Host: scsi0 Channel: 00 Id: 00 Lun: 00\n  Vendor: V\n  Direct-Access"));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{"0:0:0:0"});
}

TEST(LinuxInventory, LineBeyondTheBufferMovesTheTypeLineAway) {
    const std::string first = "Host: scsi0 Channel: 00 Id: 00 Lun: 00\n";
    CLinuxDeviceDiscovery discovery;
    {
        const ScriptedHost host(hostWithTable(first + std::string(253, 'v') + "\nDirect-Access\n"));
        EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{"0:0:0:0"});
    }
    const ScriptedHost host(hostWithTable(first + std::string(254, 'v') + "\nDirect-Access\n"));
    EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{});
}

TEST(LinuxInventory, ListIsTraced) {
    const ScriptedHost host(hostWithTable(tableOf({{0, 0, 0, 0}})));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    discovery.getDeviceList(true);
    EXPECT_EQ(trace.lines(), Texts{"[3] INFO: reading /proc/scsi/scsi\n"});
}

TEST(LinuxInventory, HostWithoutTheTableListsNothing) {
    const ScriptedHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    EXPECT_EQ(textsOf(discovery.getDeviceList(true)), Texts{});
    EXPECT_EQ(trace.lines(),
              Texts{"[2] Warning: LinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading."});
}

TEST(LinuxInventory, LinesInFrontOfAReadErrorCount) {
    const std::string table = tableOf({{2, 0, 1, 0}, {2, 0, 1, 3}});
    // Cut behind the second device's first line, and within it: "Lun: 0" would be another address.
    const std::size_t second = table.rfind("Host:");
    const struct {
        std::size_t length;
        Texts all;
        Texts disks;
        int count;
    } rows[] = {{table.size(), {"2:0:1:0", "2:0:1:3"}, {"2:0:1:0", "2:0:1:3"}, 2},
                {table.find('\n', second) + 1, {"2:0:1:0", "2:0:1:3"}, {"2:0:1:0"}, 2},
                {table.find('\n', second), {"2:0:1:0"}, {"2:0:1:0"}, 1},
                {second, {"2:0:1:0"}, {"2:0:1:0"}, 1},
                {0, {}, {}, 0}};
    for (const auto& row : rows) {
        RecordedHostData data = hostWithTable(table.substr(0, row.length));
        data.files[kScsiTable].readError = EIO;
        const ScriptedHost host(data);
        CLinuxDeviceDiscovery discovery;
        TraceCapture trace(2);
        discovery.m_traceLog = trace.log();
        EXPECT_EQ(textsOf(discovery.getDeviceList(false)), row.all) << row.length;
        EXPECT_EQ(textsOf(discovery.getDeviceList(true)), row.disks) << row.length;
        EXPECT_EQ(discovery.getDeviceCount(), row.count) << row.length;
        Maximums lun = {{2, 0}};
        Maximums id = lun;
        Maximums channel = lun;
        EXPECT_EQ(discovery.scanForAdapterMaximums(lun, id, channel), 0) << row.length;
        EXPECT_EQ(lun, (Maximums{{2, row.all.size() == 2 ? 3 : 0}})) << row.length;
        Targets targets;
        discovery.getTargetIds(targets);
        EXPECT_EQ(targets.count(2), row.disks.empty() ? 0U : 1U) << row.length;
        EXPECT_EQ(trace.lines(), Texts{}) << row.length;
    }
}

TEST(LinuxInventory, CountIsThatOfTheLinesWithHost) {
    CLinuxDeviceDiscovery discovery;
    {
        const ScriptedHost host(hostWithTable(mixedTable()));
        EXPECT_EQ(discovery.getDeviceCount(), 5);
    }
    {
        // A line counts also when it is no address.
        const ScriptedHost host(hostWithTable("Host:\n  Vendor: Host: x\nhost:\n\nHost:"));
        EXPECT_EQ(discovery.getDeviceCount(), 3);
    }
    const ScriptedHost host(hostWithTable(""));
    EXPECT_EQ(discovery.getDeviceCount(), 0);
}

TEST(LinuxInventory, CountWithoutTheTableIsZeroAndSilent) {
    const ScriptedHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    EXPECT_EQ(discovery.getDeviceCount(), 0);
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(LinuxInventory, ExceptionEndsTheReadingWithoutATrace) {
    ScriptedHost host(hostWithTable(mixedTable()));
    host.beforeRead = [](const std::string&) { throw std::bad_alloc(); };
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Targets targets;
    EXPECT_EQ(textsOf(discovery.getDeviceList(false)), Texts{});
    EXPECT_EQ(discovery.getDeviceCount(), 0);
    EXPECT_EQ(discovery.getTargetIds(targets), 0);
    EXPECT_EQ(targets, Targets{});
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(LinuxInventory, AddressIsContainedWhenAllFourNumbersAreEqual) {
    CLinuxDeviceDiscovery discovery;
    const std::vector<SLinuxScsiDevice> devices = {{0, 0, 0, 0}, {1, 2, 3, 4}};
    EXPECT_TRUE(discovery.containsDevice(1, 2, 3, 4, devices));
    EXPECT_TRUE(discovery.containsDevice(0, 0, 0, 0, devices));
    EXPECT_FALSE(discovery.containsDevice(0, 2, 3, 4, devices));
    EXPECT_FALSE(discovery.containsDevice(1, 0, 3, 4, devices));
    EXPECT_FALSE(discovery.containsDevice(1, 2, 0, 4, devices));
    EXPECT_FALSE(discovery.containsDevice(1, 2, 3, 0, devices));
    EXPECT_FALSE(discovery.containsDevice(0, 0, 0, 0, {}));
}

TEST(LinuxInventory, TargetsAreThoseOfDisksAndArrayControllers) {
    const ScriptedHost host(hostWithTable(mixedTable()));
    CLinuxDeviceDiscovery discovery;
    Targets targets;
    EXPECT_EQ(discovery.getTargetIds(targets), 0);
    EXPECT_EQ(targets, (Targets{{2, {1}}, {3, {5}}}));
}

TEST(LinuxInventory, TargetsStandInTheOrderOfAppearanceEachOnce) {
    const ScriptedHost host(hostWithTable(
        tableOf({{1, 0, 7, 0}, {0, 0, 2, 0}, {1, 0, 3, 0}, {1, 1, 7, 1}, {1, 0, 3, 5}})));
    CLinuxDeviceDiscovery discovery;
    Targets targets = {{0, {9}}};
    discovery.getTargetIds(targets);
    EXPECT_EQ(targets, (Targets{{0, {9, 2}}, {1, {7, 3}}}));
}

TEST(LinuxInventory, TargetWithoutItsTypeLineIsSkipped) {
    const ScriptedHost host(hostWithTable(
        "Host: scsi0 Channel: 00 Id: 00 Lun: 00\n  Vendor: Direct-Access RAID Unknown"));
    CLinuxDeviceDiscovery discovery;
    Targets targets;
    EXPECT_EQ(discovery.getTargetIds(targets), 0);
    EXPECT_EQ(targets, Targets{});
}

TEST(LinuxInventory, TargetsAreTraced) {
    const ScriptedHost host(hostWithTable(tableEntry({2, 0, 1, 0}) +
                                          tableEntry({2, 0, 1, 3}, "RAID") +
                                          tableEntry({2, 0, 4, 0}, "Processor")));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Targets targets;
    discovery.getTargetIds(targets);
    EXPECT_EQ(trace.lines(),
              (Texts{"[5] INFO: reading /proc/scsi/scsi\n",
                     "[3] Adding to the list for type [  Type:   Direct-Access                    "
                     "ANSI  SCSI revision: 05\n] [2 0 1 0] ",
                     "[3] Adding to the list for type [  Type:   RAID                    ANSI  "
                     "SCSI revision: 05\n] [2 0 1 3] ",
                     "[3] target 1 already in map"}));
}

TEST(LinuxInventory, HostWithoutTheTableHasNoTargets) {
    const ScriptedHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Targets targets = {{0, {9}}};
    EXPECT_EQ(discovery.getTargetIds(targets), 0);
    EXPECT_EQ(targets, (Targets{{0, {9}}}));
    EXPECT_EQ(trace.lines(),
              Texts{"[2] Warning: CLinuxDeviceDiscovery::getDeviceList() failed to open "
                    "/proc/scsi/scsi for reading."});
}

TEST(LinuxInventory, MaximumsAreRaisedForTheSeededAdapters) {
    const ScriptedHost host(hostWithTable(
        tableOf({{0, 0, 3, 0}, {0, 1, 2, 9}, {0, 0, 5, 4}, {1, 3, 3, 3}, {2, 0, 0, 1}})));
    CLinuxDeviceDiscovery discovery;
    Maximums luns = {{0, 0}, {2, 8}};
    Maximums ids = {{0, 0}};
    Maximums channels;
    EXPECT_EQ(discovery.scanForAdapterMaximums(luns, ids, channels), 0);
    EXPECT_EQ(luns, (Maximums{{0, 9}, {2, 8}}));
    EXPECT_EQ(ids, (Maximums{{0, 5}, {2, 0}}));
    EXPECT_EQ(channels, (Maximums{{0, 1}, {2, 0}}));
}

TEST(LinuxInventory, MaximumsBelowZeroAreNotTaken) {
    const ScriptedHost host(hostWithTable("Host: scsi0 Channel: -1 Id: -2 Lun: -3\n"));
    CLinuxDeviceDiscovery discovery;
    Maximums luns = {{0, 0}};
    Maximums ids;
    Maximums channels;
    discovery.scanForAdapterMaximums(luns, ids, channels);
    EXPECT_EQ(luns, (Maximums{{0, 0}}));
    EXPECT_EQ(ids, (Maximums{{0, 0}}));
    EXPECT_EQ(channels, (Maximums{{0, 0}}));
}

TEST(LinuxInventory, AdapterThatIsNotSeededIsTracedAsSkipped) {
    const ScriptedHost host(hostWithTable(tableOf({{0, 0, 3, 0}, {1, 0, 2, 0}})));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Maximums luns = {{0, 0}};
    Maximums ids;
    Maximums channels;
    discovery.scanForAdapterMaximums(luns, ids, channels);
    EXPECT_EQ(luns.count(1) + ids.count(1) + channels.count(1), 0U);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function scanForAdapterMaximums [N, device_discovery_linux]",
                     "[3] INFO: reading /proc/scsi/scsi\n",
                     "[3] INFO: found device [Host: scsi0 Channel: 00 Id: 03 Lun: 00\n]\n",
                     "[3] INFO: found device [Host: scsi1 Channel: 00 Id: 02 Lun: 00\n]\n",
                     "[3] INFO: skipping device [Host: scsi1 Channel: 00 Id: 02 Lun: 00\n]\n",
                     "[6] Exiting Function scanForAdapterMaximums [N, device_discovery_linux]"}));
}

TEST(LinuxInventory, MaximumsWithoutTheTableFail) {
    const ScriptedHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Maximums luns = {{0, 4}};
    Maximums ids;
    Maximums channels;
    EXPECT_EQ(discovery.scanForAdapterMaximums(luns, ids, channels), -1);
    EXPECT_EQ(luns, (Maximums{{0, 4}}));
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function scanForAdapterMaximums [N, device_discovery_linux]",
                     "[2] Warning: failed to open /proc/scsi/scsi for reading.",
                     "[6] Exiting Function scanForAdapterMaximums [N, device_discovery_linux]"}));
}

}  // namespace
