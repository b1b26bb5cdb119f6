#include <gtest/gtest.h>

#include "cli/view/map_status.h"

namespace {

using cli::view::MapStates;
using cli::view::parseMapStatus;

// "A 1 active 8:0, ...": whether a path is active, its group and the group's state.
std::string textOf(const MapStates& states) {
    std::string text;
    for (const auto& [map, paths] : states) {
        text += map + ":";
        for (const auto& [number, path] : paths) {
            text += " " + number + (path.isActive ? " A " : " F ") + std::to_string(path.group) +
                    " " + path.groupState;
        }
        text += "\n";
    }
    return text;
}

TEST(MapStatus, HasThePathsOfEachMapWithTheirStatesAndGroups) {
    const MapStates states = parseMapStatus(
        {"mpatha: 0 131072 multipath 2 0 0 0 2 1 A 0 1 2 8:0 A 0 0 1 E 0 2 2 8:32 F 3 0 1 65:16 A "
         "0 0 1 ",
         "my map: 0 8 multipath 2 0 1 0 1 1 D 0 1 0 8:48 F 1 "});
    EXPECT_EQ(textOf(states),
              "mpatha: 65:16 A 2 enabled 8:0 A 1 active 8:32 F 2 enabled\n"
              "my map: 8:48 F 1 disabled\n");
}

TEST(MapStatus, APathBelowNoGroupHasNone) {
    EXPECT_EQ(textOf(parseMapStatus({"m: 0 8 multipath 8:0 A 8:16 F"})), "m: 8:0 A 0  8:16 F 0 \n");
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
