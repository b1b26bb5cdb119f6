#include "scsitool/discovery/device_discovery_base.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "device_host.h"
#include "discovery/interrogation.h"
#include "host/descriptor.h"
#include "scsitool/host/linux_host.h"
#include "semaphore_key.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::DeviceHost;
using test::kLockReleased;
using test::kLockTaken;
using test::kSemaphoreOpened;
using test::namedDisk;
using test::traceInto;
using Texts = std::vector<std::string>;

constexpr char kEntering[] = "[6] Entering Function rescan [N, device_discovery_base]";
constexpr char kExiting[] = "[6] Exiting Function rescan [N, device_discovery_base]";
constexpr char kStarted[] = "[3] libscsitool: Info: CDeviceDiscoveryBase::rescan().";
constexpr char kAcquiring[] = "[3] Acquring lock .";
constexpr char kGot[] = "[3] Got the lock .";
constexpr char kReleasing[] = "[3] Releasing the lock .";
constexpr char kExit[] = "[3] libscsitool: DEBUG : CDeviceDiscoveryBase::rescan Exit.";
constexpr char kRescanFailed[] = "[1] libscsitool: ERROR: CDeviceDiscoveryBase::rescan() failed.";
constexpr char kNotOpened[] =
    "[2] ERROR: CScsiDeviceHandle::openDevice() Invalid device handle [0xffffffff] for [/dev/sdx], "
    "errno [2] throwing";
constexpr char kTooShort[] =
    "[2] WARNING: UpdateStdInquiryString invalid SCSI inq page size, device may have been removed.";
constexpr char kNotUpdated[] =
    "[2] WARNING: CScsiToolBase::UpdateDevice() call to UpdateStdInquiryString for device "
    "/dev/sdx";
constexpr char kMultipathRun[] = "run /sbin/multipath -v0 ";

// Owner of the records that an operation hands to its caller.
struct Records {
    explicit Records(std::vector<CScsiDeviceData*> records) : list(std::move(records)) {}
    ~Records() {
        for (CScsiDeviceData* const record : list) {
            delete record;
        }
    }
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;
    Texts names() const {
        Texts names;
        for (const CScsiDeviceData* const record : list) {
            names.push_back(record->m_deviceName);
        }
        return names;
    }
    const std::vector<CScsiDeviceData*> list;
};

// For a test that looks at the host alone.
void deleteAll(std::vector<CScsiDeviceData*> records) {
    const Records owner(std::move(records));
}

// A discovery whose enumeration gives the names that a test tells; its calls stand between the
// requests of the host.
struct FakeDiscovery : CDeviceDiscoveryBase {
    explicit FakeDiscovery(DeviceHost& usedHost) : host(usedHost) {}

    std::vector<CScsiDeviceData*> enumerateDevices(const std::string& deviceName) override {
        host.requests.push_back("enumerate [" + deviceName + "]");
        onEnumerate();
        return records();
    }
    std::vector<CScsiDeviceData*> validateEnumerateDevices(std::string deviceName) override {
        host.requests.push_back("validate [" + deviceName + "]");
        onEnumerate();
        return records();
    }
    int rescanScsiBus(bool flag, const std::string& scriptArguments) override {
        host.requests.push_back("bus " + std::to_string(flag) + " [" + scriptArguments + "]");
        onBusRescan();
        return 6;  // not looked at
    }
    std::vector<CScsiDeviceData*> records() const {
        std::vector<CScsiDeviceData*> made;
        for (const std::string& name : names) {
            made.push_back(new CScsiDeviceData(name, "", "", 0, 0, 0, -1, "", "", "", 0));
        }
        return made;
    }

    DeviceHost& host;
    Texts names;
    std::function<void()> onEnumerate = [] {};
    std::function<void()> onBusRescan = [] {};
};

// The requests with the line number of function traces written as "N".
Texts stable(const DeviceHost& host) {
    Texts lines = host.requests;
    for (std::string& line : lines) {
        const std::size_t number = line.find(" [");
        const bool ofFunction = line.find("ing Function ") != std::string::npos;
        if (ofFunction && number != std::string::npos) {
            line.replace(number + 2, line.find(',', number) - number - 2, "N");
        }
    }
    return lines;
}

