#include <gtest/gtest.h>

#include "cli/base/glob.h"

namespace {

using cli::fitsGlob;

TEST(Glob, FitsAWholeText) {
    for (const auto& [pattern, text] : {std::pair<const char*, const char*>{"", ""},
                                        {"*", ""},
                                        {"**", "ab"},
                                        {"emc", "EMC"},
                                        {"E?C", "emc"},
                                        {"*c", "emc"},
                                        {"e*", "emc"},
                                        {"*A2##*", "UDID##A2##6"},
                                        {"a*b*c", "abbcbc"},
                                        {"*?", "a"},
                                        {"[a]", "[a]"}}) {
        EXPECT_TRUE(fitsGlob(pattern, text)) << pattern << " " << text;
    }
    for (const auto& [pattern, text] : {std::pair<const char*, const char*>{"", "a"},
                                        {"a", ""},
                                        {"?", ""},
                                        {"em", "emc"},
                                        {"mc", "emc"},
                                        {"e?", "emc"},
                                        {"*b", "abc"},
                                        {"a*b*c", "abbcb"},
                                        {"*?", ""},
                                        {"[a]", "a"}}) {
        EXPECT_FALSE(fitsGlob(pattern, text)) << pattern << " " << text;
    }
}

TEST(Glob, ManyStarsCostLittle) {
    std::string pattern;
    for (int i = 0; i < 1000; ++i) {
        pattern += "a*";
    }
    EXPECT_FALSE(fitsGlob(pattern + "b", std::string(5000, 'a')));
}

}  // namespace
