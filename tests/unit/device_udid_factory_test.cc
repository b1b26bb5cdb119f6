#include "scsitool/udid/device_udid_factory.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "device_host.h"
#include "scsitool/tools/string_tool.h"
#include "trace_capture.h"
#include "udid/families.h"

namespace {

using recording::RecordedHostData;
using test::DeviceHost;
using test::kLockTaken;
using test::namedDisk;
using test::Page;
using test::partitionsOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kNotFound[] =
    "[2] CUDIDFactory::getCachedUniqueDeviceID() Device /dev/sdx not found, map contents are:";
constexpr char kEnumeration[] = "read /proc/partitions";

// A generator that does as a test says and writes down what it was asked.
struct FakeGenerator : CUdidGenerator {
    explicit FakeGenerator(Texts& asked, const std::string& name = "FAKE")
        : CUdidGenerator(name, "G"), calls(asked) {}
    ~FakeGenerator() override { calls.push_back("deleted " + m_vendor); }

    bool claimDevice(CScsiDeviceData* device) override {
        calls.push_back("claim " + m_vendor);
        if (failsAt == "claim") {
            throw CUdidGeneratorException("ID", m_vendor, m_product);
        }
        onClaim(device);
        return claims;
    }
    std::string getUniqueDeviceIDPrefix(CScsiDeviceData*) override {
        calls.push_back("prefix " + m_vendor);
        if (failsAt == "prefix") {
            throw CUdidGeneratorException("ID", m_vendor, m_product);
        }
        return prefix;
    }
    std::string getUniqueDeviceID(CScsiDeviceData* device) override {
        calls.push_back("body " + m_vendor);
        if (failsAt == "body") {
            throw CUdidGeneratorException("ID", m_vendor, m_product);
        }
        if (failsAt == "body badly") {
            throw std::runtime_error("body");
        }
        return body.empty() ? device->m_deviceName : body;
    }

    Texts& calls;
    bool claims = true;
    std::string failsAt;
    std::string prefix = "Udid##Fake##";
    std::string body;
    std::function<void(CScsiDeviceData*)> onClaim = [](CScsiDeviceData*) {};
};

// Disks in the order of /proc/partitions.
RecordedHostData hostOf(const Texts& disks) {
    RecordedHostData data;
    data.files["/proc/partitions"] = partitionsOf(disks);
    data.directories["/dev/"] = disks;
    std::uint8_t number = 0;
    for (const std::string& disk : disks) {
        ++number;
        data.devices["/dev/" + disk] = namedDisk("S" + std::to_string(number), number);
    }
    data.hostName = "db01";
    return data;
}

// A factory on a host. Its own generators are kept and those of the test asked in their place.
struct Fixture {
    explicit Fixture(const Texts& disks = {"sda"}) : host(hostOf(disks)) {}
    explicit Fixture(const RecordedHostData& data) : host(data) {}

    FakeGenerator& add(const std::string& name = "FAKE") {
        fakes.push_back(std::make_unique<FakeGenerator>(calls, name));
        if (fakes.size() == 1) {
            factory.m_generators.clear();
        }
        factory.m_generators.push_back(fakes.back().get());
        return *fakes.back();
    }
    FakeGenerator& replaceTaq() {
        auto* const taq = new FakeGenerator(calls, "TAQ");
        factory.m_taqGenerator.reset(taq);
        return *taq;
    }
    void listen(int level) {
        trace = std::make_unique<TraceCapture>(level);
        factory.registerTraceLog(trace->log());
        trace->clear();
    }
    DeviceMap enumerate(bool dropInvalid = false) {
        return factory.enumerateDeviceMap(dropInvalid, false, false, "", "");
    }
    std::size_t enumerations() const { return host.count(kEnumeration); }