RecordedHostData oneDisk() {
    RecordedHostData data;
    data.devices["/dev/sda"] = namedDisk("S1", 1);
    return data;
}

// What interrogating the disk asks of the host.
const Texts kInterrogated = {"open /dev/sda O_RDWR|O_NONBLOCK",
                             "send /dev/sda 12 00 00 00 fc 00",
                             "address /dev/sda",
                             "send /dev/sda 12 01 00 00 fc 00",
                             "send /dev/sda 12 01 83 00 fc 00",
                             "send /dev/sda 12 01 80 00 fc 00",
                             "close /dev/sda"};

Texts joined(std::initializer_list<Texts> parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST(DiscoveryBase, EmptyEnumerationTakesAndReleasesTheLock) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    auto log = traceInto(host.requests);
    discovery.registerTraceLog(log);
    host.requests.clear();
    EXPECT_EQ(Records(discovery.rescan(false, true, true, "", "x")).names(), Texts{});
    EXPECT_EQ(stable(host),
              (Texts{kEntering, kSemaphoreOpened, kLockTaken, kStarted, kAcquiring, kGot,
                     "enumerate []", kReleasing, kExit, kLockReleased, kExiting}));
}

TEST(DiscoveryBase, RescanGoesInItsOrder) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    EXPECT_EQ(Records(discovery.rescan(true, true, false, "/dev/sda", " -x")).names(),
              Texts{"/dev/sda"});
    EXPECT_EQ(host.requests, joined({{kSemaphoreOpened, kLockTaken, "bus 1 [ -x]", kMultipathRun,
                                      "enumerate [/dev/sda]"},
                                     kInterrogated,
                                     {kLockReleased}}));
}

TEST(DiscoveryBase, FlagsAndTextsArePassedOn) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    deleteAll(discovery.rescan(true, false, true, "name", "arguments"));
    EXPECT_EQ(host.count("bus 0 [arguments]"), 1U);
    EXPECT_EQ(host.count("enumerate [name]"), 1U);
    deleteAll(discovery.rescan(true, true, true, "", ""));
    EXPECT_EQ(host.count("bus 1 []"), 1U);
    EXPECT_EQ(host.count("enumerate []"), 1U);
}

TEST(DiscoveryBase, WithoutABusRescanTheOtherFlagsHaveNoEffect) {
    for (const bool busRescanFlag : {false, true}) {
        for (const bool ignoredFlag : {false, true}) {
            DeviceHost host;
            FakeDiscovery discovery(host);
            deleteAll(discovery.rescan(false, busRescanFlag, ignoredFlag, "", "x"));
            EXPECT_EQ(host.requests,
                      (Texts{kSemaphoreOpened, kLockTaken, "enumerate []", kLockReleased}));
            EXPECT_EQ(host.effects(), Texts{});
        }
    }
}

TEST(DiscoveryBase, DisksAreTracedAndThoseThatFailStayInTheList) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    test::TraceCapture trace(3);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    discovery.names = {"/dev/sdx", "/dev/sda"};
    const Records records(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(records.names(), (Texts{"/dev/sdx", "/dev/sda"}));
    EXPECT_EQ(records.list[0]->m_osName, "Linux");
    EXPECT_EQ(records.list[1]->m_vendorId, "ACME");
    EXPECT_EQ(
        trace.lines(),
        (Texts{kStarted, kAcquiring, kGot, kNotOpened,
               "[1] ERROR: CScsiDeviceHandle::openDevice() caught unhandled exception.",
               "[2] GetModePageInfo: Exception Ocurred", kTooShort, kNotUpdated,
               "[3] libscsitool: Info: CDeviceDiscoveryBase::rescan FAILED - Remove disk /dev/sdx.",
               kReleasing, kExit}));
}

