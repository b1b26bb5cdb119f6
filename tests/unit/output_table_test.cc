#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cli/output/table.h"

namespace {

using cli::Column;
using cli::Table;

Table tableOf(const std::string& whole) {
    Column last = {"UDID"};
    last.isWhole = true;
    Table table({{"NAME"}, {"SIZE", true}, last});
    table.addRow({"sda", "1 GiB", whole});
    table.addRow({"sdb", "20 GiB", "short"});
    return table;
}

TEST(Table, ACellThatFitsStaysInItsRow) {
    EXPECT_EQ(tableOf("UDID##A").str({21, false}),
              "NAME    SIZE  UDID\n"
              "sda    1 GiB  UDID##A\n"
              "sdb   20 GiB  short\n");
}

TEST(Table, AWholeCellThatDoesNotFitStandsBelowItsRowUncut) {
    EXPECT_EQ(tableOf("UDID##A").str({20, false}),
              "NAME    SIZE\n"
              "  UDID\n"
              "sda    1 GiB\n"
              "  UDID##A\n"
              "sdb   20 GiB\n"
              "  short\n");
    const std::string longer(300, 'x');
    EXPECT_NE(tableOf(longer).str({80, false}).find("\n  " + longer + "\n"), std::string::npos);
}

TEST(Table, WhatElseDoesNotFitStandsBetween) {
    Column last = {"UDID"};
    last.isWhole = true;
    Table table({{"NAME"}, {"SIZE", true}, {"STATE", false, true}, last});
    table.addRow({"sda", "1 GiB", "one two", "UDID##A"});
    const std::string wide = "NAME   SIZE  STATE\n  UDID\nsda   1 GiB  one two\n  UDID##A\n";
    EXPECT_EQ(table.str({20, false}), wide);
    const std::string narrow = "NAME   SIZE\n  STATE\n  UDID\nsda   1 GiB\n  one two\n  UDID##A\n";
    EXPECT_EQ(table.str({19, false}), narrow);
    EXPECT_EQ(table.str({11, false}), narrow);
    EXPECT_EQ(table.str({10, false}),
              "NAME\n   SIZE\n  STATE\n  UDID\nsda\n  1 GiB\n  one two\n  UDID##A\n");
}

TEST(Table, WithoutALimitNothingStandsBelow) {
    const std::string longer(300, 'x');
    EXPECT_NE(tableOf(longer).str({0, false}).find("sda    1 GiB  " + longer + "\n"),
              std::string::npos);
}

TEST(Table, HeadingsCanBeLeftOut) {
    EXPECT_EQ(tableOf("UDID##A").str({0, false}, false),
              "sda    1 GiB  UDID##A\n"
              "sdb   20 GiB  short\n");
}

TEST(Table, LinesBelowStandBehindTheirRow) {
    Table table({{"NAME"}});
    table.addBelow({"   OF"});
    table.addRow({"sda"});
    table.addBelow({"|- one", "`- two"});
    table.addRow({"sdb"});
    EXPECT_EQ(table.str({0, false}), "NAME\n   OF\nsda\n|- one\n`- two\nsdb\n");
    EXPECT_EQ(table.str({0, false}, false), "sda\n|- one\n`- two\nsdb\n");
}

TEST(Table, EveryLineOfTheHeadingsIsSetOff) {
    EXPECT_EQ(tableOf("UDID##A").str({20, true}).substr(0, 40),
              "\033[1mNAME    SIZE\033[0m\n\033[1m  UDID\033[0m\nsda ");
}

// The first of the widest gives way, and none below twelve.
TEST(Table, ColumnsThatMayWrapGiveWayOneByOne) {
    const std::string a(20, 'a');
    const std::string b(16, 'b');
    Table table({{"A", false, true}, {"B", false, true}});
    table.addRow({a, b});
    const auto rowsAt = [&](std::size_t width) { return table.str({width, false}, false); };
    const auto cut = [](const std::string& text, std::size_t width) {
        return text.substr(std::min(width, text.size()));
    };
    const auto rows = [&](std::size_t ofA, std::size_t ofB) {
        const std::string second =
            cut(a, ofA) +
            (cut(b, ofB).empty() ? "" : std::string(ofA + 2 - cut(a, ofA).size(), ' ')) +
            cut(b, ofB);
        return a.substr(0, ofA) + "  " + b.substr(0, ofB) + "\n" +
               (second.empty() ? "" : second + "\n");
    };
    EXPECT_EQ(rowsAt(0), rows(20, 16));
    EXPECT_EQ(rowsAt(38), rows(20, 16));
    EXPECT_EQ(rowsAt(37), rows(19, 16));
    EXPECT_EQ(rowsAt(34), rows(16, 16));
    EXPECT_EQ(rowsAt(33), rows(15, 16));
    EXPECT_EQ(rowsAt(32), rows(15, 15));
    EXPECT_EQ(rowsAt(26), rows(12, 12));
    EXPECT_EQ(rowsAt(10), rows(12, 12));
}

TEST(Table, AColumnThatMayNotWrapKeepsItsWidth) {
    Table table({{"A"}, {"B", false, true}});
    table.addRow({std::string(20, 'a'), "one two three four"});
    EXPECT_EQ(table.str({35, false}, false),
              "aaaaaaaaaaaaaaaaaaaa  one two three\n                      four\n");
}

TEST(Table, OnlyARowOfAlarmIsRed) {
    Table table({{"NAME"}});
    table.addRow({"sda"}, cli::Tone::kAlarm);
    table.addRow({"sdb"});
    EXPECT_EQ(table.str({0, true}, false), "\033[31msda\033[0m\nsdb\n");
    EXPECT_EQ(table.str({0, false}, false), "sda\nsdb\n");
}

}  // namespace