    DeviceHost host;
    Texts calls;
    std::vector<std::unique_ptr<FakeGenerator>> fakes;
    CUDIDFactory factory;
    std::unique_ptr<TraceCapture> trace;
};

CScsiDeviceData recordOf(const std::string& name) {
    return CScsiDeviceData(name, "", "", 0, 0, 0, -1, "ACME", "DISK", "", 0);
}

Texts namesIn(const DeviceMap& devices) {
    Texts names;
    for (const auto& [key, info] : devices) {
        EXPECT_EQ(key, info.deviceName);
        EXPECT_TRUE(info.nativePaths.empty());
        names.push_back(key);
    }
    return names;
}

// --- Construction and the trace log

TEST(Factory, GeneratorsStandInTheOrderInWhichTheyAreAsked) {
    const CUDIDFactory factory;
    Texts names;
    for (CUdidGenerator* const generator : factory.m_generators) {
        names.push_back(generator->getGeneratorName());
    }
    Texts families;
    for (const udid::Family& family : udid::kFamilies) {
        families.push_back(std::string(family.vendor) + ":" + family.product);
    }
    EXPECT_EQ(names, families);
    ASSERT_NE(factory.m_taqGenerator, nullptr);
    EXPECT_EQ(factory.m_taqGenerator->getGeneratorName(), "TAQ:TAQ");
    EXPECT_FALSE(factory.m_taqMode);
    EXPECT_TRUE(factory.m_presetDeviceMap.empty());
    EXPECT_TRUE(factory.m_deviceMap.empty());
    EXPECT_TRUE(factory.m_devices.empty());
}

TEST(Factory, TraceLogReachesEverything) {
    CUDIDFactory factory;
    TraceCapture trace;
    factory.registerTraceLog(trace.log());
    const auto* const log = trace.log().get();
    EXPECT_EQ(factory.m_traceLog.get(), log);
    EXPECT_EQ(factory.m_discovery.m_traceLog.get(), log);
    EXPECT_EQ(factory.m_discovery.m_scsiTool.m_traceLog.get(), log);
    EXPECT_EQ(factory.m_discovery.m_dmpDiscoveryManager.m_traceLog.get(), log);
    EXPECT_EQ(factory.m_dmpManager.m_traceLog.get(), log);
    for (const CUdidGenerator* const generator : factory.m_generators) {
        EXPECT_EQ(generator->m_traceLog.get(), log);
    }
    EXPECT_EQ(factory.m_taqGenerator->m_traceLog.get(), log);
    // Two modules of the discovery's manager and two of the factory's.
    EXPECT_EQ(trace.lines(), Texts(4, "[3] INFO: registering trace log on discovery module"));
}

TEST(Factory, TraceLogIsTakenWithoutATaqGenerator) {
    CUDIDFactory factory;
    factory.m_taqGenerator.reset();
    TraceCapture trace;
    factory.registerTraceLog(trace.log());
    EXPECT_EQ(factory.m_generators.back()->m_traceLog.get(), trace.log().get());
}

TEST(Factory, EndDeletesTheRecordsAndTheTaqGeneratorAlone) {
    struct CountedRecord : CScsiDeviceData {
        explicit CountedRecord(Texts& taken) : CScsiDeviceData(recordOf("x")), calls(taken) {}
        ~CountedRecord() override { calls.push_back("deleted record"); }
        Texts& calls;
    };
    Texts calls;
    FakeGenerator listed(calls, "LISTED");
    {
        CUDIDFactory factory;
        factory.m_taqGenerator.reset(new FakeGenerator(calls, "TAQ"));
        factory.m_generators.push_back(&listed);
        factory.m_devices.emplace_back(new CountedRecord(calls));
        factory.m_devices.emplace_back(new CountedRecord(calls));
    }
    EXPECT_EQ(calls, (Texts{"deleted TAQ", "deleted record", "deleted record"}));
}

TEST(Factory, ClearingTheCacheDeletesTheRecordsBetweenTwoTraces) {
    Fixture fixture;
    fixture.factory.m_devices.emplace_back(new CScsiDeviceData(recordOf("x")));
    fixture.listen(9);
    fixture.factory.clearDeviceCache();
    EXPECT_TRUE(fixture.factory.m_devices.empty());
    EXPECT_EQ(fixture.trace->stableLines(),
              (Texts{"[6] Entering Function clearDeviceCache [N, device_udid_factory]",
                     "[6] Exiting Function clearDeviceCache [N, device_udid_factory]"}));
}

// --- getUniqueDeviceID

TEST(Factory, FirstGeneratorThatClaimsIsUsed) {
    Fixture fixture;
    fixture.add("A").claims = false;
    fixture.add("B").body = "bodyOfB";
    fixture.add("C");
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "UDID##FAKE##BODYOFB");
    EXPECT_EQ(fixture.calls, (Texts{"claim A", "claim B", "prefix B", "body B"}));
}

TEST(Factory, DeviceThatNobodyClaimsHasNoUdid) {
    Fixture fixture;
    fixture.add("A").claims = false;
    fixture.add("B").claims = false;
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "");
    EXPECT_EQ(fixture.calls, (Texts{"claim A", "claim B"}));
}

TEST(Factory, FailedGeneratorIsFollowedByTheNext) {
    for (const char* const step : {"claim", "prefix", "body"}) {
        Fixture fixture;
        fixture.add("A").failsAt = step;
        fixture.add("B").body = "b";
        fixture.listen(9);
        CScsiDeviceData record = recordOf("/dev/sda");
        EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "UDID##FAKE##B") << step;
        EXPECT_EQ(fixture.trace->lines(),
                  Texts{"[2] WARNING: getUniqueDeviceID caught exception: [ID:A:G],skipping "
                        "device."})
            << step;
    }
}

TEST(Factory, PrefixOfTheLastGeneratorThatFailedInItsBodyIsLeft) {
    Fixture fixture;
    FakeGenerator& first = fixture.add("A");
    first.failsAt = "body";
    first.prefix = "first##";
    FakeGenerator& second = fixture.add("B");
    second.failsAt = "body";
    second.prefix = "second##";
    FakeGenerator& third = fixture.add("C");
    third.failsAt = "prefix";
    fixture.add("D").failsAt = "claim";
    fixture.add("E").claims = false;
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "SECOND##");
}

TEST(Factory, GeneratorThatFailsInItsPrefixLeavesNothing) {
    Fixture fixture;
    fixture.add("A").failsAt = "prefix";
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "");
}

TEST(Factory, OtherExceptionsPass) {
    Fixture fixture;
    fixture.add("A").failsAt = "body badly";
    fixture.add("B");
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_THROW(fixture.factory.getUniqueDeviceID(&record), std::runtime_error);
    EXPECT_THROW(fixture.enumerate(), std::runtime_error);
    EXPECT_EQ(fixture.host.openDescriptors(), 0U);
}

TEST(Factory, PresetUdidIsTakenInUpperCaseAndNobodyIsAsked) {
    for (const bool taqMode : {false, true}) {
        Fixture fixture;
        fixture.add();
        fixture.factory.m_taqMode = taqMode;
        fixture.factory.m_presetDeviceMap["/dev/sda"].uid = "Preset##a";
        CScsiDeviceData record = recordOf("/dev/sda");
        EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "PRESET##A");
        EXPECT_EQ(fixture.calls, Texts{});
        CScsiDeviceData other = recordOf("/dev/SDA");
        EXPECT_NE(fixture.factory.getUniqueDeviceID(&other), "PRESET##A");
    }
}