TEST(DiscoveryBase, EveryDiskIsAnnouncedBeforeItIsAsked) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    test::TraceCapture trace(6);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    deleteAll(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(trace.lines()[4],
              "[6] libscsitool: Info: CDeviceDiscoveryBase:: Getting data for disk /dev/sda.");
    EXPECT_EQ(trace.lines()[5], "[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()");
}

TEST(DiscoveryBase, ExceptionFromTheBusRescanGivesAnEmptyListAndReleasesTheLock) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    auto log = traceInto(host.requests);
    discovery.registerTraceLog(log);
    host.requests.clear();
    discovery.names = {"/dev/sda"};
    discovery.onBusRescan = [] { throw std::runtime_error("bus"); };
    EXPECT_EQ(Records(discovery.rescan(true, false, false, "", "")).names(), Texts{});
    EXPECT_EQ(stable(host),
              (Texts{kEntering, kSemaphoreOpened, kLockTaken, kStarted, kAcquiring, kGot,
                     "bus 0 []", kRescanFailed, kReleasing, kExit, kLockReleased, kExiting}));
}

TEST(DiscoveryBase, ExceptionFromTheMultipathRescanGivesAnEmptyList) {
    DeviceHost host(oneDisk());
    host.onCommand = [] { throw 42; };
    FakeDiscovery discovery(host);
    test::TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    discovery.names = {"/dev/sda"};
    EXPECT_EQ(Records(discovery.rescan(true, false, false, "", "")).names(), Texts{});
    EXPECT_EQ(host.requests,
              (Texts{kSemaphoreOpened, kLockTaken, "bus 0 []", kMultipathRun, kLockReleased}));
    EXPECT_EQ(trace.lines(), Texts{kRescanFailed});
}

TEST(DiscoveryBase, ExceptionFromTheEnumerationGivesAnEmptyList) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    test::TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    discovery.names = {"/dev/sda"};
    discovery.onEnumerate = [] { throw 6; };
    EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(), Texts{});
    EXPECT_EQ(host.requests, (Texts{kSemaphoreOpened, kLockTaken, "enumerate []", kLockReleased}));
    EXPECT_EQ(trace.lines(), Texts{kRescanFailed});
}

// The tool makes a disk that does not answer of it: the rescan goes on with the next one.
TEST(DiscoveryBase, HostThatThrowsWhileADiskIsAskedCostsThatDiskAlone) {
    DeviceHost host(oneDisk());
    bool thrown = false;
    host.onSend = [&](host::CommandBuffer&) -> DeviceHost::Answer {
        if (!std::exchange(thrown, true)) {
            throw std::bad_alloc();
        }
        return {};
    };
    FakeDiscovery discovery(host);
    test::TraceCapture trace(3);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    discovery.names = {"/dev/sda", "/dev/sda"};
    const Records records(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(records.names(), (Texts{"/dev/sda", "/dev/sda"}));
    EXPECT_EQ(records.list[0]->m_vendorId, "");
    EXPECT_EQ(records.list[1]->m_vendorId, "ACME");
    EXPECT_EQ(
        trace.lines(),
        (Texts{kStarted, kAcquiring, kGot, "[2] GetModePageInfo: Exception Ocurred", kTooShort,
               "[2] WARNING: CScsiToolBase::UpdateDevice() call to UpdateStdInquiryString for "
               "device /dev/sda",
               "[3] libscsitool: Info: CDeviceDiscoveryBase::rescan FAILED - Remove disk /dev/sda.",
               kReleasing, kExit}));
    EXPECT_EQ(host.openDescriptors(), 0U);
    EXPECT_EQ(host.requests.back(), kLockReleased);
}

TEST(DiscoveryBase, ToolThatThrowsKeepsTheWholeList) {
    struct ThrowingTool : CScsiTool {
        unsigned UpdateDevice(CScsiDeviceData* device) override {
            asked.push_back(device->m_deviceName);
            if (asked.size() == 2) {
                throw std::bad_alloc();
            }
            return 0;
        }
        Texts asked;
    };
    DeviceHost host;
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda", "/dev/sdb", "/dev/sdc"};
    ThrowingTool tool;
    test::TraceCapture trace;
    const Records records(discovery::interrogate([&] { return discovery.records(); }, tool,
                                                 trace.log(), {"asked ", "failed ", "thrown"}));
    EXPECT_EQ(records.names(), discovery.names);
    EXPECT_EQ(tool.asked, (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(trace.lines(), (Texts{"[6] asked /dev/sda.", "[6] asked /dev/sdb.", "[1] thrown"}));
}

TEST(DiscoveryBase, RescanNeverThrowsWhateverRunsOut) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    const auto runOut = []() -> DeviceHost::Answer { throw std::bad_alloc(); };
    host.onSemaphoreOpen = runOut;
    EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(), discovery.names);
    host.onSemaphoreOpen = [] { return DeviceHost::Answer(); };
    // The lock cannot be taken, and then it cannot be given back.
    for (const int taken : {0, 1}) {
        host.onSemaphoreOperation = [taken, count = 0]() mutable -> DeviceHost::Answer {
            if (count++ == taken) {
                throw std::bad_alloc();
            }
            return {};
        };
        EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(), discovery.names);
        EXPECT_EQ(host.openDescriptors(), 0U);
    }
}

