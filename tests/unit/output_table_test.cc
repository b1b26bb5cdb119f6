#include <gtest/gtest.h>

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

}  // namespace