TEST(Factory, TaqModeAsksTheTaqGeneratorWithoutAClaimAndKeepsTheCase) {
    Fixture fixture;
    fixture.add();
    FakeGenerator& taq = fixture.replaceTaq();
    taq.claims = false;
    taq.prefix = "Taq_Udid##";
    taq.body = "Body";
    fixture.factory.m_taqMode = true;
    CScsiDeviceData record = recordOf("/dev/sda");
    EXPECT_EQ(fixture.factory.getUniqueDeviceID(&record), "Taq_Udid##Body");
    EXPECT_EQ(fixture.calls, (Texts{"prefix TAQ", "body TAQ"}));
}

TEST(Factory, TaqGeneratorsExceptionReachesTheCaller) {
    for (const char* const step : {"prefix", "body"}) {
        Fixture fixture;
        fixture.replaceTaq().failsAt = step;
        fixture.factory.m_taqMode = true;
        CScsiDeviceData record = recordOf("/dev/sda");
        EXPECT_THROW(fixture.factory.getUniqueDeviceID(&record), CUdidGeneratorException);
    }
}

// --- enumerateDeviceMap

TEST(Factory, MapHasOneEntryADeviceInNameOrder) {
    Fixture fixture({"sdb", "sda"});
    const DeviceMap devices = fixture.enumerate();
    EXPECT_EQ(namesIn(devices), (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(devices.at("/dev/sdb").uid,
              "UDID##ACME##RAID_5##S1##6000000A000000000000000000000001");
    EXPECT_EQ(devices.at("/dev/sda").uid,
              "UDID##ACME##RAID_5##S2##6000000A000000000000000000000002");
    EXPECT_EQ(devices.at("/dev/sda").dmpClaimLevel, 0);
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), namesIn(devices));
    EXPECT_EQ(fixture.factory.m_devices.size(), 2U);
    EXPECT_EQ(fixture.factory.m_devices[0]->m_deviceName, "/dev/sdb");
}

TEST(Factory, TwoPathsToOneVolumeAreTwoEntriesWithOneUdid) {
    RecordedHostData data = hostOf({"sda", "sdb"});
    data.devices["/dev/sdb"] = data.devices["/dev/sda"];
    data.directories["/dev/mapper/"] = {".", "..", "control", "mpatha"};
    data.devices["/dev/mapper/mpatha"] = data.devices["/dev/sda"];
    const DeviceHost host(data);
    CUDIDFactory factory;
    const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
    EXPECT_EQ(namesIn(devices), (Texts{"/dev/mapper/mpatha", "/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(devices.at("/dev/sda").uid, devices.at("/dev/sdb").uid);
    EXPECT_EQ(devices.at("/dev/sda").uid, devices.at("/dev/mapper/mpatha").uid);
    EXPECT_EQ(devices.at("/dev/sda").dmpClaimLevel, 0);
    EXPECT_EQ(devices.at("/dev/mapper/mpatha").dmpClaimLevel, 16);
}

TEST(Factory, ArgumentsGoToTheRescan) {
    Fixture fixture({"sda", "sdb"});
    EXPECT_EQ(namesIn(fixture.factory.enumerateDeviceMap(false, true, true, "/dev/sdb", " x")),
              Texts{"/dev/sdb"});
    EXPECT_EQ(fixture.host.effects(), Texts{});
    // The first flag has the buses and the multipath layer rescanned.
    fixture.factory.enumerateDeviceMap(true, false, false, "", " x");
    EXPECT_EQ(fixture.host.count("run /sbin/multipath -v0 "), 1U);
}

// A host with the rescan script.
RecordedHostData hostWithScript() {
    RecordedHostData data = hostOf({"sda"});
    data.files["/bin/rescan-scsi-bus.sh"] = "";
    return data;
}

TEST(Factory, BusRescanArgumentReachesTheScript) {
    for (const char* const argument : {"", " -x", " --luns=3"}) {
        Fixture fixture(hostWithScript());
        fixture.factory.enumerateDeviceMap(true, false, false, "", argument);
        EXPECT_EQ(fixture.host.effects().front(),
                  test::ran(std::string("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d") +
                            argument));
    }
}

/// A record whose name is gone as soon as it is freed, so that a later reader is noticed.
struct FreedRecord : CScsiDeviceData {
    explicit FreedRecord(const std::string& name)
        : CScsiDeviceData(name, " -y", "", 0, 0, 0, -1, "", "", "", 0) {}
    ~FreedRecord() override {
        m_deviceName = "/dev/freed";
        m_secondName = " freed";
    }
};

TEST(Factory, ArgumentsMayReferIntoTheRecordsThatAreFreed) {
    RecordedHostData data = hostWithScript();
    data.files["/proc/partitions"] = partitionsOf({"sda", "sdb"});
    data.devices["/dev/sdb"] = namedDisk("S2", 2);
    Fixture fixture(data);
    auto* const record = new FreedRecord("/dev/sdb");
    fixture.factory.m_devices.emplace_back(record);
    EXPECT_EQ(namesIn(fixture.factory.enumerateDeviceMap(true, false, false, record->m_deviceName,
                                                         record->m_secondName)),
              Texts{"/dev/sdb"});
    EXPECT_EQ(fixture.host.effects().front(),
              test::ran("/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d -y"));
}

TEST(Factory, NameMayBeThatOfARecordThatIsFreed) {
    for (const bool rescanIfMissing : {false, true}) {
        Fixture fixture({"sda", "sdb"});
        auto* const record = new FreedRecord("/dev/sdb");
        fixture.factory.m_devices.emplace_back(record);
        const std::string found =
            fixture.factory.getCachedUniqueDeviceID(record->m_deviceName.c_str(), rescanIfMissing);
        EXPECT_EQ(found, fixture.factory.getCachedUniqueDeviceID("/dev/sdb", false));
        EXPECT_NE(found, "");
        // Of the map as well: it is emptied before the name is looked up.
        const std::string& key = fixture.factory.m_deviceMap.begin()->first;
        EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID(key.c_str(), rescanIfMissing), found);
        const std::string& name = fixture.factory.m_deviceMap.begin()->second.deviceName;
        EXPECT_EQ(namesIn(fixture.factory.enumerateDeviceMap(false, false, false, name, name)),
                  Texts{"/dev/sdb"});
    }
}

TEST(Factory, EnumerationReplacesMapAndRecords) {
    Fixture fixture({"sda", "sdb"});
    fixture.factory.m_deviceMap["stale"] = {};
    fixture.enumerate();
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), (Texts{"/dev/sda", "/dev/sdb"}));
    fixture.factory.enumerateDeviceMap(false, false, false, "/dev/sda", "");
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), Texts{"/dev/sda"});
    EXPECT_EQ(fixture.factory.m_devices.size(), 1U);
}

