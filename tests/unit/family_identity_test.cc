#include <gtest/gtest.h>

#include "family_samples.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/explanation.h"

namespace {

using test::FamilyHost;
using test::FamilySample;
using test::familySamples;

/// What must stay the same and what must change the UDID, for every way that a family goes.
class FamilyIdentity : public testing::TestWithParam<FamilySample> {
  protected:
    std::string udidOf(CScsiDeviceData record) { return factory.getUniqueDeviceID(&record); }

    FamilyHost host{GetParam()};
    CUDIDFactory factory;
};

TEST_P(FamilyIdentity, GivesItsUdid) {
    EXPECT_EQ(udidOf(test::recordOf(GetParam())), GetParam().udid);
    EXPECT_EQ(host.openDescriptors, 0);
}

TEST_P(FamilyIdentity, DoesNotDependOnTheDeviceNameThePathOrTheHost) {
    CScsiDeviceData record = test::recordOf(GetParam(), "/dev/mapper/mpatha");
    record.m_hostName = "another";
    record.m_secondName = "second";
    record.m_target = 5;
    record.m_lun = 17;
    record.m_bus = 2;
    record.m_port = 9;
    record.m_dmpClaimLevel = 16;
    record.m_busType = 1;
    record.m_multipath = 1;
    record.m_firmwareLevel = "9999";
    record.m_sizeKb = 4096;
    host.nodeName = "another";
    EXPECT_EQ(udidOf(record), GetParam().udid);
}

TEST_P(FamilyIdentity, DoesNotDependOnPagesThatItDoesNotRead) {
    CScsiDeviceData record = test::recordOf(GetParam());
    test::store(record, 0x10, test::Page::vpd(0x10, 40).bytes(4, test::counting(36)));
    record.m_supportedPages.push_back(0x10);
    EXPECT_EQ(udidOf(record), GetParam().udid);
}

TEST_P(FamilyIdentity, DoesNotDependOnTheOrderOfPathsOrOnWhatWasAskedBefore) {
    CScsiDeviceData first = test::recordOf(GetParam(), "/dev/sda");
    CScsiDeviceData second = test::recordOf(GetParam(), "/dev/sdb");
    second.m_lun = 3;
    EXPECT_EQ(factory.getUniqueDeviceID(&second), GetParam().udid);
    EXPECT_EQ(factory.getUniqueDeviceID(&first), GetParam().udid);
    EXPECT_EQ(factory.getUniqueDeviceID(&second), GetParam().udid) << "on the trimmed record";
    CUDIDFactory another;
    EXPECT_EQ(another.getUniqueDeviceID(&first), GetParam().udid);
}

/// Flips every byte of every page in turn: the UDID changes exactly with the bytes that its
/// explanation marks, but for those that decide how others are read.
TEST_P(FamilyIdentity, ChangesExactlyWithItsMarkedBytes) {
    const FamilySample& sample = GetParam();
    const udid::Explanation explanation = udid::explain(factory, test::recordOf(sample));
    std::set<std::pair<unsigned, std::size_t>> marked;
    for (const udid::ExplainedPage& page : explanation.pages) {
        for (const udid::ByteRange& range : page.used) {
            for (std::size_t i = 0; i < range.length; ++i) {
                marked.insert({page.code, range.offset + i});
            }
        }
    }
    EXPECT_FALSE(marked.empty());
    for (const auto& [code, page] : sample.pages) {
        // The record's vendor and product stand for these fields of the INQUIRY data.
        for (std::size_t offset = code == 0 ? 32 : 0; offset < page.size() && offset < 512;
             ++offset) {
            if (sample.deciding.count({code, offset}) != 0) {
                continue;
            }
            FamilySample changed = sample;
            changed.pages[code].set(offset, page.data()[offset] ^ 1U);
            const FamilyHost changedHost(changed);
            EXPECT_EQ(udidOf(test::recordOf(changed)) != sample.udid,
                      marked.count({code, offset}) != 0)
                << "page " << std::hex << code << " byte " << std::dec << offset;
        }
    }
}

std::string sampleName(const testing::TestParamInfo<FamilySample>& sample) {
    return sample.param.name;
}

INSTANTIATE_TEST_SUITE_P(Families, FamilyIdentity, testing::ValuesIn(familySamples()), sampleName);

}  // namespace
