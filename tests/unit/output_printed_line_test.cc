#include <gtest/gtest.h>

#include "cli/output/printed_line.h"

namespace {

using cli::printedLine;

TEST(PrintedLine, TextStaysAsItIs) {
    for (const char* const line : {"", "one", "  two\tthree", "\xc3\xa4\xe2\x82\xac", "[31m"}) {
        EXPECT_EQ(printedLine(line), line);
    }
}

TEST(PrintedLine, BlanksThatWipeALineAreGone) {
    EXPECT_EQ(printedLine("0 new or changed device(s) found.          "),
              "0 new or changed device(s) found.");
}

TEST(PrintedLine, ColoursAndMovesAreTakenOut) {
    EXPECT_EQ(printedLine("\x1b[0;31mfound\x1b[0m 2"), "found 2");
    EXPECT_EQ(printedLine("\x1b[A\x1b[2K\x1b(B\x1b=done"), "done");
    EXPECT_EQ(printedLine("\x1b]0;title\aa\x1b]0;title\x1b\\b"), "ab");
}

TEST(PrintedLine, WhatIsOverwrittenIsGone) {
    EXPECT_EQ(printedLine("Scanning host 1\rScanning host 2\rdone"), "donening host 2");
    EXPECT_EQ(printedLine("ab\b\bcd"), "cd");
    EXPECT_EQ(printedLine("\xc3\xa4x\rab"), "ab");
    EXPECT_EQ(printedLine("\b\bx"), "x");
}

TEST(PrintedLine, ALineOfNothingButMovesIsNone) {
    for (const char* const line :
         {"\r", "\x1b[A\x1b[A", "\r   ", "\a", "\x1b", "\x1b[", "\x1b]0;x"}) {
        EXPECT_EQ(printedLine(line), std::nullopt);
    }
}

// A lone byte that continues a character has nothing before it to continue.
TEST(PrintedLine, WhateverBytesComeNothingIsRead) {
    EXPECT_EQ(printedLine("\x80x"), "\x80x");
    EXPECT_EQ(printedLine(std::string("a\0b", 3)), std::string("a\0b", 3));
}

}  // namespace
