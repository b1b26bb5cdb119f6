#include "scsitool/udid/explanation.h"

#include <gtest/gtest.h>

#include <string_view>

#include "family_samples.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/udid_text.h"
#include "trace_capture.h"

namespace {

using test::Bytes;
using test::FamilyHost;
using test::FamilySample;
using test::familySamples;
using test::Page;
using test::recordOf;
using test::sampleNamed;
using test::store;
using udid::Explanation;
using udid::GeneratorReport;
using udid::Outcome;
using udid::Piece;
using Lines = std::vector<std::string>;

std::string textOf(const std::vector<Piece>& pieces) {
    std::string text;
    for (const Piece& piece : pieces) {
        text += piece.text;
    }
    return text;
}

/// One line a piece: format, source, text.
Lines lines(const std::vector<Piece>& pieces) {
    Lines result;
    for (const Piece& piece : pieces) {
        std::string line = nameOf(piece.format);
        if (piece.page != udid::kNoPage) {
            line += " " + std::to_string(piece.page) + ":" + std::to_string(piece.offset) + "+" +
                    std::to_string(piece.length);
        }
        result.push_back(line + " " + piece.text);
    }
    return result;
}

/// One line a comparison.
Lines lines(const GeneratorReport& report) {
    Lines result;
    for (const udid::Comparison& comparison : report.comparisons) {
        result.push_back(comparison.field + " " + comparison.value + " " +
                         (comparison.matched ? "" : "not ") + nameOf(comparison.rule) + " " +
                         comparison.expected);
    }
    return result;
}

/// One line a page: code, length, what is used of it.
Lines lines(const std::vector<udid::ExplainedPage>& pages) {
    Lines result;
    for (const udid::ExplainedPage& page : pages) {
        std::string line = std::to_string(page.code) + (page.present ? "/" : "-") +
                           std::to_string(page.bytes.size());
        for (const udid::ByteRange& range : page.used) {
            line += " " + std::to_string(range.offset) + "+" + std::to_string(range.length);
        }
        result.push_back(line);
    }
    return result;
}

/// The report of the generator of that name.
const GeneratorReport& reportOf(const Explanation& explanation, std::string_view name) {
    return *std::find_if(explanation.generators.begin(), explanation.generators.end(),
                         [&](const GeneratorReport& report) { return report.name == name; });
}

class ExplanationTest : public testing::Test {
  protected:
    Explanation explained(const CScsiDeviceData& record) { return udid::explain(factory, record); }
    CUDIDFactory factory;
};

TEST_F(ExplanationTest, NamesTheGeneratorsInOrderAndWhyEachDeclined) {
    const Explanation explanation = explained(recordOf(sampleNamed("Xp")));
    ASSERT_EQ(explanation.generators.size(), 3U);
    const GeneratorReport& msa = explanation.generators[0];
    EXPECT_EQ(msa.name, "HP:MSA");
    EXPECT_FALSE(msa.claimed);
    EXPECT_EQ(lines(msa), Lines{"product OPEN-V not contains MSA"});
    const GeneratorReport& eva = explanation.generators[1];
    EXPECT_EQ(eva.name, "HP:HSV");
    EXPECT_EQ(lines(eva), (Lines{"vendor HP not equals COMPAQ", "vendor HP equals HP",
                                 "product OPEN-V not begins-with HSV"}));
    const GeneratorReport& xp = explanation.generators[2];
    EXPECT_EQ(xp.name, "HP:XP");
    EXPECT_TRUE(xp.claimed);
    EXPECT_EQ(lines(xp), (Lines{"vendor HP equals HP", "product OPEN-V begins-with OPEN-V"}));
    EXPECT_EQ(explanation.decisive(), &xp);
    EXPECT_EQ(explanation.outcome, Outcome::kClaimed);
}

TEST_F(ExplanationTest, TiesEachPieceToItsBytes) {
    const Explanation explanation = explained(recordOf(sampleNamed("Xp")));
    const GeneratorReport& xp = explanation.generators.back();
    EXPECT_EQ(lines(xp.prefix), Lines{"literal UDID##HP##XP##"});
    EXPECT_EQ(lines(xp.body), (Lines{"decimal-of-hex-text 0:39+5 74565", "literal ##",
                                     "decimal-of-hex-text 0:44+4 16"}));
    EXPECT_EQ(lines(explanation.pages), Lines{"0/96 39+9"});
    EXPECT_EQ(explanation.pages[0].bytes, sampleNamed("Xp").pages.at(0).data());
    EXPECT_EQ(explanation.udid, "UDID##HP##XP##74565##16");
}

TEST_F(ExplanationTest, ReportsTheComparisonsOfTheOverridableTests) {
    const FamilySample& sample = sampleNamed("Fastt");
    const Explanation explanation = explained(recordOf(sample));
    EXPECT_EQ(lines(explanation.generators.back()),
              (Lines{"vendor IBM begins-with IBM", "product 3542 not contains 2105",
                     "product 3542 not contains 2107", "product 3542 not contains 1750",
                     "product 3542 not contains 2145", "product 3542 not contains 3552",
                     "product 3542 contains 3542"}));
    EXPECT_EQ(lines(explanation.generators.back().body),
              (Lines{"literal IBM.", "text 0:16+4 3542", "literal -",
                     "hex-lower 200:90+16 a1a2a3a4a5a6a7a8a9aaabacadaeafb0", "literal ##",
                     "hex-lower 131:22+2 7788"}));
    EXPECT_EQ(lines(explanation.pages), (Lines{"200/120 90+16", "0/96 16+4", "131/24 22+2"}));
}

TEST_F(ExplanationTest, LeavesTheRecordAsItWas) {
    const CScsiDeviceData record = recordOf(sampleNamed("Hitachi"));
    const Explanation explanation = explained(record);
    EXPECT_EQ(record.m_vendorId, "HITACHI ");
    EXPECT_EQ(record.m_productId, "OPEN-V          ");
    EXPECT_EQ(explanation.vendor, "HITACHI ");
    EXPECT_EQ(explanation.product, "OPEN-V          ");
    EXPECT_EQ(explanation.deviceName, "/dev/sda");
}

TEST_F(ExplanationTest, LeavesTheFactoryAsItWas) {
    explained(recordOf(sampleNamed("Hitachi")));
    EXPECT_TRUE(factory.m_deviceMap.empty());
    EXPECT_TRUE(factory.m_devices.empty());
}

TEST_F(ExplanationTest, WritesTheTraceLinesOfTheWork) {
    test::TraceCapture trace;
    factory.registerTraceLog(trace.log());
    trace.clear();
    CScsiDeviceData record = recordOf(sampleNamed("Clariion"));
    explained(record);
    const Lines explainedLines = trace.lines();
    trace.clear();
    factory.getUniqueDeviceID(&record);
    EXPECT_EQ(explainedLines, trace.lines());
    EXPECT_EQ(trace.lines().size(), 2U);
}

TEST_F(ExplanationTest, ShowsWhatWasTakenBack) {
    CScsiDeviceData record = recordOf(sampleNamed("ClariionSerialOfPage80"));
    store(record, 0xC0, Page::vpd(0xC0, 80).set(49, 4).text(50, "AB D"));
    const Explanation explanation = explained(record);
    const GeneratorReport& report = explanation.generators.back();
    EXPECT_EQ(lines(report.dropped), Lines{"text 192:50+14 AB D"});
    EXPECT_EQ(lines(report.body),
              (Lines{"text 128:4+14 CX500123", "literal ##",
                     "hex-lower-colons 131:8+16 60:06:01:60:a1:b2:c3:d4:11:22:33:44:55:66:77:88"}));
    EXPECT_EQ(report.remarks,
              Lines{"page 0xC0 holds no alphanumeric array serial, page 0x80 is tried"});
    EXPECT_EQ(lines(explanation.pages), (Lines{"192/80", "128/12 4+8", "131/24 8+16"}));
}

TEST_F(ExplanationTest, ATwiceRejectedSerialIsShownAsItIsUsed) {
    CScsiDeviceData record = recordOf(sampleNamed("ClariionSerialOfPage80"));
    store(record, 0x80, Page::serial("CX-500"));
    const Explanation explanation = explained(record);
    const GeneratorReport& report = explanation.generators.back();
    EXPECT_EQ(report.remarks,
              (Lines{"page 0xC0 is missing, page 0x80 is tried",
                     "the serial of page 0x80 is not alphanumeric, it is used as it is"}));
    EXPECT_EQ(lines(report.body).front(), "text 128:4+14 CX-500");
    EXPECT_EQ(report.pages, (std::vector<unsigned>{0xC0, 0x80, 0x83}));
    EXPECT_EQ(lines(explanation.pages), (Lines{"192-0", "128/10 4+6", "131/24 8+16"}));
}

TEST_F(ExplanationTest, AFailedGeneratorIsFollowedByTheFallback) {
    CScsiDeviceData record = recordOf(sampleNamed("Lsi"));
    record.m_pages.erase(0xC8);
    const Explanation explanation = explained(record);
    ASSERT_EQ(explanation.generators.size(), factory.m_generators.size());
    const GeneratorReport& lsi = reportOf(explanation, "ENGENIO:UNIVERSAL");
    EXPECT_TRUE(lsi.claimed);
    EXPECT_EQ(lsi.failure, "MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA::");
    EXPECT_EQ(lsi.remarks, Lines{"page 0xc8 is missing"});
    EXPECT_EQ(lines(lsi.prefix), Lines{"literal UDID##ENGENIO##UNIVERSAL##"});
    const GeneratorReport& fallback = explanation.generators.back();
    EXPECT_EQ(fallback.name, ":");
    EXPECT_TRUE(fallback.claimed);
    EXPECT_EQ(explanation.outcome, Outcome::kFallback);
    EXPECT_EQ(explanation.decisive(), &fallback);
    EXPECT_EQ(lines(fallback.prefix),
              (Lines{"literal UDID##", "right-trimmed-text 0:8+8 LSI", "literal ##",
                     "blanks-as-underscores 0:16+16 INF-01-00", "literal ##"}));
    EXPECT_EQ(lines(fallback.body), (Lines{"trimmed-text 128:4+0 ", "literal ##",
                                           "hex-lower 131:8+16 60060160a1b2c3d41122334455667788"}));
    EXPECT_EQ(explanation.udid, "UDID##LSI##INF-01-00####60060160A1B2C3D41122334455667788");
}

TEST_F(ExplanationTest, TheLastResortIsTheDeviceNameAtTheHost) {
    CScsiDeviceData record = recordOf("ACME", "DISK");
    const FamilySample none;
    const FamilyHost host(none);
    const Explanation explanation = explained(record);
    EXPECT_EQ(lines(explanation.generators.back().body),
              (Lines{"device-name /dev/sda", "literal @", "host-name db01"}));
    EXPECT_EQ(explanation.generators.back().remarks,
              (Lines{"page 0x83 is missing", "page 0x80 is missing",
                     "neither page 0x83 nor page 0x80 has an identifier to use"}));
    EXPECT_EQ(lines(explanation.generators.back().prefix),
              (Lines{"literal UDID##", "right-trimmed-text ACME", "literal ##",
                     "blanks-as-underscores DISK", "literal ##"}))
        << "without INQUIRY data the record alone is the source";
}

TEST_F(ExplanationTest, APresetUdidAsksNobody) {
    factory.m_presetDeviceMap["/dev/sda"].uid = "preset-udid";
    const Explanation explanation = explained(recordOf(sampleNamed("Xp")));
    EXPECT_EQ(explanation.udid, "PRESET-UDID");
    EXPECT_EQ(explanation.outcome, Outcome::kPreset);
    EXPECT_TRUE(explanation.generators.empty());
    EXPECT_TRUE(explanation.pages.empty());
    EXPECT_EQ(explanation.decisive(), nullptr);
    EXPECT_EQ(explanation.remarks, Lines{"the caller assigned this UDID in advance"});
}

TEST_F(ExplanationTest, TaqModeAsksTheTaqGeneratorAlone) {
    factory.m_taqMode = true;
    CScsiDeviceData record = recordOf(sampleNamed("Eternus"));
    const Explanation explanation = explained(record);
    EXPECT_EQ(explanation.udid,
              "TAQ_UDID##FUJITSU##TAQ_MODEL##disk-scsi-60060160a1b2c3d41122334455667788");
    EXPECT_EQ(explanation.outcome, Outcome::kTaq);
    ASSERT_EQ(explanation.generators.size(), 1U);
    EXPECT_EQ(explanation.generators[0].name, "TAQ:TAQ");
    EXPECT_EQ(textOf(explanation.generators[0].prefix) + textOf(explanation.generators[0].body),
              explanation.udid);
    EXPECT_EQ(explanation.remarks, Lines{"TAQ mode: no generator is asked for its claim"});
}

/// A generator that claims everything and fails at once.
class FailingGenerator : public CUdidGenerator {
  public:
    FailingGenerator() : CUdidGenerator("fail", "ing") {}
    bool claimDevice(CScsiDeviceData*) override { return true; }
    std::string getUniqueDeviceID(CScsiDeviceData* device) override {
        udid::UdidText body;
        body.bytes(udid::takePage(*device, 0), udid::Format::kText, 8, 2);
        throw CUdidGeneratorException("MSG", "a", "b");
    }
};

TEST_F(ExplanationTest, WhenAllFailThePrefixIsLeft) {
    FailingGenerator failing;
    factory.m_generators = {&failing};
    const Explanation explanation = explained(recordOf(sampleNamed("Xp")));
    EXPECT_EQ(explanation.udid, "UDID##FAIL##ING##");
    EXPECT_EQ(explanation.outcome, Outcome::kPrefixAlone);
    EXPECT_EQ(explanation.generators[0].failure, "MSG:a:b");
    EXPECT_EQ(lines(explanation.generators[0].body), Lines{"text 0:8+2 HP"});
    EXPECT_EQ(explanation.decisive(), &explanation.generators[0]);
    EXPECT_EQ(lines(explanation.pages), Lines{"0/96"}) << "the body is not part of the UDID";
}

TEST_F(ExplanationTest, WhenNobodyClaimsTheUdidIsEmpty) {
    factory.m_generators.resize(3);
    const Explanation explanation = explained(recordOf("ACME", "DISK"));
    EXPECT_EQ(explanation.udid, "");
    EXPECT_EQ(explanation.outcome, Outcome::kNone);
    EXPECT_EQ(explanation.generators.size(), 3U);
    EXPECT_EQ(explanation.decisive(), nullptr);
    factory.m_generators.clear();
    EXPECT_EQ(explained(recordOf("ACME", "DISK")).outcome, Outcome::kNone);
}

TEST_F(ExplanationTest, AFailureThatTheFactoryLetsPassLeavesNoUdid) {
    FailingGenerator failing;
    CUdidGenerator* const taq = factory.m_taqGenerator.release();
    factory.m_taqGenerator.reset(&failing);
    factory.m_taqMode = true;
    const Explanation explanation = explained(recordOf(sampleNamed("Xp")));
    factory.m_taqGenerator.release();
    factory.m_taqGenerator.reset(taq);
    EXPECT_EQ(explanation.udid, "");
    EXPECT_EQ(explanation.outcome, Outcome::kTaq);
    EXPECT_EQ(explanation.generators[0].failure, "MSG:a:b");
}

TEST_F(ExplanationTest, ShowsTheControllersReplyAndWhyThereIsNone) {
    const FamilySample& sample = sampleNamed("NetApp");
    {
        const FamilyHost host(sample);
        const Explanation explanation = explained(recordOf(sample));
        EXPECT_EQ(lines(explanation.pages), (Lines{"256/4096 36+11", "131/40 21+12"}));
        EXPECT_EQ(lines(explanation.generators.back().body).front(), "text 256:36+23 4082368-508");
        EXPECT_EQ(explanation.udid, sample.udid);
    }
    const FamilySample silent;
    const FamilyHost host(silent);
    const Explanation explanation = explained(recordOf(sample));
    const GeneratorReport& netApp = reportOf(explanation, "NETAPP:LUN");
    EXPECT_EQ(netApp.remarks, (Lines{"the request to the controller failed",
                                     "the controller tells no identifier"}));
    EXPECT_EQ(netApp.failure, "MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA:NETAPP:LUN");
    EXPECT_EQ(explanation.outcome, Outcome::kFallback);
}

TEST_F(ExplanationTest, BytesPastAPagesEndAreNotMarked) {
    CScsiDeviceData record = recordOf(sampleNamed("ThreePar"));
    store(record, 0x83, test::unitNames().cut(16));
    const Explanation explanation = explained(record);
    EXPECT_EQ(explanation.udid, "UDID##HP##3PAR##1303421X##60060160A1B2C3D40000000000000000");
    EXPECT_EQ(lines(explanation.pages), (Lines{"128/12 4+8", "131/16 8+8"}));
    EXPECT_EQ(lines(reportOf(explanation, "HP:3PAR").body).back(),
              "hex-upper 131:8+16 60060160A1B2C3D40000000000000000");
}

TEST_F(ExplanationTest, IsAValueOfItsOwn) {
    Explanation kept;
    {
        const CScsiDeviceData record = recordOf(sampleNamed("Eva"));
        CUDIDFactory another;
        kept = udid::explain(another, record);
    }
    EXPECT_EQ(kept.udid, sampleNamed("Eva").udid);
    EXPECT_EQ(kept.decisive()->name, "HP:HSV");
}

TEST_F(ExplanationTest, EndsInTheFactorysUdidAndItsPiecesAreThatText) {
    for (const FamilySample& sample : familySamples()) {
        const FamilyHost host(sample);
        const Explanation explanation = explained(recordOf(sample));
        EXPECT_EQ(explanation.udid, sample.udid) << sample.name;
        ASSERT_NE(explanation.decisive(), nullptr) << sample.name;
        const GeneratorReport& report = *explanation.decisive();
        EXPECT_EQ(CStringTool::tostrupper(textOf(report.prefix) + textOf(report.body)), sample.udid)
            << sample.name;
    }
}

TEST(ExplanationNames, EveryFormatRuleAndOutcomeHasItsOwn) {
    std::set<std::string> names;
    for (int format = 0; format <= static_cast<int>(udid::Format::kHostName); ++format) {
        names.insert(nameOf(static_cast<udid::Format>(format)));
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(udid::Format::kHostName) + 1);
    EXPECT_EQ(names.count(""), 0U);
    EXPECT_STREQ(nameOf(Outcome::kPreset), "preset");
    EXPECT_STREQ(nameOf(Outcome::kTaq), "taq");
    EXPECT_STREQ(nameOf(Outcome::kClaimed), "claimed");
    EXPECT_STREQ(nameOf(Outcome::kFallback), "fallback");
    EXPECT_STREQ(nameOf(Outcome::kPrefixAlone), "prefix-alone");
    EXPECT_STREQ(nameOf(Outcome::kNone), "none");
    EXPECT_STREQ(nameOf(udid::Rule::kEquals), "equals");
    EXPECT_STREQ(nameOf(udid::Rule::kBeginsWith), "begins-with");
    EXPECT_STREQ(nameOf(udid::Rule::kContains), "contains");
}

}  // namespace
