#include "scsitool/tools/WWPN_discovery.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>
#include <vector>

#include "scripted_host.h"
#include "trace_capture.h"

namespace {

using namespace std::string_literals;
using recording::RecordedHostData;
using test::ran;
using test::ScriptedHost;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kListQla2xxx[] = "/bin/ls /proc/scsi/qla2xxx/";
constexpr char kListQla2300[] = "/bin/ls /proc/scsi/qla2300/";
constexpr char kListLpfc[] = "/bin/ls /proc/scsi/lpfc/";
constexpr char kListFcHosts[] = "/bin/ls /sys/class/fc_host/";
constexpr char kListScsiHosts[] = "/bin/ls /sys/class/scsi_host/";

/// The three driver directories are missing, as on every present kernel.
RecordedHostData sysfsHost() {
    RecordedHostData data;
    data.commands = {{kListQla2xxx, {"ls: cannot access"}, 2},
                     {kListQla2300, {"ls: cannot access"}, 2},
                     {kListLpfc, {"ls: cannot access"}, 2}};
    return data;
}

RecordedHostData fcHosts(const Texts& entries) {
    RecordedHostData data = sysfsHost();
    data.commands.push_back({kListFcHosts, entries});
    return data;
}

RecordedHostData scsiHosts(const Texts& entries) {
    RecordedHostData data = sysfsHost();
    data.commands.push_back({kListFcHosts, {"ls: cannot access"}, 2});
    data.commands.push_back({kListScsiHosts, entries});
    return data;
}

RecordedHostData driverHost(const Texts& files) {
    RecordedHostData data;
    Texts entries;
    for (const std::string& content : files) {
        entries.push_back(std::to_string(entries.size()));
        data.files["/proc/scsi/qla2xxx/" + entries.back()] = content;
    }
    data.commands = {{kListQla2xxx, entries}};
    return data;
}

Texts namesOn(const RecordedHostData& data) {
    const ScriptedHost host(data);
    WWPN wwpn;
    return wwpn.getWWPN();
}

TEST(PortNames, DriverFilesGiveBareValuesAndSysfsIsNotRead) {
    const ScriptedHost host(
        driverHost({"QLogic PCI to Fibre Channel Host Adapter\n"
                    "scsi-qla0-adapter-node=20000024ff000001;\n"
                    "scsi-qla0-adapter-port=21000024ff000001;\n",
                    "scsi-qla1-adapter-port=21000024ff000002;\n"}));
    WWPN wwpn;
    EXPECT_EQ(wwpn.getWWPN(), (Texts{"21000024ff000001", "21000024ff000002"}));
    EXPECT_EQ(host.effects(), Texts{ran(kListQla2xxx)});
}

TEST(PortNames, DriverDirectoriesAreTriedInTheirOrder) {
    RecordedHostData data;
    data.commands = {{kListQla2xxx, {}, 2}, {kListQla2300, {}, 2}, {kListLpfc, {"0"}}};
    data.files["/proc/scsi/lpfc/0"] = "lpfc0-adapter-port=10000000c9000001\n";
    const ScriptedHost host(data);
    WWPN wwpn;
    EXPECT_EQ(wwpn.getWWPN(), Texts{"10000000c9000001"});
    EXPECT_EQ(host.effects(), (Texts{ran(kListQla2xxx), ran(kListQla2300), ran(kListLpfc)}));
}

TEST(PortNames, EmptyDriverDirectoryEndsTheSearch) {
    RecordedHostData data = fcHosts({"host5"});
    data.files["/sys/class/fc_host/host5/port_name"] = "0x21000024ff000005\n";
    data.commands[1] = {kListQla2300, {}};
    const ScriptedHost host(data);
    WWPN wwpn;
    EXPECT_EQ(wwpn.getWWPN(), Texts{});
    EXPECT_EQ(host.effects(), (Texts{ran(kListQla2xxx), ran(kListQla2300)}));
}

TEST(PortNames, OnlyTheFirstMatchingLineOfADriverFileCounts) {
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port=1;\nb-adapter-port=2;\n"})), Texts{"1"});
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port\nb-adapter-port=2;\n"})), Texts{});
}

TEST(PortNames, DriverLineIsSplitAtItsEqualsSigns) {
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port = 21; \t\r\n"})), Texts{"21"});
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port==21=22;\n"})), Texts{"21"});
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port= ;\n"})), Texts{""});
    EXPECT_EQ(namesOn(driverHost({"a-adapter-port="})), Texts{});
}

TEST(PortNames, DriverLineIsTrimmedBeforeItIsSplit) {
    for (const char* const end : {"\n", " \n", "\r\n", "\t \r\n"}) {
        EXPECT_EQ(namesOn(driverHost({std::string("a-adapter-port=") + end})), Texts{});
    }
    EXPECT_EQ(namesOn(driverHost({" \t=a-adapter-port=21;\n"})), Texts{"21"});
    EXPECT_EQ(namesOn(driverHost({" \t a-adapter-port=21;\n"})), Texts{"21"});
}

TEST(PortNames, LinesOfADriverFileInFrontOfAReadErrorCount) {
    RecordedHostData data =
        driverHost({"a-adapter-port=1;\nrest", "x\nb-adapter-port=2", "c-adapter-port=3;\n"});
    for (const char* const file : {"0", "1"}) {
        data.files[std::string("/proc/scsi/qla2xxx/") + file].readError = EIO;
    }
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), (Texts{"1", "3"}));
    EXPECT_EQ(trace.lines(),
              (Texts{"[3] Entering fuction getWWPN", "[3] Reading file /proc/scsi/qla2xxx/0",
                     "[3] Reading file /proc/scsi/qla2xxx/1",
                     "[3] Reading file /proc/scsi/qla2xxx/2", "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, PortNameFileThatOpensAndCannotBeReadIsNoFailedOpen) {
    RecordedHostData data = fcHosts({"host5", "host6"});
    data.files["/sys/class/fc_host/host5/port_name"] = "0x5\n0x";
    data.files["/sys/class/fc_host/host5/port_name"].readError = EIO;
    data.files["/sys/class/fc_host/host6/port_name"] = "0x6\n";
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace(1);
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), (Texts{"0x5@@host5", "0x6@@host6"}));
    EXPECT_EQ(trace.lines().size(), 3U);  // the three driver directories
}

