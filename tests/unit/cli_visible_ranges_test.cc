#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "cli/base/text.h"

namespace {

std::string utf8Of(std::uint32_t value) {
    const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    const auto next = [&](unsigned shift) { return byte(0x80 | (value >> shift & 0x3F)); };
    if (value < 0x80) {
        return {byte(value)};
    }
    if (value < 0x800) {
        return {byte(0xC0 | value >> 6), next(0)};
    }
    if (value < 0x10000) {
        return {byte(0xE0 | value >> 12), next(6), next(0)};
    }
    return {byte(0xF0 | value >> 18), next(12), next(6), next(0)};
}

bool isEscaped(std::uint32_t value) {
    return cli::visible(utf8Of(value)) != utf8Of(value);
}

// What Unicode 15 has in its categories Cf, Zl and Zp, the controls, the tags, and what fonts show
// as nothing: each run of them, and its neighbours.
TEST(CliVisibleRanges, AreEscapedFromTheFirstToTheLast) {
    const struct {
        std::uint32_t first;
        std::uint32_t last;
    } kRanges[] = {
        {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},     {0x600, 0x605},
        {0x61C, 0x61C},     {0x6DD, 0x6DD},     {0x70F, 0x70F},     {0x890, 0x891},
        {0x8E2, 0x8E2},     {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},
        {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
        {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
        {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3},
        {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
    };
    for (const auto& range : kRanges) {
        EXPECT_FALSE(isEscaped(range.first - 1)) << std::hex << range.first;
        EXPECT_TRUE(isEscaped(range.first)) << std::hex << range.first;
        EXPECT_TRUE(isEscaped(range.last)) << std::hex << range.last;
        EXPECT_FALSE(isEscaped(range.last + 1)) << std::hex << range.last;
    }
    EXPECT_TRUE(isEscaped(0));
    EXPECT_TRUE(isEscaped(0x1F));
    EXPECT_FALSE(isEscaped(0x20));
}

}  // namespace
