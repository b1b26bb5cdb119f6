#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "host/command_runner.h"
#include "scripted_host.h"
#include "scsitool/host/linux_host.h"
#include "scsitool/scsi/scsitool.h"
#include "slot_of.h"
#include "trace_capture.h"

namespace {

using namespace std::string_literals;
using recording::RecordedCommand;
using recording::RecordedHostData;
using test::ProcessTraceScope;
using test::ran;
using test::ScriptedHost;
using test::slept;
using test::slotOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kInitiator[] = "/sbin/iscsiadm";
constexpr char kNameFile[] = "/etc/iscsi/initiatorname.iscsi";
constexpr char kLogin[] = "/sbin/iscsiadm -m node -T iqn.2001-04.com.example:a --login";
constexpr char kLogout[] = "/sbin/iscsiadm -m node -T iqn.2001-04.com.example:a --logout";

RecordedHostData hostWithNameFile(const std::string& content) {
    RecordedHostData data;
    data.files[kInitiator] = "";
    data.files[kNameFile] = content;
    return data;
}

RecordedHostData hostThatAnswers(const RecordedCommand& answer) {
    RecordedHostData data;
    data.commands = {answer};
    return data;
}

/// The name that is read; "unchanged" when none is.
std::string nameIn(const std::string& content) {
    const ScriptedHost host(hostWithNameFile(content));
    CScsiTool tool;
    std::string iqn = "unchanged";
    EXPECT_EQ(tool.GetHostIQN(iqn), 0U);
    EXPECT_EQ(host.effects(), Texts{});
    return iqn;
}

TEST(InitiatorName, IsTheValueOfItsLine) {
    EXPECT_EQ(nameIn("InitiatorName=iqn.1993-08.org.debian:01:ab\n"),
              "iqn.1993-08.org.debian:01:ab");
    EXPECT_EQ(nameIn("InitiatorName=iqn.1993-08.org.debian:01:ab"), "iqn.1993-08.org.debian:01:ab");
}

TEST(InitiatorName, CaseAndBlanksDoNotCount) {
    EXPECT_EQ(nameIn(" initiatorname = iqn.x \n"), "iqn.x");
    EXPECT_EQ(nameIn("\tINITIATORNAME\t=\tiqn.x\r\n"), "iqn.x");
}

TEST(InitiatorName, FirstMatchingLineCounts) {
    EXPECT_EQ(nameIn("# comment\n\n=\nInitiatorAlias=a\nInitiatorName=iqn.x\nInitiatorName=y\n"),
              "iqn.x");
}

TEST(InitiatorName, CommentedLineDoesNotMatch) {
    EXPECT_EQ(nameIn("#InitiatorName=iqn.x\n# InitiatorName=iqn.y\n"), "unchanged");
}

TEST(InitiatorName, FileWithoutTheLineLeavesTheNameUnchanged) {
    EXPECT_EQ(nameIn(""), "unchanged");
    EXPECT_EQ(nameIn("InitiatorAlias=a\nInitiatorNames=b\n"), "unchanged");
}

TEST(InitiatorName, LineWithoutAValueGivesTheEmptyName) {
    EXPECT_EQ(nameIn("InitiatorName\n"), "");
    EXPECT_EQ(nameIn("InitiatorName=\nInitiatorName=iqn.x\n"), "");
}

TEST(InitiatorName, EmptyTokensAreSkippedAndTheValueEndsAtAnEqualsSign) {
    EXPECT_EQ(nameIn("==InitiatorName==iqn.x=y\n"), "iqn.x");
}

TEST(InitiatorName, LineBeyondTheBufferIsCut) {
    const std::string value(1100, 'x');
    EXPECT_EQ(nameIn("InitiatorName=" + value + "\n"), value.substr(0, 1023 - 14));
    EXPECT_EQ(nameIn(std::string(1023, '#') + "InitiatorName=iqn.x\n"), "iqn.x");
}

TEST(InitiatorName, MissingInitiatorGivesSix) {
    RecordedHostData data = hostWithNameFile("InitiatorName=iqn.x\n");
    data.files.erase(kInitiator);
    const ScriptedHost host(data);
    CScsiTool tool;
    TraceCapture trace;
    tool.registerTraceLog(trace.log());
    std::string iqn = "unchanged";
    EXPECT_EQ(tool.GetHostIQN(iqn), 6U);
    EXPECT_EQ(iqn, "unchanged");
    EXPECT_EQ(trace.lines(),
              (Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetHostIQN()",
                     "[1] libscsitool: ERROR: iscsi-initiator-utils package is not installed on "
                     "the host"}));
}

