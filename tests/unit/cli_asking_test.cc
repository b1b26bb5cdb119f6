// Disks that are asked side by side by other processes: what an operation hears, traces and
// returns is what it does when it asks them itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "cli_harness.h"
#include "device_host.h"
#include "scsitool/host/worker_process.h"

namespace {

using test::CliResult;
using test::TempFolder;

using Arguments = std::vector<std::string>;

/// A machine whose disks misbehave by their number: each one always in the same way.
class SickMachine : public host::ForwardingHost {
  public:
    explicit SickMachine(recording::RecordedHostData data)
        : ForwardingHost(m_recorded), m_recorded(std::move(data), m_journal) {}

    std::function<bool(const std::string& path)> hangs = [](const std::string&) { return false; };
    std::function<void(const std::string& command)> onCommand = [](const std::string&) {};

    int openDevice(const std::string& path, host::OpenMode mode) override {
        if (hangs(path)) {
            for (;;) {
                ::pause();
            }
        }
        const std::size_t kind = kindOf(path);
        if (kind == 1 || (kind == 2 && mode == host::OpenMode::kReadWriteNonBlocking)) {
            return kind == 1 ? -ENXIO : -EROFS;
        }
        if (kind == 3 && mode == host::OpenMode::kReadOnly) {
            throw std::runtime_error("no memory to open");
        }
        const int descriptor = ForwardingHost::openDevice(path, mode);
        m_kinds[descriptor] = kind;
        return descriptor;
    }
    int closeDevice(int descriptor) override {
        const int closed = ForwardingHost::closeDevice(descriptor);
        return m_kinds[descriptor] == 4 ? -EIO : closed;
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const std::size_t kind = m_kinds[descriptor];
        const bool evpd = (buffer[9] & 1) != 0;
        if (kind == 5 || (kind == 6 && evpd) || (kind == 7 && buffer[10] == 0x83)) {
            std::fill(buffer.begin() + 8, buffer.begin() + 26, std::uint8_t{0x70});
            return kind == 6 ? -EIO : 2;
        }
        if (kind == 8 && evpd) {
            throw std::runtime_error("no memory for the request");
        }
        if (kind == 9) {
            return -ETIMEDOUT;
        }
        const int result = ForwardingHost::sendCommand(descriptor, buffer);
        if (kind == 10) {
            std::fill(buffer.begin() + 20, buffer.begin() + 488, std::uint8_t{0});
        }
        if (kind == 11) {
            buffer[8] = 5;  // no disk
        }
        return result;
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        return m_kinds[descriptor] == 12 ? -ENOTTY
                                         : ForwardingHost::addressWords(descriptor, words);
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        return m_kinds[descriptor] == 13 ? -EINVAL : ForwardingHost::deviceSize(descriptor, bytes);
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        if (m_kinds[descriptor] == 14) {
            request.status = 2;
            request.sense[0] = 0x70;
            return 0;
        }
        return ForwardingHost::sgIo(descriptor, request);
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        onCommand(command);
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    std::size_t openDescriptors() const { return m_recorded.openDescriptors(); }

  private:
    static std::size_t kindOf(const std::string& path) {
        if (path.compare(0, 7, "/dev/sd") != 0) {
            return 0;
        }
        std::size_t number = 0;
        for (const char letter : path.substr(7)) {
            number = number * 26 + static_cast<std::size_t>(letter - 'a');
        }
        return number % 17;
    }

    recording::Journal m_journal;
    recording::RecordedHost m_recorded;
    std::map<int, std::size_t> m_kinds;
};

std::string diskName(std::size_t number) {
    std::string name = "sd";
    for (const std::size_t digit : {number / 676, number / 26 % 26, number % 26}) {
        name += static_cast<char>('a' + digit);
    }
    return name;
}

// Arrays of several families, among them one whose generator sends a command of its own.
recording::RecordedHostData manyDisks(std::size_t count) {
    const std::pair<const char*, const char*> kProducts[] = {{"ACME", "RAID 5"},
                                                             {"NETAPP", "LUN"},
                                                             {"HITACHI", "OPEN-V"},
                                                             {"DGC", "RAID 5"},
                                                             {"EMC", "SYMMETRIX"}};
    recording::RecordedHostData data;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        recording::RecordedDevice disk =
            test::namedDisk("S" + std::to_string(i), static_cast<std::uint8_t>(i));
        const auto& [vendor, product] = kProducts[i % 5];
        disk.standardInquiry = recording::RecordedPage(test::Page::inquiry(vendor, product).data());
        disk.sizeBytes = std::uint64_t{i} << 20;
        disk.sgIo[{0xC0, 0, 0, 0x0A, 0x98, 0x0A, 0x22, 0x10, 0, 0}] = {1, 2, 3};
        names.push_back(diskName(i));
        data.devices["/dev/" + names.back()] = disk;
    }
    data.files["/proc/partitions"] = test::partitionsOf(names);
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpatha"};
    data.devices["/dev/mapper/control"] = {};
    data.devices["/dev/mapper/mpatha"] = data.devices["/dev/" + diskName(0)];
    return data;
}

struct Outcome {
    CliResult result;
    std::string trace;
    std::string journal;
};

std::string withoutCommandLine(std::string text) {
    for (const char* const line :
         {"\"--jobs\",", "\"1\",", "\"--deadline\",", "\"0\",", "\"16\","}) {
        const std::size_t at = text.find(line);
        if (at < text.find("exit_status")) {
            const std::size_t begin = text.rfind('\n', at) + 1;
            text.erase(begin, text.find('\n', at) + 1 - begin);
        }
    }
    return text;
}

// What the kernel gives up is told with the deadline that it was waited for, if there is one.
std::string withoutDeadline(std::string text) {
    const std::string deadline = "no answer in 10 s";
    for (std::size_t at = text.find(deadline); at != std::string::npos; at = text.find(deadline)) {
        text.replace(at, deadline.size(), "no answer in time");
    }
    return text;
}

Outcome runTraced(host::Host& machine, const Arguments& command, const Arguments& options) {
    const TempFolder folder;
    Arguments arguments = options;
    arguments.insert(arguments.end(), {"--trace", "9", "--trace-file", folder.path("trace"),
                                       "--journal", folder.path("journal")});
    arguments.insert(arguments.end(), command.begin(), command.end());
    Outcome outcome;
    outcome.result = test::runCli(arguments, machine);
    outcome.result.out = withoutDeadline(outcome.result.out);
    outcome.trace = folder.read("trace");
    outcome.journal = test::effectsOf(folder.read("journal"), arguments);
    return outcome;
}

// A disk that hangs does so for good: whoever waited for it would never end. In milliseconds.
constexpr std::uint64_t kLongAfterTheDeadline = 10000;

const Arguments kBare = {"--jobs", "1", "--deadline", "0"};

void expectSame(host::Host& machine, const Arguments& command) {
    const std::string name = testing::PrintToString(command);
    const Outcome bare = runTraced(machine, command, kBare);
    for (const Arguments& options :
         {Arguments{}, Arguments{"--jobs", "1"}, Arguments{"--jobs", "64", "--deadline", "0"}}) {
        const Outcome asked = runTraced(machine, command, options);
        EXPECT_EQ(asked.result.status, bare.result.status) << name;
        EXPECT_EQ(asked.result.err, bare.result.err) << name;
        EXPECT_EQ(asked.result.out, bare.result.out) << name;
        EXPECT_TRUE(asked.trace == bare.trace) << name;
        EXPECT_EQ(asked.journal, bare.journal) << name;
    }
    EXPECT_GT(bare.trace.size(), 100U) << name;
}

TEST(CliAsking, IsHeardAsWhenTheOperationAsksItself) {
    SickMachine machine(manyDisks(400));
    const std::string nodes[] = {"/dev/" + diskName(0), "/dev/" + diskName(1),
                                 "/dev/" + diskName(9), "/dev/" + diskName(14)};
    for (const char* const command : {"devices", "volumes", "disks"}) {
        expectSame(machine, {command});
    }
    for (const std::string& node : nodes) {
        for (const char* const command : {"devices", "udid", "validate", "inquiry", "explain"}) {
            expectSame(machine, {command, node});
        }
    }
    expectSame(machine, {"validate", "/dev/nowhere"});
    expectSame(machine, {"udid", "/dev/nowhere"});
    expectSame(machine, {"udid", "/dev/nowhere", "--rescan-if-missing"});
    expectSame(machine, {"devices", "--rescan"});
    expectSame(machine, {"devices", "--taq"});
    expectSame(machine, {"rescan", "--changes"});
    expectSame(machine, {"iscsi", "login", "iqn.2000-01.com.acme:x", "--changes"});
    expectSame(machine, {"remove-dead"});
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(CliAsking, JsonIsTheSame) {
    SickMachine machine(manyDisks(100));
    CliResult bare = test::runCli({"--jobs", "1", "--deadline", "0", "volumes", "--json"}, machine);
    CliResult asked = test::runCli({"volumes", "--json"}, machine);
    EXPECT_EQ(withoutDeadline(withoutCommandLine(asked.out)), withoutCommandLine(bare.out));
    EXPECT_NE(asked.out.find("\"volumes\""), std::string::npos);
}

TEST(CliAsking, ASilentDiskIsNamedAndTheOthersAreRight) {
    SickMachine machine(manyDisks(64));
    const CliResult whole = test::runCli({"--deadline", "1", "devices", "--json"}, machine);
    const std::string silent = "/dev/" + diskName(17);
    machine.hangs = [&silent](const std::string& path) { return path == silent; };
    const std::uint64_t begun = host::monotonicMilliseconds();
    const CliResult result = test::runCli({"--deadline", "1", "devices", "--json"}, machine);
    EXPECT_LT(host::monotonicMilliseconds() - begun, kLongAfterTheDeadline);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr(" disks did not answer: "));
    EXPECT_THAT(result.err, testing::HasSubstr(" " + silent));
    EXPECT_EQ(result.json()["unanswered"].dump(), R"([{"name":")" + silent + R"(","seconds":1}])");
    nlohmann::ordered_json expected = nlohmann::ordered_json::array();
    const auto all = whole.json();
    for (const auto& device : all["devices"]) {
        if (device["name"] != silent) {
            expected.push_back(device);
        }
    }
    nlohmann::ordered_json devices = result.json()["devices"];
    for (auto* const list : {&expected, &devices}) {
        for (auto& device : *list) {
            device.erase("marks");  // what the others say of the silent one is another matter
        }
    }
    EXPECT_EQ(all["devices"].size(), expected.size() + 1);
    EXPECT_EQ(devices, expected);
}

TEST(CliAsking, ASilentDiskThatIsNamedIsToldOf) {
    SickMachine machine(manyDisks(3));
    machine.hangs = [](const std::string&) { return true; };
    for (const char* const command : {"validate", "udid", "inquiry", "explain"}) {
        const CliResult result = test::runCli({"--deadline", "1", command, "/dev/sdaab"}, machine);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.err, "scsitool: /dev/sdaab: no answer in 1 s\n") << command;
    }
    const CliResult row = test::runCli({"--deadline", "1", "devices", "/dev/sdaab"}, machine);
    EXPECT_EQ(row.status, 3);
    EXPECT_EQ(row.err, "scsitool: 1 of 1 disk did not answer: /dev/sdaab\n");
    EXPECT_THAT(
        row.out,
        testing::HasSubstr("/dev/sdaab      0  -        1.0 GiB  -        no answer in 1 s  -\n"));
}

