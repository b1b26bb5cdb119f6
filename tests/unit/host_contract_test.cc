// What every implementation of the seam must do alike: what a recorded host answers and the machine
// would not is a defect of the recorded host.
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "recording/effects/dry_run_host.h"
#include "recording/effects/journal.h"
#include "recording/effects/journaling_host.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/host.h"
#include "scsitool/host/linux_host.h"
#include "semaphore_key.h"
#include "temporary_directory.h"

namespace {

using namespace std::string_literals;
using host::AppendResult;
using host::CommandBuffer;
using host::Host;
using host::OpenMode;
using host::SemaphoreOperation;
using host::SgIoRequest;
using recording::DryRunHost;
using recording::JournalingHost;
using test::SemaphoreKey;
using Names = std::vector<std::string>;

const std::string kPlain = "first line\nsecond \0 \xFF line"s;

/// A host with the same few files on it, whatever kind of host it is:
///   plain, empty, device, dir/, dir/inner, dir/sub/
///   and links: link -> dir/inner, away -> dir, dangling -> nowhere, loop -> loop
/// Every host has /dev/null.
class Fixture {
  public:
    virtual ~Fixture() = default;
    virtual Host& host() = 0;
    /// The directory that all of it lies in, without a '/' at the end.
    virtual std::string root() const = 0;
    /// A file that opens and cannot be read.
    virtual std::string brokenFile() const = 0;
};

class MachineFixture : public Fixture {
  public:
    MachineFixture() {
        m_directory.file("plain", kPlain);
        m_directory.file("empty", "");
        m_directory.file("device", "");
        std::filesystem::create_directories(root() + "/dir/sub");
        m_directory.file("dir/inner", "inner\n");
        std::filesystem::create_symlink("dir/inner", root() + "/link");
        std::filesystem::create_symlink("dir", root() + "/away");
        std::filesystem::create_symlink("nowhere", root() + "/dangling");
        std::filesystem::create_symlink("loop", root() + "/loop");
    }
    Host& host() override { return m_host; }
    std::string root() const override { return m_directory.path(); }
    // Address 0 of the process.
    std::string brokenFile() const override { return "/proc/self/mem"; }

  private:
    host::LinuxHost m_host;
    test::TemporaryDirectory m_directory;
};

class RecordedFixture : public Fixture {
  public:
    RecordedFixture() : m_host(data(), m_journal) {}
    Host& host() override { return m_host; }
    std::string root() const override { return "/recorded"; }
    std::string brokenFile() const override { return "/recorded/broken"; }

  private:
    recording::RecordedHostData data() const {
        recording::RecordedHostData data;
        data.files = {{root() + "/plain", kPlain},
                      {root() + "/empty", ""},
                      {root() + "/dir/inner", "inner\n"}};
        data.files[brokenFile()].readError = EIO;
        data.devices[root() + "/device"] = {};
        data.devices["/dev/null"].number = {host::DeviceNumber::Kind::kCharacter, 1, 3};
        data.links = {{root() + "/link", "dir/inner"},
                      {root() + "/away", "dir"},
                      {root() + "/dangling", "nowhere"},
                      {root() + "/loop", "loop"}};
        data.directories = {{root(), {".", "..", "plain", "empty", "device", "dir"}},
                            {root() + "/dir/", {".", "..", "inner", "sub"}},
                            {root() + "/dir/sub/", {".", ".."}}};
        recording::RecordedCommand list;
        list.command = "/bin/ls " + root() + "/dir";
        list.output = {"inner", "sub"};
        data.commands = {list};
        return data;
    }

    recording::Journal m_journal;
    recording::RecordedHost m_host;
};

template <class Inner>
class ForwardingFixture : public Fixture {
  public:
    ForwardingFixture() : m_host(m_inner.host()) {}
    Host& host() override { return m_host; }
    std::string root() const override { return m_inner.root(); }
    std::string brokenFile() const override { return m_inner.brokenFile(); }