TEST(Factory, ReturnedMapIsACopy) {
    Fixture fixture;
    DeviceMap devices = fixture.enumerate();
    devices.clear();
    EXPECT_EQ(fixture.factory.m_deviceMap.size(), 1U);
}

TEST(Factory, ShortUdidIsStoredWithItsWarning) {
    const struct {
        const char* prefix;
        const char* body;
        bool warned;
    } rows[] = {{"a", "bc", true},
                {"abc", "def", true},
                {"abcd", "efg", true},
                {"abcd", "efgh", false},
                {"abcd", "efghi", false}};
    for (const auto& row : rows) {
        Fixture fixture;
        FakeGenerator& generator = fixture.add();
        generator.prefix = row.prefix;
        generator.body = row.body;
        fixture.listen(2);
        const DeviceMap devices = fixture.enumerate();
        const std::string uid = CStringTool::tostrupper(std::string(row.prefix) + row.body);
        EXPECT_EQ(devices.at("/dev/sda").uid, uid);
        EXPECT_EQ(fixture.trace->lines(),
                  row.warned ? Texts{"[2] WARNING: invalid UDID for device /dev/sda, assigned "
                                     "empty UDID"}
                             : Texts{})
            << uid;
    }
}

TEST(Factory, DeviceThatNobodyClaimsIsEnteredWithTheWarning) {
    Fixture fixture;
    fixture.add().claims = false;
    fixture.listen(3);
    const DeviceMap devices = fixture.enumerate();
    EXPECT_EQ(namesIn(devices), Texts{"/dev/sda"});
    EXPECT_EQ(devices.at("/dev/sda").uid, "");
    const Texts& lines = fixture.trace->lines();
    EXPECT_EQ(Texts(lines.end() - 4, lines.end()),
              (Texts{"[3] Generated UDID is ",
                     "[2] WARNING: invalid UDID for device /dev/sda, assigned empty UDID",
                     "[3] Printing m_deviceMap",
                     "[3] Uid [] \tDeviceName [/dev/sda] \tdmpClaimLevel [0]"}));
}

TEST(Factory, DeviceWhoseGeneratorFailsIsEnteredWithItsPrefix) {
    Fixture fixture;
    fixture.add("A").failsAt = "body";
    fixture.add("B").claims = false;
    fixture.listen(2);
    EXPECT_EQ(fixture.enumerate().at("/dev/sda").uid, "UDID##FAKE##");
    EXPECT_EQ(fixture.trace->lines(),
              Texts{"[2] WARNING: getUniqueDeviceID caught exception: [ID:A:G],skipping device."});
}