TEST(CliAsking, NamesSixteenOfThemAndCountsTheOthers) {
    for (const std::size_t silent : {16U, 17U, 20U}) {
        SickMachine machine(manyDisks(80));
        machine.hangs = [silent](const std::string& path) {
            return path >= "/dev/sdaaa" && path < "/dev/" + diskName(silent);
        };
        const CliResult result = test::runCli(
            {"--deadline", "1", "iscsi", "login", "iqn.2000-01.com.acme:x", "--changes"}, machine);
        EXPECT_THAT(result.err, testing::HasSubstr(" of 81 disks did not answer: /dev/sdaaa "));
        const std::string end = silent == 16
                                    ? "/dev/sdaap\n"
                                    : "/dev/sdaap and " + std::to_string(silent - 16) + " more\n";
        EXPECT_THAT(result.err, testing::HasSubstr(end));
    }
}

TEST(CliAsking, WhereNoneAnswersThatIsSaid) {
    SickMachine machine(manyDisks(3));
    machine.hangs = [](const std::string& path) { return path != "/dev/mapper/control"; };
    const CliResult result = test::runCli({"--deadline", "1", "disks"}, machine);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: 3 of 3 disks did not answer: /dev/sdaaa /dev/sdaab /dev/sdaac\n");
}

TEST(CliAsking, AnswersBeforeARescanAreNotTakenAfterIt) {
    recording::RecordedHostData data = manyDisks(3);
    SickMachine machine(data);
    bool isGone = false;
    machine.onCommand = [&isGone](const std::string&) { isGone = true; };
    machine.hangs = [](const std::string&) { return false; };
    class Vanishing : public host::ForwardingHost {
      public:
        Vanishing(host::Host& inner, const bool& isGone)
            : ForwardingHost(inner), m_isGone(isGone) {}
        int openDevice(const std::string& path, host::OpenMode mode) override {
            return m_isGone && path == "/dev/sdaaa" ? -ENODEV
                                                    : ForwardingHost::openDevice(path, mode);
        }

      private:
        const bool& m_isGone;
    } vanishing(machine, isGone);
    const CliResult result = test::runCli(
        {"iscsi", "logout", "iqn.2000-01.com.acme:x", "--changes", "--json"}, vanishing);
    const auto gone = result.json()["changes"]["disappeared"];
    ASSERT_EQ(gone.size(), 1U);
    EXPECT_EQ(gone[0]["devices"].dump(), R"(["/dev/sdaaa"])");
}