TEST(PortNames, OlderLayoutIsForAFileThatDidNotOpen) {
    RecordedHostData data = scsiHosts({"host0"});
    data.files["/sys/class/scsi_host/host0/device/fc_host/host0/port_name"].readError = EIO;
    data.files["/sys/class/scsi_host/host0/device/fc_host:host0/port_name"] = "0xb\n";
    EXPECT_EQ(namesOn(data), Texts{});
    data.files["/sys/class/scsi_host/host0/device/fc_host/host0/port_name"].readError = 0;
    data.files["/sys/class/scsi_host/host0/device/fc_host/host0/port_name"].error = EACCES;
    EXPECT_EQ(namesOn(data), Texts{"0xb@@host0"});
}

TEST(PortNames, DriverFileWithoutAPortLineContributesNothing) {
    const ScriptedHost host(driverHost({"", "adapter-port=1\n", "x-adapter-port=3;\n"}));
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), Texts{"3"});
    EXPECT_EQ(trace.lines(),
              (Texts{"[3] Entering fuction getWWPN", "[3] Reading file /proc/scsi/qla2xxx/0",
                     "[3] Reading file /proc/scsi/qla2xxx/1",
                     "[3] Reading file /proc/scsi/qla2xxx/2", "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, DriverFileThatCannotBeOpenedIsSkipped) {
    RecordedHostData data = driverHost({"x-adapter-port=1;\n", "x-adapter-port=2;\n"});
    data.files.erase("/proc/scsi/qla2xxx/0");
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), Texts{"2"});
    EXPECT_EQ(trace.lines(),
              (Texts{"[3] Entering fuction getWWPN",
                     "[1] Error: failed to open file /proc/scsi/qla2xxx/0",
                     "[3] Reading file /proc/scsi/qla2xxx/1", "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, LineBeyondTheBufferIsCut) {
    const std::string begin = "a-adapter-port=";
    EXPECT_EQ(namesOn(driverHost({begin + std::string(2000, '1') + "\n"})),
              Texts{std::string(1023 - begin.size(), '1')});
}

TEST(PortNames, FibreChannelHostsGiveTheNameWithTheHost) {
    RecordedHostData data = fcHosts({"host5", " host12\t"});
    data.files["/sys/class/fc_host/host5/port_name"] = "0x21000024ff000005\n";
    data.files["/sys/class/fc_host/host12/port_name"] = " 0x21000024ff00000c\r\n";
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), (Texts{"0x21000024ff000005@@host5", "0x21000024ff00000c@@host12"}));
    EXPECT_EQ(host.effects(),
              (Texts{ran(kListQla2xxx), ran(kListQla2300), ran(kListLpfc), ran(kListFcHosts)}));
    EXPECT_EQ(trace.lines(), (Texts{"[3] Entering fuction getWWPN",
                                    "[1] Error: command /bin/ls /proc/scsi/qla2xxx/ failed.\n",
                                    "[1] Error: command /bin/ls /proc/scsi/qla2300/ failed.\n",
                                    "[1] Error: command /bin/ls /proc/scsi/lpfc/ failed.\n",
                                    "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, EveryLineOfAPortNameFileIsAnEntry) {
    RecordedHostData data = fcHosts({"host5"});
    data.files["/sys/class/fc_host/host5/port_name"] = "0x1\n\n0x2";
    EXPECT_EQ(namesOn(data), (Texts{"0x1@@host5", "@@host5", "0x2@@host5"}));
    data.files["/sys/class/fc_host/host5/port_name"] = "";
    EXPECT_EQ(namesOn(data), Texts{});
}

TEST(PortNames, FibreChannelHostThatCannotBeOpenedIsSkipped) {
    RecordedHostData data = fcHosts({"host4", "host5"});
    data.files["/sys/class/fc_host/host5/port_name"] = "0x5\n";
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), Texts{"0x5@@host5"});
    EXPECT_EQ(trace.lines()[4],
              "[1] Error: failed to open file /sys/class/fc_host/host4/port_name");
}

TEST(PortNames, EntryThatIsTooShortEndsTheDiscovery) {
    RecordedHostData data = fcHosts({"host5", "hos", "host6"});
    for (const char* const entry : {"host5", "hos", "host6"}) {
        data.files["/sys/class/fc_host/"s + entry + "/port_name"] = "0x1\n";
    }
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), Texts{"0x1@@host5"});
    EXPECT_EQ(trace.lines()[4], "[1] getWWPN Error: Caught exception: [basic_string::substr]");
    EXPECT_EQ(trace.lines()[5], "[3] Exiting fuction getWWPN");
    EXPECT_EQ(trace.lines().size(), 6U);
}