TEST(DiscoveryBase, LockFailingToOpenIsNotNoticed) {
    DeviceHost host(oneDisk());
    host.onSemaphoreOpen = [] { return DeviceHost::Answer(-ENOSPC); };
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(), Texts{"/dev/sda"});
    // What was not taken is not given back.
    EXPECT_EQ(host.identifiers, std::vector<int>{-1});
    EXPECT_EQ(host.requests,
              joined({{kSemaphoreOpened, kLockTaken, "enumerate []"}, kInterrogated}));
}

TEST(DiscoveryBase, LockThatCouldNotBeOpenedIsTriedAgainAtTheNextRescan) {
    DeviceHost host(oneDisk());
    host.onSemaphoreOpen = [] { return DeviceHost::Answer(-ENOSPC); };
    FakeDiscovery discovery(host);
    deleteAll(discovery.rescan(false, false, false, "", ""));
    host.onSemaphoreOpen = [] { return DeviceHost::Answer(); };
    host.requests.clear();
    deleteAll(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(host.requests, (Texts{kSemaphoreOpened, kLockTaken, "enumerate []", kLockReleased}));
}

TEST(DiscoveryBase, SemaphoreIsOpenedOnceOnEachHostAndItsIdentifierStaysThere) {
    DeviceHost first;
    {
        FakeDiscovery discovery(first);
        deleteAll(discovery.rescan(false, false, false, "", ""));
        FakeDiscovery another(first);
        deleteAll(another.rescan(false, false, false, "", ""));
    }
    EXPECT_EQ(first.count(kSemaphoreOpened), 1U);
    EXPECT_EQ(first.identifiers.size(), 4U);
    // On the second host the key is at another place.
    DeviceHost second;
    second.openSemaphore(7, 1, 01666);
    second.openSemaphore(8, 1, 01666);
    second.requests.clear();
    FakeDiscovery discovery(second);
    deleteAll(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(second.count(kSemaphoreOpened), 1U);
    EXPECT_EQ(second.identifiers, std::vector<int>(2, first.identifiers[0] + 2));
    EXPECT_EQ(first.identifiers, std::vector<int>(4, first.identifiers[0]));
}

TEST(DiscoveryBase, HostThatIsCurrentAgainKeepsItsIdentifier) {
    DeviceHost outer;
    FakeDiscovery discovery(outer);
    deleteAll(discovery.rescan(false, false, false, "", ""));
    {
        DeviceHost inner;
        FakeDiscovery other(inner);
        deleteAll(other.rescan(false, false, false, "", ""));
        EXPECT_EQ(inner.count(kSemaphoreOpened), 1U);
    }
    deleteAll(discovery.rescan(false, false, false, "", ""));
    EXPECT_EQ(outer.count(kSemaphoreOpened), 1U);
    EXPECT_EQ(outer.count(kLockTaken), 2U);
}

TEST(DiscoveryBase, LockIsHeldDuringTheEnumerationAndFreeBehindIt) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    // Taken without waiting, which only succeeds while nobody holds it; nothing is changed.
    const auto isFree = [&] {
        return host.operateSemaphore(host.identifiers[0], {{0, true, true}}) == 0;
    };
    bool freeDuring = true;
    discovery.onEnumerate = [&] {
        freeDuring = isFree();
        throw 6;
    };
    deleteAll(discovery.rescan(false, false, false, "", ""));
    EXPECT_FALSE(freeDuring);
    EXPECT_TRUE(isFree());
}

/// A recorded host whose semaphores are the machine's, under a key of the test's own.
class LockedHost : public DeviceHost {
  public:
    explicit LockedHost(int key) : m_key(key) {}
    int openSemaphore(int key, int count, int flags) override {
        EXPECT_EQ(key, 1001);
        return host::linuxHost().openSemaphore(m_key, count, flags);
    }
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override {
        return host::linuxHost().operateSemaphore(identifier, operations);
    }

  private:
    int m_key;
};

/// A process in `rescan`, which says when its enumeration begins and stays in it until it is told
/// to go on.
class RescanningProcess {
  public:
    explicit RescanningProcess(int key) {
        int begun[2] = {-1, -1};
        int goOn[2] = {-1, -1};
        if (::pipe(begun) != 0 || ::pipe(goOn) != 0) {
            return;
        }
        m_process = ::fork();
        if (m_process == 0) {
            ::alarm(120);
            LockedHost host(key);
            FakeDiscovery discovery(host);
            discovery.onEnumerate = [&] {
                char byte = '!';
                if (::write(begun[1], &byte, 1) != 1 || ::read(goOn[0], &byte, 1) != 1) {
                    ::_exit(1);
                }
            };
            deleteAll(discovery.rescan(false, false, false, "", ""));
            ::_exit(0);
        }
        ::close(begun[1]);
        ::close(goOn[0]);
        m_begun.reset(begun[0]);
        m_goOn.reset(goOn[1]);
    }
    ~RescanningProcess() {
        if (m_process > 0) {
            end(SIGKILL);
        }
    }
    RescanningProcess(const RescanningProcess&) = delete;
    RescanningProcess& operator=(const RescanningProcess&) = delete;

    /// Waits until the enumeration has begun.
    bool hasTheLock() {
        char byte = 0;
        return ::read(m_begun.get(), &byte, 1) == 1;
    }
    bool hasTheLockNow() {
        pollfd waited = {m_begun.get(), POLLIN, 0};
        return ::poll(&waited, 1, 0) == 1;
    }
    /// Lets it pass or kills it, and gives its wait status.
    int end(int signal) {
        if (signal != 0) {
            ::kill(m_process, signal);
        } else if (::write(m_goOn.get(), "!", 1) != 1) {
            return -1;
        }
        int status = -1;
        ::waitpid(std::exchange(m_process, -1), &status, 0);
        return status;
    }

  private:
    pid_t m_process = -1;
    host::Descriptor m_begun;
    host::Descriptor m_goOn;
};

// Waits until a process blocks in the semaphore.
void awaitWaiter(int key) {
    const int identifier = ::semget(key, 1, 0);
    ASSERT_GE(identifier, 0);
    while (::semctl(identifier, 0, GETZCNT) == 0) {
        std::this_thread::yield();
    }
}

TEST(DiscoveryBase, SecondProcessBlocksUntilTheFirstHasPassed) {
    const test::SemaphoreKey key;
    RescanningProcess first(key.get());
    ASSERT_TRUE(first.hasTheLock());
    RescanningProcess second(key.get());
    awaitWaiter(key.get());
    EXPECT_FALSE(second.hasTheLockNow());
    EXPECT_EQ(first.end(0), 0);
    EXPECT_TRUE(second.hasTheLock());
    EXPECT_EQ(second.end(0), 0);
}

TEST(DiscoveryBase, SecondProcessProceedsWhenTheFirstIsKilled) {
    const test::SemaphoreKey key;
    RescanningProcess first(key.get());
    ASSERT_TRUE(first.hasTheLock());
    RescanningProcess second(key.get());
    awaitWaiter(key.get());
    EXPECT_FALSE(second.hasTheLockNow());
    EXPECT_EQ(first.end(SIGKILL), SIGKILL);
    EXPECT_TRUE(second.hasTheLock());
    EXPECT_EQ(second.end(0), 0);
}

TEST(DiscoveryBase, ValidationInterrogatesWithoutTheLock) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    EXPECT_EQ(Records(discovery.validateDevice("/dev/sda")).names(), Texts{"/dev/sda"});
    EXPECT_EQ(host.requests, joined({{"validate [/dev/sda]"}, kInterrogated}));
}