  private:
    Inner m_inner;
    host::ForwardingHost m_host;
};

/// A host that stands over another one and writes to a journal.
template <class Made, class Inner>
class JournalFixture : public Fixture {
  public:
    JournalFixture() : m_host(m_inner.host(), m_journal) {}
    Host& host() override { return m_host; }
    std::string root() const override { return m_inner.root(); }
    std::string brokenFile() const override { return m_inner.brokenFile(); }

  private:
    Inner m_inner;
    recording::Journal m_journal;
    Made m_host;
};

// What stops or notes effects gets no effect passed on by a base: an operation that is new to the
// seam does not build until each of these says what it means there.
template <class Decorator>
constexpr bool kSortsEveryEffect = std::is_abstract_v<host::ReadForwardingHost> &&
                                   !std::is_base_of_v<host::ForwardingHost, Decorator>;
static_assert(kSortsEveryEffect<DryRunHost>);
static_assert(kSortsEveryEffect<JournalingHost>);

struct Kind {
    const char* name;
    std::function<std::unique_ptr<Fixture>()> make;
    /// Whether a command that is an effect is carried out or answered, rather than passed over.
    bool answersCommands;
};

void PrintTo(const Kind& kind, std::ostream* stream) {
    *stream << kind.name;
}

template <class Made>
std::unique_ptr<Fixture> make() {
    return std::make_unique<Made>();
}

class HostContract : public testing::TestWithParam<Kind> {
  protected:
    HostContract() : m_fixture(GetParam().make()) {}

    Host& host() { return m_fixture->host(); }
    std::string path(const std::string& name) const { return m_fixture->root() + "/" + name; }
    std::string brokenFile() const { return m_fixture->brokenFile(); }
    int openDevice() { return host().openDevice(path("device"), OpenMode::kReadOnly); }

