#include "discovery/dead_addresses.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "scsi_table_text.h"

namespace {

using discovery::AddressVerdict;
using discovery::judgeAddresses;
using Texts = std::vector<std::string>;
using Table = std::vector<SLinuxScsiDevice>;

/// Records at these addresses, and the list of pointers that the rule takes.
class Records {
  public:
    Records(std::initializer_list<SLinuxScsiDevice> addresses) {
        for (const SLinuxScsiDevice& at : addresses) {
            m_owned.push_back(std::make_unique<CScsiDeviceData>(
                "/dev/sd" + std::to_string(m_owned.size()), "", "", at.id,
                static_cast<unsigned>(at.channel), at.lun, at.host, "", "", "", 0));
            list.push_back(m_owned.back().get());
        }
    }
    std::vector<CScsiDeviceData*> list;

  private:
    std::vector<std::unique_ptr<CScsiDeviceData>> m_owned;
};

// "H:C:T:L held by /dev/sdN", "... removed" or "... kept".
Texts verdictsOf(const Table& table, const Records& records, bool removeLun0) {
    Texts texts;
    for (const AddressVerdict& verdict : judgeAddresses(table, records.list, removeLun0)) {
        const bool isDead = verdict.holder == nullptr;
        EXPECT_TRUE(isDead || !verdict.isRemoved);
        texts.push_back(test::textOf(verdict.address) +
                        (!isDead             ? " held by " + verdict.holder->m_deviceName
                         : verdict.isRemoved ? " removed"
                                             : " kept"));
    }
    return texts;
}

TEST(DeadAddresses, AreThoseThatNoRecordHolds) {
    const Table table = {{2, 0, 1, 5}, {2, 0, 1, 3}, {3, 1, 4, 6}};
    EXPECT_EQ(verdictsOf(table, {{3, 1, 4, 6}, {2, 0, 1, 3}}, false),
              (Texts{"2:0:1:5 removed", "2:0:1:3 held by /dev/sd1", "3:1:4:6 held by /dev/sd0"}));
    EXPECT_EQ(verdictsOf(table, {}, false),
              (Texts{"2:0:1:5 removed", "2:0:1:3 removed", "3:1:4:6 removed"}));
    EXPECT_EQ(verdictsOf({}, {{2, 0, 1, 5}}, true), Texts{});
}

TEST(DeadAddresses, EveryNumberCounts) {
    for (const SLinuxScsiDevice& other :
         Table{{3, 1, 4, 5}, {2, 0, 4, 5}, {2, 1, 5, 5}, {2, 1, 4, 6}}) {
        EXPECT_EQ(verdictsOf({{2, 1, 4, 5}}, {other}, false), Texts{"2:1:4:5 removed"});
    }
    EXPECT_EQ(verdictsOf({{2, 1, 4, 5}}, {{2, 1, 4, 5}}, false), Texts{"2:1:4:5 held by /dev/sd0"});
}

TEST(DeadAddresses, LunZeroIsRemovedOnlyWhenAskedFor) {
    const Table table = {{2, 0, 1, 0}, {2, 0, 1, 1}, {2, 0, 1, -1}};
    EXPECT_EQ(verdictsOf(table, {}, false),
              (Texts{"2:0:1:0 kept", "2:0:1:1 removed", "2:0:1:-1 removed"}));
    EXPECT_EQ(verdictsOf(table, {}, true),
              (Texts{"2:0:1:0 removed", "2:0:1:1 removed", "2:0:1:-1 removed"}));
    EXPECT_EQ(verdictsOf({{2, 0, 1, 0}}, {{2, 0, 1, 0}}, true), Texts{"2:0:1:0 held by /dev/sd0"});
}

TEST(DeadAddresses, RecordWithoutAnAddressHoldsNone) {
    EXPECT_EQ(verdictsOf({{-1, 0, 0, 1}}, {{-1, 0, 0, 1}}, false), Texts{"-1:0:0:1 removed"});
    EXPECT_EQ(verdictsOf({{0, 0, 0, 1}}, {{-1, 0, 0, 1}, {0, 0, 0, 1}}, false),
              Texts{"0:0:0:1 held by /dev/sd1"});
}

TEST(DeadAddresses, FirstRecordAtAnAddressHoldsIt) {
    EXPECT_EQ(verdictsOf({{2, 0, 1, 3}, {2, 0, 1, 3}}, {{2, 0, 1, 3}, {2, 0, 1, 3}}, false),
              (Texts{"2:0:1:3 held by /dev/sd0", "2:0:1:3 held by /dev/sd0"}));
}

}  // namespace