TEST(Factory, ExceptionOfTheTaqGeneratorGivesAnEmptyUdidAndTheNextDeviceFollows) {
    Fixture fixture({"sda", "sdb"});
    fixture.replaceTaq().failsAt = "body";
    fixture.factory.m_taqMode = true;
    fixture.listen(2);
    const DeviceMap devices = fixture.enumerate();
    EXPECT_EQ(namesIn(devices), (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(devices.at("/dev/sda").uid, "");
    EXPECT_EQ(devices.at("/dev/sda").dmpClaimLevel, 0);
    EXPECT_EQ(fixture.trace->lines(),
              (Texts{"[2] WARNING: Caught CUdidGeneratorException [ID:TAQ:G]: /dev/sda assigned "
                     "empty UDID",
                     "[2] WARNING: Caught CUdidGeneratorException [ID:TAQ:G]: /dev/sdb assigned "
                     "empty UDID"}));
}

TEST(Factory, FailedMapHasNoClaimLevel) {
    RecordedHostData data = hostOf({});
    data.directories["/dev/mapper/"] = {"mpatha"};
    data.devices["/dev/mapper/mpatha"] = namedDisk("S", 1);
    const DeviceHost host(data);
    Texts calls;
    CUDIDFactory factory;
    auto* const taq = new FakeGenerator(calls, "TAQ");
    factory.m_taqGenerator.reset(taq);
    factory.m_taqMode = true;
    EXPECT_EQ(factory.enumerateDeviceMap(false, false, false, "", "")
                  .at("/dev/mapper/mpatha")
                  .dmpClaimLevel,
              16);
    taq->failsAt = "body";
    EXPECT_EQ(factory.enumerateDeviceMap(false, false, false, "", "")
                  .at("/dev/mapper/mpatha")
                  .dmpClaimLevel,
              0);
}

TEST(Factory, InvalidRecordsAreDroppedWhenAskedFor) {
    for (const bool dropInvalid : {false, true}) {
        Fixture fixture({"sda", "sdb"});
        FakeGenerator& generator = fixture.add();
        generator.onClaim = [&](CScsiDeviceData*) { fixture.factory.m_devices[1]->m_invalid = 1; };
        fixture.listen(3);
        EXPECT_EQ(namesIn(fixture.enumerate(dropInvalid)),
                  dropInvalid ? Texts{"/dev/sda"} : (Texts{"/dev/sda", "/dev/sdb"}));
        for (const std::string& line : fixture.trace->lines()) {
            EXPECT_EQ(line.find("removing invalid"), std::string::npos);
        }
        EXPECT_EQ(fixture.factory.m_devices.size(), 2U);
    }
}

TEST(Factory, InvalidRecordErasesAnEarlierEntryOfItsName) {
    Fixture fixture({"sda", "sdb", "sdc"});
    FakeGenerator& generator = fixture.add();
    generator.onClaim = [&](CScsiDeviceData*) {
        fixture.factory.m_devices[1]->m_invalid = 7;
        fixture.factory.m_devices[1]->m_deviceName = "/dev/sda";
    };
    fixture.listen(3);
    EXPECT_EQ(namesIn(fixture.enumerate(true)), Texts{"/dev/sdc"});
    EXPECT_EQ(std::count(fixture.trace->lines().begin(), fixture.trace->lines().end(),
                         "[3] INFO: removing invalid device data for [/dev/sda]"),
              1);
}

TEST(Factory, TaqModeKeepsTheCaseInTheMap) {
    RecordedHostData data = hostOf({"sda"});
    data.devices["/dev/sda"].standardInquiry =
        recording::RecordedPage(Page::inquiry("acme", "disk").data());
    const DeviceHost host(data);
    CUDIDFactory factory;
    factory.m_taqMode = true;
    EXPECT_EQ(factory.enumerateDeviceMap(false, false, false, "", "").at("/dev/sda").uid,
              "TAQ_UDID##acme##TAQ_MODEL##disk-scsi-6000000a000000000000000000000001");
}

TEST(Factory, PresetUdidStandsInTheMap) {
    Fixture fixture({"sda", "sdb"});
    fixture.factory.m_presetDeviceMap["/dev/sdb"].uid = "preset##";
    fixture.factory.m_presetDeviceMap["/dev/sdz"].uid = "nowhere##";
    const DeviceMap devices = fixture.enumerate();
    EXPECT_EQ(namesIn(devices), (Texts{"/dev/sda", "/dev/sdb"}));
    EXPECT_EQ(devices.at("/dev/sdb").uid, "PRESET##");
}

TEST(Factory, DeviceThatDoesNotAnswerIsEntered) {
    RecordedHostData data = hostOf({"sda"});
    data.devices["/dev/sda"] = recording::RecordedDevice();
    const DeviceHost host(data);
    CUDIDFactory factory;
    EXPECT_EQ(factory.enumerateDeviceMap(false, false, false, "", "").at("/dev/sda").uid,
              "UDID######/DEV/SDA@DB01");
}

TEST(Factory, EmptyHostHasAnEmptyMap) {
    const DeviceHost host;
    CUDIDFactory factory;
    EXPECT_TRUE(factory.enumerateDeviceMap(false, false, false, "", "").empty());
    EXPECT_EQ(host.openDescriptors(), 0U);
}

// --- getCachedUniqueDeviceID

TEST(Factory, CachedUdidOfAKnownNameCostsOneEnumeration) {
    Fixture fixture({"sda", "sdb"});
    fixture.listen(6);
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sdb", true),
              "UDID##ACME##RAID_5##S2##6000000A000000000000000000000002");
    EXPECT_EQ(fixture.enumerations(), 1U);
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), Texts{"/dev/sdb"});
    EXPECT_EQ(fixture.trace->lines().front(),
              "[6] CUDIDFactory::getCachedUniqueDeviceID() Device [/dev/sdb]");
    EXPECT_EQ(fixture.host.effects(), Texts{});
    // The map is not looked at: the next question costs another.
    fixture.factory.getCachedUniqueDeviceID("/dev/sdb", false);
    EXPECT_EQ(fixture.enumerations(), 2U);
}

TEST(Factory, UnknownNameWithoutTheFlagCostsExactlyOneEnumeration) {
    Fixture fixture({"sda"});
    fixture.listen(2);
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sdx", false), "");
    EXPECT_EQ(fixture.enumerations(), 1U);
    EXPECT_EQ(fixture.host.count(kLockTaken), 1U);
    EXPECT_EQ(fixture.host.effects(), Texts{});
    EXPECT_EQ(fixture.trace->lines(), Texts{});
    EXPECT_TRUE(fixture.factory.m_deviceMap.empty());
}