TEST(PortNames, EntryOfFourCharactersIsLongEnough) {
    RecordedHostData data = fcHosts({"host"});
    data.files["/sys/class/fc_host/host/port_name"] = "0x1\n";
    EXPECT_EQ(namesOn(data), Texts{"0x1@@host"});
}

TEST(PortNames, ShortEntryWithoutALineIsNoError) {
    RecordedHostData data = fcHosts({"x", "host5"});
    data.files["/sys/class/fc_host/x/port_name"] = "";
    data.files["/sys/class/fc_host/host5/port_name"] = "0x5\n";
    EXPECT_EQ(namesOn(data), Texts{"0x5@@host5"});
}

TEST(PortNames, ScsiHostsAreReadInBothLayouts) {
    RecordedHostData data = scsiHosts({"host0", "host1", "host2"});
    data.files["/sys/class/scsi_host/host0/device/fc_host/host0/port_name"] = "0xa\n";
    data.files["/sys/class/scsi_host/host0/device/fc_host:host0/port_name"] = "0xb\n";
    data.files["/sys/class/scsi_host/host1/device/fc_host:host1/port_name"] = "0xc\n";
    const ScriptedHost host(data);
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), (Texts{"0xa@@host0", "0xc@@host1"}));
    EXPECT_EQ(host.effects(), (Texts{ran(kListQla2xxx), ran(kListQla2300), ran(kListLpfc),
                                     ran(kListFcHosts), ran(kListScsiHosts)}));
    const std::string device = "/sys/class/scsi_host/host2/device/";
    EXPECT_EQ(trace.lines(),
              (Texts{"[3] Entering fuction getWWPN",
                     "[1] Error: command /bin/ls /proc/scsi/qla2xxx/ failed.\n",
                     "[1] Error: command /bin/ls /proc/scsi/qla2300/ failed.\n",
                     "[1] Error: command /bin/ls /proc/scsi/lpfc/ failed.\n",
                     "[1] Error: command /bin/ls /sys/class/fc_host/ failed.\n",
                     "[1] Error: failed to open file " + device + "fc_host/host2/port_name and " +
                         device + "fc_host:host2/port_name",
                     "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, ShortScsiHostEndsTheDiscoveryToo) {
    RecordedHostData data = scsiHosts({"hst", "host1"});
    data.files["/sys/class/scsi_host/hst/device/fc_host/hst/port_name"] = "0xa\n";
    data.files["/sys/class/scsi_host/host1/device/fc_host/host1/port_name"] = "0xb\n";
    EXPECT_EQ(namesOn(data), Texts{});
}

TEST(PortNames, HostWithoutAnySourceHasNoNames) {
    const ScriptedHost host;
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    EXPECT_EQ(wwpn.getWWPN(), Texts{});
    EXPECT_EQ(trace.lines(), (Texts{"[3] Entering fuction getWWPN",
                                    "[1] Error: command /bin/ls /proc/scsi/qla2xxx/ failed.\n",
                                    "[1] Error: command /bin/ls /proc/scsi/qla2300/ failed.\n",
                                    "[1] Error: command /bin/ls /proc/scsi/lpfc/ failed.\n",
                                    "[1] Error: command /bin/ls /sys/class/fc_host/ failed.\n",
                                    "[1] Error: command /bin/ls /sys/class/scsi_host/ failed.\n",
                                    "[3] Exiting fuction getWWPN"}));
}

TEST(PortNames, AnyExceptionIsCaught) {
    ScriptedHost host(fcHosts({"host5"}));
    WWPN wwpn;
    TraceCapture trace;
    wwpn.registerTraceLog(trace.log());
    host.beforeRead = [](const std::string&) { throw std::bad_alloc(); };
    EXPECT_EQ(wwpn.getWWPN(), Texts{});
    EXPECT_EQ(trace.lines()[4], "[1] getWWPN Error: Caught exception: [std::bad_alloc]");
    trace.clear();
    host.beforeRead = [](const std::string&) { throw 6; };
    EXPECT_EQ(wwpn.getWWPN(), Texts{});
    EXPECT_EQ(trace.lines()[4], "[1] getWWPN Error: Caught exception: [unknown exception]");
    EXPECT_EQ(trace.lines()[5], "[3] Exiting fuction getWWPN");
}

}  // namespace
