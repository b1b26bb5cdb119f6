#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "recording/redaction/scrambler.h"
#include "recording/redaction/secret_table.h"
#include "recording/redaction/text_scan.h"
#include "recording/redaction/words.h"

namespace {

using recording::RedactionKey;
using recording::Scrambler;
using recording::SecretTable;
using Texts = std::vector<const char*>;

constexpr RedactionKey kKey = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

/// What stays where a text is scanned for secrets that are then replaced: '=' for a character that
/// does, 'x' for another.
std::string scanned(const std::string& text) {
    SecretTable table(kKey);
    recording::scanText(text, table);
    table.settle();
    const std::string result = table.replaced(text);
    std::string kept;
    for (std::size_t index = 0; index < text.size() && index < result.size(); ++index) {
        kept += result[index] == text[index] ? '=' : 'x';
    }
    return kept;
}

bool isFound(const std::string& text) {
    return scanned(text).find('x') != std::string::npos;
}

void expectFound(const Texts& texts) {
    for (const char* const text : texts) {
        EXPECT_TRUE(isFound(text)) << text;
    }
}

void expectLeft(const Texts& texts) {
    for (const char* const text : texts) {
        EXPECT_FALSE(isFound(text)) << text;
    }
}

TEST(RedactionWords, CharactersAreThoseOfAscii) {
    for (int code = 0; code < 128; ++code) {
        const char c = static_cast<char>(code);
        EXPECT_EQ(recording::isDigit(c), std::isdigit(code) != 0) << code;
        EXPECT_EQ(recording::isHexDigit(c), std::isxdigit(code) != 0) << code;
        EXPECT_EQ(recording::isAlphanumeric(c), std::isalnum(code) != 0) << code;
        EXPECT_EQ(recording::lowerCase(std::string(1, c)),
                  std::string(1, static_cast<char>(std::tolower(code))));
        EXPECT_EQ(recording::upperCase(std::string(1, c)),
                  std::string(1, static_cast<char>(std::toupper(code))));
    }
}

TEST(RedactionWords, AreRunsOfLettersAndDigits) {
    EXPECT_EQ(recording::wordsOf("a1--b c"), (std::vector<std::string>{"a1", "b", "c"}));
    EXPECT_EQ(recording::wordsOf("-a-"), std::vector<std::string>{"a"});
    EXPECT_TRUE(recording::wordsOf("").empty());
    EXPECT_TRUE(recording::wordsOf("--").empty());
}

TEST(RedactionWords, NamesOfTheKernelAreCommon) {
    for (const char* const name :
         {"dm12", "loop", "sda", "SDA", "sdaaaa", "sdaaaa15", "mpathap1", "sr0", "sd"}) {
        EXPECT_TRUE(recording::isCommonWord(name)) << name;
    }
    for (const char* const name : {"dmx1", "dm1x", "sdaaaaa", "sdA1b2", "orap1", "xsda"}) {
        EXPECT_FALSE(recording::isCommonWord(name)) << name;
    }
}

TEST(RedactionScan, Ipv4AddressesHaveFourNumbersUpTo255) {
    expectFound({"1.2.3.255", "1.2.3.4.", "128.0.0.1", "0.1.2.3", "126.255.255.255",
                 "255.255.255.254", "(10.0.0.10)"});
    expectLeft({"1.2.3.256", "1.2.3.1000", "01.2.3.4", "1.2.03.4", "1.2.3", "1.2..3", "1.2.3.4.5",
                "127.0.0.2", "255.255.255.255", "0.0.0.0", "...."});
}

TEST(RedactionScan, PairsAreAnAddressOfSixEightOrSixteen) {
    expectFound({"52:54:00:12:34:56", "50:06:01:60:3b:20:f5:a0",
                 "60:06:01:60:f5:a0:36:00:c8:a4:1f:9b:2d:11:e4:11"});
    expectLeft({"52:54:00:12:34", "52:54:00:12:34:56:78", "52:54:00:12:34:5", "00:00:00:00:00:00",
                "60:06:01:60:f5:a0:36:00:c8:a4:1f:9b:2d:11:e4"});
}

TEST(RedactionScan, AnIpv6AddressHasEightGroupsOrIsShortened) {
    expectFound({"abc:0:0:0:0:0:0:1", "abcd::1", "abc::", "0:0:0:0:0:0:0:abc"});
    expectLeft({"abc:0:0:0:0:0:1", "ab::1", "abcde::1", "ab:0:0:0:0:0:0:1", "abc:0:0:0:0:0:0:0:1",
                "abc:1"});
}

TEST(RedactionScan, AUuidIsFoundWithinALongerName) {
    EXPECT_EQ(scanned("x-123e4567-e89b-12d3-a456-426614174000-y"),
              "==xxxxxxxx=xxxx=xxxx=xxxx=xxxxxxxxxxxx==");
    expectFound(
        {"123e4567-e89b-12d3-a456-426614174000", "b-a-123e4567-e89b-12d3-a456-426614174000"});
    expectLeft({"123e456-e89b-12d3-a456-426614174000", "123e4567-e89-12d3-a456-426614174000",
                "123e4567-e89b-12d-a456-426614174000", "123e4567-e89b-12d3-a45-426614174000",
                "123e4567-e89b-12d3-a456-42661417400", "123g4567-e89b-12d3-a456-426614174000",
                "123e4567-e89b-12d3-a456"});
}

TEST(RedactionScan, HexadecimalNamesHaveSixteenOrThirtyTwoDigits) {
    expectFound({"50060160f5a03600", "60060160f5a03600c8a41f9b2d11e411", "0x50060160f5a03600"});
    expectLeft({"50060160f5a0360", "50060160f5a036001", "0x50060160f5a0360"});
    for (const char type : {'1', '2', '3', '8'}) {
        EXPECT_EQ(scanned(type + std::string("50060160f5a03600")).substr(0, 8), "========");
        EXPECT_TRUE(isFound(type + std::string("50060160f5a03600"))) << type;
        EXPECT_EQ(scanned(type + std::string("60060160f5a03600c8a41f9b2d11e411")).substr(0, 8),
                  "========");
    }
    for (const char type : {'0', '4', '5', '6', '7', '9'}) {
        EXPECT_FALSE(isFound(type + std::string("50060160f5a03600"))) << type;
    }
}

TEST(RedactionScan, AWordOfTwentyCharactersWithADigitIsUnique) {
    expectFound({"ghijklmnopqrstuvwxy1"});
    expectLeft({"ghijklmnopqrstuvwx1", "ghijklmnopqrstuvwxyz"});
}

TEST(RedactionScan, AnIscsiNameIsKeptUpToItsDate) {
    EXPECT_EQ(scanned("iqn.1994-05.x"), "============x");
    EXPECT_EQ(scanned("iqn.1994-05."), "============");
    EXPECT_EQ(scanned("iqn.1994-05.x iqn.1995-06.y_z"), "============x=============x=x");
    EXPECT_EQ(scanned("iqn.1994-05.x-lun-7"), "============x======");
}

// What was redacted under a key by one version and by another is still seen to be the same.
TEST(RedactionScrambler, TheSameKeyGivesTheSameNamesForGood) {
    const Scrambler scrambler(kKey);
    EXPECT_EQ(scrambler.text("50026B7785A1C2D3"), "96552F9622E8E4A5");
    EXPECT_EQ(scrambler.text("ghijklmnopqrstuvwxyz"), "iprgpqjlzmhjgpronqri");
    EXPECT_EQ(scrambler.text(std::string(70, 'a') + "b1z"),
              "befbeecdeccfcbbbdffeccfbfdfcddebbdbccbbfdbcbefedefccdcebebdefbdecbdffdf6x");
    EXPECT_EQ(scrambler.ipv4("9.10.99.100"), "5.11.16.249");
    EXPECT_EQ(scrambler.ipv4("0.11.255.1"), "6.92.213.3");
    std::string bytes;
    for (const int byte : {0x80, 0x81, 0xFE, 0xFF}) {
        bytes += std::to_string(scrambler.byte(static_cast<std::uint8_t>(byte), 3)) + " ";
    }
    EXPECT_EQ(bytes, "188 189 186 187 ");
}

TEST(RedactionScrambler, BytesOfAsciiStayAndOthersBecomeOthers) {
    const Scrambler scrambler(kKey);
    for (std::size_t place = 0; place < 300; ++place) {
        EXPECT_EQ(scrambler.byte(0, place), 0);
        EXPECT_EQ(scrambler.byte(0x7F, place), 0x7F);
        for (const int byte : {0x80, 0xC0, 0xFF}) {
            const std::uint8_t result = scrambler.byte(static_cast<std::uint8_t>(byte), place);
            EXPECT_GE(result, 0x80);
            EXPECT_NE(result, byte);
        }
    }
}

TEST(RedactionScrambler, NumbersOfAddressesKeepTheirDigitsAndBecomeOthers) {
    const Scrambler scrambler(kKey);
    for (unsigned first = 0; first < 256; ++first) {
        for (const unsigned value : {0U, 9U, 10U, 99U, 100U, 255U}) {
            const std::string before = std::to_string(first) + "." + std::to_string(value);
            const std::string after = scrambler.ipv4(before);
            const std::string number = after.substr(after.find('.') + 1);
            EXPECT_EQ(number.size(), std::to_string(value).size()) << after;
            EXPECT_LE(std::stoul(number), 255U);
            EXPECT_NE(std::stoul(number), value);
            EXPECT_EQ(after.find('.'), std::to_string(first).size());
        }
    }
}

}  // namespace