TEST(Factory, UnknownNameWithTheFlagCostsExactlyTwoEnumerations) {
    Fixture fixture({"sda", "sdb"});
    fixture.listen(2);
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sdx", true), "");
    EXPECT_EQ(fixture.enumerations(), 2U);
    EXPECT_EQ(fixture.host.count(kLockTaken), 2U);
    // The second one rescans buses and multipath layer and takes every device.
    EXPECT_EQ(fixture.host.count("run /sbin/multipath -v0 "), 1U);
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), (Texts{"/dev/sda", "/dev/sdb"}));
    const Texts& lines = fixture.trace->lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(Texts(lines.end() - 3, lines.end()),
              (Texts{kNotFound,
                     "[2] \t\t[/dev/sda] : [UDID##ACME##RAID_5##S1##"
                     "6000000A000000000000000000000001]\n",
                     "[2] \t\t[/dev/sdb] : [UDID##ACME##RAID_5##S2##"
                     "6000000A000000000000000000000002]\n"}));
}

TEST(Factory, UnknownNameOnAnEmptyHostIsSilent) {
    Fixture fixture(Texts{});
    fixture.listen(2);
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sdx", true), "");
    EXPECT_EQ(fixture.enumerations(), 2U);
    for (const std::string& line : fixture.trace->lines()) {
        EXPECT_EQ(line.find("not found, map contents are"), std::string::npos) << line;
    }
}

TEST(Factory, DeviceThatTheRescanBringsIsFound) {
    Fixture fixture({"sda"});
    std::size_t opened = 0;
    fixture.host.onOpen = [&](const std::string&) {
        return ++opened == 1 ? DeviceHost::Answer(-6) : DeviceHost::Answer();
    };
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sda", true),
              "UDID##ACME##RAID_5##S1##6000000A000000000000000000000001");
    EXPECT_EQ(fixture.enumerations(), 2U);
}

TEST(Factory, PresetNameIsAnsweredWithoutAnEnumeration) {
    for (const bool taqMode : {false, true}) {
        Fixture fixture({"sda"});
        fixture.listen(9);
        fixture.factory.m_taqMode = taqMode;
        fixture.factory.m_presetDeviceMap["/dev/sdx"].uid = "Preset##x";
        EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sdx", true),
                  taqMode ? "Preset##x" : "PRESET##X");
        EXPECT_EQ(fixture.host.requests, Texts{});
        EXPECT_EQ(fixture.trace->lines(), Texts{});
        fixture.factory.getCachedUniqueDeviceID("/dev/sda", false);
        EXPECT_EQ(fixture.enumerations(), 1U);
    }
}

TEST(Factory, CachedUdidIsInUpperCaseButInTaqMode) {
    Fixture fixture({"sda"});
    FakeGenerator& taq = fixture.replaceTaq();
    taq.prefix = "Taq##";
    taq.body = "Mixed";
    fixture.factory.m_taqMode = true;
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sda", false), "Taq##Mixed");
    fixture.factory.m_taqMode = false;
    FakeGenerator& generator = fixture.add();
    generator.prefix = "Udid##";
    generator.body = "Mixed";
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("/dev/sda", false), "UDID##MIXED");
}

TEST(Factory, NullNameIsAnEmptyName) {
    Fixture fixture({"sda"});
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID(nullptr, false), "");
    EXPECT_EQ(fixture.factory.getCachedUniqueDeviceID("", false), "");
}

// --- validateDeviceMap

TEST(Factory, ValidationAsksTheOneDeviceAndKeepsMapAndRecords) {
    Fixture fixture({"sda", "sdb"});
    fixture.factory.enumerateDeviceMap(false, false, false, "/dev/sda", "");
    const CScsiDeviceData* const kept = fixture.factory.m_devices.at(0).get();
    fixture.host.requests.clear();
    const DeviceMap devices = fixture.factory.validateDeviceMap("/dev/sdb");
    EXPECT_EQ(namesIn(devices), Texts{"/dev/sdb"});
    EXPECT_EQ(devices.at("/dev/sdb").uid,
              "UDID##ACME##RAID_5##S2##6000000A000000000000000000000002");
    EXPECT_EQ(namesIn(fixture.factory.m_deviceMap), Texts{"/dev/sda"});
    ASSERT_EQ(fixture.factory.m_devices.size(), 1U);
    EXPECT_EQ(fixture.factory.m_devices[0].get(), kept);
    EXPECT_EQ(fixture.host.count(kLockTaken), 0U);
    EXPECT_EQ(fixture.enumerations(), 0U);
}

TEST(Factory, ValidationOfAnUnknownNameIsEmpty) {
    Fixture fixture({"sda"});
    EXPECT_TRUE(fixture.factory.validateDeviceMap("/dev/sdx").empty());
}

TEST(Factory, ValidationWarnsOfAShortUdid) {
    for (const std::size_t length : {6U, 7U, 8U}) {
        Fixture fixture({"sda"});
        FakeGenerator& generator = fixture.add();
        generator.prefix = "";
        generator.body = std::string(length, 'U');
        fixture.listen(3);
        EXPECT_EQ(fixture.factory.validateDeviceMap("/dev/sda").at("/dev/sda").uid,
                  std::string(length, 'U'));
        EXPECT_EQ(fixture.trace->lines(),
                  length <= 7 ? Texts{"[2] WARNING: invalid UDID for device /dev/sda, assigned "
                                      "empty UDID"}
                              : Texts{});
    }
}

TEST(Factory, ValidationInTaqModeWarnsBelowTheTaqPrefix) {
    for (const std::size_t length : {7U, 9U, 10U, 11U}) {
        Fixture fixture({"sda"});
        FakeGenerator& taq = fixture.replaceTaq();
        taq.prefix = "";
        taq.body = std::string(length, 'u');
        fixture.factory.m_taqMode = true;
        fixture.listen(3);
        EXPECT_EQ(fixture.factory.validateDeviceMap("/dev/sda").at("/dev/sda").uid,
                  std::string(length, 'u'));
        EXPECT_EQ(fixture.trace->lines(),
                  length < 10 ? Texts{"[2] WARNING: FIM name:[TAQ_FIM]. Invalid UDID for device "
                                      "/dev/sda, assigned empty UDID"}
                              : Texts{});
    }
}

