#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/script_arguments.h"
#include "cli/output/table.h"

namespace cli {
namespace {

TEST(CliVisible, PlainTextAndUtf8StayAsTheyAre) {
    EXPECT_EQ(visible("sda \"x\" \xc3\xa4 \xe2\x82\xac \xf0\x9f\x92\xbe"),
              "sda \"x\" \xc3\xa4 \xe2\x82\xac \xf0\x9f\x92\xbe");
}

TEST(CliVisible, WhatSteersATerminalIsEscaped) {
    EXPECT_EQ(visible("a\x1b[2Jb"), "a\\x1b[2Jb");
    EXPECT_EQ(visible("a\r\n\tb"), "a\\r\\n\\tb");
    EXPECT_EQ(visible(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(visible("\x7f"), "\\x7f");
    EXPECT_EQ(visible("\xc2\x9b"), "\\x9b");
    EXPECT_EQ(visible("\xc2\xa0"), "\xc2\xa0");
    EXPECT_EQ(visible("\xe2\x80\xae"), "\\u202e");
    EXPECT_EQ(visible("\xe2\x81\xa6"), "\\u2066");
}

TEST(CliVisible, WhatTurnsOrHidesTextIsEscaped) {
    const struct {
        const char* text;
        const char* escaped;
    } kCases[] = {
        {"\xc2\xad", "\\xad"},                // soft hyphen
        {"\xd8\x9c", "\\u061c"},              // Arabic letter mark
        {"\xd8\x80", "\\u0600"},              // Arabic number sign
        {"\xe1\xa0\x8e", "\\u180e"},          // Mongolian vowel separator
        {"\xe2\x80\x8b", "\\u200b"},          // zero width space
        {"\xe2\x80\x8d", "\\u200d"},          // zero width joiner
        {"\xe2\x80\x8e", "\\u200e"},          // left-to-right mark
        {"\xe2\x80\x8f", "\\u200f"},          // right-to-left mark
        {"\xe2\x80\xa8", "\\u2028"},          // line separator
        {"\xe2\x80\xaa", "\\u202a"},          // left-to-right embedding
        {"\xe2\x80\xae", "\\u202e"},          // right-to-left override
        {"\xe2\x81\xa0", "\\u2060"},          // word joiner
        {"\xe2\x81\xa9", "\\u2069"},          // pop directional isolate
        {"\xe2\x81\xaf", "\\u206f"},          // nominal digit shapes
        {"\xe3\x85\xa4", "\\u3164"},          // Hangul filler
        {"\xef\xb8\x8f", "\\ufe0f"},          // variation selector 16
        {"\xef\xbb\xbf", "\\ufeff"},          // zero width no-break space
        {"\xef\xbf\xb9", "\\ufff9"},          // interlinear annotation anchor
        {"\xf3\xa0\x81\x81", "\\U000e0041"},  // tag latin capital letter a
        {"\xf0\x9d\x85\xb3", "\\U0001d173"},  // musical symbol begin beam
    };
    for (const auto& one : kCases) {
        EXPECT_EQ(visible(one.text), one.escaped);
    }
}

// The neighbours of what is escaped.
TEST(CliVisible, LettersAndSignsStay) {
    for (const char* text :
         {"~", "\xc2\xa0", "\xc2\xac", "\xc2\xae", "\xd8\x9b", "\xd8\x9d", "\xe2\x80\x8a",
          "\xe2\x80\x90", "\xe2\x80\xa7", "\xe2\x80\xaf", "\xe2\x81\x9f", "\xe2\x81\xb0",
          "\xef\xb8\x90", "\xef\xbf\xbd", "\xf0\x9f\x92\xbe"}) {
        EXPECT_EQ(visible(text), text);
    }
}

TEST(CliVisible, BytesThatAreNoUtf8AreEscapedOneByOne) {
    EXPECT_EQ(visible("\xff"), "\\xff");
    EXPECT_EQ(visible("\xc3"), "\\xc3");
    EXPECT_EQ(visible("\x80x"), "\\x80x");
    EXPECT_EQ(visible("\xe2\x82"), "\\xe2\\x82");
    EXPECT_EQ(visible("\xed\xa0\x80"), "\\xed\\xa0\\x80");
}

// The lead byte tells how many bytes a character has.
TEST(CliVisible, TheFirstAndTheLastCharacterOfEachWidthStay) {
    for (const char* text :
         {"~", "\xc2\xa0", "\xdf\xbf", "\xe0\xa0\x80", "\xef\xbf\xbd", "\xf0\x90\x80\x80",
          "\xf3\xbf\xbf\xbf", "\xf4\x80\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(visible(text), text);
        EXPECT_EQ(visible(text + std::string("x")), text + std::string("x"));
    }
}

TEST(CliVisible, TheFirstAndTheLastCharacterOfEachRangeThatSteersAreEscaped) {
    const struct {
        const char* text;
        const char* escaped;
    } kCases[] = {
        {"\x1f", "\\x1f"},
        {"\x7f", "\\x7f"},
        {"\xc2\x9f", "\\x9f"},
        {"\xd8\x85", "\\u0605"},
        {"\xdb\x9d", "\\u06dd"},
        {"\xe0\xa2\x90", "\\u0890"},
        {"\xe0\xa2\x91", "\\u0891"},
        {"\xef\xbf\xbb", "\\ufffb"},
        {"\xf3\xa0\x80\x80", "\\U000e0000"},
        {"\xf3\xa0\xbf\xbf", "\\U000e0fff"},
    };
    for (const auto& one : kCases) {
        EXPECT_EQ(visible(one.text), one.escaped);
    }
}

TEST(CliVisible, TabsStayWhereTheyAreWanted) {
    EXPECT_EQ(visible("a\tb\n", true), "a\tb\\n");
}

TEST(CliWrapped, CutsAtBlanksElseAtTheWidth) {
    EXPECT_EQ(wrapped("abc", 3), (std::vector<std::string>{"abc"}));
    EXPECT_EQ(wrapped("abcd", 3), (std::vector<std::string>{"abc", "d"}));
    EXPECT_EQ(wrapped("ab cd", 3), (std::vector<std::string>{"ab", "cd"}));
    EXPECT_EQ(wrapped("abc def", 3), (std::vector<std::string>{"abc", "def"}));
    EXPECT_EQ(wrapped("\xc3\xa4\xc3\xa4", 1), (std::vector<std::string>{"\xc3\xa4", "\xc3\xa4"}));
    EXPECT_EQ(wrapped("", 3), (std::vector<std::string>{""}));
    EXPECT_EQ(wrapped("abc", 0), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(CliSizeText, UsesTheLargestUnitThatIsNotBelowOne) {
    EXPECT_EQ(sizeText(0), "0 KiB");
    EXPECT_EQ(sizeText(1023), "1023 KiB");
    EXPECT_EQ(sizeText(1024), "1.0 MiB");
    EXPECT_EQ(sizeText(1536 * 1024), "1.5 GiB");
    EXPECT_EQ(sizeText(~std::uint64_t{0}), "16384.0 EiB");
}

TEST(CliTable, FitsTheWidthByContinuingBelow) {
    Table table({{"DEVICE"}, {"N", true}, {"UDID", false, true}});
    table.addRow({"/dev/sda", "16", "UDID##ACME##DISK##0123456789"});
    table.addRow({"/dev/sdb", "0", "-"});
    EXPECT_EQ(table.str({0, false}),
              "DEVICE     N  UDID\n"
              "/dev/sda  16  UDID##ACME##DISK##0123456789\n"
              "/dev/sdb   0  -\n");
    EXPECT_EQ(table.str({34, false}),
              "DEVICE     N  UDID\n"
              "/dev/sda  16  UDID##ACME##DISK##01\n"
              "              23456789\n"
              "/dev/sdb   0  -\n");
    EXPECT_EQ(table.str({42, false}), table.str({0, false}));
    EXPECT_NE(table.str({41, false}), table.str({0, false}));
}

TEST(CliTable, AColumnThatWrapsKeepsAReadableWidth) {
    Table table({{"DEVICE"}, {"UDID", false, true}});
    table.addRow({"/dev/sda", "0123456789abcdef"});
    EXPECT_EQ(table.str({5, false}),
              "DEVICE    UDID\n"
              "/dev/sda  0123456789ab\n"
              "          cdef\n");
}

TEST(CliTable, CellsCannotSteerTheTerminal) {
    Table table({{"VENDOR"}});
    table.addRow({"\x1b]0;x\x07"});
    EXPECT_EQ(table.str({80, true}), "\x1b[1mVENDOR\x1b[0m\n\\x1b]0;x\\x07\n");
}

TEST(CliScriptArguments, ComeWithABlankInFront) {
    EXPECT_EQ(scriptArguments({}), "");
    EXPECT_EQ(scriptArguments({""}), "");
    EXPECT_EQ(scriptArguments({"  "}), "");
    EXPECT_EQ(scriptArguments({"--hosts=1", "-r"}), " --hosts=1 -r");
    EXPECT_EQ(scriptArguments({" --hosts=1"}), " --hosts=1");
    EXPECT_EQ(scriptArguments({"'a b'"}), " 'a b'");
}

TEST(CliScriptArguments, WhatTheScriptWouldNotGetWholeIsRefused) {
    EXPECT_THROW(scriptArguments({"a\nb"}), UsageError);
    EXPECT_THROW(scriptArguments({"a\"b"}), UsageError);
    EXPECT_THROW(scriptArguments({"a'b"}), UsageError);
    EXPECT_NO_THROW(scriptArguments({std::string(900, 'a')}));
    EXPECT_THROW(scriptArguments({std::string(901, 'a')}), UsageError);
}

TEST(CliPlainWord, RefusesWhatWouldBecomeMoreThanOneWordOrAnOption) {
    EXPECT_NO_THROW(requirePlainWord("target", "iqn.2003-01.org.example:a_b.c-d"));
    EXPECT_NO_THROW(requirePlainWord("portal", "[fe80::1]:3260"));
    EXPECT_NO_THROW(requirePlainWord("portal", "10.0.0.1:3260;reboot"));
    EXPECT_NO_THROW(requirePlainWord("target", std::string(512, 'a')));
    for (const std::string& bad :
         {std::string(), std::string("-x"), std::string("a b"), std::string("a\tb"),
          std::string("a\nb"), std::string("a\"b"), std::string("a'b"), std::string("a`b"),
          std::string("a\0b", 3), std::string("\x7f"), std::string(513, 'a')}) {
        EXPECT_THROW(requirePlainWord("target", bad), UsageError) << bad;
    }
}

}  // namespace
}  // namespace cli