TEST(CliAsking, ADiskThatHangsAfterTheRescanHoldsTheLockForTheDeadline) {
    recording::RecordedHostData data = manyDisks(8);
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    data.commands.push_back({"/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d", {}});
    SickMachine machine(data);
    bool isSick = false;
    machine.onCommand = [&isSick](const std::string&) { isSick = true; };
    machine.hangs = [&isSick](const std::string& path) {
        return isSick && path == "/dev/" + diskName(4);
    };
    const std::uint64_t begun = host::monotonicMilliseconds();
    const CliResult result = test::runCli({"--deadline", "1", "devices", "--rescan"}, machine);
    EXPECT_LT(host::monotonicMilliseconds() - begun, kLongAfterTheDeadline);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr(" /dev/sdaae"));
}

TEST(CliAsking, ASilentDiskIsNoDeadAddress) {
    recording::RecordedHostData data = manyDisks(2);
    SickMachine machine(data);
    machine.hangs = [](const std::string& path) { return path == "/dev/sdaab"; };
    const CliResult result = test::runCli({"--deadline", "1", "remove-dead"}, machine);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "scsitool: /dev/sdaab is not enumerated: it cannot be opened: Connection timed out; "
              "with --force disks that live are taken for dead\n"
              "scsitool: 1 of 3 disks did not answer: /dev/sdaab\n"
              "scsitool: 1 removal refused, nothing was done; --force does it all the same\n");
}

