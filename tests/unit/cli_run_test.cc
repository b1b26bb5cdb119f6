#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <streambuf>

#include "cli/run.h"
#include "cli_harness.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/kit/context_singleton.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::healthyHost;
using test::smallHost;
using test::TempFolder;

const std::string kRecordedHost = R"({"format":"scsitool-host/1","hostname":"db01",
 "files":{"/proc/partitions":"   8        0    1048576 sda\n"},
 "devices":{"/dev/sda":{"id_lun":"0x02000105","size_bytes":1073741824,"inquiry":{
   "std":"000005021f00000241434d45202020204469736b20202020202020202020202030343330",
   "00":"000000020080","80":"0080000441423132"}}}})";

// One line that begins with the program's name.
void expectOneLine(const CliResult& result, const std::string& part) {
    EXPECT_EQ(result.err.compare(0, 10, "scsitool: "), 0) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_THAT(result.err, testing::HasSubstr(part));
}

void expectRefused(const CliResult& result, int status, const std::string& part) {
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_EQ(result.out, "");
    expectOneLine(result, part);
}

TEST(CliRun, NoCommandIsRefused) {
    CliMachine machine({});
    expectRefused(machine.run({}), 2, "no command given; 'scsitool help' lists the commands");
}

TEST(CliRun, AnUnknownCommandIsNamed) {
    CliMachine machine({});
    expectRefused(machine.run({"frobnicate"}), 2, "unknown command 'frobnicate'");
    expectRefused(machine.run({"a\nb"}), 2, "unknown command 'a\\nb'");
}

TEST(CliRun, AnUnknownOptionIsNamed) {
    CliMachine machine({});
    expectRefused(machine.run({"--bogus"}), 2, "unknown option '--bogus'");
    expectRefused(machine.run({"devices", "--bogus"}), 2,
                  "'--bogus'; see 'scsitool devices --help'");
}

TEST(CliRun, AMissingArgumentIsNamed) {
    CliMachine machine({});
    expectRefused(machine.run({"udid"}), 2, "NAME is required; see 'scsitool udid --help'");
    expectRefused(machine.run({"devices", "--host"}), 2, "--host");
}

TEST(CliRun, ATraceLevelOutsideOneToNineIsRefused) {
    for (const char* level : {"0", "10", "-1", "x", "1.5", ""}) {
        CliMachine machine({});
        expectRefused(machine.run({"--trace", level, "devices"}), 2, "--trace");
    }
    CliMachine machine(healthyHost());
    EXPECT_EQ(machine.run({"--trace", "1", "devices"}).status, 0);
    EXPECT_EQ(machine.run({"--trace", "9", "devices"}).status, 0);
}

TEST(CliRun, TraceOptionsNeedATraceLevel) {
    CliMachine machine({});
    expectRefused(machine.run({"--trace-file", "x", "devices"}), 2, "requires --trace");
    expectRefused(machine.run({"--trace-time", "devices"}), 2, "requires --trace");
}

TEST(CliRun, HelpAndVersionGoToStandardOutput) {
    CliMachine machine({});
    const CliResult help = machine.run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_THAT(help.out, testing::HasSubstr("Usage: scsitool"));
    const CliResult commandHelp = machine.run({"inquiry", "--help"});
    EXPECT_EQ(commandHelp.status, 0);
    EXPECT_THAT(commandHelp.out, testing::HasSubstr("Usage: scsitool inquiry"));
    EXPECT_EQ(machine.run({"--version"}).out, "scsitool 1.1.0\n");
}

TEST(CliRun, GlobalOptionsStandBeforeOrBehindTheCommand) {
    const TempFolder folder;
    const std::string file = folder.write("host.json", kRecordedHost);
    CliMachine machine({});
    const CliResult before = machine.run({"--host", file, "udid", "/dev/sda"});
    const CliResult behind = machine.run({"udid", "--host", file, "/dev/sda"});
    EXPECT_EQ(before.status, 0) << before.err;
    EXPECT_EQ(before.out, behind.out);
    EXPECT_EQ(before.out, "UDID##ACME##DISK##/DEV/SDA@DB01 (this path at this host only)\n");
}

