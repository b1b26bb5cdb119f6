#include "tools/line_reader.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

constexpr std::size_t kBufferSize = 255;

host::ReadResult fileOf(const std::string& content, int readError = 0) {
    host::ReadResult file;
    file.readError = readError;
    file.content = content;
    return file;
}

Texts fgetsLines(const std::string& content, std::size_t size) {
    return tools::fgetsLines(fileOf(content), size);
}

Texts fgetsPieces(const std::string& content, std::size_t size) {
    return tools::fgetsPieces(fileOf(content), size);
}

/// What the C library itself gives for the same loop.
Texts piecesOfTheCLibrary(const std::string& content, std::size_t size) {
    std::FILE* const file = std::tmpfile();
    std::fwrite(content.data(), 1, content.size(), file);
    std::rewind(file);
    Texts pieces;
    while (std::feof(file) == 0) {
        std::vector<char> buffer(size, '\0');
        if (std::fgets(buffer.data(), static_cast<int>(size), file) == nullptr) {
            buffer[0] = '\0';
        }
        pieces.emplace_back(buffer.data());
    }
    std::fclose(file);
    return pieces;
}

TEST(LineReader, EmptyContentIsOneEmptyPiece) {
    EXPECT_EQ(fgetsPieces("", kBufferSize), Texts{""});
    EXPECT_EQ(fgetsLines("", kBufferSize), Texts{});
}

TEST(LineReader, PiecesKeepTheirLineFeed) {
    EXPECT_EQ(fgetsPieces("a\nb", kBufferSize), (Texts{"a\n", "b"}));
    EXPECT_EQ(fgetsLines("a\nb", kBufferSize), (Texts{"a\n", "b"}));
    EXPECT_EQ(fgetsPieces("\n\nb", kBufferSize), (Texts{"\n", "\n", "b"}));
}

TEST(LineReader, FinalLineFeedLeavesAnEmptyLastPiece) {
    EXPECT_EQ(fgetsPieces("a\n", kBufferSize), (Texts{"a\n", ""}));
    EXPECT_EQ(fgetsLines("a\n", kBufferSize), Texts{"a\n"});
}

TEST(LineReader, LongLineIsCutIntoPiecesOfOneLessThanTheBuffer) {
    const std::string full(254, 'x');
    EXPECT_EQ(fgetsPieces(std::string(253, 'x') + "\nb", kBufferSize),
              (Texts{std::string(253, 'x') + "\n", "b"}));
    EXPECT_EQ(fgetsPieces(full + "\nb", kBufferSize), (Texts{full, "\n", "b"}));
    EXPECT_EQ(fgetsPieces(full + "y\nb", kBufferSize), (Texts{full, "y\n", "b"}));
    EXPECT_EQ(fgetsPieces(full + full + "y", kBufferSize), (Texts{full, full, "y"}));
}

TEST(LineReader, EndOfTheFileIsNotNoticedByAFullPiece) {
    EXPECT_EQ(fgetsPieces(std::string(253, 'x'), kBufferSize), Texts{std::string(253, 'x')});
    EXPECT_EQ(fgetsPieces(std::string(254, 'x'), kBufferSize), (Texts{std::string(254, 'x'), ""}));
    EXPECT_EQ(fgetsPieces(std::string(255, 'x'), kBufferSize), (Texts{std::string(254, 'x'), "x"}));
}

TEST(LineReader, NulCutsThePieceAndNotTheLine) {
    EXPECT_EQ(fgetsPieces("ab\0cd\nef"s, kBufferSize), (Texts{"ab", "ef"}));
    EXPECT_EQ(fgetsPieces("\0\0"s, kBufferSize), Texts{""});
    EXPECT_EQ(fgetsLines("\0\nb\n"s, kBufferSize), (Texts{"", "b\n"}));
}

TEST(LineReader, BufferThatHoldsNoTextIsTakenForTheSmallestThatDoes) {
    EXPECT_EQ(fgetsLines("abc", 0), (Texts{"a", "b", "c"}));
    EXPECT_EQ(fgetsLines("abc", 1), (Texts{"a", "b", "c"}));
    EXPECT_EQ(fgetsLines("abc", 2), (Texts{"a", "b", "c"}));
}

TEST(LineReader, PiecesInFrontOfAReadErrorCount) {
    const struct {
        std::string content;
        Texts pieces;
    } rows[] = {
        {"", {}},  {"a\n", {"a\n"}},   {"a\nb\n", {"a\n", "b\n"}}, {"a\nb", {"a\n"}},
        {"b", {}}, {"abcd", {"abcd"}}, {"abcde", {"abcd"}},        {"abcd\n", {"abcd", "\n"}}};
    for (const auto& row : rows) {
        const host::ReadResult file = fileOf(row.content, EIO);
        EXPECT_EQ(tools::fgetsLines(file, 5), row.pieces) << row.content;
        EXPECT_EQ(tools::fgetsPieces(file, 5), row.pieces) << row.content;
    }
}

TEST(LineReader, AgreesWithTheCLibrary) {
    const Texts contents = {"",          "\n",       "a",        "a\n",           "ab\n",
                            "abc\n",     "abcd\n",   "abcdefg",  "abcdef",        "abcdefgh\n\n",
                            "a\nb\nc\n", "ab\0c\n"s, "\0abc"s,   "ab\0cdefgh\n"s, "abc\0"s,
                            "\n\n\n",    "abc\nabc", "abcabc\n", "\xFF\xFE\n"};
    for (const std::string& content : contents) {
        for (const std::size_t size : {2U, 3U, 4U, 5U, 255U}) {
            EXPECT_EQ(fgetsPieces(content, size), piecesOfTheCLibrary(content, size))
                << testing::PrintToString(content) << " in a buffer of " << size;
        }
    }
}

}  // namespace