  private:
    std::unique_ptr<Fixture> m_fixture;
};

CommandBuffer commandWithLengths(std::uint32_t inputLength, std::uint32_t outputLength) {
    CommandBuffer buffer = {};
    std::memcpy(buffer.data(), &inputLength, sizeof inputLength);
    std::memcpy(buffer.data() + 4, &outputLength, sizeof outputLength);
    buffer[8] = 0x12;
    buffer[12] = 36;
    return buffer;
}

SgIoRequest requestWithSizes(std::size_t cdb, std::size_t data, std::size_t sense) {
    SgIoRequest request;
    request.cdb.assign(cdb, 0x12);
    request.data.assign(data, 0xA5);
    request.sense.assign(sense, 0);
    return request;
}

TEST_P(HostContract, ReadsAFileWhole) {
    const std::map<std::string, std::string> files = {
        {"plain", kPlain}, {"empty", ""}, {"dir/inner", "inner\n"}};
    for (const auto& [name, content] : files) {
        const host::ReadResult read = host().readFile(path(name));
        EXPECT_EQ(read.error(), 0) << name;
        EXPECT_EQ(read.content, content) << name;
    }
}

TEST_P(HostContract, WhatIsNoFileDoesNotOpen) {
    const std::map<std::string, int> errors = {
        {path("missing"), ENOENT}, {path("dir"), EISDIR}, {path("dir/"), EISDIR}, {"", ENOENT}};
    for (const auto& [name, error] : errors) {
        const host::ReadResult read = host().readFile(name);
        EXPECT_EQ(read.openError, error) << name;
        EXPECT_EQ(read.readError, 0) << name;
        EXPECT_EQ(read.error(), error) << name;
        EXPECT_EQ(read.content, "") << name;
    }
    EXPECT_NE(host().readFile(path("plain/")).openError, 0);
    EXPECT_NE(host().readFile(path("plain\0"s)).openError, 0);
}

TEST_P(HostContract, FileThatOpensAndRefusesTheReadIsToldApart) {
    const host::ReadResult read = host().readFile(brokenFile());
    EXPECT_EQ(read.openError, 0);
    EXPECT_EQ(read.readError, EIO);
    EXPECT_EQ(read.error(), EIO);
}

TEST_P(HostContract, AppendsToAFileThatExists) {
    const AppendResult result = host().appendFile(path("plain"), "more");
    EXPECT_EQ(result.openError, 0);
    EXPECT_EQ(result.writeError, 0);
}

TEST_P(HostContract, AppendCallsBetweenTheOpenAndTheWrite) {
    int calls = 0;
    const auto count = [&calls] { ++calls; };
    EXPECT_EQ(host().appendFile(path("plain"), "more", count).openError, 0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(host().appendFile(path("missing"), "more", count).openError, ENOENT);
    EXPECT_EQ(host().appendFile(path("dir"), "more", count).openError, EISDIR);
    EXPECT_EQ(calls, 1);
}

TEST_P(HostContract, AppendCreatesNothing) {
    EXPECT_EQ(host().appendFile(path("missing"), "x").openError, ENOENT);
    EXPECT_FALSE(host().pathExists(path("missing")));
    EXPECT_EQ(host().appendFile(path("dir"), "x").openError, EISDIR);
    EXPECT_EQ(host().appendFile(path("dir/"), "x").openError, EISDIR);
    EXPECT_EQ(host().appendFile("", "x").openError, ENOENT);
    EXPECT_NE(host().appendFile(path("plain\0"s), "x").openError, 0);
}

TEST_P(HostContract, FindsPathsWithAndWithoutTheLastSlash) {
    for (const char* const name : {"plain", "empty", "device", "dir", "dir/", "dir/sub/"}) {
        EXPECT_TRUE(host().pathExists(path(name))) << name;
    }
    for (const char* const name : {"missing", "plain/", "device/", "dir/missing", "plain/x"}) {
        EXPECT_FALSE(host().pathExists(path(name))) << name;
    }
    EXPECT_FALSE(host().pathExists(""));
    EXPECT_FALSE(host().pathExists(path("plain\0x"s)));
}

TEST_P(HostContract, TellsDirectoriesFromOtherPaths) {
    for (const char* const name : {"", "dir", "dir/", "dir/sub"}) {
        EXPECT_TRUE(host().isDirectory(path(name))) << name;
    }
    for (const char* const name : {"plain", "plain/", "device", "missing", "missing/"}) {
        EXPECT_FALSE(host().isDirectory(path(name))) << name;
    }
    EXPECT_FALSE(host().isDirectory(""));
    EXPECT_FALSE(host().isDirectory(path("dir\0"s)));
}

TEST_P(HostContract, ListsADirectoryWithItsDots) {
    for (const char* const name : {"dir", "dir/"}) {
        host::DirectoryListing listing = host().listDirectory(path(name));
        std::sort(listing.names.begin(), listing.names.end());
        EXPECT_EQ(listing.openError, 0);
        EXPECT_EQ(listing.readError, 0);
        EXPECT_EQ(listing.names, (Names{".", "..", "inner", "sub"}));
    }
    EXPECT_EQ(host().listDirectory(path("dir/sub/")).names.size(), 2U);
}

TEST_P(HostContract, CannotListWhatIsNoDirectory) {
    EXPECT_EQ(host().listDirectory(path("missing")).openError, ENOENT);
    EXPECT_EQ(host().listDirectory(path("missing/")).openError, ENOENT);
    EXPECT_EQ(host().listDirectory(path("plain")).openError, ENOTDIR);
    EXPECT_EQ(host().listDirectory("").openError, ENOENT);
    EXPECT_NE(host().listDirectory(path("dir\0"s)).openError, 0);
    EXPECT_TRUE(host().listDirectory(path("plain")).names.empty());
}

TEST_P(HostContract, OnlyALinkPointsSomewhere) {
    std::string target;
    EXPECT_EQ(host().readLink(path("plain"), target), -EINVAL);
    EXPECT_EQ(host().readLink(path("dir"), target), -EINVAL);
    EXPECT_EQ(host().readLink(path("missing"), target), -ENOENT);
    EXPECT_LT(host().readLink(path("plain\0"s), target), 0);
}

TEST_P(HostContract, FollowsLinks) {
    EXPECT_EQ(host().readFile(path("link")).content, "inner\n");
    for (const char* const name : {"away/inner", "away/sub/../inner", "./away//inner"}) {
        EXPECT_EQ(host().readFile(path(name)).content, "inner\n") << name;
    }
    EXPECT_TRUE(host().isDirectory(path("away")));
    EXPECT_TRUE(host().isDirectory(path("away/sub/")));
    EXPECT_FALSE(host().isDirectory(path("link")));
    EXPECT_EQ(host().listDirectory(path("away")).names.size(), 4U);
    EXPECT_EQ(host().listDirectory(path("link")).openError, ENOTDIR);
    EXPECT_EQ(host().appendFile(path("link"), "x").openError, 0);
}

TEST_P(HostContract, FollowsNoLinkThatLeadsNowhere) {
    for (const auto& [name, error] : std::vector<std::pair<std::string, int>>{
             {"dangling", ENOENT}, {"loop", ELOOP}, {"loop/x", ELOOP}, {"link/x", ENOTDIR}}) {
        host::DeviceNumber number;
        EXPECT_FALSE(host().pathExists(path(name))) << name;
        EXPECT_FALSE(host().isDirectory(path(name))) << name;
        EXPECT_EQ(host().readFile(path(name)).openError, error) << name;
        EXPECT_EQ(host().appendFile(path(name), "x").openError, error) << name;
        EXPECT_EQ(host().openDevice(path(name), OpenMode::kReadOnly), -error) << name;
        EXPECT_EQ(host().listDirectory(path(name)).openError, error) << name;
        EXPECT_EQ(host().deviceNumber(path(name), number), -error) << name;
        EXPECT_EQ(host().writeAccess(path(name)), -error) << name;
    }
}

TEST_P(HostContract, ReadsALinkAndFollowsOnlyThoseBeforeIt) {
    std::string target;
    for (const auto& [name, expected] :
         std::vector<std::pair<std::string, std::string>>{{"link", "dir/inner"},
                                                          {"away", "dir"},
                                                          {"dangling", "nowhere"},
                                                          {"loop", "loop"},
                                                          {"dir/../link", "dir/inner"}}) {
        EXPECT_EQ(host().readLink(path(name), target), 0) << name;
        EXPECT_EQ(target, expected) << name;
    }
    EXPECT_EQ(host().readLink(path("away/inner"), target), -EINVAL);
    EXPECT_EQ(host().readLink(path("away/"), target), -EINVAL);
    EXPECT_EQ(host().readLink(path("loop/"), target), -ELOOP);
    EXPECT_EQ(target, "dir/inner");
}

TEST_P(HostContract, TellsWhichDeviceAPathIsANodeOf) {
    host::DeviceNumber number;
    EXPECT_EQ(host().deviceNumber("/dev/null", number), 0);
    EXPECT_EQ(number, (host::DeviceNumber{host::DeviceNumber::Kind::kCharacter, 1, 3}));
    for (const char* const name : {"plain", "dir", "dir/", "link", "away"}) {
        number = {host::DeviceNumber::Kind::kBlock, 8, 16};
        EXPECT_EQ(host().deviceNumber(path(name), number), 0) << name;
        EXPECT_EQ(number, host::DeviceNumber()) << name;
    }
    number = {host::DeviceNumber::Kind::kBlock, 8, 16};
    EXPECT_EQ(host().deviceNumber(path("missing"), number), -ENOENT);
    EXPECT_EQ(host().deviceNumber("", number), -ENOENT);
    EXPECT_LT(host().deviceNumber("/dev/null\0"s, number), 0);
    EXPECT_EQ(number, (host::DeviceNumber{host::DeviceNumber::Kind::kBlock, 8, 16}));
}

TEST_P(HostContract, TellsWhatMayBeWritten) {
    for (const char* const name :
         {"plain", "empty", "device", "dir", "dir/", "link", "away/inner"}) {
        EXPECT_EQ(host().writeAccess(path(name)), 0) << name;
    }
    EXPECT_EQ(host().writeAccess("/dev/null"), 0);
    EXPECT_EQ(host().writeAccess(path("missing")), -ENOENT);
    EXPECT_EQ(host().writeAccess(path("plain/")), -ENOTDIR);
    EXPECT_EQ(host().writeAccess(""), -ENOENT);
    EXPECT_LT(host().writeAccess(path("plain\0"s)), 0);
}

TEST_P(HostContract, WhatIsNoBlockDeviceOpensExclusivelyAnyNumberOfTimes) {
    const int first = host().openDevice(path("device"), OpenMode::kReadOnlyExclusive);
    const int second = host().openDevice(path("device"), OpenMode::kReadOnlyExclusive);
    EXPECT_GE(first, 0);
    EXPECT_GE(second, 0);
    EXPECT_EQ(host().closeDevice(first), 0);
    EXPECT_EQ(host().closeDevice(second), 0);
    EXPECT_EQ(host().openDevice(path("missing"), OpenMode::kReadOnlyExclusive), -ENOENT);
}

TEST_P(HostContract, OpensAndClosesADevice) {
    for (const OpenMode mode : {OpenMode::kReadOnly, OpenMode::kReadOnlyNonBlocking,
                                OpenMode::kReadOnlyExclusive, OpenMode::kReadWriteNonBlocking}) {
        const int descriptor = host().openDevice(path("device"), mode);
        ASSERT_GE(descriptor, 0);
        EXPECT_EQ(host().closeDevice(descriptor), 0);
    }
}

TEST_P(HostContract, DeviceThatIsMissingDoesNotOpen) {
    EXPECT_EQ(host().openDevice(path("missing"), OpenMode::kReadOnly), -ENOENT);
    EXPECT_EQ(host().openDevice("", OpenMode::kReadOnly), -ENOENT);
    EXPECT_LT(host().openDevice(path("device\0"s), OpenMode::kReadOnly), 0);
}

TEST_P(HostContract, UnknownDescriptorIsRefused) {
    const int descriptor = openDevice();
    ASSERT_EQ(host().closeDevice(descriptor), 0);
    for (const int unknown : {descriptor, -1, 2147483647}) {
        CommandBuffer buffer = commandWithLengths(0, 36);
        SgIoRequest request = requestWithSizes(6, 36, 32);
        host::AddressWords words;
        std::uint64_t size = 0;
        EXPECT_EQ(host().closeDevice(unknown), -EBADF);
        EXPECT_EQ(host().sendCommand(unknown, buffer), -EBADF);
        EXPECT_EQ(host().sgIo(unknown, request), -EBADF);
        EXPECT_EQ(host().addressWords(unknown, words), -EBADF);
        EXPECT_EQ(host().deviceSize(unknown, size), -EBADF);
    }
}

TEST_P(HostContract, RequestsToWhatIsNoScsiDeviceAreRefused) {
    const int descriptor = openDevice();
    CommandBuffer buffer = commandWithLengths(0, 36);
    SgIoRequest request = requestWithSizes(6, 36, 32);
    host::AddressWords words = {7, 8};
    std::uint64_t size = 9;
    EXPECT_EQ(host().sendCommand(descriptor, buffer), -ENOTTY);
    EXPECT_EQ(host().sgIo(descriptor, request), -ENOTTY);
    EXPECT_EQ(host().addressWords(descriptor, words), -ENOTTY);
    EXPECT_EQ(host().deviceSize(descriptor, size), -ENOTTY);
    EXPECT_EQ(words.device, 7U);
    EXPECT_EQ(words.hostUnique, 8U);
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(host().closeDevice(descriptor), 0);
}

TEST_P(HostContract, CommandLengthsBeyondTheBufferAreRefused) {
    const int descriptor = openDevice();
    for (const auto& [input, output, expected] :
         std::vector<std::array<std::uint32_t, 3>>{{0, 503, ENOTTY},
                                                   {0, 504, ENOTTY},
                                                   {0, 505, EINVAL},
                                                   {0, 0xFFFFFFFF, EINVAL},
                                                   {487, 36, ENOTTY},
                                                   {488, 36, ENOTTY},
                                                   {489, 36, EINVAL},
                                                   {0xFFFFFFFF, 36, EINVAL}}) {
        CommandBuffer buffer = commandWithLengths(input, output);
        EXPECT_EQ(host().sendCommand(descriptor, buffer), -static_cast<int>(expected))
            << input << ", " << output;
    }
    EXPECT_EQ(host().closeDevice(descriptor), 0);
}

TEST_P(HostContract, RequestSizesBeyondTheInterfaceAreRefused) {
    constexpr std::size_t kMost = std::size_t{16} << 20;
    const int descriptor = openDevice();
    for (const auto& [cdb, data, sense, expected] :
         std::vector<std::array<std::size_t, 4>>{{0, 36, 32, EINVAL},
                                                 {1, 36, 32, ENOTTY},
                                                 {16, 36, 32, ENOTTY},
                                                 {17, 36, 32, EINVAL},
                                                 {260, 36, 32, EINVAL},
                                                 {6, 0, 0, ENOTTY},
                                                 {6, kMost, 255, ENOTTY},
                                                 {6, kMost + 1, 32, EINVAL},
                                                 {6, 36, 256, EINVAL}}) {
        SgIoRequest request = requestWithSizes(cdb, data, sense);
        EXPECT_EQ(host().sgIo(descriptor, request), -static_cast<int>(expected))
            << cdb << ", " << data << ", " << sense;
    }
    EXPECT_EQ(host().closeDevice(descriptor), 0);
}

TEST_P(HostContract, SemaphoreIsFoundByItsKey) {
    const SemaphoreKey key;
    EXPECT_EQ(host().openSemaphore(key.get(), 1, 0666), -ENOENT);
    const int identifier = host().openSemaphore(key.get(), 1, IPC_CREAT | 0666);
    ASSERT_GE(identifier, 0);
    EXPECT_EQ(host().openSemaphore(key.get(), 1, IPC_CREAT | 0666), identifier);
    EXPECT_EQ(host().openSemaphore(key.get(), 1, IPC_CREAT | IPC_EXCL | 0666), -EEXIST);
    EXPECT_EQ(host().openSemaphore(key.get(), 2, IPC_CREAT | 0666), -EINVAL);
}

TEST_P(HostContract, SemaphoreWorksAsALock) {
    const SemaphoreKey key;
    const int identifier = host().openSemaphore(key.get(), 1, IPC_CREAT | 0666);
    ASSERT_GE(identifier, 0);
    const std::vector<SemaphoreOperation> take = {{0, true, false}, {1, true, true}};
    const std::vector<SemaphoreOperation> tryToTake = {{0, true, true}, {1, true, true}};
    const std::vector<SemaphoreOperation> giveBack = {{-1, true, true}};
    EXPECT_EQ(host().operateSemaphore(identifier, take), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, tryToTake), -EAGAIN);
    EXPECT_EQ(host().operateSemaphore(identifier, giveBack), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, giveBack), -EAGAIN);
    EXPECT_EQ(host().operateSemaphore(identifier, tryToTake), 0);
    EXPECT_EQ(host().operateSemaphore(identifier, giveBack), 0);
}

