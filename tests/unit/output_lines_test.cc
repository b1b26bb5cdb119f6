#include "host/output_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;
using host::OutputLines;

Lines linesOf(const std::vector<std::string>& pieces) {
    OutputLines output;
    for (const std::string& piece : pieces) {
        output.append(piece.data(), piece.size());
    }
    return output.take();
}

TEST(OutputLines, EndAtLineFeeds) {
    EXPECT_EQ(linesOf({"a\nb\n"}), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf({"\n\na\n"}), (Lines{"", "", "a"}));
    EXPECT_EQ(linesOf({}), Lines{});
    EXPECT_EQ(linesOf({""}), Lines{});
}

TEST(OutputLines, LastLineNeedsNoLineFeed) {
    EXPECT_EQ(linesOf({"a\nb"}), (Lines{"a", "b"}));
}

TEST(OutputLines, PiecesEndAnywhere) {
    EXPECT_EQ(linesOf({"a", "b", "\n", "c\n", "\n", "d"}), (Lines{"ab", "c", "", "d"}));
}

TEST(OutputLines, KeepAnyOtherByte) {
    EXPECT_EQ(linesOf({"a\0b\r\n\xFF"s}), (Lines{"a\0b\r"s, "\xFF"s}));
}

TEST(OutputLines, BytesBeyondTheLimitAreDropped) {
    for (const auto& [most, expected] :
         std::vector<std::pair<std::size_t, Lines>>{{4, {"ab", "c"}},
                                                    {5, {"ab", "cd"}},
                                                    {6, {"ab", "cd"}},
                                                    {0, {}},
                                                    {7, {"ab", "cd", "e"}}}) {
        OutputLines output(most, 100);
        output.append("ab\ncd", 5);
        output.append("\ne", 2);
        EXPECT_EQ(output.take(), expected) << most;
    }
}

TEST(OutputLines, LinesBeyondTheLimitAreDropped) {
    for (const auto& [most, expected] : std::vector<std::pair<std::size_t, Lines>>{
             {1, {"a"}}, {2, {"a", "b"}}, {3, {"a", "b", "cd"}}}) {
        OutputLines output(100, most);
        output.append("a\nb\nc", 5);
        output.append("d", 1);
        EXPECT_EQ(output.take(), expected) << most;
    }
}

TEST(OutputLines, AreEmptyOnceTaken) {
    OutputLines output;
    output.append("ab", 2);
    EXPECT_EQ(output.take(), Lines{"ab"});
    output.append("c\n", 2);
    EXPECT_EQ(output.take(), Lines{"c"});
    EXPECT_EQ(output.take(), Lines{});
}

}  // namespace
