#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cli/mailed/dump_line.h"

namespace {

using cli::mailed::DumpLine;
using cli::mailed::readDumpLine;
using Bytes = std::vector<std::uint8_t>;
using Kind = DumpLine::Kind;

struct Case {
    const char* line;
    Kind kind;
    const char* offset;
    Bytes bytes;
};

void expectRead(const std::vector<Case>& cases) {
    for (const Case& one : cases) {
        const DumpLine line = readDumpLine(one.line);
        EXPECT_EQ(line.kind, one.kind) << one.line;
        EXPECT_EQ(line.offset, one.offset) << one.line;
        EXPECT_EQ(line.bytes, one.bytes) << one.line;
    }
}

TEST(MailedOffset, HasTwoToSixteenDigits) {
    expectRead({{"0: 41", Kind::kText, "", {}},
                {"00: 41", Kind::kBytes, "00", {0x41}},
                {"0000000000000000: 41", Kind::kBytes, "0000000000000000", {0x41}},
                {"00000000000000000: 41", Kind::kText, "", {}},
                {"0g: 41", Kind::kText, "", {}}});
}

TEST(MailedOffset, StandsApartOrIsLongerThanWhatFollows) {
    expectRead({{"00 41", Kind::kBytes, "", {0, 0x41}},
                {"00  41", Kind::kBytes, "00", {0x41}},
                {"00  4142", Kind::kText, "", {}},
                {"000 41", Kind::kBytes, "000", {0x41}},
                {"0000 4142", Kind::kText, "", {}},
                {"000000 zz", Kind::kText, "", {}},
                {"00:", Kind::kText, "", {}}});
}

TEST(MailedOffset, AloneItIsTheEndOfADump) {
    expectRead({{"0000", Kind::kBytes, "", {0, 0}},
                {"00000", Kind::kText, "", {}},
                {"000010", Kind::kEnd, "000010", {0, 0, 0x10}},
                {"00000010", Kind::kEnd, "00000010", {0, 0, 0, 0x10}},
                {"000000010", Kind::kText, "", {}},
                {"0000000010", Kind::kBytes, "", {0, 0, 0, 0, 0x10}},
                {"00000g", Kind::kText, "", {}}});
}

TEST(MailedBytes, EndAtAGapThatIsNotInTheMiddleOfALine) {
    expectRead(
        {{"00  41 42  43", Kind::kBytes, "00", {0x41, 0x42}},
         {"00  1 02", Kind::kText, "", {}},
         {"00  01 02 03 04 05 06 07  08", Kind::kBytes, "00", {1, 2, 3, 4, 5, 6, 7}},
         {"00  01 02 03 04 05 06 07 08  09", Kind::kBytes, "00", {1, 2, 3, 4, 5, 6, 7, 8, 9}},
         {"00  01 02 03 04 05 06 07 08   09", Kind::kBytes, "00", {1, 2, 3, 4, 5, 6, 7, 8}},
         {"00  01 02 03 04 05 06 07 08 09  0a", Kind::kBytes, "00", {1, 2, 3, 4, 5, 6, 7, 8, 9}}});
}

TEST(MailedBytes, OfALineWithAnOffsetAreThirtyTwoAtMost) {
    for (const std::size_t count : {31U, 32U, 33U}) {
        std::string line = "0000:";
        for (std::size_t i = 0; i < count; ++i) {
            line += " 41";
        }
        EXPECT_EQ(readDumpLine(line).bytes.size(), count < 32 ? count : 32);
    }
}

TEST(MailedBytes, StandAloneOrInLongRows) {
    expectRead({{"09 af AF", Kind::kBytes, "", {0x09, 0xAF, 0xAF}},
                {"00\t83[01](02),03", Kind::kBytes, "", {0, 0x83, 1, 2, 3}},
                {"00410042 43440045", Kind::kBytes, "", {0, 0x41, 0, 0x42, 0x43, 0x44, 0, 0x45}},
                {"410042 434400", Kind::kText, "", {}},
                {"0x4142 0x4344", Kind::kBytes, "", {0x41, 0x42, 0x43, 0x44}},
                {"0X41 0x42", Kind::kBytes, "", {0x41, 0x42}},
                {"0x", Kind::kText, "", {}},
                {"1x41", Kind::kText, "", {}}});
}

TEST(MailedBytes, OfOdAreWordsWhenTheFirstIsOne) {
    expectRead({{"000000 4142 43", Kind::kWords, "000000", {0x41, 0x42, 0x43}},
                {"000000 41 4243", Kind::kBytes, "000000", {0x41, 0x42, 0x43}},
                {"000000: 4142 4344", Kind::kBytes, "000000", {0x41, 0x42, 0x43, 0x44}}});
}

TEST(MailedBytes, AreFoundBehindTheMarksOfAQuotation) {
    expectRead({{">00 83", Kind::kBytes, "", {0, 0x83}},
                {"> \t> 00 83 \t\r", Kind::kBytes, "", {0, 0x83}},
                {">", Kind::kText, "", {}},
                {"> *", Kind::kRepeat, "", {}},
                {"* *", Kind::kText, "", {}}});
}

}  // namespace
