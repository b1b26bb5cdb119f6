#include "recording/pages/designators.h"

#include <gtest/gtest.h>

#include "page_builder.h"

namespace {

using recording::Association;
using recording::Designator;
using recording::designatorsIn;
using recording::designatorsOfPage;
using test::Bytes;
using test::Page;

TEST(Designators, EveryFieldOfTheHeaderIsTold) {
    Page page = Page::names();
    page.designator(0x61, 0, 0x93, {0x50, 0x01, 0x02, 0x03, 4, 5, 6, 7});
    const std::vector<Designator> found = designatorsOfPage(page.data());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].offset, 4U);
    EXPECT_EQ(found[0].protocol, 6U);
    EXPECT_TRUE(found[0].isProtocolValid);
    EXPECT_EQ(found[0].codeSet, 1U);
    EXPECT_EQ(found[0].association, Association::kTargetPort);
    EXPECT_EQ(found[0].type, 3U);
    EXPECT_EQ(found[0].reserved, 0);
    EXPECT_EQ(found[0].length, 8U);
    EXPECT_EQ(found[0].naa(), 5U);
    EXPECT_TRUE(found[0].isWhole());
}

TEST(Designators, AValueThatThePageCutsIsTheLast) {
    Page page = Page::names();
    page.naa(test::counting(16)).naa(test::counting(8));
    for (const auto& [size, whole] : std::vector<std::pair<std::size_t, bool>>{
             {page.size(), true}, {page.size() - 1, false}, {page.size() - 8, false}}) {
        Page cut = page;
        cut.cut(size);
        const std::vector<Designator> found = designatorsOfPage(cut.data());
        ASSERT_EQ(found.size(), 2U) << size;
        EXPECT_EQ(found[1].isWhole(), whole) << size;
        EXPECT_EQ(found[1].length, 8U);
        EXPECT_EQ(found[1].value.size(), 8U - (page.size() - size));
    }
    EXPECT_EQ(designatorsOfPage(page.cut(page.size() - 9).data()).size(), 1U)
        << "a header that is cut off counts as none";
}

TEST(Designators, ThePageLengthEndsThemBeforeTheBytesDo) {
    Page page = Page::names();
    page.naa(test::counting(16)).naa(test::counting(8));
    page.pageLength(20);
    EXPECT_EQ(designatorsOfPage(page.data()).size(), 1U);
    EXPECT_EQ(designatorsIn(page.data(), 4).size(), 2U);
    page.pageLength(23);
    EXPECT_EQ(designatorsOfPage(page.data()).size(), 1U);
    page.pageLength(24);
    EXPECT_EQ(designatorsOfPage(page.data()).size(), 2U);
}

TEST(Designators, ThePageLengthHasTwoBytes) {
    Bytes page(2000, 0);
    page[1] = 0x83;
    page[2] = 4;
    EXPECT_EQ(designatorsOfPage(page).size(), 256U);
    page[3] = 3;
    EXPECT_EQ(designatorsOfPage(page).size(), 256U);
    page[3] = 4;
    EXPECT_EQ(designatorsOfPage(page).size(), 257U);
}

TEST(Designators, NoPageAndEmptyDesignatorsComeToAnEnd) {
    EXPECT_TRUE(designatorsOfPage({}).empty());
    EXPECT_TRUE(designatorsOfPage({0, 0x83, 0}).empty());
    EXPECT_TRUE(designatorsOfPage({0, 0x83, 0xff, 0xff}).empty());
    EXPECT_EQ(designatorsIn(Bytes(64, 0), 0).size(), 16U);
    EXPECT_EQ(designatorsIn(Bytes(64, 0), 0)[0].naa(), 0U);
    EXPECT_TRUE(designatorsIn(Bytes(4, 0), 100).empty());
}

}  // namespace