TEST(CliAsking, ADiskWhoseWorkerEndsTwiceIsNamed) {
    SickMachine machine(manyDisks(20));
    machine.hangs = [](const std::string& path) {
        if (path == "/dev/sdaaf") {
            std::abort();
        }
        return false;
    };
    const CliResult result = test::runCli({"devices"}, machine);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr(" /dev/sdaaf "));
}

TEST(CliAsking, WithoutProcessesDisksAreAskedHereAndThatIsSaid) {
    SickMachine machine(manyDisks(5));
    const CliResult whole = test::runCli({"devices"}, machine);
    // Not even the rights of root count for a process of another user.
    const auto saysSo = [&] {
        const rlimit none = {0, 0};
        if (::setuid(65534) != 0 || ::setrlimit(RLIMIT_NPROC, &none) != 0) {
            return false;
        }
        const CliResult result = test::runCli({"devices"}, machine);
        return result.status == whole.status && result.out == whole.out &&
               result.err ==
                   "scsitool: disks were asked one after the other and without a deadline: no "
                   "process could be started: Resource temporarily unavailable\n" +
                       whole.err;
    };
    EXPECT_EXIT(std::_Exit(saysSo() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(CliAsking, OptionsOutOfRangeAreRefusedWithTheRange) {
    test::CliMachine machine(test::healthyHost());
    const std::pair<Arguments, std::string> kCases[] = {{{"--jobs", "0"}, "--jobs"},
                                                        {{"--jobs", "1025"}, "--jobs"},
                                                        {{"--jobs", "x"}, "--jobs"},
                                                        {{"--jobs", "-1"}, "--jobs"},
                                                        {{"--deadline", "3601"}, "--deadline"},
                                                        {{"--deadline", "-1"}, "--deadline"},
                                                        {{"--deadline", "1.5"}, "--deadline"}};
    for (auto [arguments, option] : kCases) {
        const std::string value = arguments[1];
        arguments.emplace_back("devices");
        const CliResult result = machine.run(arguments);
        EXPECT_EQ(result.status, 2) << option << value;
        EXPECT_EQ(result.err, "scsitool: " + option + " " + value + ": expected a number from " +
                                  (option == "--jobs" ? "1 to 1024" : "0 to 3600") + "\n");
    }
    for (const Arguments& arguments :
         {Arguments{"--jobs", "1", "devices"}, Arguments{"--jobs", "1024", "devices"},
          Arguments{"--deadline", "0", "devices"}, Arguments{"--deadline", "3600", "devices"}}) {
        EXPECT_EQ(machine.run(arguments).status, 0);
    }
}

TEST(CliAsking, ProgressTellsHowManyAndSinceWhen) {
    SickMachine machine(manyDisks(20));
    machine.hangs = [](const std::string& path) { return path == "/dev/sdaad"; };
    cli::Surroundings surroundings;
    surroundings.errIsTerminal = true;
    const CliResult result = test::runCli({"--deadline", "2", "disks"}, machine, surroundings);
    EXPECT_THAT(result.err, testing::HasSubstr("asking 1 of 21 disks (/dev/sdaad for 0 s)"));
    EXPECT_THAT(result.err, testing::HasSubstr("asking 1 of 21 disks (/dev/sdaad for 1 s)"));
}

TEST(CliAsking, ACaptureWaitsForASilentDiskOnce) {
    const TempFolder folder;
    SickMachine machine(manyDisks(3));
    machine.hangs = [](const std::string& path) { return path == "/dev/sdaab"; };
    const std::uint64_t begun = host::monotonicMilliseconds();
    const CliResult result =
        test::runCli({"--deadline", "6", "capture", folder.path("host")}, machine);
    EXPECT_LT(host::monotonicMilliseconds() - begun, 11900U);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, testing::HasSubstr(" disks did not answer: /dev/sdaab\n"));
    const auto recorded = nlohmann::json::parse(folder.read("host"));
    EXPECT_EQ(recorded["devices"]["/dev/sdaab"]["open_errno"], ETIMEDOUT);
    EXPECT_FALSE(recorded["devices"]["/dev/sdaaa"].contains("open_errno"));
}

}  // namespace