TEST(CliRun, AMissingRecordedHostIsRefused) {
    CliMachine machine({});
    expectRefused(machine.run({"--host", "/nowhere/host.json", "devices"}), 2,
                  "/nowhere/host.json");
}

TEST(CliRun, ARecordedHostThatIsNoJsonIsRefusedWithThePlace) {
    const TempFolder folder;
    CliMachine machine({});
    const std::string file = folder.write("host.json", "{\"format\": nonsense}");
    expectRefused(machine.run({"--host", file, "devices"}), 2, file + ": 1:13: ");
}

TEST(CliRun, ARecordedHostOfAWrongTypeDeepInsideIsRefusedWithThePlace) {
    const TempFolder folder;
    CliMachine machine({});
    const std::string file = folder.write(
        "host.json", R"({"format":"scsitool-host/1","devices":{"/dev/sda":{"inquiry":{"80":7}}}})");
    expectRefused(machine.run({"--host", file, "devices"}), 2, "/devices/~1dev~1sda/inquiry/80");
}

TEST(CliRun, AnOddNumberOfHexadecimalDigitsIsRefusedWithThePlace) {
    const TempFolder folder;
    CliMachine machine({});
    const std::string file = folder.write(
        "host.json",
        R"({"format":"scsitool-host/1","devices":{"/dev/sda":{"inquiry":{"80":"008"}}}})");
    expectRefused(machine.run({"--host", file, "devices"}), 2, "/devices/~1dev~1sda/inquiry/80");
}

TEST(CliRun, AnUnwritableTraceFileStopsTheCommandBeforeItRuns) {
    CliMachine machine(smallHost());
    expectRefused(
        machine.run({"--trace", "6", "--trace-file", "/nowhere/trace", "devices", "--rescan"}), 2,
        "/nowhere/trace: cannot open the trace file for writing: No such file or directory");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliRun, AnUnwritableJournalFileStopsTheCommandBeforeItRuns) {
    CliMachine machine(smallHost());
    expectRefused(machine.run({"--journal", "/nowhere/journal", "devices", "--rescan"}), 2,
                  "/nowhere/journal: cannot open the journal file for writing: "
                  "No such file or directory");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliRun, FilesOfOneRunAreKeptApart) {
    const TempFolder folder;
    const std::string host = folder.write("host.json", kRecordedHost);
    const std::string other = folder.path("link");
    std::filesystem::create_symlink("host.json", other);
    std::filesystem::create_symlink("new", folder.path("newlink"));
    const std::string fresh = folder.path("new");
    const std::string alias = folder.path("newlink");
    const auto message = [](const std::string& left, const std::string& right) {
        return "scsitool: " + left + " and " + right +
               " are one file; name a file of its own for each\n";
    };
    CliMachine machine({});
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--host", host, "--journal", other}, message("--host " + host, "--journal " + other)},
        {{"--host", host, "--trace", "6", "--trace-file", host},
         message("--host " + host, "--trace-file " + host)},
        {{"--journal", fresh, "--trace", "6", "--trace-file", alias},
         message("--journal " + fresh, "--trace-file " + alias)},
    };
    for (auto [arguments, expected] : cases) {
        arguments.emplace_back("devices");
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, expected);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.read("host.json"), kRecordedHost);
        EXPECT_FALSE(std::filesystem::exists(fresh));
    }
}

TEST(CliRun, StandardErrorAndDevicesTakeJournalAndTraceTogether) {
    CliMachine machine(healthyHost());
    for (const char* const sink : {"-", "/dev/null"}) {
        EXPECT_EQ(
            machine.run({"--journal", sink, "--trace", "6", "--trace-file", sink, "disks"}).status,
            0)
            << sink;
    }
}

