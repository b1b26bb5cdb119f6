#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cli/view/natural_order.h"

namespace {

using cli::view::goesBefore;

TEST(NaturalOrder, CountsAsPeopleDo) {
    const std::vector<std::string> ordered = {
        "/dev/emcpowera",     "/dev/emcpoweraa",    "/dev/mapper/data",
        "/dev/mapper/mpatha", "/dev/mapper/mpathz", "/dev/mapper/mpathaa",
        "/dev/mapper/zz",     "/dev/sda",           "/dev/sda2",
        "/dev/sda10",         "/dev/sdz",           "/dev/sdaa",
        "/dev/sdzz",          "/dev/sdaaa",         "2:0:0:9",
        "2:0:0:10",           "2:0:10:0",           "10:0:0:0"};
    std::vector<std::string> names = ordered;
    std::sort(names.begin(), names.end(), goesBefore);
    std::vector<std::string> paths(ordered.begin(), ordered.end() - 4);
    std::vector<std::string> addresses(ordered.end() - 4, ordered.end());
    EXPECT_TRUE(std::is_sorted(paths.begin(), paths.end(), goesBefore));
    EXPECT_TRUE(std::is_sorted(addresses.begin(), addresses.end(), goesBefore));
}

TEST(NaturalOrder, LettersCountOnlyBehindADriversPrefixAtTheBegin) {
    const std::pair<const char*, const char*> pairs[] = {
        {"sdb", "sdaa"},      {"x/sdb", "x/sdaa"}, {"xsdaa", "xsdb"},  {"sdz1", "sdaa1"},
        {"vdb", "vdaa"},      {"xvdb", "xvdaa"},   {"hdb", "hdaa"},    {"mpathb", "mpathaa"},
        {"nvmeaa", "nvmeb"},  {"sd", "sda"},       {"a9", "a10"},      {"a09", "a10"},
        {"01", "1"},          {"9a", "10"},        {"0", "1"},         {"0", "00"},
        {"/dev/a", "/dev/b"}, {"dm-2", "dm-10"},   {"1/sdb", "1/sdaa"}};
    for (const auto& [before, after] : pairs) {
        EXPECT_TRUE(goesBefore(before, after)) << before << " " << after;
        EXPECT_FALSE(goesBefore(after, before)) << before << " " << after;
    }
}

TEST(NaturalOrder, IsStrictForWhateverNames) {
    const std::vector<std::string> names = {"",     "sd",    "sdb",  "sdaa",     "sdab_x", "sda_",
                                            "sd-a", "sd1",   "sd01", "sda1",     "sda01",  "mpath",
                                            "1",    "01",    "10",   "x/sdb",    "x/sdaa", "xsdb",
                                            "xsda", "vdisk", "0000", "\xff\xfe", "SDA",    "sdA"};
    for (const std::string& a : names) {
        EXPECT_FALSE(goesBefore(a, a)) << a;
        for (const std::string& b : names) {
            EXPECT_TRUE(a == b || goesBefore(a, b) != goesBefore(b, a)) << a << " " << b;
            for (const std::string& c : names) {
                EXPECT_TRUE(!goesBefore(a, b) || !goesBefore(b, c) || goesBefore(a, c))
                    << a << " " << b << " " << c;
            }
        }
    }
}

}  // namespace
