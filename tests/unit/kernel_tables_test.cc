#include "recording/guard/kernel/kernel_tables.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace recording::guard;

std::string pointOf(const std::string& escaped) {
    const std::vector<Mount> mounts = parseMountInfo("1 2 8:1 / " + escaped + " rw - xfs b rw");
    return mounts.size() == 1 ? mounts.front().point : "(none)";
}

TEST(GuardMountInfo, ThreeOctalDigitsBehindABackslashAreOneByteWhereverTheyStand) {
    EXPECT_EQ(pointOf("\\040a"), " a");
    EXPECT_EQ(pointOf("a\\040"), "a ");
    EXPECT_EQ(pointOf("\\040\\011\\012\\134"), " \t\n\\");
    EXPECT_EQ(pointOf("\\000"), std::string(1, '\0'));
    EXPECT_EQ(pointOf("\\177\\077"), "\x7F?");
    EXPECT_EQ(pointOf("\\1340"), "\\0");
    EXPECT_EQ(pointOf("\\134040"), "\\040") << "what an escape gives begins none";
}

TEST(GuardMountInfo, ABackslashBeforeAnythingElseStays) {
    for (const char* text : {"\\", "\\0", "\\04", "a\\04", "\\840", "\\080", "\\048", "\\/40",
                             "\\0/0", "\\04/", "\\04a", "x040"}) {
        EXPECT_EQ(pointOf(text), text);
    }
}

TEST(GuardMountInfo, TheSourceIsReadLikeThePoint) {
    const std::vector<Mount> mounts =
        parseMountInfo("1 2 8:1 / /x rw - xfs /dev/mapper/a\\040b rw");
    ASSERT_EQ(mounts.size(), 1U);
    EXPECT_EQ(mounts.front().source, "/dev/mapper/a b");
}

TEST(GuardMountInfo, ALineNeedsItsPointAndItsSource) {
    EXPECT_EQ(parseMountInfo("1 2 8:1 / /x - xfs b").size(), 1U);
    EXPECT_TRUE(parseMountInfo("1 2 8:1 / /x - xfs").empty());
    EXPECT_TRUE(parseMountInfo("1 - xfs b").empty());
    EXPECT_EQ(parseMountInfo("1 - xfs b c").size(), 1U) << "five fields, whichever they are";
}

TEST(GuardSwaps, NamesAreReadLikeThoseOfMounts) {
    EXPECT_EQ(parseSwaps("Filename Type\n/swap\\040file file 8 0 -2\n/dev/sdb2 partition 8 0 -3\n"),
              (std::vector<std::string>{"/swap file", "/dev/sdb2"}));
}

}  // namespace
