#include <gtest/gtest.h>

#include "cli/base/failure.h"
#include "cli/output/hex_text.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes kPage = {0x00, 0x83, 0x00, 0x14, 0x01, 0x03, 0x00, 0x10, 0x60, 0x06, 0x01, 0x60,
                     0xa1, 0xb2, 0xc3, 0xd4, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};

/// The one line that refuses a text.
std::string refusal(const std::string& text) {
    try {
        cli::readHexText(text, "page.hex");
    } catch (const cli::UsageError& error) {
        return error.what();
    }
    return "taken";
}

TEST(HexText, TakesThePlainFormOfSgVpd) {
    EXPECT_EQ(cli::readHexText("00 83 00 14 01 03 00 10  60 06 01 60 a1 b2 c3 d4\n"
                               "11 22 33 44 55 66 77 88\n",
                               ""),
              kPage);
    EXPECT_EQ(cli::readHexText("Device Identification VPD page:\n"
                               "00 83 00 14 01 03 00 10  60 06 01 60 a1 b2 c3 d4\n"
                               "11 22 33 44 55 66 77 88\n",
                               ""),
              kPage);
}

TEST(HexText, TakesTheDumpOfSgVpd) {
    EXPECT_EQ(cli::readHexText(
                  "Device Identification VPD page:\n"
                  " 00     00 83 00 14 01 03 00 10  60 06 01 60 a1 b2 c3 d4    ........`..`....\n"
                  " 10     11 22 33 44 55 66 77 88                             .\"3DUfw.\n",
                  ""),
              kPage);
}

TEST(HexText, TakesTheDumpOfSgInqWithCharactersThatLookLikeBytes) {
    EXPECT_EQ(cli::readHexText("VPD INQUIRY, page code=0x80:\n"
                               " 00     00 80 00 04 41 42 20 43                             "
                               "..AB AB C\n",
                               ""),
              (Bytes{0x00, 0x80, 0x00, 0x04, 0x41, 0x42, 0x20, 0x43}));
    EXPECT_EQ(cli::readHexText(
                  " 00     41 42 43 44 45 46 30 31  32 33 34 35 36 37 38 39    ABCDEF01 23456789\n"
                  " 10     23 23                                               ## aa\n",
                  "")
                  .size(),
              18U);
}

TEST(HexText, TakesTheDumpOfThisCommandsInquiry) {
    EXPECT_EQ(cli::readHexText(
                  "  00  00 83 00 14 01 03 00 10  60 06 01 60 a1 b2 c3 d4  ........`..`....\n"
                  "  10  11 22 33 44 55 66 77 88                           .\"3DUfw.\n",
                  ""),
              kPage);
}

TEST(HexText, TakesOffsetsOfThreeDigits) {
    std::string text;
    char offset[16];
    for (int start = 0; start < 0x120; start += 16) {
        std::snprintf(offset, sizeof offset, " %.2x     ", static_cast<unsigned>(start));
        text += std::string(offset) +
                "00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f    ................\n";
    }
    EXPECT_EQ(cli::readHexText(text, "").size(), 0x120U);
}

TEST(HexText, TakesCommentsCommasTabsAndCarriageReturns) {
    EXPECT_EQ(cli::readHexText("# page 0x83 of /dev/sda\r\n00,83\t00 # the header\r\n\r\n14", ""),
              (Bytes{0x00, 0x83, 0x00, 0x14}));
}

TEST(HexText, TakesJoinedDigitsOfEitherCase) {
    EXPECT_EQ(cli::readHexText("0083001401030010 60060160A1B2C3D4\n1122334455667788", ""), kPage);
}

TEST(HexText, ALineOfBytesIsNoOffsetBecauseItBeginsWithZero) {
    EXPECT_EQ(cli::readHexText("00 10 20", ""), (Bytes{0x00, 0x10, 0x20}));
    EXPECT_EQ(cli::readHexText("00\n10\n20", ""), (Bytes{0x00, 0x10, 0x20}));
    EXPECT_EQ(cli::readHexText("00  10 20", ""), (Bytes{0x10, 0x20})) << "two blanks: an offset";
}

TEST(HexText, RefusesWithThePlaceAndWhatToDo) {
    const std::pair<const char*, const char*> cases[] = {
        {"00 8",
         "page.hex:1:4: an odd number of hexadecimal digits in '8', write two digits a byte"},
        {"00 83\n  00 123 14",
         "page.hex:2:6: an odd number of hexadecimal digits in '123', write two digits a byte"},
        {"00 83\n00 1x",
         "page.hex:2:5: 'x' is no hexadecimal digit, expected bytes as 'sg_vpd --hex' prints them"},
        {"0x00",
         "page.hex:1:2: 'x' is no hexadecimal digit, expected bytes as 'sg_vpd --hex' prints them"},
        {"00 83\nDevice:",
         "page.hex:2:3: 'v' is no hexadecimal digit, expected bytes as 'sg_vpd --hex' prints them"},
        {"", "page.hex: no bytes in it, expected a page as 'sg_vpd --hex' prints it"},
        {"# nothing\n\n", "page.hex: no bytes in it, expected a page as 'sg_vpd --hex' prints it"},
        {" 00     00 83\n 20     11 22",
         "page.hex:2:2: expected the offset 02 of this line's first byte, found '20'"},
        {" 00     00 83\n zz     11 22",
         "page.hex:2:2: expected the offset 02 of this line's first byte, found 'zz'"},
        {"00112233445566778",
         "page.hex:1:1: an odd number of hexadecimal digits in '0011223344556677...', write two "
         "digits a byte"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(refusal(text), expected) << text;
    }
}

TEST(HexText, AHugeOffsetIsNoOffset) {
    EXPECT_EQ(refusal("00     00 83\n" + std::string(40, '9') + "     11"),
              "page.hex:2:1: expected the offset 02 of this line's first byte, found "
              "'9999999999999999...'");
}

TEST(HexText, AnyTextIsTakenOrRefusedInOneLine) {
    unsigned state = 7;
    const std::string letters = "0123456789abcdefg #:\n\r\t,";
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int i = 0; i < 40; ++i) {
            state = state * 1664525U + 1013904223U;
            text += letters[state >> 8 & 0xFF ? (state >> 16) % letters.size() : 0];
        }
        EXPECT_EQ(refusal(text).find('\n'), std::string::npos) << text;
    }
}

}  // namespace
