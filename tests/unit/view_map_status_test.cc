#include <gtest/gtest.h>

#include "cli/view/map_status.h"

namespace {

using cli::view::MapStates;
using cli::view::parseMapStatus;

TEST(MapStatus, HasThePathsOfEachMapWithTheirStates) {
    const MapStates states = parseMapStatus(
        {"mpatha: 0 131072 multipath 2 0 0 0 2 1 A 0 1 2 8:0 A 0 0 1 E 0 2 2 8:32 F 3 0 1 65:16 A "
         "0 0 1 ",
         "my map: 0 8 multipath 2 0 1 0 1 1 A 0 1 0 8:48 F 1 "});
    const MapStates expected = {{"mpatha", {{"8:0", true}, {"8:32", false}, {"65:16", true}}},
                                {"my map", {{"8:48", false}}}};
    EXPECT_EQ(states, expected);
}

TEST(MapStatus, LeavesOutWhatLooksOtherwise) {
    EXPECT_TRUE(parseMapStatus({"", "No devices found", ": ", "mpatha", "vg-lv: 0 8 linear 8:0 0",
                                "multipath 8:0 A"})
                    .empty());
    // A group's state stands behind numbers without a colon, and what is cut short tells nothing.
    EXPECT_TRUE(parseMapStatus({"m: 0 8 multipath 2 0 0 0 1 1 A 0 1 2 8:0"}).at("m").empty());
    EXPECT_TRUE(
        parseMapStatus({"m: 0 8 multipath 8:x A :8 A 8: F 99999999999:1 A"}).at("m").empty());
}

}  // namespace
