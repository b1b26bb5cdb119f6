#include "cli/output/family_rests.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "udid/families.h"

namespace {

/// A family's section of the document, up to the next one.
std::string sectionOf(const std::string& family) {
    std::ostringstream text;
    text << std::ifstream(SCSITOOL_SAMPLES "/../docs/udid-formats.md").rdbuf();
    const std::string document = text.str();
    const std::size_t start = document.find("\n## " + family + "\n");
    return start == std::string::npos
               ? std::string()
               : document.substr(start, document.find("\n## ", start + 1) - start);
}

TEST(FamilyRests, EveryFamilyHasItsSentence) {
    for (const udid::Family& family : udid::kFamilies) {
        const std::string sentence = cli::familyRestsOn(family.name);
        EXPECT_EQ(sentence.substr(0, 12), "It rests on ")
            << family.name << " has no sentence in cli/output/family_rests.cc";
        EXPECT_EQ(sentence.substr(sentence.empty() ? 0 : sentence.size() - 1), ".") << family.name;
    }
    EXPECT_EQ(cli::familyRestsOn("ACME:ARRAY"), "");
}

TEST(FamilyRests, TheDocumentSaysItInTheSectionOfTheFamily) {
    for (const udid::Family& family : udid::kFamilies) {
        const std::string row = "\n| rests on | " + cli::familyRestsOn(family.name) + " |\n";
        EXPECT_NE(sectionOf(family.name).find(row), std::string::npos)
            << family.name << " lacks in docs/udid-formats.md:" << row;
    }
}

}  // namespace
