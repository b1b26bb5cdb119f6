#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <new>
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
using test::slept;
using test::tableOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;
using Adapters = std::map<std::string, std::vector<int>>;

constexpr char kScript[] = "/bin/rescan-scsi-bus.sh";
constexpr char kUsrScript[] = "/usr/bin/rescan-scsi-bus.sh";

RecordedHostData hostWithScript(const std::string& path, const std::string& arguments,
                                const Texts& output = {}, int exitStatus = 0) {
    RecordedHostData data;
    data.files[path] = "";
    data.commands = {{path + arguments, output, exitStatus}};
    return data;
}

RecordedHostData hostOfKernel(const std::string& release) {
    RecordedHostData data;
    data.kernelRelease = release;
    return data;
}

/// A discovery whose lines, and those of its SCSI tool, go to one trace.
struct TracedDiscovery : CLinuxDeviceDiscovery {
    explicit TracedDiscovery(TraceCapture& trace) {
        m_traceLog = trace.log();
        m_scsiTool.m_traceLog = trace.log();
    }
};

TEST(BusRescan, KernelReleaseDecides) {
    for (const char* const release : {"2.6.32-754.el6.x86_64", "3.10.0", "5.10.0", "2.40.1", "2.4",
                                      "12.4.1", "x2.4.21", " 2.4.21", ""}) {
        const ScriptedHost host(hostOfKernel(release));
        CLinuxDeviceDiscovery discovery;
        EXPECT_EQ(discovery.rescanScsiBus(false, ""), 6) << release;
        EXPECT_EQ(host.effects(), Texts{}) << release;
    }
    for (const char* const release : {"2.4.21-4.ELsmp", "2.4."}) {
        const ScriptedHost host(hostOfKernel(release));
        CLinuxDeviceDiscovery discovery;
        EXPECT_EQ(discovery.rescanScsiBus(false, ""), 0) << release;
        EXPECT_EQ(host.effects().front(), ran("/bin/ls /proc/scsi")) << release;
    }
}

TEST(BusRescan, ScriptGetsTheCallersArgumentsBehindItsOwn) {
    const ScriptedHost host(
        hostWithScript(kScript, " --alltargets --issue-lip -d --nooptscan", {"done"}));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.rescanScsiBus(true, " --nooptscan"), 0);
    EXPECT_EQ(host.effects(),
              Texts{ran("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d --nooptscan")});
}

TEST(BusRescan, CommandEndsInItsOwnArgumentsWithoutTheCallers) {
    const ScriptedHost host(hostWithScript(kScript, " --alltargets --issue-lip -d"));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.rescanScsiBus(false, ""), 0);
    EXPECT_EQ(host.effects(), Texts{ran("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d")});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescanScsiBus [N, device_discovery_linux]",
                     "[3] INFO: Doing kernel SCSI bus scan. Release string is [5.10.0]",
                     "[6] Entering Function RescanScsiMidLayer2_6 [N, device_discovery_linux]",
                     "[6] Entering Function executeRescanScsiScript [N, device_discovery_linux]",
                     "[3] Info:Trying with rescan-scsi-bus.sh",
                     "[3] Info: Executing [/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d]",
                     "[6] Exiting Function executeRescanScsiScript [N, device_discovery_linux]",
                     "[6] Exiting Function RescanScsiMidLayer2_6 [N, device_discovery_linux]",
                     "[6] Exiting Function rescanScsiBus [N, device_discovery_linux]"}));
}

TEST(BusRescan, ArgumentsAreNotSeparatedFromTheScriptsOwn) {
    const ScriptedHost host(hostWithScript(kScript, " --alltargets --issue-lip -dx"));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.RescanScsiMidLayer2_6("x"), 0);
    EXPECT_EQ(host.effects(), Texts{ran("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -dx")});
}

TEST(RescanScript, IsLookedForUnderUsrToo) {
    const ScriptedHost host(hostWithScript(kUsrScript, " --alltargets --issue-lip -d -x"));
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.RescanScsiMidLayer2_6(" -x"), 0);
    EXPECT_EQ(host.effects(),
              Texts{ran("/usr/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d -x")});
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function RescanScsiMidLayer2_6 [N, device_discovery_linux]",
               "[6] Entering Function executeRescanScsiScript [N, device_discovery_linux]",
               "[3] Info:Trying with rescan-scsi-bus.sh",
               "[3] Info: failed to open file[/bin/rescan-scsi-bus.sh]",
               "[3] Info:Trying with [/usr/bin/rescan-scsi-bus.sh]",
               "[3] Info: Executing [/usr/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d -x]",
               "[6] Exiting Function executeRescanScsiScript [N, device_discovery_linux]",
               "[6] Exiting Function RescanScsiMidLayer2_6 [N, device_discovery_linux]"}));
}