TEST_P(HostContract, SemaphoreOperationsAreCarriedOutTogetherOrNotAtAll) {
    const SemaphoreKey key;
    const int identifier = host().openSemaphore(key.get(), 1, IPC_CREAT | 0666);
    ASSERT_GE(identifier, 0);
    EXPECT_EQ(host().operateSemaphore(identifier, {{1, false, true}, {0, false, true}}), -EAGAIN);
    EXPECT_EQ(host().operateSemaphore(identifier, {{0, false, true}}), 0);
}

TEST_P(HostContract, UnknownSemaphoreIsRefused) {
    EXPECT_EQ(host().operateSemaphore(-1, {{1, true, true}}), -EINVAL);
    const SemaphoreKey key;
    const int identifier = host().openSemaphore(key.get(), 1, IPC_CREAT | 0666);
    EXPECT_EQ(host().operateSemaphore(identifier, {}), -EINVAL);
    const std::vector<SemaphoreOperation> most(500, {0, false, true});
    EXPECT_EQ(host().operateSemaphore(identifier, most), 0);
    const std::vector<SemaphoreOperation> tooMany(501, {0, false, true});
    EXPECT_EQ(host().operateSemaphore(identifier, tooMany), -E2BIG);
}

TEST_P(HostContract, TellsItsNames) {
    EXPECT_NE(host().kernelRelease(), "");
    std::string name;
    EXPECT_EQ(host().hostName(name), 0);
    EXPECT_NE(name, "");
    EXPECT_EQ(name.find('\0'), std::string::npos);
}

