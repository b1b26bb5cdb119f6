#include <gtest/gtest.h>

#include "cli/output/explain_text.h"
#include "family_samples.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/emc_udid_generators.h"

namespace {

using test::Page;
using test::recordOf;
using test::sampleNamed;
using test::store;

std::string textOf(const CScsiDeviceData& record, CUDIDFactory& factory) {
    return cli::explanationText(udid::account(factory, record), record, {}, {});
}

std::string textOf(const CScsiDeviceData& record) {
    CUDIDFactory factory;
    return textOf(record, factory);
}

cli::Json jsonOf(const CScsiDeviceData& record) {
    CUDIDFactory factory;
    return cli::explanationJson(udid::account(factory, record), record);
}

TEST(ExplainPieces, BytesBehindThePagesEndAreTold) {
    CScsiDeviceData record = recordOf(sampleNamed("ThreePar"));
    for (const auto& [size, text] : std::vector<std::pair<std::size_t, std::string>>{
             {24, "8-23 "},
             {23, "8-23, 23 behind the page's end "},
             {16, "8-23, 16-23 behind the page's end "}}) {
        store(record, 0x83, test::unitNames().cut(size));
        EXPECT_NE(textOf(record).find(" " + text), std::string::npos) << textOf(record);
        const cli::Json piece = jsonOf(record)["generators"].back()["body"].back();
        EXPECT_EQ(piece["beyond"], 24 - size);
        EXPECT_EQ(piece["origin"], "page");
    }
}

TEST(ExplainPieces, APageThatIsMissingIsTold) {
    CScsiDeviceData record = recordOf(sampleNamed("Clariion"));
    record.m_pages.erase(0xC0);
    const std::string text = textOf(record);
    EXPECT_NE(text.find("the page is missing"), std::string::npos) << text;
    EXPECT_NE(text.find("page 0xC0 is missing, page 0x80 is tried\n"), std::string::npos);
    EXPECT_NE(text.find("page 0x80 is missing: the UDID has no array part\n"), std::string::npos);
}

/// A family of a plug-in whose check makes a text of its own, and may refuse it.
class OtherCheck : public CEmcClariionUdidGenerator {
  public:
    OtherCheck(std::string text, bool passed)
        : CEmcClariionUdidGenerator("DGC", ""), m_text(std::move(text)), m_passed(passed) {}
    bool checkForArraySerialNo(unsigned char** /*page*/, unsigned int /*pageLength*/,
                               int /*lengthIndex*/, int /*start*/, std::string& out) override {
        out = m_text;
        return m_passed;
    }

  private:
    std::string m_text;
    bool m_passed;
};

TEST(ExplainPieces, ATextThatACheckMadeIsTheGeneratorsOwn) {
    const CScsiDeviceData record = recordOf(sampleNamed("Clariion"));
    for (const auto& [text, passed] : std::vector<std::pair<std::string, bool>>{
             {"OTHER##", true}, {"APM00123456789##", false}}) {
        OtherCheck generator(text, passed);
        CUDIDFactory factory;
        factory.askFirst({&generator});
        const udid::Account account = udid::account(factory, record);
        for (const udid::Piece& piece : account.explanation.decisive()->body) {
            EXPECT_NE(piece.page, 0xC0U) << text << ": " << piece.text;
            EXPECT_NE(piece.page, 0x80U) << text << ": " << piece.text;
        }
        for (const udid::ExplainedPage& page : account.explanation.pages) {
            EXPECT_TRUE(page.code == 0x83 || page.used.empty()) << text;
        }
        EXPECT_EQ(account.identity.arraySerial, passed ? "OTHER" : "");
    }
}

TEST(ExplainPieces, UsedZerosAreShownAndTrimmedBlanksAreNotMarked) {
    CScsiDeviceData record = recordOf(sampleNamed("Eternus"));
    Page names = Page::names();
    names.naa(test::Bytes(16, 0));
    store(record, 0x83, names);
    store(record, 0, Page::inquiry("FUJITSU", "ETERNUS_DXL").text(36, " 4601A  "));
    const std::string text = textOf(record);
    EXPECT_NE(text.find("  10 [00 00 00 00 00 00 00 00]"), std::string::npos) << text;
    EXPECT_NE(text.find("20[34 36 30  31 41]20 20"), std::string::npos) << text;
}

TEST(ExplainPieces, TheDesignatorsThatDecidedStandInParentheses) {
    CScsiDeviceData record = recordOf("ACME", "Disk");
    store(record, 0x83, test::unitNames());
    const cli::Json json = jsonOf(record);
    EXPECT_EQ(json["pages"][0]["page"], "83");
    EXPECT_EQ(json["pages"][0]["deciding"].dump(),
              R"([{"offset":1,"length":1},{"offset":6,"length":1},{"offset":3,"length":1},)"
              R"({"offset":4,"length":4},{"offset":8,"length":1}])");
    EXPECT_NE(textOf(record).find("  00  00(83)00(14 01 03 00 10)[60 06 01 60"), std::string::npos)
        << textOf(record);
}

}  // namespace