TEST(RescanScript, ScriptUnderBinIsPreferred) {
    RecordedHostData data = hostWithScript(kScript, "");
    data.files[kUsrScript] = "";
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.executeRescanScsiScript(""), 0);
    EXPECT_EQ(host.effects(), Texts{ran("/bin/rescan-scsi-bus.sh")});
}

TEST(RescanScript, MissingScriptIsToldToTheOperator) {
    const ScriptedHost host;
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.executeRescanScsiScript(" -d"), 6);
    EXPECT_EQ(host.effects(), Texts{});
    const std::string told =
        "[8] Failed to open rescan script:/usr/bin/rescan-scsi-bus.sh. Snapshot disks will not be "
        "visible to the host to be protected.";
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function executeRescanScsiScript [N, device_discovery_linux]",
                     "[3] Info:Trying with rescan-scsi-bus.sh",
                     "[3] Info: failed to open file[/bin/rescan-scsi-bus.sh]",
                     "[3] Info:Trying with [/usr/bin/rescan-scsi-bus.sh]",
                     "[3] Info: failed to open file[/usr/bin/rescan-scsi-bus.sh]", told,
                     "[6] Exiting Function executeRescanScsiScript [N, device_discovery_linux]"}));
}

TEST(RescanScript, FailingScriptLeavesItsOutputInTheTrace) {
    const ScriptedHost host(hostWithScript(kScript, " -d", {"no hosts", "", "%s"}, 2));
    TraceCapture trace;
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.executeRescanScsiScript(" -d"), 6);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function executeRescanScsiScript [N, device_discovery_linux]",
                     "[3] Info:Trying with rescan-scsi-bus.sh",
                     "[3] Info: Executing [/bin/rescan-scsi-bus.sh -d]",
                     "[1] Failed to execute script: [/bin/rescan-scsi-bus.sh -d]. Return code: 2",
                     "[2] Warning: [no hosts]", "[2] Warning: []", "[2] Warning: [%s]",
                     "[6] Exiting Function executeRescanScsiScript [N, device_discovery_linux]"}));
    EXPECT_EQ(process.lines(),
              Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: exited, status= [2]"});
}

TEST(RescanScript, TimedOutScriptIsOneThatWasKilled) {
    RecordedHostData data = hostWithScript(kScript, "");
    data.commands.front().timedOut = true;
    const ScriptedHost host(data);
    TraceCapture trace(2);
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.executeRescanScsiScript(""), 6);
    EXPECT_EQ(trace.lines(),
              (Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: killed by signal [9]",
                     "[1] Failed to execute script: [/bin/rescan-scsi-bus.sh]. Return code: 9"}));
}

TEST(RescanScript, CommandIsCutAtItsBuffer) {
    const std::string path = kScript;
    for (const std::size_t length : {1022U, 1023U, 1024U, 5000U}) {
        const std::string arguments(length - path.size(), 'a');
        const std::string command = (path + arguments).substr(0, 1023);
        RecordedHostData data;
        data.files[kScript] = "";
        data.commands = {{command, {}}};
        const ScriptedHost host(data);
        CLinuxDeviceDiscovery discovery;
        EXPECT_EQ(discovery.executeRescanScsiScript(arguments), 0) << length;
        EXPECT_EQ(host.effects(), Texts{ran(command)}) << length;
    }
}

RecordedHostData hostWithAdapters() {
    RecordedHostData data = hostOfKernel("2.4.21-4.ELsmp");
    data.commands = {{"/bin/ls /proc/scsi", {"device_info", "lpfc", "qla2300", "scsi"}},
                     {"/bin/ls /proc/scsi/lpfc", {"4 HbaApiNode 5"}},
                     {"/bin/ls /proc/scsi/qla2300", {"2", "HbaApiNode", "3"}}};
    return data;
}

TEST(HostAdapters, DriversAreFoundWithTheirNumbers) {
    const ScriptedHost host(hostWithAdapters());
    CLinuxDeviceDiscovery discovery;
    Adapters adapters;
    EXPECT_EQ(discovery.GetHostAdapterList(adapters), 0);
    EXPECT_EQ(adapters, (Adapters{{"lpfc", {4, 5}}, {"qla2300", {2, 3}}}));
    EXPECT_EQ(host.effects(), (Texts{ran("/bin/ls /proc/scsi"), ran("/bin/ls /proc/scsi/lpfc"),
                                     ran("/bin/ls /proc/scsi/qla2300")}));
}

