#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include "device_host.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "trace_capture.h"

namespace {

using recording::RecordedDevice;
using recording::RecordedHostData;
using test::DeviceHost;
using test::partitionsOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kFailed[] =
    "[1] libscsitool: ERROR: CLinuxDeviceDiscovery::EnumerateDevices() failed.";
constexpr char kExtFailed[] =
    "[1] libscsitool: ERROR: CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt() failed.";

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

RecordedHostData hostWithPartitions(const std::string& text) {
    RecordedHostData data;
    data.files["/proc/partitions"] = text;
    return data;
}

// Disks that open, under /dev, and multipath maps.
RecordedHostData hostOf(const Texts& disks, const Texts& maps = {}) {
    RecordedHostData data = hostWithPartitions(partitionsOf(disks));
    for (const std::string& disk : disks) {
        data.devices["/dev/" + disk].sizeBytes = 2048;
    }
    if (!maps.empty()) {
        data.directories["/dev/mapper/"] = maps;
        for (const std::string& map : maps) {
            data.devices["/dev/mapper/" + map] = RecordedDevice();
        }
    }
    data.hostName = "db01";
    return data;
}

Texts pathsOf(const std::string& partitions) {
    const DeviceHost host(hostWithPartitions(partitions));
    CLinuxDeviceDiscovery discovery;
    return discovery.enumerateNativeDevicePaths();
}

template <class Call>
int thrownBy(Call call) {
    try {
        call();
    } catch (int thrown) {
        return thrown;
    }
    return 0;
}

// --- Names and lines

TEST(NativeEnumeration, WholeDiskBeginsWithSdAndEndsInNoDigit) {
    const struct {
        const char* name;
        bool valid;
    } rows[] = {{"sda", true},   {"sdab", true},  {"sda1", false}, {"sda0", false},
                {"sda9", false}, {"sd", true},    {"sd1a", true},  {"", true},
                {"hda", false},  {"dm-0", false}, {"SDA", false},  {" sda", false},
                {"xsda", false}, {"s", false},    {"sr0", false},  {"nvme0n1", false},
                {"sda/", true}};
    for (const auto& row : rows) {
        CLinuxDeviceDiscovery discovery;
        EXPECT_EQ(discovery.IsValidDeviceName(row.name), row.valid) << row.name;
    }
}

TEST(NativeEnumeration, WholeScsiDisksAreListed) {
    EXPECT_EQ(pathsOf("major minor  #blocks  name\n"
                      "\n"
                      "   8        0  488386584 sda\n"
                      "   8        1     524288 sda1\n"
                      " 253        0  104857600 dm-0\n"
                      "   3        0   10485760 hda\n"
                      "  11        0    1048575 sr0\n"
                      "  65      160       1024 sdaa\n"
                      "   8       16       1024 sdb\n"),
              (Texts{"/dev/sda", "/dev/sdaa", "/dev/sdb"}));
}

TEST(NativeEnumeration, LineWithSdElsewhereFailsByItsName) {
    EXPECT_EQ(pathsOf("   9        0       1024 mdsd\n"
                      "   9        1       1024 nvmesda\n"
                      "sd 8        0       1024 sda\n"
                      "   8        0       1024 hda sda\n"
                      "   8        0       1024 sdb sdc\n"),
              Texts{"/dev/sdb"});
}

TEST(NativeEnumeration, NameIsCutToEightCharacters) {
    EXPECT_EQ(
        pathsOf(partitionsOf({"sdabcdef", "sdabcdefg", "sdabcde1", "sdabcdef1", "sdabcde12"})),
        (Texts{"/dev/sdabcdef", "/dev/sdabcdef", "/dev/sdabcdef"}));
}

TEST(NativeEnumeration, LineNeedsFourItems) {
    EXPECT_EQ(pathsOf("8 0 1024 sda"), Texts{"/dev/sda"});
    EXPECT_EQ(pathsOf("8 0 1024sdb"), Texts{"/dev/sdb"});
    EXPECT_EQ(pathsOf("\t8\t0\t1024\tsdc\t"), Texts{"/dev/sdc"});
    EXPECT_EQ(pathsOf("8 0 sda"), Texts{});
    EXPECT_EQ(pathsOf("8 0 1024 \n"), Texts{});
    EXPECT_EQ(pathsOf("x 0 1024 sda"), Texts{});
    EXPECT_EQ(pathsOf("8, 0 1024 sda"), Texts{});
    EXPECT_EQ(pathsOf("sda"), Texts{});
}

// As "%d %d %d %8s" has it.
TEST(NativeEnumeration, NumbersMayHaveSignsAndNameNeedsNoBlank) {
    EXPECT_EQ(pathsOf("\t+8\v-16\f1\rsda\n"), Texts{"/dev/sda"});
    EXPECT_EQ(pathsOf("8 16 1sdb\n"), Texts{"/dev/sdb"});
    EXPECT_EQ(pathsOf("8 - 1 sdc\n"), Texts{});
    EXPECT_EQ(pathsOf("8 +-16 1 sdc\n"), Texts{});
    EXPECT_EQ(pathsOf("8x 16 1 sdc\n"), Texts{});
    EXPECT_EQ(pathsOf("8 16 + sdc\n"), Texts{});
}

TEST(NativeEnumeration, NumberOfBlocksMayBeBeyondAnyWidth) {
    // 2 TB and more in blocks of 1 KB do not fit 32 bits; the disk is listed all the same.
    for (const char* const blocks :
         {"2147483647", "2147483648", "4294967295", "4294967296", "9223372036854775807",
          "9223372036854775808", "18446744073709551616", "-1",
          "99999999999999999999999999999999"}) {
        EXPECT_EQ(pathsOf(std::string("   8        0 ") + blocks + " sda\n"), Texts{"/dev/sda"})
            << blocks;
    }
}

TEST(NativeEnumeration, FileIsReadInPiecesOf254Characters) {
    // A name that stands behind the 254th character is a line of its own, without its numbers.
    const std::string numbers = "8 0 1024 ";
    for (const std::size_t start : {250U, 251U, 252U, 254U}) {
        std::string line = numbers;
        line.insert(0, start - numbers.size(), ' ');
        ASSERT_EQ(line.size(), start);
        const Texts found = pathsOf(line + "sda\n");
        const Texts expected = start == 250   ? Texts{"/dev/sda"}
                               : start == 251 ? Texts{"/dev/sda"}
                               : start == 252 ? Texts{"/dev/sd"}
                                              : Texts{};
        EXPECT_EQ(found, expected) << start;
    }
    // A whole line begins where the former piece ends.
    EXPECT_EQ(pathsOf(std::string(254, ' ') + "8 0 1024 sda\n"), Texts{"/dev/sda"});
    EXPECT_EQ(pathsOf("8 0 1024 sda" + std::string(242, ' ') + "8 0 1024 sdb\n"),
              (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(pathsOf("8 0 1024 sda" + std::string(241, ' ') + "8 0 1024 sdb\n"),
              Texts{"/dev/sda"});
}

TEST(NativeEnumeration, NulEndsALine) {
    EXPECT_EQ(pathsOf(std::string("8 0 1024 \0sda\n8 0 1024 sdb\n", 27)), Texts{"/dev/sdb"});
}

TEST(NativeEnumeration, FileOfGarbageListsNothing) {
    for (const std::string& text :
         {std::string(), std::string("\n\n\n"), std::string(100000, 's'), std::string(5000, '\0'),
          std::string("sdsdsdsdsd\n"), std::string(300, '\xFF') + "sd"}) {
        EXPECT_EQ(pathsOf(text), Texts{}) << text.substr(0, 20);
    }
}

TEST(NativeEnumeration, FileIsTracedOnceItIsOpen) {
    const DeviceHost host(hostWithPartitions(partitionsOf({"sda"})));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    EXPECT_EQ(discovery.enumerateNativeDevicePaths(), Texts{"/dev/sda"});
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function enumerateNativeDevicePaths [N, device_discovery_linux]",
               "[3] INFO: reading /proc/partitions\n",
               "[6] Exiting Function enumerateNativeDevicePaths [N, device_discovery_linux]"}));
}

