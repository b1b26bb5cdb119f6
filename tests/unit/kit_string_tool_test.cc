#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scsitool/kit/string_tool.h"

namespace {

using namespace std::string_literals;
using qzfi_pdk_4_4::CFiStringTool;
using Texts = std::vector<std::string>;

TEST(KitStringTool, TrimRemovesTheGivenCharactersAtBothEnds) {
    EXPECT_EQ(CFiStringTool::trim(" \t a b \r\n", " \n\t\r"), "a b");
    EXPECT_EQ(CFiStringTool::trim("xyaxyx", "xy"), "a");
    EXPECT_EQ(CFiStringTool::trim("   ", " "), "");
    EXPECT_EQ(CFiStringTool::trim("", " "), "");
    EXPECT_EQ(CFiStringTool::trim(" a ", ""), " a ");
    EXPECT_EQ(CFiStringTool::trim(" a\0b "s, " "), "a\0b"s);
}

TEST(KitStringTool, TokensAreWhatStandsBetweenDelimiters) {
    EXPECT_EQ(CFiStringTool::tokenize("InitiatorName=iqn", "="), (Texts{"InitiatorName", "iqn"}));
    EXPECT_EQ(CFiStringTool::tokenize("a b;c", " ;"), (Texts{"a", "b", "c"}));
    EXPECT_EQ(CFiStringTool::tokenize("abc", "="), Texts{"abc"});
    EXPECT_EQ(CFiStringTool::tokenize("abc", ""), Texts{"abc"});
}

TEST(KitStringTool, EmptyTokensAreLeftOut) {
    EXPECT_EQ(CFiStringTool::tokenize("==a==b==", "="), (Texts{"a", "b"}));
    EXPECT_EQ(CFiStringTool::tokenize("===", "="), Texts{});
    EXPECT_EQ(CFiStringTool::tokenize("", "="), Texts{});
}

TEST(KitStringTool, UpperCaseChangesOnlyLetters) {
    EXPECT_EQ(CFiStringTool::tostrupper("dGc 5_\xE9\0z"s), "DGC 5_\xE9\0Z"s);
    EXPECT_EQ(CFiStringTool::tostrupper(""), "");
}

TEST(KitStringTool, ComparesWithoutRegardToCase) {
    EXPECT_EQ(CFiStringTool::CompareNoCase("initiatorNAME", "InitiatorName"), 0);
    EXPECT_EQ(CFiStringTool::CompareNoCase("", ""), 0);
    EXPECT_LT(CFiStringTool::CompareNoCase("abc", "ABD"), 0);
    EXPECT_GT(CFiStringTool::CompareNoCase("B", "a"), 0);
    EXPECT_LT(CFiStringTool::CompareNoCase("ab", "ABC"), 0);
}

TEST(KitStringTool, JoinsElementsWithASeparator) {
    EXPECT_EQ(CFiStringTool::vec2str({"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(CFiStringTool::vec2str({"a", "b"}, ""), "ab");
    EXPECT_EQ(CFiStringTool::vec2str({"a"}, ", "), "a");
    EXPECT_EQ(CFiStringTool::vec2str({}, ", "), "");
}

}  // namespace