TEST(HostAdapters, SearchIsTraced) {
    const ScriptedHost host(hostWithAdapters());
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    Adapters adapters;
    discovery.GetHostAdapterList(adapters);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function GetHostAdapterList [N, device_discovery_linux]",
                     "[3] INFO: sending command: /bin/ls /proc/scsi",
                     "[3] INFO: sending command: /bin/ls /proc/scsi/lpfc",
                     "[3] INFO: adding: lpfc - 4\n", "[3] INFO: adding: lpfc - 5\n",
                     "[3] INFO: sending command: /bin/ls /proc/scsi/qla2300",
                     "[3] INFO: adding: qla2300 - 2\n", "[3] INFO: adding: qla2300 - 3\n",
                     "[6] Exiting Function GetHostAdapterList [N, device_discovery_linux]"}));
}

TEST(HostAdapters, DriversOfOneLineAreListedInTheirFixedOrder) {
    RecordedHostData data;
    data.commands = {{"/bin/ls /proc/scsi", {"lpfc qla2400 qla2300 qla2200 qla2xxx qla2100", "x"}}};
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Adapters adapters;
    discovery.GetHostAdapterList(adapters);
    EXPECT_EQ(adapters, Adapters{});
    Texts runs;
    for (const std::string& line : host.effects()) {
        if (line.find("unanswered") == std::string::npos) {
            runs.push_back(line);
        }
    }
    EXPECT_EQ(runs, (Texts{ran("/bin/ls /proc/scsi"), ran("/bin/ls /proc/scsi/qla2100"),
                           ran("/bin/ls /proc/scsi/qla2xxx"), ran("/bin/ls /proc/scsi/qla2200"),
                           ran("/bin/ls /proc/scsi/qla2300"), ran("/bin/ls /proc/scsi/qla2400"),
                           ran("/bin/ls /proc/scsi/lpfc")}));
}

TEST(HostAdapters, WordsThatBeginWithADigitAreNumbers) {
    RecordedHostData data;
    data.commands = {
        {"/bin/ls /proc/scsi", {"lpfc"}},
        {"/bin/ls /proc/scsi/lpfc",
         {"  7   8x 9", "-1 +2 a3 .", "", "\t4", std::string("5\0 6", 4), "4294967297"}}};
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Adapters adapters;
    discovery.GetHostAdapterList(adapters);
    EXPECT_EQ(adapters, (Adapters{{"lpfc", {7, 8, 9, 5, 1}}}));
}

TEST(HostAdapters, ListingThatFailedButPrintedIsUsed) {
    RecordedHostData data;
    data.commands = {{"/bin/ls /proc/scsi", {"lpfc"}, 2}, {"/bin/ls /proc/scsi/lpfc", {"3"}, 2}};
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Adapters adapters;
    EXPECT_EQ(discovery.GetHostAdapterList(adapters), 0);
    EXPECT_EQ(adapters, (Adapters{{"lpfc", {3}}}));
}

TEST(HostAdapters, ExceptionIsTraced) {
    ScriptedHost host;
    host.beforeCommand = [](const std::string&) { throw std::bad_alloc(); };
    TraceCapture trace(2);
    TracedDiscovery discovery(trace);
    Adapters adapters;
    Texts names;
    EXPECT_EQ(discovery.GetHostAdapterList(adapters), 0);
    EXPECT_EQ(discovery.GetHostAdapterList2_6(names), 0);
    EXPECT_EQ(trace.lines(),
              (Texts{"[2] CLinuxDeviceDiscovery::GetHostAdapterList: Exception Occurred",
                     "[2] CLinuxDeviceDiscovery::GetHostAdapterList2_6: Exception Occurred"}));
}

TEST(HostAdapters, SysfsEntriesAreTrimmed) {
    RecordedHostData data;
    data.commands = {{"/bin/ls /sys/class/scsi_host", {"host0", " host1\t\r"}}};
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    Texts adapters;
    EXPECT_EQ(discovery.GetHostAdapterList2_6(adapters), 0);
    EXPECT_EQ(adapters, (Texts{"host0", "host1"}));
    EXPECT_EQ(host.effects(), Texts{ran("/bin/ls /sys/class/scsi_host")});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function GetHostAdapterList2_6 [N, device_discovery_linux]",
                     "[3] INFO: sending command: /bin/ls /sys/class/scsi_host",
                     "[3] INFO: adding adapter host0", "[3] INFO: adding adapter host1",
                     "[6] Exiting Function GetHostAdapterList2_6 [N, device_discovery_linux]"}));
}