TEST(CliRun, ATraceFileThatFillsUpIsAFailure) {
    CliMachine machine(healthyHost());
    expectRefused(machine.run({"--trace", "6", "--trace-file", "/dev/full", "devices"}), 1,
                  "/dev/full: cannot write the trace file; it ends early");
}

// A stream that takes nothing, as a closed pipe or a full disk.
struct FullBuffer : std::streambuf {
    int overflow(int /*c*/) override { return traits_type::eof(); }
    std::streamsize xsputn(const char* /*s*/, std::streamsize /*n*/) override {
        errno = ENOSPC;
        return 0;
    }
};

TEST(CliRun, OutputThatCannotBeWrittenIsAFailure) {
    for (const char* command : {"devices", "--help"}) {
        CliMachine machine(healthyHost());
        FullBuffer full;
        std::ostream out(&full);
        std::ostringstream err;
        EXPECT_EQ(cli::run({command}, out, err, {}, machine.host()), 1);
        EXPECT_EQ(err.str(),
                  "scsitool: cannot write to standard output: No space left on device\n");
    }
}

// A reader that has gone away.
class ClosedPipe : public FullBuffer {
  public:
    std::streamsize xsputn(const char* /*s*/, std::streamsize /*n*/) override {
        errno = EPIPE;
        return 0;
    }
};

TEST(CliRun, AReaderThatGoesAwayChangesNothing) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"devices"}, {"--help"}, {"devices", "--json"}}) {
        CliMachine machine(healthyHost());
        ClosedPipe pipe;
        std::ostream out(&pipe);
        std::ostringstream err;
        EXPECT_EQ(cli::run(arguments, out, err, {}, machine.host()), 0);
        EXPECT_EQ(err.str(), "");
    }
}

