#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "family_samples.h"
#include "scsitool/udid/explanation.h"
#include "udid/families.h"
#include "udid/format_table.h"

namespace {

std::string document() {
    std::ifstream stream(std::string(SCSITOOL_SAMPLES) + "/../docs/udid-formats.md");
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

TEST(UdidFormatsDocument, ShowsTheUdidOfEverySample) {
    const std::string text = document();
    for (const test::FamilySample& sample : test::familySamples()) {
        EXPECT_NE(text.find("`" + sample.udid + "`"), std::string::npos)
            << sample.name << ": " << sample.udid;
    }
}

TEST(UdidFormatsDocument, ShowsNoFamilysUdidThatIsNotASamples) {
    std::set<std::string> samples = {"UDID##LSI##INF-01-00####60060160A1B2C3D41122334455667788"};
    for (const test::FamilySample& sample : test::familySamples()) {
        samples.insert(sample.udid);
    }
    const std::string text = document();
    const std::regex udid("`(UDID##[^`#]+##[^`#]+##[^`]+)`");
    int found = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), udid), end; match != end; ++match) {
        EXPECT_EQ(samples.count((*match)[1]), 1U) << (*match)[1];
        ++found;
    }
    EXPECT_GE(found, 20);
}

TEST(UdidFormatsDocument, SaysOfEveryFamilyWhichPartIsWhichInTheirOrder) {
    const std::string text = document();
    const std::string title = "| `family` | `array_serial` | `volume_id` |\n|---|---|---|\n";
    std::istringstream rows(text.substr(text.find(title) + title.size()));
    std::vector<std::string> families;
    for (const udid::Family& family : udid::kFamilies) {
        families.emplace_back(family.name);
    }
    std::vector<std::string> found;
    for (std::string row; std::getline(rows, row) && !row.empty();) {
        found.push_back(row.substr(2, row.find(" | ") - 2));
    }
    EXPECT_EQ(found, families);
}

TEST(UdidFormatsDocument, ExplainsEveryFormat) {
    const std::string text = document();
    for (const udid::FormatRow& row : udid::kFormatTable) {
        const std::string line = std::string("| `") + row.name + "` | " + row.meaning + " |\n";
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
}

/// A heading as GitHub and others link to it.
std::string anchorOf(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (c == ' ') {
            anchor += '-';
        }
    }
    return anchor;
}

TEST(UdidFormatsDocument, HasALineAndASectionOfEveryFamilyInTheirOrder) {
    const std::string text = document();
    std::size_t line = 0;
    std::size_t section = 0;
    for (const udid::Family& family : udid::kFamilies) {
        const std::string name = family.name;
        const std::string shown = *family.vendor == '\0' ? "everything else" : name;
        const std::size_t found = text.find("\n| [" + shown + "](#" + anchorOf(name) + ") | ");
        ASSERT_NE(found, std::string::npos) << name;
        EXPECT_GT(found, line) << name;
        line = found;
        const std::size_t heading = text.find("\n## " + name + "\n");
        ASSERT_NE(heading, std::string::npos) << name;
        EXPECT_GT(heading, section) << name;
        section = heading;
    }
}

TEST(UdidFormatsDocument, ExplainsEveryOutcome) {
    const std::string text = document();
    for (int outcome = 0; outcome <= static_cast<int>(udid::Outcome::kNone); ++outcome) {
        const std::string name = nameOf(static_cast<udid::Outcome>(outcome));
        EXPECT_NE(text.find("| `" + name + "` |"), std::string::npos) << name;
    }
}

}  // namespace