RecordedHostData hostWithQlogicFiles() {
    RecordedHostData data;
    data.files["/proc/scsi/qla2300/2"] = "";
    data.files["/proc/scsi/qla2300/3"] = "";
    return data;
}

TEST(QlogicRescan, PausesAfterEveryAdapter) {
    const ScriptedHost host(hostWithQlogicFiles());
    CLinuxDeviceDiscovery discovery;
    Adapters adapters = {{"lpfc", {4}}, {"qla2300", {2, 3}}};
    EXPECT_EQ(discovery.RescanQlogicHBAs(adapters), 0);
    EXPECT_EQ(host.effects(),
              (Texts{appended("/proc/scsi/qla2300/2", "scsi-qlascan\n"), slept(3),
                     appended("/proc/scsi/qla2300/3", "scsi-qlascan\n"), slept(3)}));
}

TEST(QlogicRescan, AdapterIsTracedBeforeItIsWrittenTo) {
    TraceCapture trace(3);
    Texts lines;
    ScriptedHost host(hostWithQlogicFiles());
    host.afterAppend = [&](const std::string&, const std::string&) {
        lines.push_back(trace.lines().back());
    };
    TracedDiscovery discovery(trace);
    Adapters adapters = {{"qla2300", {2, 3}}};
    discovery.RescanQlogicHBAs(adapters);
    EXPECT_EQ(lines, (Texts{"[3] INFO: low-level rescanning qlogic hba: /proc/scsi/qla2300/2\n",
                            "[3] INFO: low-level rescanning qlogic hba: /proc/scsi/qla2300/3\n"}));
    EXPECT_EQ(trace.lines(), lines);
}

TEST(QlogicRescan, AdapterThatCannotBeOpenedIsSkippedWithoutAPause) {
    const ScriptedHost host(hostWithQlogicFiles());
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    Adapters adapters = {{"qla2300", {7, 3}}};
    EXPECT_EQ(discovery.RescanQlogicHBAs(adapters), 0);
    EXPECT_EQ(host.effects(),
              (Texts{appended("/proc/scsi/qla2300/3", "scsi-qlascan\n"), slept(3)}));
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function RescanQlogicHBAs [N, device_discovery_linux]",
                     "[2] Warning: adapter device failed to open for: /proc/scsi/qla2300/7\n",
                     "[3] INFO: low-level rescanning qlogic hba: /proc/scsi/qla2300/3\n",
                     "[6] Exiting Function RescanQlogicHBAs [N, device_discovery_linux]"}));
}

TEST(QlogicRescan, RefusedTextIsNotToldApart) {
    ScriptedHost host(hostWithQlogicFiles());
    host.appendResults["/proc/scsi/qla2300/2"] = {0, EINVAL};
    CLinuxDeviceDiscovery discovery;
    Adapters adapters = {{"qla2300", {2}}};
    EXPECT_EQ(discovery.RescanQlogicHBAs(adapters), 0);
    EXPECT_EQ(host.effects(),
              (Texts{appended("/proc/scsi/qla2300/2", "scsi-qlascan\n"), slept(3)}));
}

TEST(QlogicRescan, NumberIsCutAtItsBuffer) {
    RecordedHostData data;
    data.files["/proc/scsi/qla2xxx/1234567"] = "";
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    Adapters adapters = {{"qla2xxx", {12345678}}};
    discovery.RescanQlogicHBAs(adapters);
    EXPECT_EQ(host.effects(),
              (Texts{appended("/proc/scsi/qla2xxx/1234567", "scsi-qlascan\n"), slept(3)}));
}

Texts probesOf(int adapter, int channel, int target, int first, int last) {
    Texts probes;
    for (int lun = first; lun <= last; ++lun) {
        probes.push_back(appended(kScsiTable, "scsi add-single-device " + std::to_string(adapter) +
                                                  " " + std::to_string(channel) + " " +
                                                  std::to_string(target) + " " +
                                                  std::to_string(lun) + "\n"));
    }
    return probes;
}

void append(Texts& texts, const Texts& more) {
    texts.insert(texts.end(), more.begin(), more.end());
}