TEST(Factory, EnumerationInTaqModeWarnsAsElsewhere) {
    for (const std::size_t length : {7U, 8U}) {
        Fixture fixture({"sda"});
        FakeGenerator& taq = fixture.replaceTaq();
        taq.prefix = "";
        taq.body = std::string(length, 'u');
        fixture.factory.m_taqMode = true;
        fixture.listen(2);
        fixture.enumerate();
        EXPECT_EQ(fixture.trace->lines(),
                  length <= 7 ? Texts{"[2] WARNING: invalid UDID for device /dev/sda, assigned "
                                      "empty UDID"}
                              : Texts{});
    }
}

TEST(Factory, ValidationSurvivesTheTaqGeneratorsException) {
    Fixture fixture({"sda"});
    fixture.replaceTaq().failsAt = "prefix";
    fixture.factory.m_taqMode = true;
    fixture.listen(3);
    const DeviceMap devices = fixture.factory.validateDeviceMap("/dev/sda");
    EXPECT_EQ(devices.at("/dev/sda").uid, "");
    EXPECT_EQ(devices.at("/dev/sda").deviceName, "/dev/sda");
    EXPECT_EQ(devices.at("/dev/sda").dmpClaimLevel, 0);
    EXPECT_EQ(fixture.trace->lines(),
              Texts{"[2] WARNING: Caught CUdidGeneratorException [ID:TAQ:G]: /dev/sda assigned "
                    "empty UDID"});
}

// --- Printing and removal

TEST(Factory, MapIsPrintedInKeyOrderWithItsPaths) {
    Fixture fixture;
    fixture.listen(9);
    DeviceMap devices;
    devices["b"] = {16, "nameB", "UIDB", {"/dev/sdb", "/dev/sda"}};
    devices["a"] = {0, "nameA", "", {}};
    fixture.factory.printDeviceMap(devices);
    EXPECT_EQ(fixture.trace->lines(),
              (Texts{"[3] Uid [] \tDeviceName [nameA] \tdmpClaimLevel [0]",
                     "[3] Uid [UIDB] \tDeviceName [nameB] \tdmpClaimLevel [16]",
                     "[3] DeviceName [nameB] \tNativePath [/dev/sdb]",
                     "[3] DeviceName [nameB] \tNativePath [/dev/sda]"}));
}

TEST(Factory, StaleDevicesAreRemovedByDiscoveryBetweenTwoTraces) {
    Fixture fixture;
    fixture.listen(6);
    const int result = fixture.factory.removeStaleDevices(" -x");
    const Texts lines = fixture.trace->stableLines();
    EXPECT_EQ(result, fixture.factory.m_discovery.removeStaleDevices(" -x"));
    EXPECT_EQ(lines.front(), "[6] Entering Function removeStaleDevices [N, device_udid_factory]");
    EXPECT_EQ(lines.back(), "[6] Exiting Function removeStaleDevices [N, device_udid_factory]");
}

TEST(Factory, StaleDevicesAreRemovedWithTheCallersArguments) {
    for (const char* const argument : {"", " -x", " --flush=1"}) {
        Fixture fixture(hostWithScript());
        fixture.factory.removeStaleDevices(argument);
        EXPECT_EQ(fixture.host.effects().front(),
                  test::ran(std::string("/bin/rescan-scsi-bus.sh --remove --flush -d") + argument));
    }
}

TEST(Factory, DeviceIsRemovedByDiscovery) {
    Fixture own;
    own.factory.removeDevice("/dev/mapper/mpatha");
    Fixture other;
    other.factory.m_discovery.removeDevice("/dev/mapper/mpatha");
    EXPECT_EQ(own.host.effects(), other.host.effects());
    EXPECT_FALSE(own.host.effects().empty());
}

// --- The whole trace of one enumeration

