#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "family_samples.h"
#include "scsitool/udid/explanation.h"

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

TEST(UdidFormatsDocument, ExplainsEveryFormat) {
    const std::string text = document();
    for (int format = 0; format <= static_cast<int>(udid::Format::kHostName); ++format) {
        const std::string name = nameOf(static_cast<udid::Format>(format));
        EXPECT_NE(text.find("| `" + name + "` |"), std::string::npos) << name;
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
