#include "scsitool/host/command_words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Words = std::vector<std::string>;
using host::splitCommand;

TEST(CommandWords, AreSeparatedByBlanks) {
    EXPECT_EQ(splitCommand("/bin/ls /sys"), (Words{"/bin/ls", "/sys"}));
    EXPECT_EQ(splitCommand("  a   b  "), (Words{"a", "b"}));
}

TEST(CommandWords, OfNothingAreNone) {
    EXPECT_EQ(splitCommand(""), Words{});
    EXPECT_EQ(splitCommand("   "), Words{});
}

TEST(CommandWords, QuotesGroupAndAreDropped) {
    EXPECT_EQ(splitCommand("a 'b c' d"), (Words{"a", "b c", "d"}));
    EXPECT_EQ(splitCommand("a \"b c\" d"), (Words{"a", "b c", "d"}));
    EXPECT_EQ(splitCommand("a'b c'd"), (Words{"ab cd"}));
    EXPECT_EQ(splitCommand("''"), Words{""});
    EXPECT_EQ(splitCommand("a \"\" b"), (Words{"a", "", "b"}));
}

TEST(CommandWords, OneKindOfQuoteIsTextInTheOther) {
    EXPECT_EQ(splitCommand("'a\"b'"), Words{"a\"b"});
    EXPECT_EQ(splitCommand("\"a'b\""), Words{"a'b"});
}

TEST(CommandWords, OpenQuoteReachesToTheEnd) {
    EXPECT_EQ(splitCommand("a 'b c"), (Words{"a", "b c"}));
    EXPECT_EQ(splitCommand("a \""), (Words{"a", ""}));
}

TEST(CommandWords, NoOtherCharacterMeansAnything) {
    EXPECT_EQ(splitCommand("a;b `c` $(d) e\nf\tg|h>i&j\\ *"),
              (Words{"a;b", "`c`", "$(d)", "e\nf\tg|h>i&j\\", "*"}));
    EXPECT_EQ(splitCommand("a\0b c"s), (Words{"a\0b"s, "c"}));
}

}  // namespace
