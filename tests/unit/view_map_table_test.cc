#include <gtest/gtest.h>

#include "cli/view/map_table.h"

namespace {

using cli::view::MapTable;
using cli::view::MapTables;
using cli::view::parseMapTables;
using Policies = std::map<std::string, std::string>;

const std::string kWhole =
    "mpatha: 0 131072 multipath 2 queue_if_no_path retain_attached_hw_handler 1 alua 2 1 "
    "service-time 0 1 2 8:16 1 1 round-robin 0 2 1 8:32 1 65:16 1";

TEST(MapTable, HasFeaturesHandlerAndThePolicyOfEachPath) {
    const MapTables tables = parseMapTables(
        {kWhole, "my map: 0 8 multipath 0 0 1 1 queue-length 1 5 1 0 8:48", "m: 0 8 linear 8:0 0"});
    ASSERT_EQ(tables.size(), 2U);
    const MapTable& first = tables.at("mpatha");
    EXPECT_EQ(first.features, "2 queue_if_no_path retain_attached_hw_handler");
    EXPECT_EQ(first.handler, "1 alua");
    EXPECT_EQ(first.policies, (Policies{{"8:16", "service-time 0"},
                                        {"8:32", "round-robin 0"},
                                        {"65:16", "round-robin 0"}}));
    const MapTable& second = tables.at("my map");
    EXPECT_EQ(second.features, "0");
    EXPECT_EQ(second.handler, "0");
    EXPECT_EQ(second.policies, (Policies{{"8:48", "queue-length 1 5"}}));
}

TEST(MapTable, AMapWithoutPathsHasNoGroups) {
    const MapTables tables = parseMapTables({"m: 0 8 multipath 0 0 0 0"});
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_TRUE(tables.at("m").policies.empty());
}

TEST(MapTable, LeavesOutALineThatEndsEarly) {
    // Every end but the last word's.
    for (std::size_t end = kWhole.rfind(' '); end != std::string::npos;
         end = end == 0 ? std::string::npos : kWhole.rfind(' ', end - 1)) {
        EXPECT_TRUE(parseMapTables({kWhole.substr(0, end)}).empty()) << kWhole.substr(0, end);
    }
    EXPECT_EQ(parseMapTables({kWhole}).size(), 1U);
}

TEST(MapTable, LeavesOutWhatIsNoNumber) {
    for (const char* const line :
         {"", ": ", "m: 0 8 multipath ", "m: 0 8 multipath x 0 0 0", "m: 0 8 multipath -1 0 0 0",
          "m: 0 8 multipath 0 0 1 1 service-time 0 x 1 8:0 1",
          "m: 0 8 multipath 18446744073709551615 0 0 0",
          "m: 0 8 multipath 0 0 99999999999 1 a 0 0 0",
          "m: 0 8 multipath 0 0 1 1 a 0 99999999999 0 8:0"}) {
        EXPECT_TRUE(parseMapTables({line}).empty()) << line;
    }
}

}  // namespace