TEST(NativeEnumeration, FileThatDoesNotOpenListsNothing) {
    const DeviceHost host;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    EXPECT_EQ(discovery.enumerateNativeDevicePaths(), Texts{});
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function enumerateNativeDevicePaths [N, device_discovery_linux]",
               "[1] ERROR: failed to open /proc/partitions for reading.",
               "[6] Exiting Function enumerateNativeDevicePaths [N, device_discovery_linux]"}));
}

TEST(NativeEnumeration, LinesInFrontOfAReadErrorCount) {
    RecordedHostData data = hostWithPartitions("  8 0 1 sda\n  8 16 1 sdb\n  8 32 1 sdc");
    data.files["/proc/partitions"].readError = EIO;
    const DeviceHost host(data);
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(3);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    // The third may be "sdcx".
    EXPECT_EQ(discovery.enumerateNativeDevicePaths(), (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(trace.lines(), Texts{"[3] INFO: reading /proc/partitions\n"});
}

TEST(NativeEnumeration, ExceptionOfTheFileIsAnIntOfSix) {
    DeviceHost host(hostOf({"sda"}));
    host.onRead = [](const std::string&) { throw std::runtime_error("read"); };
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(thrownBy([&] { discovery.enumerateNativeDevicePaths(); }), 6);
    host.onRead = [](const std::string&) { throw 42; };
    EXPECT_EQ(thrownBy([&] { discovery.enumerateNativeDevicePaths(); }), 6);
}

// --- enumerateDevices

TEST(NativeEnumeration, MapsComeInKeyOrderAndDisksInFileOrder) {
    const DeviceHost host(hostOf({"sdc", "sda", "sdb"}, {"mpathb", "mpatha"}));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(
        Records(discovery.enumerateDevices("")).names(),
        (Texts{"/dev/mapper/mpatha", "/dev/mapper/mpathb", "/dev/sdc", "/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(NativeEnumeration, NameTakesTheOneDevice) {
    const DeviceHost host(hostOf({"sda", "sdc"}, {"mpatha", "mpathb"}));
    CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(Records(discovery.enumerateDevices("/dev/sdc")).names(), Texts{"/dev/sdc"});
    EXPECT_EQ(Records(discovery.enumerateDevices("/dev/mapper/mpathb")).names(),
              Texts{"/dev/mapper/mpathb"});
    for (const char* const name : {"/dev/sd", "/dev/SDC", "sdc", "/dev/sdcc", "/dev/sdc ", " "}) {
        EXPECT_EQ(Records(discovery.enumerateDevices(name)).names(), Texts{}) << name;
    }
    // Only what passes is opened.
    EXPECT_EQ(host.count("open /dev/sda O_RDWR|O_NONBLOCK"), 0U);
    EXPECT_EQ(host.count("open /dev/mapper/mpatha O_RDWR|O_NONBLOCK"), 0U);
}

TEST(NativeEnumeration, RecordsOfDisksAreMade) {
    const DeviceHost host(hostOf({"sda"}));
    CLinuxDeviceDiscovery discovery;
    const Records records(discovery.enumerateDevices(""));
    ASSERT_EQ(records.list.size(), 1U);
    const CScsiDeviceData& record = *records.list[0];
    EXPECT_EQ(record.m_deviceName, "/dev/sda");
    EXPECT_EQ(record.m_secondName, "");
    EXPECT_EQ(record.m_hostName, "db01");
    EXPECT_EQ(record.m_target, 0);
    EXPECT_EQ(record.m_bus, 0U);
    EXPECT_EQ(record.m_lun, 0);
    EXPECT_EQ(record.m_port, -1);
    EXPECT_EQ(record.m_vendorId + record.m_productId + record.m_firmwareLevel, "");
    EXPECT_EQ(record.m_sizeKb, 0U);
    EXPECT_EQ(record.m_dmpClaimLevel, 0);
    EXPECT_EQ(record.m_busType, 0U);
    EXPECT_EQ(record.m_multipath, 0U);
    EXPECT_EQ(record.m_osName, "");
}

TEST(NativeEnumeration, RecordsOfMapsAreMarked) {
    const DeviceHost host(hostOf({}, {"mpatha"}));
    CLinuxDeviceDiscovery discovery;
    const Records records(discovery.enumerateDevices(""));
    ASSERT_EQ(records.list.size(), 1U);
    const CScsiDeviceData& record = *records.list[0];
    EXPECT_EQ(record.m_deviceName, "/dev/mapper/mpatha");
    EXPECT_EQ(record.m_hostName, "db01");
    EXPECT_EQ(record.m_port, -1);
    EXPECT_EQ(record.m_dmpClaimLevel, 16);
    EXPECT_EQ(record.m_busType, 1U);
    EXPECT_EQ(record.m_multipath, 1U);
    EXPECT_EQ(record.m_sizeKb, 0U);
}

TEST(NativeEnumeration, DevicesThatDoNotOpenAreLeftOutWithATrace) {
    RecordedHostData data = hostOf({"sda", "sdb"}, {"mpatha", "mpathb"});
    data.devices["/dev/sda"].openError = ENXIO;
    data.devices["/dev/mapper/mpatha"].openError = ENXIO;
    const DeviceHost host(data);
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(6);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    EXPECT_EQ(Records(discovery.enumerateDevices("")).names(),
              (Texts{"/dev/mapper/mpathb", "/dev/sdb"}));
    const std::string file = ", device_discovery_linux]";
    const std::string adding =
        "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/";
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function enumerateDevices [N" + file,
                     "[3] INFO: registering trace log on discovery module",
                     "[3] INFO: registering trace log on discovery module",
                     "[3] INFO: CDmpDiscoveryManager::enumerateDmpDevices 2 modules registered",
                     "[6] Entering Function enumerateDmpDevices [N, dmp_powerpath]",
                     "[3] INFO: enumerating devices using command [], lines returned [0]",
                     "[6] Exiting Function enumerateDmpDevices [N, dmp_powerpath]",
                     "[6] Entering Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
                     "[3] INFO: readdir lines returned [2] devices.",
                     "[3] Working on device [/dev/mapper/mpatha]",
                     adding + "mpatha]",
                     "[3] Working on device [/dev/mapper/mpathb]",
                     adding + "mpathb]",
                     "[6] Exiting Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
                     "[3] INFO: enumerate DMP devices returned [2] devices",
                     "[3] dmp: /dev/mapper/mpatha",
                     "[3] INFO: DMP device /dev/mapper/mpatha deleted.",
                     "[3] dmp: /dev/mapper/mpathb",
                     "[3] INFO: DMP device /dev/mapper/mpathb added. DMP device enumeration done",
                     "[6] Entering Function enumerateNativeDevicePaths [N" + file,
                     "[3] INFO: reading /proc/partitions\n",
                     "[6] Exiting Function enumerateNativeDevicePaths [N" + file,
                     "[3] INFO: Native device /dev/sda deleted.",
                     "[3] INFO: Native device /dev/sdb added. Native device enumeration done",
                     "[6] Exiting Function enumerateDevices [N" + file}));
}

TEST(NativeEnumeration, EachDeviceIsClosedBeforeTheNextIsOpened) {
    const DeviceHost host(hostOf({"sda", "sdb"}, {"mpatha"}));
    CLinuxDeviceDiscovery discovery;
    deleteAll(discovery.enumerateDevices(""));
    EXPECT_EQ(host.requests,
              (Texts{"hostname", "list /dev/", "list /dev/mapper/",
                     "open /dev/mapper/mpatha O_RDWR|O_NONBLOCK", "close /dev/mapper/mpatha",
                     "read /proc/partitions", "open /dev/sda O_RDWR|O_NONBLOCK", "close /dev/sda",
                     "open /dev/sdb O_RDWR|O_NONBLOCK", "close /dev/sdb"}));
}

TEST(NativeEnumeration, DeviceIsOpenUntilItIsTraced) {
    DeviceHost host(hostOf({"sda"}));
    CLinuxDeviceDiscovery discovery;
    auto log = test::traceInto(host.requests);
    log->setSink(nullptr, 0);
    discovery.registerTraceLog(log);
    log = test::traceInto(host.requests);
    discovery.m_traceLog = log;
    deleteAll(discovery.enumerateDevices("/dev/sda"));
    const auto added =
        std::find(host.requests.begin(), host.requests.end(),
                  "[3] INFO: Native device /dev/sda added. Native device enumeration done");
    ASSERT_NE(added, host.requests.end());
    EXPECT_EQ(*(added - 1), "open /dev/sda O_RDWR|O_NONBLOCK");
    EXPECT_EQ(*(added + 1), "close /dev/sda");
}

TEST(NativeEnumeration, HostNameIsCutToItsBuffer) {
    for (const std::size_t length : {253U, 254U, 255U, 300U}) {
        RecordedHostData data = hostOf({"sda"});
        data.hostName = std::string(length, 'h');
        const DeviceHost host(data);
        CLinuxDeviceDiscovery discovery;
        const Records records(discovery.enumerateDevices(""));
        ASSERT_EQ(records.list.size(), 1U);
        EXPECT_EQ(records.list[0]->m_hostName,
                  std::string(std::min<std::size_t>(length, 254), 'h'));
    }
}

TEST(NativeEnumeration, HostWithoutANameIsEnumerated) {
    RecordedHostData data = hostOf({"sda"});
    data.hostName.reset();
    const DeviceHost host(data);
    CLinuxDeviceDiscovery discovery;
    const Records records(discovery.enumerateDevices(""));
    ASSERT_EQ(records.list.size(), 1U);
    EXPECT_EQ(records.list[0]->m_hostName, "");
}

TEST(NativeEnumeration, ExceptionKeepsTheRecordsGatheredSoFar) {
    DeviceHost host(hostOf({"sda", "sdb", "sdc"}, {"mpatha"}));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    host.onOpen = [](const std::string& path) -> DeviceHost::Answer {
        if (path == "/dev/sdb") {
            throw std::bad_alloc();
        }
        return DeviceHost::Answer();
    };
    EXPECT_EQ(Records(discovery.enumerateDevices("")).names(),
              (Texts{"/dev/mapper/mpatha", "/dev/sda"}));
    EXPECT_EQ(trace.lines(), Texts{kFailed});
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(NativeEnumeration, ExceptionOfTheNativeListKeepsTheMaps) {
    DeviceHost host(hostOf({"sda"}, {"mpatha"}));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    host.onRead = [](const std::string& path) {
        if (path == "/proc/partitions") {
            throw std::runtime_error("read");
        }
    };
    EXPECT_EQ(Records(discovery.enumerateDevices("")).names(), Texts{"/dev/mapper/mpatha"});
    EXPECT_EQ(trace.lines(), Texts{kFailed});
}

TEST(NativeEnumeration, ExceptionOfTheHostNameGivesAnEmptyList) {
    DeviceHost host(hostOf({"sda"}));
    CLinuxDeviceDiscovery discovery;
    host.onHostName = [] { throw 42; };
    EXPECT_EQ(Records(discovery.enumerateDevices("")).names(), Texts{});
    EXPECT_EQ(Records(discovery.validateEnumerateDevices("/dev/sda")).names(), Texts{});
}

// --- validateEnumerateDevices

TEST(NativeEnumeration, ValidationLooksAtTheNamedDeviceAlone) {
    const DeviceHost host(hostOf({"sda", "sdb"}, {"mpatha"}));
    CLinuxDeviceDiscovery discovery;
    const Records records(discovery.validateEnumerateDevices("/dev/mapper/mpatha"));
    ASSERT_EQ(records.names(), Texts{"/dev/mapper/mpatha"});
    const CScsiDeviceData& record = *records.list[0];
    EXPECT_EQ(record.m_hostName, "db01");
    EXPECT_EQ(record.m_port, -1);
    EXPECT_EQ(record.m_dmpClaimLevel, 0);
    EXPECT_EQ(record.m_busType, 0U);
    EXPECT_EQ(record.m_multipath, 0U);
    EXPECT_EQ(record.m_invalid, 0U);
    EXPECT_EQ(host.requests, (Texts{"hostname", "open /dev/mapper/mpatha O_RDWR|O_NONBLOCK",
                                    "close /dev/mapper/mpatha"}));
}

TEST(NativeEnumeration, ValidationOfADeviceThatDoesNotOpenIsSilent) {
    const DeviceHost host(hostOf({"sda"}));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    EXPECT_EQ(Records(discovery.validateEnumerateDevices("/dev/sdx")).names(), Texts{});
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function validateEnumerateDevices [N, device_discovery_linux]",
                     "[6] Exiting Function validateEnumerateDevices [N, device_discovery_linux]"}));
}

TEST(NativeEnumeration, ValidationThatThrowsNamesTheEnumeration) {
    DeviceHost host(hostOf({"sda"}));
    host.onOpen = [](const std::string&) -> DeviceHost::Answer { throw std::bad_alloc(); };
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    EXPECT_EQ(Records(discovery.validateEnumerateDevices("/dev/sda")).names(), Texts{});
    EXPECT_EQ(trace.lines(), Texts{kFailed});
}

// --- getDiskSize

TEST(DiskSize, HostThatThrowsLeavesNoDescriptor) {
    DeviceHost host(hostOf({"sda"}));
    host.onSize = [](std::uint64_t&) -> DeviceHost::Answer { throw std::bad_alloc(); };
    CLinuxDeviceDiscovery discovery;
    unsigned long sizeKb = 77;
    EXPECT_THROW(discovery.getDiskSize("/dev/sda", sizeKb), std::bad_alloc);
    EXPECT_EQ(sizeKb, 77U);
    EXPECT_EQ(host.openDescriptors(), 0U);
    EXPECT_EQ(host.count("close /dev/sda"), 1U);
    host.onClose = []() -> DeviceHost::Answer { throw std::bad_alloc(); };
    EXPECT_THROW(discovery.getDiskSize("/dev/sda", sizeKb), std::bad_alloc);
    EXPECT_EQ(host.openDescriptors(), 0U);
}

struct SizeRun {
    int result = -1;
    unsigned long sizeKb = 7777;
    Texts lines;
};

SizeRun measured(DeviceHost& host, const std::string& path = "/dev/sda") {
    (void)host;
    SizeRun run;
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    run.result = discovery.getDiskSize(path, run.sizeKb);
    run.lines = trace.lines();
    return run;
}

constexpr char kSizeEntering[] =
    "[6] libscsitool: DEBUG: Entering CLinuxDeviceDiscovery::getDiskSize()";
constexpr char kSizeExiting[] =
    "[6] libscsitool: DEBUG: Exiting CLinuxDeviceDiscovery::getDiskSize()";

TEST(DiskSize, IsInWholeKilobytes) {
    const struct {
        std::uint64_t bytes;
        unsigned long kilobytes;
    } rows[] = {{0, 0},
                {1023, 0},
                {1024, 1},
                {1025, 1},
                {1048575, 1023},
                {1048576, 1024},
                {0xFFFFFFFFFFFFFFFF, 0x3FFFFFFFFFFFFF},
                {4398046511104, 4294967296}};
    for (const auto& row : rows) {
        RecordedHostData data = hostOf({"sda"});
        data.devices["/dev/sda"].sizeBytes = row.bytes;
        DeviceHost host(data);
        const SizeRun run = measured(host);
        EXPECT_EQ(run.result, 0);
        EXPECT_EQ(run.sizeKb, row.kilobytes);
        EXPECT_EQ(run.lines, (Texts{kSizeEntering,
                                    "[3] Size of disk /dev/sda in KB is: [" +
                                        std::to_string(row.kilobytes) + "]",
                                    kSizeExiting}));
        EXPECT_EQ(host.requests,
                  (Texts{"open /dev/sda O_RDONLY", "size /dev/sda", "close /dev/sda"}));
    }
}

TEST(DiskSize, OfADeviceThatDoesNotOpenIs26) {
    DeviceHost host(hostOf({"sda"}));
    const SizeRun run = measured(host, "/dev/sdx");
    EXPECT_EQ(run.result, 26);
    EXPECT_EQ(run.sizeKb, 7777U);
    EXPECT_EQ(run.lines,
              (Texts{kSizeEntering, "[1] ERROR: Device [/dev/sdx], open failed with error [2]\n",
                     kSizeExiting}));
    EXPECT_EQ(host.requests, Texts{"open /dev/sdx O_RDONLY"});
}

TEST(DiskSize, ThatIsNotToldIs27) {
    DeviceHost host(hostOf({"sda"}));
    host.onSize = [](std::uint64_t&) { return DeviceHost::Answer(-ENOTTY); };
    const SizeRun run = measured(host);
    EXPECT_EQ(run.result, 27);
    EXPECT_EQ(run.sizeKb, 7777U);
    EXPECT_EQ(run.lines, (Texts{kSizeEntering,
                                "[1] ERROR: ioctl(BLKGETSIZE64) failed for device [/dev/sda] with "
                                "error no [25]\n",
                                kSizeExiting}));
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(DiskSize, WithAFailingCloseIs25WhateverCameBefore) {
    for (const bool told : {true, false}) {
        DeviceHost host(hostOf({"sda"}));
        host.onClose = [] { return DeviceHost::Answer(-EIO); };
        if (!told) {
            host.onSize = [](std::uint64_t&) { return DeviceHost::Answer(-ENOTTY); };
        }
        const SizeRun run = measured(host);
        EXPECT_EQ(run.result, 25);
        EXPECT_EQ(run.lines.back(), "[1] ERROR: Close failed\n");
        EXPECT_EQ(run.lines.size(), 3U);
        EXPECT_EQ(run.sizeKb, told ? 2U : 7777U);
    }
}

// --- enumerateNativeDevicePathsExt

TEST(NativeDisksWithSize, EveryDiskThatOpensIsAppended) {
    RecordedHostData data = hostOf({"sda", "sdb", "sdc"}, {"mpatha"});
    data.devices["/dev/sda"].sizeBytes = 1048576;
    data.devices["/dev/sdb"].openError = ENXIO;
    data.devices["/dev/sdc"].sizeBytes.reset();
    const DeviceHost host(data);
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.registerTraceLog(trace.log());
    trace.clear();
    std::vector<CScsiDeviceData> devices;
    devices.emplace_back("before", "", "", 0, 0U, 0, -1, "", "", "", 0UL);
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 0);
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(devices[1].m_deviceName, "/dev/sda");
    EXPECT_EQ(devices[1].m_sizeKb, 1024U);
    EXPECT_EQ(devices[2].m_deviceName, "/dev/sdc");
    EXPECT_EQ(devices[2].m_sizeKb, 0U);
    for (const std::size_t i : {1U, 2U}) {
        EXPECT_EQ(devices[i].m_busType, 1U);
        EXPECT_EQ(devices[i].m_multipath, 1U);
        EXPECT_EQ(devices[i].m_dmpClaimLevel, 0);
        EXPECT_EQ(devices[i].m_hostName, "db01");
        EXPECT_EQ(devices[i].m_port, -1);
    }
    const std::string file = " [N, device_discovery_linux]";
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[6] Entering Function enumerateNativeDevicePathsExt" + file,
               "[6] Entering Function enumerateNativeDevicePaths" + file,
               "[3] INFO: reading /proc/partitions\n",
               "[6] Exiting Function enumerateNativeDevicePaths" + file, kSizeEntering,
               "[3] Size of disk /dev/sda in KB is: [1024]", kSizeExiting,
               "[3] INFO: Native device /dev/sda added. Native device enumeration done",
               kSizeEntering, "[1] ERROR: Device [/dev/sdb], open failed with error [6]\n",
               kSizeExiting, "[3] INFO: Native device /dev/sdb ignored.", kSizeEntering,
               "[1] ERROR: ioctl(BLKGETSIZE64) failed for device [/dev/sdc] with error no [25]\n",
               kSizeExiting,
               "[3] INFO: Native device /dev/sdc added. Native device enumeration done",
               "[6] Exiting Function enumerateNativeDevicePathsExt" + file}));
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(NativeDisksWithSize, HostMustHaveAName) {
    RecordedHostData data = hostOf({"sda"});
    data.hostName.reset();
    const DeviceHost host(data);
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(5);
    discovery.registerTraceLog(trace.log());
    trace.clear();
    std::vector<CScsiDeviceData> devices;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 6);
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(trace.lines(), Texts{"[1] Failed to get the hostname"});
    EXPECT_EQ(host.requests, Texts{"hostname"});
}

