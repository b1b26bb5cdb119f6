#include <gtest/gtest.h>

#include "cli/names/word.h"

namespace {

using cli::names::addressIn;
using cli::names::identifierIn;

TEST(NamesWord, AnAddressIsFourNumbersWithOrWithoutBrackets) {
    for (const char* const word : {"2:0:0:1", "[2:0:0:1]"}) {
        ASSERT_TRUE(addressIn(word)) << word;
        EXPECT_EQ(addressText(*addressIn(word)), "2:0:0:1") << word;
    }
    EXPECT_EQ(addressText(*addressIn("[2:0:0:18446744073709551615]")),
              "2:0:0:18446744073709551615");
    for (const char* const word : {"", "[", "[]", "[2:0:0:1", "2:0:0:1]", "2:0:0", "2:0:0:1:1",
                                   "[[2:0:0:1]]", "a:0:0:1", "2:0:0:-1"}) {
        EXPECT_FALSE(addressIn(word)) << word;
    }
}

TEST(NamesWord, AnIdentifierIsItsDigitsHoweverItIsWritten) {
    const std::string naa6 = "60060160f5a03601c8a41f9b2d11e411";
    for (const char* const word :
         {"60060160f5a03601c8a41f9b2d11e411", "60060160F5A03601C8A41F9B2D11E411",
          "0x60060160f5a03601c8a41f9b2d11e411", "naa.60060160f5a03601c8a41f9b2d11e411",
          "wwn-0x60060160f5a03601c8a41f9b2d11e411", "360060160f5a03601c8a41f9b2d11e411",
          "scsi-360060160f5a03601c8a41f9b2d11e411", "mpath-360060160f5a03601c8a41f9b2d11e411",
          "dm-uuid-mpath-360060160f5a03601c8a41f9b2d11e411",
          "60:06:01:60:F5:A0:36:01:C8:A4:1F:9B:2D:11:E4:11"}) {
        EXPECT_EQ(identifierIn(word), naa6) << word;
    }
    EXPECT_EQ(identifierIn("35000c500a1b2c3d4"), "5000c500a1b2c3d4");
    EXPECT_EQ(identifierIn("eui.0017380012345678"), "0017380012345678");
    EXPECT_EQ(identifierIn("20017380012345678"), "0017380012345678");
}

TEST(NamesWord, WhatHasOtherDigitsIsNone) {
    for (const char* const word :
         {"", "0x", "naa.", "5000c500a1b2c3d", "5000c500a1b2c3d45", "5000c500a1b2c3dg",
          "60060160f5a03601c8a41f9b2d11e41", "60060160f5a03601c8a41f9b2d11e4110",
          "1000000000000000a", "sdb", "t10.ACME"}) {
        EXPECT_EQ(identifierIn(word), "") << word;
    }
}

}  // namespace
