#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <string>

#include "scsitool/tools/string_tool.h"

namespace {

using namespace std::string_literals;

/// Sets the character type of the process's locale and restores the former one.
class LocaleScope {
  public:
    explicit LocaleScope(const char* name) : m_former(std::setlocale(LC_CTYPE, nullptr)) {
        m_set = std::setlocale(LC_CTYPE, name) != nullptr;
    }
    ~LocaleScope() { std::setlocale(LC_CTYPE, m_former.c_str()); }
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;
    bool isSet() const { return m_set; }

  private:
    std::string m_former;
    bool m_set = false;
};

std::string asHexadecimal(std::string bytes, int length) {
    return CStringTool::binary2str(reinterpret_cast<unsigned char*>(bytes.data()), length);
}

TEST(StringTool, EmptyStringIsNotAlphanumeric) {
    EXPECT_FALSE(CStringTool::isalphaNumeric(""));
}

TEST(StringTool, LettersAndDigitsAreAlphanumeric) {
    EXPECT_TRUE(CStringTool::isalphaNumeric("ABC123"));
    EXPECT_TRUE(CStringTool::isalphaNumeric("azAZ09"));
}

TEST(StringTool, AnyOtherCharacterIsNotAlphanumeric) {
    for (const std::string& text :
         {"ABC 123"s, "ABC123 "s, "_"s, "A-B"s, "A\0B"s, "\xE9"s, "\t"s}) {
        EXPECT_FALSE(CStringTool::isalphaNumeric(text)) << text;
    }
}

TEST(StringTool, UpperAndLowerCaseChangeOnlyLetters) {
    EXPECT_EQ(CStringTool::tostrupper("dGc_raid 5\xE9{@[`"s), "DGC_RAID 5\xE9{@[`"s);
    EXPECT_EQ(CStringTool::tostrlower("DGc_Raid 5\xC9{@[`"s), "dgc_raid 5\xC9{@[`"s);
    EXPECT_EQ(CStringTool::tostrupper(""s), ""s);
    EXPECT_EQ(CStringTool::tostrlower(""s), ""s);
}

TEST(StringTool, CaseConversionKeepsEmbeddedNul) {
    EXPECT_EQ(CStringTool::tostrupper("a\0b"s), "A\0B"s);
    EXPECT_EQ(CStringTool::tostrlower("A\0B"s), "a\0b"s);
}

TEST(StringTool, WideUpperAndLowerCaseChangeOnlyLetters) {
    EXPECT_EQ(CStringTool::tostrupper(L"dGc_raid 5"s), L"DGC_RAID 5"s);
    EXPECT_EQ(CStringTool::tostrlower(L"DGc_Raid 5"s), L"dgc_raid 5"s);
}

TEST(StringTool, WideCaseFollowsTheLocale) {
    const LocaleScope locale("C.UTF-8");
    ASSERT_TRUE(locale.isSet());
    EXPECT_EQ(CStringTool::tostrupper(L"\u00e9a"s), L"\u00c9A"s);
    EXPECT_EQ(CStringTool::tostrlower(L"\u00c9A"s), L"\u00e9a"s);
}

TEST(StringTool, TrimRemovesBlanksAtBothEnds) {
    EXPECT_EQ(CStringTool::trim("  abc  "), "abc");
    EXPECT_EQ(CStringTool::trim("a  b"), "a  b");
    EXPECT_EQ(CStringTool::trim("   "), "");
    EXPECT_EQ(CStringTool::trim(""), "");
}

TEST(StringTool, TrimKeepsTabsAndLineEnds) {
    EXPECT_EQ(CStringTool::trim("\tabc "), "\tabc");
    EXPECT_EQ(CStringTool::trim(" abc\n"), "abc\n");
}

TEST(StringTool, TrimOfOnlyTheTrimCharacterIsEmpty) {
    EXPECT_EQ(CStringTool::ltrim("xxx", 'x'), "");
    EXPECT_EQ(CStringTool::rtrim("xxx", 'x'), "");
    EXPECT_EQ(CStringTool::ltrim("x", 'x'), "");
    EXPECT_EQ(CStringTool::rtrim("x", 'x'), "");
}

TEST(StringTool, LtrimRemovesOnlyTheLeadingRun) {
    EXPECT_EQ(CStringTool::ltrim("xxaxx", 'x'), "axx");
    EXPECT_EQ(CStringTool::ltrim("axx", 'x'), "axx");
    EXPECT_EQ(CStringTool::ltrim("", 'x'), "");
}

TEST(StringTool, RtrimRemovesOnlyTheTrailingRun) {
    EXPECT_EQ(CStringTool::rtrim("xxaxx", 'x'), "xxa");
    EXPECT_EQ(CStringTool::rtrim("xxa", 'x'), "xxa");
    EXPECT_EQ(CStringTool::rtrim("", 'x'), "");
}

TEST(StringTool, RtrimKeepsNulBeforeTheTrailingRun) {
    EXPECT_EQ(CStringTool::rtrim("a\0b  "s, ' '), "a\0b"s);
    EXPECT_EQ(CStringTool::rtrim("a\0  "s, ' '), "a\0"s);
}

TEST(StringTool, LtrimEndsAtTheFirstNulBehindTheRun) {
    EXPECT_EQ(CStringTool::ltrim("  a\0b"s, ' '), "a"s);
    EXPECT_EQ(CStringTool::ltrim("  \0b"s, ' '), ""s);
}

TEST(StringTool, LtrimEndsAtTheFirstNulAlsoWithoutARun) {
    EXPECT_EQ(CStringTool::ltrim("a\0b"s, ' '), "a"s);
    EXPECT_EQ(CStringTool::ltrim("\0b"s, ' '), ""s);
    EXPECT_EQ(CStringTool::ltrim("a \0 b"s, ' '), "a "s);
}

TEST(StringTool, TrimOfNulsStaysInsideTheString) {
    EXPECT_EQ(CStringTool::ltrim("\0\0ab"s, '\0'), "ab"s);
    EXPECT_EQ(CStringTool::ltrim("\0\0"s, '\0'), ""s);
    EXPECT_EQ(CStringTool::ltrim("", '\0'), "");
    EXPECT_EQ(CStringTool::rtrim("ab\0\0"s, '\0'), "ab"s);
}

TEST(StringTool, BoolIsSpelledOut) {
    EXPECT_EQ(CStringTool::bool2str(true), "true");
    EXPECT_EQ(CStringTool::bool2str(false), "false");
}

TEST(StringTool, NumbersAreWrittenInDecimal) {
    EXPECT_EQ(CStringTool::int2str(0), "0");
    EXPECT_EQ(CStringTool::int2str(INT_MIN), "-2147483648");
    EXPECT_EQ(CStringTool::int2str(INT_MAX), "2147483647");
    EXPECT_EQ(CStringTool::uint2str(0), "0");
    EXPECT_EQ(CStringTool::uint2str(UINT_MAX), "4294967295");
}

TEST(StringTool, NumbersAreWrittenAsWideText) {
    EXPECT_EQ(CStringTool::int2wstr(-12), L"-12");
    EXPECT_EQ(CStringTool::uint2wstr(UINT_MAX), L"4294967295");
}

TEST(StringTool, SignedNumberIsReadUpToTheFirstOtherCharacter) {
    EXPECT_EQ(CStringTool::str2int("12abc"), 12);
    EXPECT_EQ(CStringTool::str2int(" \t\n-34 "), -34);
    EXPECT_EQ(CStringTool::str2int("+7"), 7);
    EXPECT_EQ(CStringTool::str2int("010"), 10);
    EXPECT_EQ(CStringTool::str2int("0x10"), 0);
    EXPECT_EQ(CStringTool::str2int("1\0002"s), 1);
}

TEST(StringTool, TextThatIsNoNumberReadsAsZero) {
    for (const std::string& text : {""s, "abc"s, "-"s, " "s, "\0001"s}) {
        EXPECT_EQ(CStringTool::str2int(text), 0) << text;
        EXPECT_EQ(CStringTool::str2uint(text), 0U) << text;
    }
}

TEST(StringTool, UnsignedNumberIsReadAsSigned) {
    EXPECT_EQ(CStringTool::str2uint("12abc"), 12U);
    EXPECT_EQ(CStringTool::str2uint("-1"), 4294967295U);
    EXPECT_EQ(CStringTool::str2uint("4294967295"), 4294967295U);
}

TEST(StringTool, NumberBeyondThirtyTwoBitsKeepsItsLowBits) {
    EXPECT_EQ(CStringTool::str2int("2147483647"), INT_MAX);
    EXPECT_EQ(CStringTool::str2int("2147483648"), INT_MIN);
    EXPECT_EQ(CStringTool::str2int("4294967297"), 1);
    EXPECT_EQ(CStringTool::str2uint("4294967296"), 0U);
}

TEST(StringTool, HexadecimalNumberIsReadBehindItsPrefix) {
    EXPECT_EQ(CStringTool::hexstr2uint("0x1A2b"), 6699U);
    EXPECT_EQ(CStringTool::hexstr2uint("0xffffffff"), 4294967295U);
    EXPECT_EQ(CStringTool::hexstr2uint("0x0"), 0U);
}

TEST(StringTool, HexadecimalPrefixIsNotLookedAt) {
    EXPECT_EQ(CStringTool::hexstr2uint("zz10"), 16U);
    EXPECT_EQ(CStringTool::hexstr2uint("\0\00010"s), 16U);
}

TEST(StringTool, HexadecimalTextShorterThanThreeCharactersReadsAsZero) {
    EXPECT_EQ(CStringTool::hexstr2uint(""), 0U);
    EXPECT_EQ(CStringTool::hexstr2uint("12"), 0U);
    EXPECT_EQ(CStringTool::hexstr2uint("0x"), 0U);
    EXPECT_EQ(CStringTool::hexstr2uint("123"), 3U);
}

TEST(StringTool, OneBadHexadecimalDigitMakesTheNumberZero) {
    for (const std::string& text : {"0x1g"s, "0x1 "s, "0x/"s, "0x:"s, "0x@"s, "0xG"s, "0x`"s}) {
        EXPECT_EQ(CStringTool::hexstr2uint(text), 0U) << text;
    }
}

TEST(StringTool, EveryHexadecimalDigitHasItsValue) {
    EXPECT_EQ(CStringTool::hexstr2uint("0x01234567"), 0x01234567U);
    EXPECT_EQ(CStringTool::hexstr2uint("0x89abcdef"), 0x89abcdefU);
    EXPECT_EQ(CStringTool::hexstr2uint("0x89ABCDEF"), 0x89abcdefU);
}

TEST(StringTool, HexadecimalNumberEndsAtItsFirstNul) {
    EXPECT_EQ(CStringTool::hexstr2uint("0x12\0zz"s), 0x12U);
}

TEST(StringTool, MoreThanEightHexadecimalDigitsKeepTheLowBits) {
    EXPECT_EQ(CStringTool::hexstr2uint("0x123456789"), 0x23456789U);
}

TEST(StringTool, BinaryIsRenderedInLowerCaseHexadecimal) {
    EXPECT_EQ(asHexadecimal("\x0A\xFF", 2), "0aff");
    EXPECT_EQ(asHexadecimal("\0\x9F\xA0"s, 3), "009fa0");
}

TEST(StringTool, BinaryOfNoLengthIsEmpty) {
    EXPECT_EQ(asHexadecimal("\x0A\xFF", 0), "");
    EXPECT_EQ(asHexadecimal("\x0A\xFF", -5), "");
    EXPECT_EQ(CStringTool::binary2str(nullptr, 0), "");
}

TEST(StringTool, AsciiIsConvertedToWideAndBack) {
    EXPECT_EQ(CStringTool::str2wstr("abc"s), L"abc"s);
    EXPECT_EQ(CStringTool::wstr2str(L"abc"s), "abc"s);
    EXPECT_EQ(CStringTool::str2wstr(""s), L""s);
    EXPECT_EQ(CStringTool::wstr2str(L""s), ""s);
}

TEST(StringTool, ConversionEndsAtTheFirstNul) {
    EXPECT_EQ(CStringTool::str2wstr("ab\0c"s), L"ab"s);
    EXPECT_EQ(CStringTool::wstr2str(L"ab\0c"s), "ab"s);
    EXPECT_EQ(CStringTool::wstr2str(L"\0c"s), ""s);
}

TEST(StringTool, ConversionFollowsTheLocale) {
    const LocaleScope locale("C.UTF-8");
    ASSERT_TRUE(locale.isSet());
    EXPECT_EQ(CStringTool::str2wstr("\xC3\xA9"s), L"\u00e9"s);
    EXPECT_EQ(CStringTool::wstr2str(L"\u00e9"s), "\xC3\xA9"s);
}

TEST(StringTool, TextThatTheLocaleCannotConvertIsEmpty) {
    const LocaleScope utf8("C.UTF-8");
    ASSERT_TRUE(utf8.isSet());
    EXPECT_EQ(CStringTool::str2wstr("a\xFF"s), L""s);
    const LocaleScope ascii("C");
    EXPECT_EQ(CStringTool::wstr2str(L"a\u20ac"s), ""s);
}

TEST(StringTool, NarrowTextIsCutAtTwoBytesForEachWideCharacter) {
    const LocaleScope locale("C.UTF-8");
    ASSERT_TRUE(locale.isSet());
    // The euro sign takes three bytes: two of them have four bytes of room, so one fits.
    EXPECT_EQ(CStringTool::wstr2str(L"\u20ac\u20ac"s), "\xE2\x82\xAC"s);
    EXPECT_EQ(CStringTool::wstr2str(L"\u20ac"s), ""s);
    EXPECT_EQ(CStringTool::wstr2str(L"\u00e9\u00e9"s), "\xC3\xA9\xC3\xA9"s);
}

TEST(StringTool, ConversionToTheSameKindIsACopy) {
    EXPECT_EQ(CStringTool::str2wstr(L"a\0b"s), L"a\0b"s);
    EXPECT_EQ(CStringTool::wstr2str("a\0b\xFF"s), "a\0b\xFF"s);
}

}  // namespace
