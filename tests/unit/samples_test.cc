#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

namespace fs = std::filesystem;

using recording::Journal;
using recording::RecordedHost;

std::vector<std::string> sampleNames() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(SCSITOOL_SAMPLES)) {
        // Of what was captured nobody has worked out the map, and nothing that acts was run there.
        const bool isCaptured = entry.path().stem().string().compare(0, 5, "sick-") == 0;
        if (entry.path().extension() == ".json" && !isCaptured) {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

struct Expectation {
    std::string udid;
    int claimLevel;
};

bool operator==(const Expectation& left, const Expectation& right) {
    return left.udid == right.udid && left.claimLevel == right.claimLevel;
}

void PrintTo(const Expectation& expectation, std::ostream* stream) {
    *stream << expectation.udid << " at level " << expectation.claimLevel;
}

using Expectations = std::map<std::string, Expectation>;

/// The device map that the script which makes the samples works out from the facts of each volume.
Expectations expectedMap(const std::string& sample) {
    const fs::path path =
        fs::path(SCSITOOL_SAMPLES).parent_path() / "tests/samples" / (sample + ".devices.json");
    std::ifstream stream(path);
    const nlohmann::json document = nlohmann::json::parse(stream);
    Expectations expectations;
    for (const auto& [name, device] : document.items()) {
        expectations[name] = {device["udid"], device["claim_level"]};
    }
    return expectations;
}

Expectations asExpectations(const DeviceMap& devices) {
    Expectations expectations;
    for (const auto& [name, info] : devices) {
        EXPECT_EQ(name, info.deviceName);
        expectations[name] = {info.uid, info.dmpClaimLevel};
    }
    return expectations;
}

class SampleTest : public testing::TestWithParam<std::string> {
  protected:
    SampleTest()
        : host(recording::loadRecordedHost(std::string(SCSITOOL_SAMPLES) + "/" + GetParam() +
                                           ".json"),
               journal),
          m_scope(host) {}

    Journal journal;
    RecordedHost host;

  private:
    const host::Scope m_scope;
};

TEST_P(SampleTest, GivesTheDeviceMapThatItsVolumesMustHave) {
    CUDIDFactory factory;
    EXPECT_EQ(asExpectations(factory.enumerateDeviceMap(false, false, false, "", "")),
              expectedMap(GetParam()));
    EXPECT_EQ(journal.lines(), std::vector<std::string>{});
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST_P(SampleTest, GivesTheSameDeviceMapAfterARescanAndLeavesNoQuestionOpen) {
    CUDIDFactory factory;
    EXPECT_EQ(asExpectations(factory.enumerateDeviceMap(true, false, false, "", "")),
              expectedMap(GetParam()));
    EXPECT_EQ(journal.unanswered(), std::vector<std::string>{});
    EXPECT_FALSE(journal.lines().empty());
}

TEST_P(SampleTest, GivesEachDeviceItsUdidByName) {
    CUDIDFactory factory;
    for (const auto& [name, expectation] : expectedMap(GetParam())) {
        EXPECT_EQ(factory.getCachedUniqueDeviceID(name.c_str(), false), expectation.udid) << name;
    }
    EXPECT_EQ(journal.unanswered(), std::vector<std::string>{});
}

TEST_P(SampleTest, LeavesNoQuestionOpenWhenTheHostIsCleanedUp) {
    CLinuxDeviceDiscovery discovery;
    std::vector<CScsiDeviceData*> devices = discovery.rescan(false, false, false, "", "");
    const std::vector<CScsiDeviceData*> owned = devices;
    discovery.removeDeadDevices(devices, true);
    for (CScsiDeviceData* device : owned) {
        delete device;
    }
    for (const auto& entry : expectedMap(GetParam())) {
        if (entry.first != "/dev/mapper/control") {
            discovery.removeDevice(entry.first);
        }
    }
    discovery.removeStaleDevices("");
    discovery.FlushMultipathStaleDevices();
    std::vector<CScsiDeviceData> disks;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(disks), 0);
    EXPECT_FALSE(disks.empty());
    EXPECT_EQ(journal.unanswered(), std::vector<std::string>{});
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST_P(SampleTest, LeavesNoQuestionOpenWhenTheInitiatorsAreAsked) {
    WWPN().getWWPN();
    CScsiTool tool;
    std::string name;
    std::string portal = "192.0.2.10:3260";
    std::string target = "iqn.1992-08.com.netapp:sn.135902718";
    tool.DiscoverIscsiTargets(portal);
    tool.RescanIscsiSessions();
    if (tool.GetHostIQN(name) == 0) {
        tool.LoginToIscsiIQN(target);
        tool.LogoutFromIscsiIQN(target);
    }
    EXPECT_EQ(journal.unanswered(), std::vector<std::string>{});
}

std::string testName(const testing::TestParamInfo<std::string>& sample) {
    std::string name = sample.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; },
        '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleTest, testing::ValuesIn(sampleNames()), testName);

/// The first block of JSON in the page that describes the format.
std::string documentedExample() {
    std::ifstream stream(std::string(SCSITOOL_SAMPLES) + "/../docs/recorded-host.md");
    const std::string page((std::istreambuf_iterator<char>(stream)), {});
    const std::size_t begin = page.find("```json\n") + 8;
    return page.substr(begin, page.find("```\n", begin) - begin);
}

TEST(Samples, TheDocumentedExampleIsWhatThePageSays) {
    Journal journal;
    RecordedHost host(recording::parseRecordedHost(documentedExample(), "recorded-host.md"),
                      journal);
    const host::Scope scope(host);
    CUDIDFactory factory;
    const std::string volume = "UDID##HP##3PAR##1303421##60002AC0000000000000002B0013E37D";
    EXPECT_EQ(asExpectations(factory.enumerateDeviceMap(false, false, false, "", "")),
              (Expectations{{"/dev/mapper/control", {"UDID######/DEV/MAPPER/CONTROL@DB01", 16}},
                            {"/dev/mapper/mpatha", {volume, 16}},
                            {"/dev/sda", {volume, 0}}}));
    EXPECT_EQ(journal.lines(), std::vector<std::string>{});
}

TEST(Samples, AreThere) {
    EXPECT_GE(sampleNames().size(), 4U);
}

}  // namespace
