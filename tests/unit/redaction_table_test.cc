#include <gtest/gtest.h>

#include <string>

#include "recording/redaction/pattern_set.h"
#include "recording/redaction/secret_table.h"

namespace {

using recording::PatternSet;
using recording::RedactionKey;
using recording::SecretTable;

constexpr RedactionKey kKey = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

template <class Add>
SecretTable tableWith(Add add) {
    SecretTable table(kKey);
    add(table);
    table.settle();
    return table;
}

bool isSecretText(const std::string& secret, const std::string& text) {
    return tableWith([&](SecretTable& table) { table.addText(secret); }).replaced(text) != text;
}

bool isSecretHex(const std::string& secret, const std::string& text) {
    return tableWith([&](SecretTable& table) { table.addHex(secret); }).replaced(text) != text;
}

bool isSecretName(const std::string& secret, const std::string& text) {
    return tableWith([&](SecretTable& table) { table.addName(secret); }).replaced(text) != text;
}

TEST(RedactionTable, TextsOfFiveCharactersAndNamesOfThreeAreSecrets) {
    EXPECT_TRUE(isSecretText("qr123", "qr123"));
    EXPECT_FALSE(isSecretText("qr12", "qr12"));
    EXPECT_TRUE(isSecretName("ora", "ora"));
    EXPECT_FALSE(isSecretName("or", "or"));
    EXPECT_FALSE(isSecretName("1234", "1234")) << "a number is no name";
    EXPECT_TRUE(isSecretName("ora1", "ORA1"));
}

TEST(RedactionTable, BinaryNamesAreWholeBytesFromFourOnAndNotEmpty) {
    EXPECT_TRUE(isSecretHex("5006016f", "5006016f"));
    EXPECT_FALSE(isSecretHex("500601", "500601"));
    EXPECT_FALSE(isSecretHex("5006016f1", "5006016f1"));
    EXPECT_FALSE(isSecretHex("00000000", "00000000"));
    EXPECT_FALSE(isSecretHex("5006016g", "5006016g"));
}

TEST(RedactionTable, WhatIsShortIsReplacedOnlyAsAWordOfItsOwn) {
    EXPECT_FALSE(isSecretText("qrs1234", "xqrs1234y"));
    EXPECT_FALSE(isSecretText("qrs1234", "xqrs1234"));
    EXPECT_FALSE(isSecretText("qrs1234", "qrs1234y"));
    EXPECT_TRUE(isSecretText("qrs1234", "(qrs1234)"));
    EXPECT_TRUE(isSecretText("qrs12345", "xqrs12345y"));
    EXPECT_FALSE(isSecretText("12345678901", "9123456789019"));
    EXPECT_TRUE(isSecretText("123456789012", "91234567890129"));
    EXPECT_FALSE(isSecretName("qrstuvw", "xqrstuvwy"));
    EXPECT_TRUE(isSecretName("qrstuvwx", "xqrstuvwxy"));
    EXPECT_FALSE(isSecretHex("5006016f112233", "a5006016f112233"));
    EXPECT_TRUE(isSecretHex("5006016f11223344", "a5006016f11223344"));
}

TEST(RedactionTable, EveryFormOfABinaryNameIsReplaced) {
    for (const char* const form :
         {"5006016f11223344", "5006016F11223344", "50:06:01:6f:11:22:33:44",
          "50-06-01-6F-11-22-33-44", "50 06 01 6f 11 22 33 44", "5006-016f-1122-3344",
          "P\x06\x01o\x11\"3D"}) {
        EXPECT_TRUE(isSecretHex("5006016f11223344", form)) << form;
    }
}

TEST(RedactionTable, EveryFormOfATextIsReplaced) {
    for (const char* const form : {"Disk Q 17z", "Disk_Q_17z", "disk q 17z", "DISK Q 17Z",
                                   "4469736b20512031377a", "4469736B20512031377A"}) {
        EXPECT_TRUE(isSecretText("Disk Q 17z", form)) << form;
    }
}

TEST(RedactionTable, OnlyWhatIsLongIsCertain) {
    const SecretTable table = tableWith([](SecretTable& one) {
        one.addText("qrs123456");
        one.addText("tuv1234567");
        one.addHex("5006016f");
        one.addHex("6006016f11");
    });
    EXPECT_EQ(table.foundIn("x qrs123456 5006016f"), "");
    EXPECT_EQ(table.foundIn("x tuv1234567 y"), "tuv1234567");
    EXPECT_EQ(table.foundIn("x 60:06:01:6f:11 y"), "60:06:01:6f:11");
}

TEST(RedactionTable, TheDigitsOfAFormatAreThoseOfItsMaker) {
    const auto digits = [](char front, std::size_t size) {
        return recording::formatDigits(front + std::string(size - 1, 'a'));
    };
    EXPECT_EQ(digits('5', 12), 6U);
    for (const std::size_t size : {16U, 32U}) {
        EXPECT_EQ(digits('1', size), 10U);
        EXPECT_EQ(digits('2', size), 10U);
        EXPECT_EQ(digits('5', size), 7U);
        EXPECT_EQ(digits('6', size), 7U);
        EXPECT_EQ(digits('0', size), 6U);
        EXPECT_EQ(digits('3', size), 1U);
        EXPECT_EQ(digits('c', size), 1U);
    }
    for (const std::size_t size : {8U, 11U, 13U, 15U, 17U, 31U, 33U}) {
        EXPECT_EQ(digits('5', size), 0U) << size;
    }
}

TEST(RedactionPatterns, TheLongestAtAPlaceCountsAndNoneOverlapsAnother) {
    PatternSet patterns;
    patterns.add("abcd", "1234", false);
    patterns.add("abc", "567", false);
    patterns.add("abcde", "90909", true);
    patterns.add("cdx", "777", false);
    patterns.add("ab", "!!", false);
    patterns.add("abc", "888", false);
    EXPECT_EQ(patterns.replaced("abc"), "567");
    EXPECT_EQ(patterns.replaced("abcabcd"), "5671234");
    EXPECT_EQ(patterns.replaced("abcdx"), "1234x");
    EXPECT_EQ(patterns.replaced("abcdef"), "1234ef");
    EXPECT_EQ(patterns.replaced("abcde"), "90909");
    EXPECT_EQ(patterns.replaced("-abcde-"), "-90909-");
    EXPECT_EQ(patterns.replaced("zabcdx"), "z1234x");
    EXPECT_EQ(patterns.replaced("ab ab"), "ab ab");
    EXPECT_EQ(patterns.replaced(""), "");
}

TEST(RedactionPatterns, AWordEndsAtWhatIsNeitherLetterNorDigit) {
    PatternSet patterns;
    patterns.add("abc", "123", true);
    for (const char c : {'0', '9', 'a', 'z', 'A', 'Z'}) {
        EXPECT_EQ(patterns.replaced("abc" + std::string(1, c)), "abc" + std::string(1, c));
        EXPECT_EQ(patterns.replaced(c + std::string("abc")), c + std::string("abc"));
    }
    for (const char c : {'/', ':', '`', '{', '@', '[', '_', '-'}) {
        EXPECT_EQ(patterns.replaced("abc" + std::string(1, c)), "123" + std::string(1, c));
        EXPECT_EQ(patterns.replaced(c + std::string("abc")), c + std::string("123"));
    }
}

TEST(RedactionPatterns, AmongTheDigitsOfBytesOnlyWholeBytesCountFromFourOn) {
    PatternSet patterns;
    patterns.add("11223344", "........", true);
    patterns.add("556677", "......", true);
    patterns.add("889900112", ".........", true);
    const auto found = [&](const std::string& digits) {
        return patterns.matches(digits, PatternSet::Place::kHexDigits).size();
    };
    EXPECT_EQ(found("11223344"), 1U);
    EXPECT_EQ(found("aa11223344bb"), 1U);
    EXPECT_EQ(found("a11223344b"), 0U);
    EXPECT_EQ(found("aa556677bb"), 0U);
    EXPECT_EQ(found("889900112"), 0U);
}

}  // namespace