TEST(InitiatorName, UnreadableFileGivesTwentySix) {
    RecordedHostData data;
    data.files[kInitiator] = "";
    const ScriptedHost host(data);
    CScsiTool tool;
    TraceCapture trace;
    tool.registerTraceLog(trace.log());
    std::string iqn = "unchanged";
    EXPECT_EQ(tool.GetHostIQN(iqn), 26U);
    EXPECT_EQ(iqn, "unchanged");
    EXPECT_EQ(trace.lines(),
              (Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetHostIQN()",
                     "[1] Error: failed to open file [/etc/iscsi/initiatorname.iscsi]"}));
}

TEST(InitiatorName, FileThatOpensAndCannotBeReadIsReadAsFarAsItGoes) {
    RecordedHostData data = hostWithNameFile("InitiatorName=iqn.x\nInitiatorName=iq");
    data.files[kNameFile].readError = EIO;
    {
        const ScriptedHost host(data);
        CScsiTool tool;
        std::string iqn = "unchanged";
        EXPECT_EQ(tool.GetHostIQN(iqn), 0U);
        EXPECT_EQ(iqn, "iqn.x");
    }
    data.files[kNameFile].content = "InitiatorName=iq";
    const ScriptedHost host(data);
    CScsiTool tool;
    TraceCapture trace(1);
    tool.registerTraceLog(trace.log());
    std::string iqn = "unchanged";
    EXPECT_EQ(tool.GetHostIQN(iqn), 0U);
    EXPECT_EQ(iqn, "unchanged");
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(InitiatorName, SuccessTracesTheEntryAlone) {
    const ScriptedHost host(hostWithNameFile("InitiatorName=iqn.x\n"));
    CScsiTool tool;
    TraceCapture trace;
    tool.registerTraceLog(trace.log());
    std::string iqn;
    tool.GetHostIQN(iqn);
    EXPECT_EQ(trace.lines(), Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetHostIQN()"});
}

using Operation = std::function<unsigned(CScsiTool&)>;

unsigned discover(CScsiTool& tool) {
    std::string portal = "192.0.2.1:3260";
    return tool.DiscoverIscsiTargets(portal);
}

unsigned login(CScsiTool& tool) {
    std::string target = "iqn.2001-04.com.example:a";
    return tool.LoginToIscsiIQN(target);
}

unsigned logout(CScsiTool& tool) {
    std::string target = "iqn.2001-04.com.example:a";
    return tool.LogoutFromIscsiIQN(target);
}

unsigned rescanSessions(CScsiTool& tool) {
    return tool.RescanIscsiSessions();
}

struct OperationCase {
    Operation operation;
    std::string name;
    std::string command;
    std::string commandWord;
    std::string outputWord;
};

std::vector<OperationCase> operationCases() {
    return {{discover, "CScsiTool::DiscoverIscsiTargets",
             "/sbin/iscsiadm -m discovery -t sendtargets -p 192.0.2.1:3260", "Command", "Output"},
            {login, "CScsiTool::LoginToIscsiIQN", kLogin, "Command", "Output"},
            {logout, "CScsiTool::LogoutFromIscsiIQN", kLogout, "command", "output"},
            {rescanSessions, "CScsiTool::RescanIscsiSessions", "/sbin/iscsiadm -m session -R",
             "Command", "Output"}};
}

TEST(Initiator, SuccessRunsTheCommandWithoutAPause) {
    for (const OperationCase& each : operationCases()) {
        const ScriptedHost host(hostThatAnswers({each.command, {"first", "second"}}));
        CScsiTool tool;
        TraceCapture trace;
        TraceCapture process;
        const ProcessTraceScope scope(process.log());
        tool.registerTraceLog(trace.log());
        EXPECT_EQ(each.operation(tool), 0U);
        EXPECT_EQ(host.effects(), Texts{ran(each.command, 600)});
        EXPECT_EQ(trace.lines(),
                  (Texts{"[4] Entering " + each.name,
                         "[6] " + each.name + ": " + each.commandWord + ":[" + each.command + "]",
                         "[6] " + each.name + ": " + each.outputWord + ":[first]",
                         "[6] " + each.name + ": " + each.outputWord + ":[second]",
                         "[4] Exiting " + each.name}));
        EXPECT_EQ(process.lines(),
                  Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: exited, status= [0]"});
    }
}

TEST(Initiator, FailurePausesFiveSecondsAndGivesZero) {
    for (const OperationCase& each : operationCases()) {
        const ScriptedHost host(hostThatAnswers({each.command, {"no route"}, 8}));
        CScsiTool tool;
        TraceCapture trace;
        TraceCapture process;
        const ProcessTraceScope scope(process.log());
        tool.registerTraceLog(trace.log());
        EXPECT_EQ(each.operation(tool), 0U);
        EXPECT_EQ(host.effects(), (Texts{ran(each.command), slept(5)}));
        EXPECT_EQ(
            trace.lines(),
            (Texts{"[4] Entering " + each.name,
                   "[6] " + each.name + ": " + each.commandWord + ":[" + each.command + "]",
                   "[6] " + each.name + ": " + each.outputWord + ":[no route]",
                   "[1] " + each.name + ": Failed to execute command:[" + each.command +
                       "]. Command will be retried.",
                   "[6] " + each.name + ": Waiting for [5] seconds", "[4] Exiting " + each.name}));
        EXPECT_EQ(process.lines(),
                  (Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: exited, status= [8]",
                         "[2] " + each.name + ": command [" + each.command +
                             "] failed with error [8]."}));
    }
}

TEST(Initiator, TimeOutIsTracedAsSuch) {
    RecordedCommand answer{kLogin, {}};
    answer.timedOut = true;
    const ScriptedHost host(hostThatAnswers(answer));
    CScsiTool tool;
    TraceCapture trace(2);
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    tool.registerTraceLog(trace.log());
    EXPECT_EQ(login(tool), 0U);
    EXPECT_EQ(host.effects(), (Texts{ran(kLogin), slept(5)}));
    EXPECT_EQ(trace.lines(), (Texts{"[2] CScsiTool::GetExecPipeWaitPidStatus: killed by signal [9]",
                                    "[1] CScsiTool::LoginToIscsiIQN: Failed to execute command:["s +
                                        kLogin + "]. Command will be retried."}));
    EXPECT_EQ(process.lines(),
              Texts{"[2] CScsiTool::LoginToIscsiIQN: command ["s + kLogin + "] timed out"});
}

TEST(Initiator, SignalIsTheErrorOfTheFailureLine) {
    RecordedCommand answer{kLogin, {}};
    answer.signal = 11;
    const ScriptedHost host(hostThatAnswers(answer));
    CScsiTool tool;
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    EXPECT_EQ(login(tool), 0U);
    EXPECT_EQ(host.effects(), (Texts{ran(kLogin), slept(5)}));
    EXPECT_EQ(process.lines(), Texts{"[2] CScsiTool::LoginToIscsiIQN: command ["s + kLogin +
                                     "] failed with error [11]."});
}

TEST(Initiator, MissingToolIsAFailure) {
    const ScriptedHost host;
    CScsiTool tool;
    TraceCapture process;
    const ProcessTraceScope scope(process.log());
    EXPECT_EQ(rescanSessions(tool), 0U);
    EXPECT_EQ(host.effects().front(), ran("/sbin/iscsiadm -m session -R"));
    EXPECT_EQ(host.effects().back(), slept(5));
    EXPECT_EQ(process.lines().back(),
              "[2] CScsiTool::RescanIscsiSessions: command [/sbin/iscsiadm -m session -R] failed "
              "with error [127].");
}

TEST(Initiator, ExceptionGivesZeroWithoutAPause) {
    ScriptedHost host;
    host.beforeCommand = [](const std::string&) { throw std::bad_alloc(); };
    CScsiTool tool;
    TraceCapture trace(4);
    tool.registerTraceLog(trace.log());
    EXPECT_EQ(logout(tool), 0U);
    EXPECT_EQ(host.effects(), Texts{});
    EXPECT_EQ(trace.lines(), (Texts{"[4] Entering CScsiTool::LogoutFromIscsiIQN",
                                    "[2] CScsiTool::LogoutFromIscsiIQN: Unknown exception caught",
                                    "[4] Exiting CScsiTool::LogoutFromIscsiIQN"}));
}

TEST(Initiator, NothingIsTracedWithoutLogs) {
    const ScriptedHost host(hostThatAnswers({kLogin, {"x"}, 1}));
    CScsiTool tool;
    EXPECT_EQ(login(tool), 0U);
    EXPECT_EQ(host.effects(), (Texts{ran(kLogin), slept(5)}));
}

TEST(Initiator, ArgumentIsNotChanged) {
    const ScriptedHost host;
    CScsiTool tool;
    std::string target = " iqn.x\n";
    tool.LoginToIscsiIQN(target);
    EXPECT_EQ(target, " iqn.x\n");
}

std::string loginCommandFor(std::string target) {
    ScriptedHost host;
    CScsiTool tool;
    std::string seen;
    host.beforeCommand = [&](const std::string& command) { seen = command; };
    tool.LoginToIscsiIQN(target);
    return seen;
}

TEST(Initiator, CommandIsCutAtItsBuffer) {
    const std::string begin = "/sbin/iscsiadm -m node -T ";
    const std::string end = " --login";
    const std::size_t room = 1023 - begin.size() - end.size();
    EXPECT_EQ(loginCommandFor(std::string(room, 'x')), begin + std::string(room, 'x') + end);
    EXPECT_EQ(loginCommandFor(std::string(room + 1, 'x')),
              begin + std::string(room + 1, 'x') + " --logi");
    EXPECT_EQ(loginCommandFor(std::string(5000, 'x')),
              begin + std::string(1023 - begin.size(), 'x'));
}

TEST(Initiator, NulEndsTheArgument) {
    EXPECT_EQ(loginCommandFor("iqn.x\0 --logout"s), "/sbin/iscsiadm -m node -T iqn.x --login");
}

// A target's name and a portal come from the network or from whoever asks for the snapshot.
const Texts kHostileTexts = {"iqn.x; touch pwned",
                             "iqn.x && touch pwned",
                             "iqn.x | touch pwned",
                             "`touch pwned`",
                             "$(touch pwned)",
                             "iqn.x\ntouch pwned\n",
                             "iqn.x\r\ntouch pwned",
                             "'; touch pwned; '",
                             "\"; touch pwned; \"",
                             "iqn.x' touch pwned",
                             "iqn.x\" touch pwned",
                             "--login -m discovery",
                             "-p",
                             "../../sbin/reboot",
                             "> /etc/passwd",
                             "iqn.x & /bin/sh",
                             "\\; touch pwned",
                             "${IFS}touch${IFS}pwned",
                             "*",
                             "\xFF\xFE",
                             "%s%n",
                             "iqn.x\x1b[2J"};

TEST(Initiator, HostileTextStartsNoSecondProgram) {
    for (const std::string& text : kHostileTexts) {
        for (const bool isPortal : {false, true}) {
            ScriptedHost host;
            Texts commands;
            host.beforeCommand = [&](const std::string& command) { commands.push_back(command); };
            CScsiTool tool;
            std::string argument = text;
            EXPECT_EQ(
                isPortal ? tool.DiscoverIscsiTargets(argument) : tool.LoginToIscsiIQN(argument),
                0U);
            ASSERT_EQ(commands.size(), 1U) << text;
            const Texts words = host::splitCommand(commands.front());
            ASSERT_GE(words.size(), 5U) << text;
            // The first word is the one that is executed; all others are its arguments.
            EXPECT_EQ(words[0], "/sbin/iscsiadm") << text;
            EXPECT_EQ(words[1], "-m") << text;
            EXPECT_EQ(words[2], isPortal ? "discovery" : "node") << text;
            for (const std::string& effect : host.effects()) {
                EXPECT_EQ(effect.find("\"shell\""), std::string::npos) << text;
            }
        }
    }
}

TEST(Initiator, TextWithoutBlanksAndQuotesStaysOneWord) {
    for (const std::string& text : {"iqn.x;touch"s, "`touch`"s, "$(touch)"s, "iqn.x\ntouch"s, "-x"s,
                                    "--op=delete"s, "a\tb"s, "[2001:db8::1]:3260"s}) {
        const Texts words = host::splitCommand(loginCommandFor(text));
        EXPECT_EQ(words, (Texts{"/sbin/iscsiadm", "-m", "node", "-T", text, "--login"}));
    }
}

TEST(Initiator, HostileTextReachesARealProgramAsPlainWords) {
    for (const std::string& text : kHostileTexts) {
        const Texts words = host::splitCommand(text);
        std::string expected;
        for (const std::string& word : words) {
            expected += (expected.empty() ? "" : " ") + word;
        }
        const host::CommandResult result = host::linuxHost().runCommand("/bin/echo -- " + text, 60);
        std::string printed;
        for (const std::string& line : result.lines) {
            printed += (printed.empty() ? "" : "\n") + line;
        }
        // A line feed at the very end is not told apart from the one of echo itself.
        while (!expected.empty() && expected.back() == '\n') {
            expected.pop_back();
        }
        EXPECT_EQ(result.waitStatus, 0) << text;
        EXPECT_EQ(printed.substr(0, 3 + expected.size()), "-- " + expected) << text;
    }
    EXPECT_FALSE(host::linuxHost().pathExists("pwned"));
}

TEST(WaitStatus, IsDecodedInItsOrder) {
    struct Case {
        long status;
        long decoded;
        std::string toolLine;
        std::string processLine;
    };
    const std::string name = "[2] CScsiTool::GetExecPipeWaitPidStatus: ";
    const std::vector<Case> cases = {
        {0x0000, 0, "", name + "exited, status= [0]"},
        {0x0100, 1, "", name + "exited, status= [1]"},
        {0xFF00, 255, "", name + "exited, status= [255]"},
        {0x0080, 0, "", name + "exited, status= [0]"},
        {0x10100, 1, "", name + "exited, status= [1]"},
        {0x0001, 1, name + "killed by signal [1]", ""},
        {0x0009, 9, name + "killed by signal [9]", ""},
        {0x008B, 11, name + "killed by signal [11]", ""},
        {0x007E, 126, name + "killed by signal [126]", ""},
        {0x1309, 9, name + "killed by signal [9]", ""},
        {0x007F, 0, name + "stopped by signal:[0]", ""},
        {0x137F, 19, name + "stopped by signal:[19]", ""},
        {0xFF7F, 255, name + "stopped by signal:[255]", ""},
        {0xFFFF, 0xFFFF, "", name + "continued:[65535]"},
        {0x10000FFFF, 0x10000FFFF, "", name + "continued:[4295032831]"},
        {0x00FF, 0x00FF, "", ""},
        {0x13FF, 0x13FF, "", ""},
        {0x1FFFF, 0x1FFFF, "", ""},
        {-1, -1, "", ""},
    };
    for (const Case& each : cases) {
        TraceCapture trace;
        TraceCapture process;
        const ProcessTraceScope scope(process.log());
        CScsiTool tool;
        tool.registerTraceLog(trace.log());
        EXPECT_EQ(tool.GetExecPipeWaitPidStatus(each.status), each.decoded) << each.status;
        EXPECT_EQ(trace.lines(), each.toolLine.empty() ? Texts{} : Texts{each.toolLine})
            << each.status;
        EXPECT_EQ(process.lines(), each.processLine.empty() ? Texts{} : Texts{each.processLine})
            << each.status;
    }
}

TEST(WaitStatus, ExitWithoutAProcessLogIsSilent) {
    CScsiTool tool;
    EXPECT_EQ(tool.GetExecPipeWaitPidStatus(0x0200), 2);
    EXPECT_EQ(tool.GetExecPipeWaitPidStatus(0xFFFF), 0xFFFF);
}

TEST(ScsiTool, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CScsiTool::UpdateSupportedModePageList), 2);
    EXPECT_EQ(slotOf(&CScsiTool::CheckForDiskDevice), 3);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateDevice), 4);
    EXPECT_EQ(slotOf(&CScsiTool::RemoveDevice), 5);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateStdInquiryString), 6);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateVendorId), 7);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateProductId), 8);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateFirmwareLevel), 9);
    EXPECT_EQ(slotOf(&CScsiTool::UpdateModePageString), 10);
    EXPECT_EQ(slotOf(&CScsiTool::GetScsiDeviceCapacity), 11);
    EXPECT_EQ(slotOf(&CScsiTool::GetTargetLunPortInfo), 12);
    EXPECT_EQ(slotOf(&CScsiTool::GetModePageInfo), 13);
    EXPECT_EQ(slotOf(&CScsiTool::GetHostIQN), -1);
    EXPECT_EQ(slotOf(&CScsiTool::GetExecPipeWaitPidStatus), -1);
}

}  // namespace