TEST(DiscoveryBase, ValidationKeepsADeviceThatFails) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    test::TraceCapture trace(3);
    discovery.registerTraceLog(trace.log());
    discovery.names = {"/dev/sdx"};
    EXPECT_EQ(Records(discovery.validateDevice("/dev/sdx")).names(), Texts{"/dev/sdx"});
    EXPECT_EQ(trace.lines().back(),
              "[3] libscsitool: Info: CDeviceDiscoveryBase:: validateDevice FAILED - Remove disk "
              "/dev/sdx.");
}

TEST(DiscoveryBase, ValidationThatThrowsGivesWhatThereIs) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    test::TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    discovery.names = {"/dev/sdx"};
    discovery.onEnumerate = [] { throw std::runtime_error("validate"); };
    EXPECT_EQ(Records(discovery.validateDevice("/dev/sdx")).names(), Texts{});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function validateDevice [N, device_discovery_base]",
                     "[1] libscsitool: ERROR: CDeviceDiscoveryBase:: validateDevice() failed.",
                     "[6] Exiting Function validateDevice [N, device_discovery_base]"}));
}

TEST(DiscoveryBase, NothingIsTracedWithoutALogAndTheRestIsTheSame) {
    DeviceHost host(oneDisk());
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sdx", "/dev/sda"};
    EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(),
              (Texts{"/dev/sdx", "/dev/sda"}));
    discovery.onEnumerate = [] { throw 6; };
    EXPECT_EQ(Records(discovery.rescan(false, false, false, "", "")).names(), Texts{});
    EXPECT_EQ(Records(discovery.validateDevice("")).names(), Texts{});
    EXPECT_EQ(host.count(kLockTaken), 2U);
    EXPECT_EQ(host.count(kLockReleased), 2U);
}