TEST_P(HostContract, CarriesOutACommandThatReads) {
    const host::CommandResult result = host().runCommand("/bin/ls " + path("dir"), 100);
    EXPECT_EQ(result.waitStatus, 0);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.lines, (Names{"inner", "sub"}));
}

TEST_P(HostContract, MissingProgramEndsWithStatus127) {
    if (!GetParam().answersCommands) {
        EXPECT_EQ(host().runCommand("/nonexistent/program -x", 100).waitStatus, 0);
        return;
    }
    const host::CommandResult result = host().runCommand("/nonexistent/program -x", 100);
    EXPECT_EQ(result.waitStatus, 127 << 8);
    EXPECT_FALSE(result.timedOut);
    EXPECT_TRUE(result.lines.empty());
}

TEST_P(HostContract, PauseOfNoTimeReturns) {
    host().sleepSeconds(0);
}

TEST_P(HostContract, EveryHostHasANumberOfItsOwn) {
    const std::unique_ptr<Fixture> other = GetParam().make();
    EXPECT_NE(host().instance(), other->host().instance());
    EXPECT_NE(host().instance(), host::linuxHost().instance());
}

TEST_P(HostContract, IsFoundByItsNumberUntilItsEnd) {
    EXPECT_EQ(host::hostOf(host().instance()), &host());
    std::unique_ptr<Fixture> other = GetParam().make();
    const std::uint32_t instance = other->host().instance();
    EXPECT_EQ(host::hostOf(instance), &other->host());
    other.reset();
    EXPECT_EQ(host::hostOf(instance), nullptr);
    EXPECT_EQ(host::hostOf(0), nullptr);
}

const Kind kKinds[] = {
    {"Linux", make<MachineFixture>, true},
    {"ForwardingToLinux", make<ForwardingFixture<MachineFixture>>, true},
    {"Recorded", make<RecordedFixture>, true},
    {"ForwardingToRecorded", make<ForwardingFixture<RecordedFixture>>, true},
    {"DryRunOfLinux", make<JournalFixture<DryRunHost, MachineFixture>>, false},
    {"DryRunOfRecorded", make<JournalFixture<DryRunHost, RecordedFixture>>, false},
    {"JournalingLinux", make<JournalFixture<JournalingHost, MachineFixture>>, true},
    {"JournalingRecorded", make<JournalFixture<JournalingHost, RecordedFixture>>, true},
};

INSTANTIATE_TEST_SUITE_P(Every, HostContract, testing::ValuesIn(kKinds),
                         [](const testing::TestParamInfo<Kind>& kind) { return kind.param.name; });

}  // namespace
