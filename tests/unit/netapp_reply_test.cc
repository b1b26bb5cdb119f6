#include "udid/netapp_reply.h"

#include <gtest/gtest.h>

#include <random>

#include "page_builder.h"

namespace {

using test::Bytes;

/// A reply of the controller while its records are put together.
class Reply {
  public:
    explicit Reply(std::size_t size = 4096) : m_bytes(size) {}
    /// A record of a type at a place; its length is what the record says of itself.
    Reply& record(std::size_t start, std::uint8_t type, unsigned length) {
        put(start, type);
        put(start + 2, static_cast<std::uint8_t>(length >> 8));
        return put(start + 3, static_cast<std::uint8_t>(length));
    }
    Reply& text(std::size_t start, const std::string& characters) {
        for (std::size_t i = 0; i < characters.size(); ++i) {
            put(start + i, static_cast<std::uint8_t>(characters[i]));
        }
        return *this;
    }
    Reply& put(std::size_t offset, std::uint8_t value) {
        m_bytes.at(offset) = value;
        return *this;
    }
    /// The identifier, "@" and its place.
    std::string identifier() const {
        CScsiDeviceData record = test::recordOf("NETAPP", "LUN");
        test::store(record, 0x100, m_bytes);
        const udid::ControllerIdentifier found =
            udid::findControllerIdentifier(scsi::PageView(record.m_pages[0x100]));
        return found.text + "@" + std::to_string(found.offset);
    }

  private:
    Bytes m_bytes;
};

TEST(NetAppReply, TakesTheIdentifierOfTheFirstRecord) {
    EXPECT_EQ(Reply().record(8, 0x22, 64).text(36, "4061490311").identifier(), "4061490311@36");
}

TEST(NetAppReply, StepsOverRecordsOfAnotherType) {
    EXPECT_EQ(Reply()
                  .record(8, 0x21, 40)
                  .record(48, 0x23, 1)
                  .put(49, 0x22)
                  .text(77, "4061490311")
                  .identifier(),
              "4061490311@77");
}

TEST(NetAppReply, TheFirstOfTwoControllerRecordsCounts) {
    EXPECT_EQ(Reply()
                  .record(8, 0x22, 64)
                  .text(36, "first")
                  .record(72, 0x22, 64)
                  .text(100, "second")
                  .identifier(),
              "first@36");
}

TEST(NetAppReply, CutsTheIdentifierTo23Characters) {
    const std::string text = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    EXPECT_EQ(Reply().record(8, 0x22, 64).text(36, text.substr(0, 22)).identifier(),
              "ABCDEFGHIJKLMNOPQRSTUV@36");
    EXPECT_EQ(Reply().record(8, 0x22, 64).text(36, text.substr(0, 23)).identifier(),
              "ABCDEFGHIJKLMNOPQRSTUVW@36");
    EXPECT_EQ(Reply().record(8, 0x22, 64).text(36, text).identifier(),
              "ABCDEFGHIJKLMNOPQRSTUVW@36");
}

TEST(NetAppReply, TheIdentifierEndsAtItsFirstZero) {
    EXPECT_EQ(Reply().record(8, 0x22, 64).text(36, "4061").text(41, "X").identifier(), "4061@36");
}

TEST(NetAppReply, AnEmptyIdentifierEndsTheSearch) {
    EXPECT_EQ(Reply().record(8, 0x22, 64).record(72, 0x22, 64).text(100, "late").identifier(),
              "@36");
}

TEST(NetAppReply, ARecordMayStartUpToByte256) {
    EXPECT_EQ(Reply().record(8, 1, 247).record(255, 0x22, 64).text(283, "A").identifier(), "A@283");
    EXPECT_EQ(Reply().record(8, 1, 248).record(256, 0x22, 64).text(284, "B").identifier(), "B@284");
    EXPECT_EQ(Reply().record(8, 1, 249).record(257, 0x22, 64).text(285, "C").identifier(), "@0");
}

TEST(NetAppReply, ALengthOfZeroEndsTheSearch) {
    EXPECT_EQ(Reply().record(8, 1, 0).record(12, 0x22, 64).text(40, "A").identifier(), "@0");
    EXPECT_EQ(Reply().record(8, 1, 1).put(9, 0x22).text(37, "A").identifier(), "A@37");
}

TEST(NetAppReply, TheLengthHasTwoBytes) {
    EXPECT_EQ(Reply().record(8, 1, 0x0100).text(292, "A").identifier(), "@0");
    EXPECT_EQ(Reply().record(8, 1, 0xFFFF).identifier(), "@0");
}

TEST(NetAppReply, ARecordInsideItsPredecessorsHeaderIsRead) {
    // Record of length 2: the next one starts at the length field of the former.
    EXPECT_EQ(Reply().record(8, 1, 2).put(10, 0).put(11, 2).identifier(), "@0");
}

TEST(NetAppReply, ZerosHoldNoIdentifier) {
    EXPECT_EQ(Reply().identifier(), "@0");
}

TEST(NetAppReply, AReplyThatEndsEarlyReadsZeros) {
    for (std::size_t size : {0U, 1U, 8U, 9U, 11U, 12U, 36U}) {
        Bytes bytes(size);
        if (size > 8) {
            bytes[8] = 0x22;
        }
        CScsiDeviceData record = test::recordOf("NETAPP", "LUN");
        test::store(record, 0x100, bytes);
        EXPECT_EQ(udid::findControllerIdentifier(scsi::PageView(record.m_pages[0x100])).text, "")
            << size;
    }
    Bytes cut(40, 'x');
    cut[8] = 0x22;
    CScsiDeviceData record = test::recordOf("NETAPP", "LUN");
    test::store(record, 0x100, cut);
    EXPECT_EQ(udid::findControllerIdentifier(scsi::PageView(record.m_pages[0x100])).text, "xxxx");
}

TEST(NetAppReply, AnyBytesAreSurvived) {
    std::mt19937 random(20);
    for (int round = 0; round < 5000; ++round) {
        Bytes bytes(random() % 300);
        for (std::uint8_t& byte : bytes) {
            // Short lengths and the record type are frequent.
            const auto value = static_cast<std::uint8_t>(random());
            byte = round % 2 == 0 ? value : static_cast<std::uint8_t>(value % 4 == 0 ? 0x22 : 0);
        }
        CScsiDeviceData record = test::recordOf("NETAPP", "LUN");
        test::store(record, 0x100, bytes);
        const udid::ControllerIdentifier found =
            udid::findControllerIdentifier(scsi::PageView(record.m_pages[0x100]));
        EXPECT_LE(found.text.size(), 23U);
        EXPECT_EQ(found.text.find('\0'), std::string::npos);
        EXPECT_EQ(found.text.find(static_cast<char>(test::kGuard), bytes.size()),
                  std::string::npos);
    }
}

}  // namespace