TEST(DiscoveryBase, TraceLogReachesToolAndMultipathManager) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    test::TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    EXPECT_EQ(discovery.m_traceLog.get(), trace.log().get());
    EXPECT_EQ(discovery.m_scsiTool.m_traceLog.get(), trace.log().get());
    EXPECT_EQ(discovery.m_dmpDiscoveryManager.m_traceLog.get(), trace.log().get());
    EXPECT_EQ(trace.lines(), Texts(2, "[3] INFO: registering trace log on discovery module"));
    // Its own log again.
    discovery.registerTraceLog(discovery.m_traceLog);
    EXPECT_EQ(discovery.m_traceLog.get(), trace.log().get());
    discovery.registerTraceLog(discovery.m_scsiTool.m_traceLog);
    EXPECT_EQ(discovery.m_scsiTool.m_traceLog.get(), trace.log().get());
}

TEST(DiscoveryBase, RemovalsDoNothing) {
    DeviceHost host;
    FakeDiscovery discovery(host);
    discovery.names = {"/dev/sda"};
    std::vector<CScsiDeviceData*> devices = discovery.records();
    const Records owner(devices);
    discovery.removeDeadDevices(devices, true);
    EXPECT_EQ(devices, owner.list);
    discovery.removeDevice("/dev/sda");
    EXPECT_EQ(discovery.FlushMultipathStaleDevices(), 0);
    EXPECT_EQ(discovery.removeStaleDevices(" x"), 0);
    EXPECT_EQ(host.requests, Texts{});
    EXPECT_EQ(host.effects(), Texts{});
}

}  // namespace