TEST(CliRun, TraceLinesComeOneALineOnStandardError) {
    CliMachine machine(healthyHost());
    const CliResult result = machine.run({"--trace", "3", "disks"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, testing::HasSubstr("[3] INFO: reading /proc/partitions\n[3] Size of"));
    EXPECT_EQ(result.err.find("\n\n"), std::string::npos);
    EXPECT_EQ(result.err.find("\n[6]"), std::string::npos);
}

TEST(CliRun, TraceFileTakesTheLinesAndStandardErrorNone) {
    const TempFolder folder;
    CliMachine machine(healthyHost());
    const CliResult result =
        machine.run({"disks", "--trace", "6", "--trace-file", folder.path("trace")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(folder.read("trace"), testing::HasSubstr("[6] Entering Function "));
}

TEST(CliRun, TraceTimePutsTimeAndProcessFirst) {
    CliMachine machine(smallHost());
    cli::Surroundings surroundings;
    surroundings.processId = 4711;
    const CliResult result = machine.run({"disks", "--trace", "3", "--trace-time"}, surroundings);
    const std::string first = result.err.substr(0, result.err.find('\n'));
    EXPECT_THAT(first,
                testing::MatchesRegex("....-..-..T..:..:..\\....Z scsitool\\[4711\\] "
                                      "\\[3\\] INFO: registering trace log on discovery module"));
}

TEST(CliRun, WhatADeviceSaysStaysOnItsTraceLine) {
    recording::RecordedHostData data = smallHost();
    data.files["/proc/partitions"] = "   8  0  1 sda\x1b[2J\n";
    data.devices["/dev/sda\x1b[2J"] = data.devices["/dev/sda"];
    CliMachine machine(data);
    const CliResult result = machine.run({"--trace", "3", "devices"});
    EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
    EXPECT_THAT(result.err, testing::HasSubstr("sda\\x1b[2J"));
}

TEST(CliRun, TheProcessWideTraceLogIsTakenAwayAtTheEnd) {
    using qzfi_pdk_4_4::CFiTraceLog;
    using Context = qzfi_pdk_4_4::CFiContextSingleton<CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;
    CliMachine machine(smallHost());
    machine.run({"--trace", "6", "devices"});
    EXPECT_TRUE(Context::instance(false).isNull());
}

TEST(CliRun, JsonBeginsWithItsFormatVersionCommandAndStatus) {
    CliMachine machine(smallHost());
    const auto document = machine.run({"devices", "--json", "/dev/sda"}).json();
    EXPECT_EQ(document.begin().key(), "scsitool");
    EXPECT_EQ(document["scsitool"].dump(),
              R"({"json_format":1,"version":"1.1.0","command":["devices","--json","/dev/sda"],)"
              R"("exit_status":0})");
}

TEST(CliRun, AFailureUnderJsonIsOneWholeDocumentAndOneLine) {
    CliMachine machine({});
    const CliResult result = machine.run({"devices", "--json"});
    EXPECT_EQ(result.status, 1);
    expectOneLine(result, "no SCSI disk found");
    const auto document = result.json();
    EXPECT_EQ(document["scsitool"]["exit_status"], 1);
    EXPECT_EQ("scsitool: " + document["error"].get<std::string>() + "\n", result.err);
    EXPECT_TRUE(document["devices"].empty());
}

// A script that asked for a document gets one, whatever comes.
TEST(CliRun, WhatIsRefusedUnderJsonIsOneWholeDocument) {
    const TempFolder folder;
    const std::string file = folder.write("host.json", "{\"format\": nonsense}");
    const std::vector<std::vector<std::string>> lines = {
        {"--json", "a\nb"},
        {"--json"},
        {"devices", "--json", "--bogus"},
        {"--host", file, "devices", "--json"},
        {"--journal", "/nowhere/journal", "devices", "--json"},
        {"explain", "--json"}};
    for (const auto& arguments : lines) {
        CliMachine machine(smallHost());
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(result.status, 2);
        expectOneLine(result, "");
        const auto document = result.json();
        EXPECT_EQ(document.size(), 2U) << result.out;
        EXPECT_EQ(document["scsitool"]["exit_status"], 2);
        EXPECT_EQ(document["scsitool"]["command"].size(), arguments.size());
        EXPECT_FALSE(document["error"].get<std::string>().empty());
    }
}

// Fails in a way that no part of the command knows.
template <class Exception>
class ThrowingHost : public host::ForwardingHost {
  public:
    ThrowingHost(host::Host& next, const Exception& thrown)
        : ForwardingHost(next), m_thrown(thrown) {}
    int openDevice(const std::string& /*path*/, host::OpenMode /*mode*/) override {
        throw m_thrown;
    }

  private:
    Exception m_thrown;
};

template <class Exception>
CliResult runUntil(const Exception& thrown, const std::vector<std::string>& arguments) {
    CliMachine machine(smallHost());
    ThrowingHost<Exception> host(machine.host(), thrown);
    return test::runCli(arguments, host);
}

TEST(CliRun, AnErrorThatNobodyForesawIsToldWhole) {
    const std::string message =
        "stopped by an error that it does not know (stoi); this is a defect: please report it "
        "with the output of the same command with --trace 6";
    const CliResult plain = runUntil(std::invalid_argument("stoi"), {"inquiry", "/dev/sda"});
    EXPECT_EQ(plain.status, 1);
    EXPECT_EQ(plain.out, "");
    EXPECT_EQ(plain.err, "scsitool: " + message + "\n");
    const CliResult json =
        runUntil(std::invalid_argument("stoi"), {"inquiry", "/dev/sda", "--json"});
    EXPECT_EQ(json.status, 1);
    EXPECT_EQ(json.err, plain.err);
    EXPECT_EQ(json.json()["error"], message);
    EXPECT_EQ(json.json()["scsitool"]["exit_status"], 1);
}

TEST(CliRun, AnErrorThatNobodyForesawKeepsTheJournalOfADryRun) {
    const CliResult result =
        runUntil(std::out_of_range("at"), {"inquiry", "/dev/sda", "--json", "--dry-run"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.json()["journal"].empty());
    EXPECT_THAT(result.json()["error"].get<std::string>(), testing::HasSubstr("(at)"));
}

TEST(CliRun, WantOfMemoryIsToldAsThat) {
    const CliResult result = runUntil(std::bad_alloc(), {"inquiry", "/dev/sda", "--json"});
    EXPECT_EQ(result.status, 1);
    expectOneLine(result, "out of memory; free some, or name one device");
    EXPECT_EQ("scsitool: " + result.json()["error"].get<std::string>() + "\n", result.err);
}

TEST(CliRun, BytesThatAreNoUtf8AreLatin1InJson) {
    CliMachine machine({});
    const auto document = machine.run({"udid", "--json", "/dev/\xff\x80"}).json();
    EXPECT_EQ(document["name"], "/dev/\u00ff\u0080");
}

TEST(CliRun, WithoutRootTheMessageSaysSo) {
    recording::RecordedHostData data;
    data.files["/proc/partitions"] = "   8 0 1 sda\n   8 16 1 sdb\n";
    data.devices["/dev/sda"].openError = EACCES;
    data.devices["/dev/sdb"].openError = EACCES;
    CliMachine machine(data);
    cli::Surroundings surroundings;
    surroundings.isRoot = false;
    const std::string why =
        "scsitool: 2 of 2 disks cannot be opened: permission denied: /dev/sda /dev/sdb";
    EXPECT_EQ(machine.run({"devices"}, surroundings).err, why + "; run it as root\n");
    EXPECT_EQ(machine.run({"devices"}).err, why + "\n");
}

TEST(CliRun, ADeviceThatDeniesAccessIsNamed) {
    recording::RecordedHostData data = smallHost();
    data.devices["/dev/sdc"].openError = EACCES;
    CliMachine machine(data);
    cli::Surroundings surroundings;
    surroundings.isRoot = false;
    expectRefused(machine.run({"inquiry", "/dev/sdc"}, surroundings), 1,
                  "/dev/sdc: cannot open the device: Permission denied; run it as root");
}

TEST(CliRun, ColourAndProgressAppearOnATerminalOnly) {
    CliMachine machine(healthyHost());
    cli::Surroundings terminal;
    terminal.outIsTerminal = true;
    terminal.errIsTerminal = true;
    terminal.colour = true;
    terminal.width = 20;
    const CliResult result = machine.run({"devices"}, terminal);
    EXPECT_THAT(result.out, testing::StartsWith("\x1b[1mDEVICE"));
    EXPECT_THAT(result.err, testing::StartsWith("\r\x1b[K"));
    EXPECT_THAT(result.err, testing::EndsWith("\r\x1b[K"));
    EXPECT_GT(result.err.size(), std::strlen("\r\x1b[K\r\x1b[K"));
    terminal.colour = false;
    EXPECT_THAT(machine.run({"devices"}, terminal).out, testing::StartsWith("DEVICE"));
    const CliResult piped = machine.run({"devices"});
    EXPECT_EQ(piped.err, "");
    EXPECT_EQ(piped.out.find('\x1b'), std::string::npos);
}

TEST(CliRun, ATerminalThatTakesNoLineBackGetsNoProgress) {
    CliMachine machine(healthyHost());
    cli::Surroundings terminal;
    terminal.errIsTerminal = true;
    terminal.isDumb = true;
    EXPECT_EQ(machine.run({"devices"}, terminal).err, "");
}

TEST(CliRun, ProgressGivesWayToTraceLines) {
    CliMachine machine(smallHost());
    cli::Surroundings terminal;
    terminal.errIsTerminal = true;
    EXPECT_EQ(machine.run({"devices", "--trace", "1"}, terminal).err.find('\r'), std::string::npos);
}

TEST(CliRun, EveryDescriptorIsClosedAgain) {
    CliMachine machine(smallHost());
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"devices"},
                                               {"volumes"},
                                               {"disks"},
                                               {"udid", "/dev/sda"},
                                               {"udid", "/dev/sdc"},
                                               {"inquiry", "/dev/sdb"}}) {
        machine.run(arguments);
        EXPECT_EQ(machine.openDescriptors(), 0U) << arguments.front();
    }
}

}  // namespace
