#include "recording/replay/path_table.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace {

using recording::PathTable;

TEST(PathTable, GrowsBeyondTheRoomThatWasMade) {
    for (const std::size_t expected : {0U, 1U, 7U, 8U, 9U, 1000U}) {
        PathTable<int> table(expected);
        std::deque<std::string> paths;
        for (int i = 0; i < 500; ++i) {
            table[paths.emplace_back("/sys/" + std::to_string(i))] = i;
        }
        EXPECT_EQ(table.size(), 500U) << expected;
        for (int i = 0; i < 500; ++i) {
            const int* const found = table.find("/sys/" + std::to_string(i));
            ASSERT_NE(found, nullptr) << expected << " " << i;
            EXPECT_EQ(*found, i) << expected;
        }
        EXPECT_EQ(table.find("/sys/500"), nullptr) << expected;
        EXPECT_EQ(table.find("/sys/"), nullptr) << expected;
    }
}

TEST(PathTable, APathHasOneValue) {
    PathTable<int> table;
    EXPECT_EQ(table.find(""), nullptr);
    table[""] = 1;
    table["/"] = 2;
    table[""] += 10;
    EXPECT_EQ(table.size(), 2U);
    EXPECT_EQ(*table.find(""), 11);
    EXPECT_EQ(*table.find("/"), 2);
}

}  // namespace