TEST(BusRescan, KernelOfTheOldKindRescansAndProbes) {
    RecordedHostData data = hostWithAdapters();
    data.files["/proc/scsi/qla2300/2"] = "";
    data.files["/proc/scsi/qla2300/3"] = "";
    data.files[kScsiTable] = tableOf({{2, 0, 1, 0}, {9, 0, 0, 0}});
    const ScriptedHost host(data);
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(discovery.rescanScsiBus(false, " --ignored"), 0);
    Texts expected = {ran("/bin/ls /proc/scsi"),
                      ran("/bin/ls /proc/scsi/lpfc"),
                      ran("/bin/ls /proc/scsi/qla2300"),
                      appended("/proc/scsi/qla2300/2", "scsi-qlascan\n"),
                      slept(3),
                      appended("/proc/scsi/qla2300/3", "scsi-qlascan\n"),
                      slept(3)};
    append(expected, probesOf(2, 0, 0, 0, 15));
    append(expected, probesOf(2, 0, 1, 1, 15));
    append(expected, probesOf(2, 0, 2, 0, 7));
    append(expected, probesOf(2, 1, 0, 0, 7));
    for (const int adapter : {3, 4, 5}) {
        append(expected, probesOf(adapter, 0, 0, 0, 15));
        append(expected, probesOf(adapter, 0, 1, 0, 7));
        append(expected, probesOf(adapter, 1, 0, 0, 7));
    }
    EXPECT_EQ(host.effects(), expected);
}

TEST(BusRescan, KernelOfTheOldKindIsTraced) {
    RecordedHostData data = hostOfKernel("2.4.9");
    data.commands = {{"/bin/ls /proc/scsi", {"scsi"}}};
    data.files[kScsiTable] = tableOf({});
    const ScriptedHost host(data);
    TraceCapture trace;
    TracedDiscovery discovery(trace);
    EXPECT_EQ(discovery.rescanScsiBus(false, ""), 0);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function rescanScsiBus [N, device_discovery_linux]",
                     "[6] Entering Function GetHostAdapterList [N, device_discovery_linux]",
                     "[3] INFO: sending command: /bin/ls /proc/scsi",
                     "[6] Exiting Function GetHostAdapterList [N, device_discovery_linux]",
                     "[3] INFO: doing 2.4 kernel SCSI bus scan",
                     "[6] Entering Function RescanScsiMidLayer2_4 [N, device_discovery_linux]",
                     "[6] Entering Function RescanQlogicHBAs [N, device_discovery_linux]",
                     "[6] Exiting Function RescanQlogicHBAs [N, device_discovery_linux]",
                     "[6] Entering Function scanForAdapterMaximums [N, device_discovery_linux]",
                     "[3] INFO: reading /proc/scsi/scsi\n",
                     "[6] Exiting Function scanForAdapterMaximums [N, device_discovery_linux]",
                     "[6] Entering Function scanForNewDevices [N, device_discovery_linux]",
                     "[3] INFO: reading /proc/scsi/scsi\n",
                     "[6] Exiting Function scanForNewDevices [N, device_discovery_linux]",
                     "[6] Exiting Function RescanScsiMidLayer2_4 [N, device_discovery_linux]",
                     "[6] Exiting Function rescanScsiBus [N, device_discovery_linux]"}));
}

TEST(BusRescan, ScanGoesOnWithoutTheMaximums) {
    const ScriptedHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(3);
    discovery.m_traceLog = trace.log();
    Adapters adapters = {{"lpfc", {4}}};
    EXPECT_EQ(discovery.RescanScsiMidLayer2_4(adapters), 0);
    EXPECT_EQ(trace.lines()[0], "[2] Warning: failed to open /proc/scsi/scsi for reading.");
    EXPECT_EQ(trace.lines()[2], "[3] INFO: trying add device: scsi add-single-device 4 0 0 0\n\n");
}

TEST(BusRescan, ExceptionInTheOldKindOfRescanIsSilent) {
    ScriptedHost host;
    host.beforeRead = [](const std::string&) { throw std::bad_alloc(); };
    TraceCapture trace(5);
    TracedDiscovery discovery(trace);
    Adapters adapters = {{"lpfc", {4}}};
    EXPECT_EQ(discovery.RescanScsiMidLayer2_4(adapters), 0);
    EXPECT_EQ(trace.lines(), Texts{});
    EXPECT_EQ(host.effects(), Texts{});
}

}  // namespace
