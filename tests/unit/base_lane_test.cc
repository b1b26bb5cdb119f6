#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>

#include "cli/base/lane.h"

namespace {

using cli::Lane;
using Text = std::optional<std::string>;

TEST(Lane, GivesWhatCameOfEachItemInTheirOrder) {
    const pid_t self = ::getpid();
    Lane lane({3, 1, 2}, [self](std::size_t item) {
        return (::getpid() == self ? "here " : "aside ") + std::to_string(item);
    });
    EXPECT_EQ(lane.take(), Text("aside 3"));
    EXPECT_EQ(lane.take(), Text("aside 1"));
    EXPECT_EQ(lane.take(), Text("aside 2"));
    EXPECT_EQ(lane.take(), Text());
}

TEST(Lane, AnItemThatThrowsIsUndoneAndTheOthersAreNot) {
    Lane lane({0, 1, 2, 3}, [](std::size_t item) -> std::string {
        if (item == 1) {
            throw std::runtime_error("no");
        }
        if (item == 2) {
            throw 7;
        }
        return std::to_string(item);
    });
    EXPECT_EQ(lane.take(), Text("0"));
    EXPECT_EQ(lane.take(), Text());
    EXPECT_EQ(lane.take(), Text());
    EXPECT_EQ(lane.take(), Text("3"));
}

TEST(Lane, AProcessThatEndsLeavesTheRestUndone) {
    Lane lane({0, 1, 2}, [](std::size_t item) {
        if (item == 1) {
            ::_exit(0);
        }
        return std::to_string(item);
    });
    EXPECT_EQ(lane.take(), Text("0"));
    EXPECT_EQ(lane.take(), Text());
    EXPECT_EQ(lane.take(), Text());
}

TEST(Lane, ATextThatFitsJustAndOneThatDoesNot) {
    constexpr std::size_t kRoom = 4096;
    Lane lane(
        {kRoom, kRoom + 1, 0}, [](std::size_t size) { return std::string(size, 'x'); }, kRoom);
    EXPECT_EQ(lane.take(), Text(std::string(kRoom, 'x')));
    EXPECT_EQ(lane.take(), Text());
    EXPECT_EQ(lane.take(), Text(""));
}

TEST(Lane, WithoutMemoryNothingIsDone) {
    Lane lane(
        {0}, [](std::size_t) { return std::string("text"); }, static_cast<std::size_t>(-1) / 2);
    EXPECT_EQ(lane.take(), Text());
}

// What nobody takes does not hold up the end.
TEST(Lane, EndsWithItemsThatAreNotTaken) {
    Lane lane({0, 1, 2}, [](std::size_t) { return std::string("text"); });
    EXPECT_EQ(lane.take(), Text("text"));
}

}  // namespace