TEST(Factory, WholeTraceOfOneEnumeration) {
    RecordedHostData data = hostOf({"sda"});
    data.files["/proc/partitions"] = partitionsOf({"sda", "sda1", "sdb"});
    data.directories["/dev/"] = {"sda", "sda1"};
    data.directories["/dev/mapper/"] = {".", "mpatha"};
    data.devices["/dev/mapper/mpatha"] =
        test::diskOf(Page::inquiry("ACME", "CD").set(0, 0x05), {{0x00, Page::supported({0x00})}});
    const DeviceHost host(data);
    CUDIDFactory factory;
    TraceCapture trace(6);
    factory.registerTraceLog(trace.log());
    trace.clear();
    factory.enumerateDeviceMap(false, false, false, "", "");
    const std::string linuxFile = " [N, device_discovery_linux]";
    const std::string asking = "[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()";
    const std::string answered = "[4] libscsitool: DEBUG: Exiting CScsiTool::GetModePageInfo()";
    const std::string uid = "UDID##ACME##RAID_5##S1##6000000A000000000000000000000001";
    const std::string gettingData =
        "[6] libscsitool: Info: CDeviceDiscoveryBase:: Getting data for disk ";
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{
            "[6] Entering Function clearDeviceCache [N, device_udid_factory]",
            "[6] Exiting Function clearDeviceCache [N, device_udid_factory]",
            "[6] Entering Function rescan [N, device_discovery_base]",
            "[3] libscsitool: Info: CDeviceDiscoveryBase::rescan().",
            "[3] Acquring lock .",
            "[3] Got the lock .",
            "[6] Entering Function enumerateDevices" + linuxFile,
            "[3] INFO: registering trace log on discovery module",
            "[3] INFO: registering trace log on discovery module",
            "[3] INFO: CDmpDiscoveryManager::enumerateDmpDevices 2 modules registered",
            "[6] Entering Function enumerateDmpDevices [N, dmp_powerpath]",
            "[3] INFO: enumerating devices using command [], lines returned [0]",
            "[6] Exiting Function enumerateDmpDevices [N, dmp_powerpath]",
            "[6] Entering Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
            "[3] INFO: readdir lines returned [2] devices.",
            "[3] Working on device [/dev/mapper/.]",
            "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/.]",
            "[3] Working on device [/dev/mapper/mpatha]",
            "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/mpatha]",
            "[6] Exiting Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
            "[3] INFO: enumerate DMP devices returned [2] devices",
            "[3] dmp: /dev/mapper/.",
            "[3] INFO: DMP device /dev/mapper/. deleted.",
            "[3] dmp: /dev/mapper/mpatha",
            "[3] INFO: DMP device /dev/mapper/mpatha added. DMP device enumeration done",
            "[6] Entering Function enumerateNativeDevicePaths" + linuxFile,
            "[3] INFO: reading /proc/partitions\n",
            "[6] Exiting Function enumerateNativeDevicePaths" + linuxFile,
            "[3] INFO: Native device /dev/sda added. Native device enumeration done",
            "[3] INFO: Native device /dev/sdb deleted.",
            "[6] Exiting Function enumerateDevices" + linuxFile,
            gettingData + "/dev/mapper/mpatha.",
            asking,
            answered,
            "[2] WARNING: UpdateStdInquiryString SCSI check for disk device error, device may "
            "have been removed.",
            "[2] WARNING: CScsiToolBase::UpdateDevice() call to UpdateStdInquiryString for device "
            "/dev/mapper/mpatha",
            "[3] libscsitool: Info: CDeviceDiscoveryBase::rescan FAILED - Remove disk "
            "/dev/mapper/mpatha.",
            gettingData + "/dev/sda.",
            asking,
            answered,
            "[4] libscsitool: DEBUG: Entering CScsiTool::UpdateTargetLunPortInfo()",
            "[4] libscsitool: DEBUG: setting Bus number = 1",
            "[4] libscsitool: DEBUG: setting LUN = 0",
            "[4] libscsitool: DEBUG: setting Target = 5",
            "[4] libscsitool: DEBUG: Exiting CScsiTool::UpdateTargetLunPortInfo()",
            asking,
            answered,
            "[4] libscsitool: DEBUG: Entering CScsiTool::GetScsiDeviceCapacity()",
            "[4] libscsitool: DEBUG: Exiting CScsiTool::GetScsiDeviceCapacity()",
            "[6] CSciToolBase:UpdateModePageString for page[131]...",
            asking,
            answered,
            "[6] CSciToolBase:UpdateModePageString for page[131] done",
            "[6] CSciToolBase:UpdateModePageString for page[128]...",
            asking,
            answered,
            "[6] CSciToolBase:UpdateModePageString for page[128] done",
            "[3] Releasing the lock .",
            "[3] libscsitool: DEBUG : CDeviceDiscoveryBase::rescan Exit.",
            "[6] Exiting Function rescan [N, device_discovery_base]",
            "[3] Generated UDID is UDID######/DEV/MAPPER/MPATHA@DB01",
            "[3] Generated UDID is " + uid,
            "[3] Printing m_deviceMap",
            "[3] Uid [UDID######/DEV/MAPPER/MPATHA@DB01] \tDeviceName [/dev/mapper/mpatha] "
            "\tdmpClaimLevel [16]",
            "[3] Uid [" + uid + "] \tDeviceName [/dev/sda] \tdmpClaimLevel [0]",
        }));
    EXPECT_EQ(host.openDescriptors(), 0U);
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(Factory, RequestsOfOneEnumeration) {
    const DeviceHost host(hostOf({"sda"}));
    CUDIDFactory factory;
    factory.enumerateDeviceMap(false, false, false, "", "");
    EXPECT_EQ(
        host.requests,
        (Texts{test::kSemaphoreOpened, kLockTaken, "hostname", "list /dev/", "list /dev/mapper/",
               "read /proc/partitions", "open /dev/sda O_RDWR|O_NONBLOCK", "close /dev/sda",
               "open /dev/sda O_RDWR|O_NONBLOCK", "send /dev/sda 12 00 00 00 fc 00",
               "address /dev/sda", "send /dev/sda 12 01 00 00 fc 00",
               "send /dev/sda 12 01 83 00 fc 00", "send /dev/sda 12 01 80 00 fc 00",
               "close /dev/sda", test::kLockReleased}));
    EXPECT_EQ(host.settingsRead, 2U);
}

TEST(Factory, EnumerationWithoutATraceLogGivesTheSame) {
    Fixture silent({"sda", "sdb"});
    const DeviceMap untraced = silent.enumerate();
    Fixture loud({"sda", "sdb"});
    loud.listen(9);
    const DeviceMap traced = loud.enumerate();
    ASSERT_EQ(namesIn(traced), namesIn(untraced));
    for (const auto& [name, info] : traced) {
        EXPECT_EQ(info.uid, untraced.at(name).uid);
    }
}

}  // namespace
