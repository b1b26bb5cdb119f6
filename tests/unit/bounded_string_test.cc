#include "scsitool/kit/bounded_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using qzfi_pdk_4_4::V_snprintf;
using qzfi_pdk_4_4::V_sscanf;
using qzfi_pdk_4_4::V_strlcat;
using qzfi_pdk_4_4::V_strlcpy;
using qzfi_pdk_4_4::V_strlncat;
using qzfi_pdk_4_4::V_strlncpy;
using qzfi_pdk_4_4::V_strnlen;

/// A destination of a certain size with a guard behind it.
class Destination {
  public:
    explicit Destination(std::size_t size, const std::string& held = "")
        : m_size(size), m_bytes(size + kGuard, '#') {
        std::copy(held.begin(), held.end(), m_bytes.begin());
        if (held.size() < size) {
            m_bytes[held.size()] = '\0';
        }
    }
    char* get() { return m_bytes.data(); }
    /// The text, or a complaint when it has no end or the guard was written to.
    std::string text() const {
        const auto guard = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_size);
        if (!std::all_of(guard, m_bytes.end(), [](char c) { return c == '#'; })) {
            return "wrote behind the destination";
        }
        const auto end = std::find(m_bytes.begin(), guard, '\0');
        return end == guard ? "has no end" : std::string(m_bytes.begin(), end);
    }

  private:
    static constexpr std::size_t kGuard = 16;
    std::size_t m_size;
    std::vector<char> m_bytes;
};

TEST(BoundedString, FormatIsCutToTheDestination) {
    for (const auto& [size, text] : std::vector<std::pair<std::size_t, std::string>>{
             {1, ""}, {2, "1"}, {4, "123"}, {5, "1234"}, {6, "12345"}, {7, "12345"}}) {
        Destination destination(size);
        EXPECT_EQ(V_snprintf(destination.get(), size, "%d", 12345), static_cast<int>(text.size()));
        EXPECT_EQ(destination.text(), text) << size;
    }
}

TEST(BoundedString, DestinationOfNoSizeIsLeftAlone) {
    Destination destination(0);
    EXPECT_EQ(V_snprintf(destination.get(), 0, "%d", 1), 0);
    EXPECT_EQ(V_strlcpy(destination.get(), "abc", 0), 3U);
    EXPECT_EQ(V_strlncpy(destination.get(), 0, "abc", 3), 0U);
    EXPECT_EQ(V_strlcat(destination.get(), "abc", 0), 3U);
    EXPECT_EQ(V_strlncat(destination.get(), 0, "abc", 3), 0U);
    EXPECT_EQ(destination.text(), "has no end");
}

TEST(BoundedString, CopyIsCutToTheDestination) {
    for (const auto& [size, text] : std::vector<std::pair<std::size_t, std::string>>{
             {1, ""}, {3, "ab"}, {4, "abc"}, {5, "abc"}}) {
        Destination destination(size);
        EXPECT_EQ(V_strlcpy(destination.get(), "abc", size), 3U);
        EXPECT_EQ(destination.text(), text) << size;
    }
}

TEST(BoundedString, CopyTakesAtMostItsCount) {
    for (const auto& [count, text] : std::vector<std::pair<std::size_t, std::string>>{
             {0, ""}, {2, "ab"}, {3, "abc"}, {4, "abc"}, {100, "abc"}}) {
        Destination destination(8);
        EXPECT_EQ(V_strlncpy(destination.get(), 8, "abc", count), text.size());
        EXPECT_EQ(destination.text(), text) << count;
    }
}

TEST(BoundedString, CopyReadsNothingBehindItsCount) {
    // On the heap, so that the address sanitizer sees a read behind it.
    const std::vector<char> noEnd = {'a', 'b'};
    Destination destination(8);
    EXPECT_EQ(V_strlncpy(destination.get(), 8, noEnd.data(), noEnd.size()), 2U);
    EXPECT_EQ(destination.text(), "ab");
    EXPECT_EQ(V_strlncat(destination.get(), 8, noEnd.data(), noEnd.size()), 2U);
    EXPECT_EQ(destination.text(), "abab");
}

TEST(BoundedString, TextIsAppendedUpToTheDestinationsEnd) {
    for (const auto& [size, text] : std::vector<std::pair<std::size_t, std::string>>{
             {3, "ab"}, {4, "abc"}, {5, "abcd"}, {6, "abcd"}}) {
        Destination destination(size, "ab");
        EXPECT_EQ(V_strlcat(destination.get(), "cd", size), 4U);
        EXPECT_EQ(destination.text(), text) << size;
    }
}

TEST(BoundedString, AppendTakesAtMostItsCount) {
    Destination destination(8, "ab");
    EXPECT_EQ(V_strlncat(destination.get(), 8, "cdef", 1), 1U);
    EXPECT_EQ(destination.text(), "abc");
    EXPECT_EQ(V_strlncat(destination.get(), 8, "", 5), 0U);
    EXPECT_EQ(V_strlncat(destination.get(), 8, "0123456789", 10), 4U);
    EXPECT_EQ(destination.text(), "abc0123");
}

TEST(BoundedString, DestinationWithoutAnEndIsLeftAlone) {
    Destination destination(2, "ab");
    EXPECT_EQ(V_strlncat(destination.get(), 2, "c", 1), 0U);
    EXPECT_EQ(V_strlcat(destination.get(), "c", 2), 3U);
    EXPECT_EQ(destination.text(), "has no end");
}

TEST(BoundedString, LengthEndsAtTheSize) {
    EXPECT_EQ(V_strnlen("abc", 2), 2U);
    EXPECT_EQ(V_strnlen("abc", 3), 3U);
    EXPECT_EQ(V_strnlen("abc", 4), 3U);
    EXPECT_EQ(V_strnlen("abc", 0), 0U);
    EXPECT_EQ(V_strnlen("", 1), 0U);
}

TEST(BoundedString, ScanEndsAtTheSize) {
    const std::vector<char> noEnd = {'1', '2', '3'};
    int number = 0;
    EXPECT_EQ(V_sscanf(noEnd.data(), 3, "%d", &number), 1);
    EXPECT_EQ(number, 123);
    EXPECT_EQ(V_sscanf(noEnd.data(), 2, "%d", &number), 1);
    EXPECT_EQ(number, 12);
}

TEST(BoundedString, ScanFollowsTheCLibrary) {
    int first = 0;
    int second = 0;
    EXPECT_EQ(V_sscanf(" 7 x", 4, "%d %d", &first, &second), 1);
    EXPECT_EQ(first, 7);
    EXPECT_EQ(V_sscanf("", 0, "%d", &first), -1);
    EXPECT_EQ(V_sscanf("x", 1, "%d", &first), 0);
    EXPECT_EQ(V_sscanf("1234", 4, "%02d%d", &first, &second), 2);
    EXPECT_EQ(first, 12);
    EXPECT_EQ(second, 34);
}

TEST(BoundedString, NumberBeyondThirtyTwoBitsIsConvertedAllTheSame) {
    int number = 0;
    char name[16] = {};
    const std::string line = "8 0 4294967297 sda";
    EXPECT_EQ(V_sscanf(line.c_str(), line.size(), "%*d %*d %d %15s", &number, name), 2);
    EXPECT_EQ(number, 1);
    EXPECT_STREQ(name, "sda");
}

}  // namespace