TEST(NativeDisksWithSize, HostNameMustFitItsBuffer) {
    for (const std::size_t length : {253U, 254U, 255U}) {
        RecordedHostData data = hostOf({"sda"});
        data.hostName = std::string(length, 'h');
        const DeviceHost host(data);
        CLinuxDeviceDiscovery discovery;
        std::vector<CScsiDeviceData> devices;
        EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), length <= 254 ? 0 : 6);
        ASSERT_EQ(devices.size(), length <= 254 ? 1U : 0U);
        if (length <= 254) {
            EXPECT_EQ(devices[0].m_hostName, std::string(length, 'h'));
        }
    }
}

TEST(NativeDisksWithSize, HostMustHaveADisk) {
    const DeviceHost host(hostOf({}));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(2);
    discovery.registerTraceLog(trace.log());
    std::vector<CScsiDeviceData> devices;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 6);
    EXPECT_EQ(trace.lines(), Texts{"[1] Failed to list any native devices"});
}

TEST(NativeDisksWithSize, ExceptionKeepsWhatWasAppended) {
    DeviceHost host(hostOf({"sda", "sdb"}));
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(1);
    discovery.registerTraceLog(trace.log());
    host.onOpen = [](const std::string& path) -> DeviceHost::Answer {
        if (path == "/dev/sdb") {
            throw std::runtime_error("open");
        }
        return DeviceHost::Answer();
    };
    std::vector<CScsiDeviceData> devices;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 6);
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].m_deviceName, "/dev/sda");
    EXPECT_EQ(trace.lines(), Texts{kExtFailed});
}

TEST(NativeDisksWithSize, NothingIsTracedWithoutALog) {
    const DeviceHost host(hostOf({"sda"}));
    CLinuxDeviceDiscovery discovery;
    std::vector<CScsiDeviceData> devices;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 0);
    EXPECT_EQ(Records(discovery.enumerateDevices("")).names(), Texts{"/dev/sda"});
    EXPECT_EQ(Records(discovery.validateEnumerateDevices("/dev/sda")).names(), Texts{"/dev/sda"});
}

}  // namespace
