#include <gtest/gtest.h>

#include "cli/udev/safe_text.h"

namespace {

using cli::udev::decoded;
using cli::udev::encoded;
using cli::udev::propertyValue;

TEST(UdevSafeText, ALinkKeepsWhatUdevKeepsInALink) {
    EXPECT_EQ(encoded("UDID##ACME##A+B-C.D:E=F@G_h9"), "UDID##ACME##A+B-C.D:E=F@G_h9");
    EXPECT_EQ(encoded("a b/c\\d"), "a\\x20b\\x2fc\\x5cd");
    EXPECT_EQ(encoded("$(x)`y`'\"%{,?*"),
              "\\x24\\x28x\\x29\\x60y\\x60\\x27\\x22\\x25\\x7b\\x2c\\x3f\\x2a");
    EXPECT_EQ(encoded(std::string("\n\0\x7f\xff\xc3\xa4", 6)), "\\x0a\\x00\\x7f\\xff\\xc3\\xa4");
    EXPECT_EQ(encoded(""), "");
}

TEST(UdevSafeText, AValueStaysReadable) {
    EXPECT_EQ(propertyValue("EMC CLARiiON, 60:06/01"), "EMC CLARiiON, 60:06/01");
    EXPECT_EQ(propertyValue("a\nKEY=b"), "a\\x0aKEY=b");
    EXPECT_EQ(propertyValue("\"a\" '$b' `c` \\x20"),
              "\\x22a\\x22 \\x27\\x24b\\x27 \\x60c\\x60 \\x5cx20");
    EXPECT_EQ(propertyValue("~\x7f\x1f\x80"), "~\\x7f\\x1f\\x80");
}

TEST(UdevSafeText, BlanksAtTheEndsOfAValueAreNotLost) {
    EXPECT_EQ(propertyValue("  a b "), "\\x20\\x20a b\\x20");
    EXPECT_EQ(propertyValue(" "), "\\x20");
}

TEST(UdevSafeText, EveryByteComesBack) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(decoded(encoded(all)), all);
    EXPECT_EQ(decoded(propertyValue(all)), all);
    EXPECT_EQ(encoded(all).find_first_of(std::string(" /\n\"'\0", 6)), std::string::npos);
}

TEST(UdevSafeText, WhatIsNoEscapeStays) {
    EXPECT_EQ(decoded("\\x4"), "\\x4");
    EXPECT_EQ(decoded("\\x4g\\xg4\\X41\\x"), "\\x4g\\xg4\\X41\\x");
    EXPECT_EQ(decoded("\\x41"), "A");
    EXPECT_EQ(decoded(std::string("\\x4\0", 4)), std::string("\\x4\0", 4));
}

}  // namespace
