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

// What lines take, block headers left out.
std::size_t memoryOf(const Lines& lines) {
    std::size_t bytes = lines.capacity() * sizeof(std::string);
    for (const std::string& line : lines) {
        bytes += line.capacity() > std::string().capacity() ? line.capacity() + 1 : 0;
    }
    return bytes;
}

// The least memory for sixteen lines, and for a text that lies outside of its string.
constexpr std::size_t kLinesBlock = 16 * sizeof(std::string) + 32;
constexpr std::size_t textBlock(std::size_t length) {
    return length + 1 + 32;
}

TEST(OutputLines, MemoryForTheFirstLinesIsNeeded) {
    for (const auto& [most, expected] : std::vector<std::pair<std::size_t, Lines>>{
             {0, {}}, {kLinesBlock - 1, {}}, {kLinesBlock, {"a"}}, {kLinesBlock + 1, {"a"}}}) {
        OutputLines output(most);
        output.append("a\n", 2);
        EXPECT_EQ(output.take(), expected) << most;
    }
}

TEST(OutputLines, TextThatDoesNotFitIsCutAndTheRestDropped) {
    const std::string text(40, 'x');
    for (const auto& [room, length] : std::vector<std::pair<std::size_t, std::size_t>>{
             {textBlock(40) - 1, 15}, {textBlock(40), 40}, {textBlock(40) + 1, 40}}) {
        OutputLines output(kLinesBlock + room);
        output.append((text + "\n").data(), text.size() + 1);
        output.append("b\n", 2);
        Lines expected = {std::string(length, 'x')};
        if (length == text.size()) {
            expected.emplace_back("b");
        }
        EXPECT_EQ(output.take(), expected) << room;
    }
}

TEST(OutputLines, OldAndNewBlockAreCountedWhileALineGrows) {
    for (const auto& [room, length] : std::vector<std::pair<std::size_t, std::size_t>>{
             {textBlock(40) + textBlock(80) - 1, 40}, {textBlock(40) + textBlock(80), 41}}) {
        OutputLines output(kLinesBlock + room);
        output.append(std::string(40, 'x').data(), 40);
        output.append("x", 1);
        EXPECT_EQ(output.take(), Lines{std::string(length, 'x')}) << room;
    }
}

TEST(OutputLines, LinesWithoutEndAreBoundedByTheMemoryTheyTake) {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    for (const std::string& piece :
         {"\n"s, "ab\n"s, std::string(15, 'x') + "\n", std::string(16, 'x') + "\n",
          std::string(100, 'x') + "\n", std::string(70000, 'x') + "\n", "x"s,
          std::string(65536, 'x')}) {
        OutputLines output(kMost);
        for (std::size_t given = 0; given < 4 * kMost; given += piece.size()) {
            output.append(piece.data(), piece.size());
        }
        const std::size_t memory = memoryOf(output.take());
        EXPECT_LE(memory, kMost) << piece.size();
        EXPECT_GE(memory, kMost / 4) << piece.size();
    }
}

TEST(OutputLines, WhatIsKeptIsTheBeginning) {
    OutputLines output(8192);
    std::string all;
    for (int line = 0; line < 2000; ++line) {
        const std::string text = std::string(static_cast<std::size_t>(line % 60), 'x') + "\n";
        all += text;
        output.append(text.data(), text.size());
    }
    std::string kept;
    for (const std::string& line : output.take()) {
        kept += line + "\n";
    }
    ASSERT_GT(kept.size(), 1000U);
    kept.pop_back();
    EXPECT_EQ(kept, all.substr(0, kept.size()));
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
