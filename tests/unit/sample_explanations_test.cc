#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>

#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/explanation.h"

namespace {

namespace fs = std::filesystem;

using udid::ExplainedPage;
using udid::Explanation;
using udid::Piece;

std::vector<std::string> samplePaths() {
    std::vector<std::string> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() == ".json") {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return text;
}

std::string withoutBlanks(std::string text, bool leading) {
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    while (leading && !text.empty() && text.front() == ' ') {
        text.erase(0, 1);
    }
    return text;
}

std::string digits(const std::string& bytes, const char* table, const std::string& separator,
                   std::size_t group) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text += i > 0 && i % group == 0 ? separator : "";
        text += table[static_cast<unsigned char>(bytes[i]) / 16];
        text += table[static_cast<unsigned char>(bytes[i]) % 16];
    }
    return text;
}

/// What a format makes of marked bytes, told again from its description alone.
std::string rebuilt(const std::string& format, std::string bytes) {
    if (format == "hex-lower") {
        return digits(bytes, "0123456789abcdef", "", 1);
    }
    if (format == "hex-upper") {
        return digits(bytes, "0123456789ABCDEF", "", 1);
    }
    if (format == "hex-lower-colons") {
        return digits(bytes, "0123456789abcdef", ":", 1);
    }
    if (format == "hex-upper-dashes") {
        return digits(bytes, "0123456789ABCDEF", "-", 2);
    }
    if (format == "kind-and-hex-lower") {
        return "5" + digits(bytes, "0123456789abcdef", "", 1);
    }
    if (format == "decimal-of-hex-text") {
        return std::to_string(std::stol("0" + bytes, nullptr, 16));
    }
    if (format == "decimal-of-decimal-text") {
        return std::to_string(std::stol("0" + bytes, nullptr, 10));
    }
    if (format == "blanks-as-underscores") {
        bytes = withoutBlanks(bytes, false);
        std::replace(bytes.begin(), bytes.end(), ' ', '_');
        return bytes;
    }
    if (format == "trimmed-text" || format == "right-trimmed-text") {
        return withoutBlanks(bytes, format == "trimmed-text");
    }
    return format == "text" ? bytes : "unknown format " + format;
}

/// A piece's bytes as far as they are marked in its page.
std::string markedBytes(const Explanation& explanation, const Piece& piece) {
    std::string bytes;
    for (const ExplainedPage& page : explanation.pages) {
        if (page.code != piece.page) {
            continue;
        }
        for (const udid::ByteRange& range : page.used) {
            for (std::size_t i = range.offset; i < range.offset + range.length; ++i) {
                if (i >= piece.offset && i < piece.offset + piece.length) {
                    bytes += static_cast<char>(page.bytes.at(i));
                }
            }
        }
    }
    return bytes;
}

std::string rebuilt(const Explanation& explanation, const std::vector<Piece>& pieces) {
    std::string text;
    for (const Piece& piece : pieces) {
        const std::string format = nameOf(piece.format);
        const bool ofPage = piece.page != udid::kNoPage;
        text += ofPage ? rebuilt(format, markedBytes(explanation, piece)) : piece.text;
    }
    return text;
}

class SampleExplanation : public testing::TestWithParam<std::string> {
  protected:
    SampleExplanation() : host(recording::loadRecordedHost(GetParam()), journal), m_scope(host) {
        factory.enumerateDeviceMap(false, false, false, "", "");
    }

    recording::Journal journal;
    recording::RecordedHost host;
    CUDIDFactory factory;

  private:
    const host::Scope m_scope;
};

TEST_P(SampleExplanation, EndsInTheUdidOfTheDeviceMap) {
    ASSERT_FALSE(factory.records().empty());
    for (const auto& record : factory.records()) {
        const Explanation explanation = udid::explain(factory, *record);
        EXPECT_EQ(explanation.udid, factory.deviceMap().at(record->m_deviceName).uid)
            << record->m_deviceName;
    }
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST_P(SampleExplanation, MarksTheBytesThatMakeTheUdid) {
    for (const auto& record : factory.records()) {
        SCOPED_TRACE(record->m_deviceName);
        const Explanation explanation = udid::explain(factory, *record);
        const udid::GeneratorReport* const decisive = explanation.decisive();
        ASSERT_NE(decisive, nullptr);
        EXPECT_EQ(
            upper(rebuilt(explanation, decisive->prefix) + rebuilt(explanation, decisive->body)),
            explanation.udid);
    }
}

TEST_P(SampleExplanation, MarksNoByteThatNoPieceUses) {
    for (const auto& record : factory.records()) {
        const Explanation explanation = udid::explain(factory, *record);
        std::vector<Piece> pieces = explanation.decisive()->prefix;
        const std::vector<Piece>& body = explanation.decisive()->body;
        pieces.insert(pieces.end(), body.begin(), body.end());
        std::size_t marked = 0;
        for (const ExplainedPage& page : explanation.pages) {
            for (const udid::ByteRange& range : page.used) {
                marked += range.length;
            }
        }
        std::size_t used = 0;
        for (const Piece& piece : pieces) {
            used += piece.page != udid::kNoPage ? markedBytes(explanation, piece).size() : 0;
        }
        EXPECT_EQ(marked, used) << record->m_deviceName;
    }
}

std::string sampleName(const testing::TestParamInfo<std::string>& sample) {
    std::string name = fs::path(sample.param).stem().string();
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '-' || c == '.'; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleExplanation, testing::ValuesIn(samplePaths()), sampleName);

/// The families' sample: each of the families that it holds once by its own format, and once by
/// what it falls back to.
TEST(FamiliesSample, ShowsEveryFamilyAtWorkAndEveryFamilyFailing) {
    recording::Journal journal;
    recording::RecordedHost host(
        recording::loadRecordedHost(std::string(SCSITOOL_SAMPLES) + "/families.json"), journal);
    const host::Scope scope(host);
    CUDIDFactory factory;
    factory.enumerateDeviceMap(false, false, false, "", "");
    std::map<std::string, int> built;
    std::map<std::string, int> failed;
    for (const auto& record : factory.records()) {
        for (const udid::GeneratorReport& report : udid::explain(factory, *record).generators) {
            if (report.claimed) {
                ++(report.failure.empty() ? built : failed)[report.name];
            }
        }
    }
    for (const std::string name :
         {"HP:MSA", "HP:HSV", "HP:XP", "IBM:TOTALSTORAGE", "IBM:DISKSYSTEM",
          "DGC:", "EMC:SYMMETRIX", "HITACHI:HDS", "ENGENIO:UNIVERSAL", "NETAPP:LUN", "HP:3PAR",
          "FUJITSU:ETERNUS"}) {
        EXPECT_GE(built[name], 2) << name << ": two paths of one volume";
        EXPECT_GE(failed[name], 2) << name << ": two paths of one volume";
    }
}

}  // namespace
