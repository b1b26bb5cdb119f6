#include <gtest/gtest.h>

#include <set>

#include "family_samples.h"
#include "scsitool/udid/device_udid_factory.h"
#include "udid/families.h"

namespace {

using Names = std::vector<std::string>;

/// Owner of a list of generators.
class Generators {
  public:
    ~Generators() {
        for (CUdidGenerator* const generator : m_list) {
            delete generator;
        }
    }
    /// Who claims a record of this vendor and product, in the order of the list.
    Names claiming(const std::string& vendor, const std::string& product) const {
        Names names;
        for (CUdidGenerator* const generator : m_list) {
            CScsiDeviceData record = test::recordOf(vendor, product);
            if (generator->claimDevice(&record)) {
                names.push_back(generator->getGeneratorName());
            }
        }
        return names;
    }
    Names names() const {
        Names names;
        for (CUdidGenerator* const generator : m_list) {
            names.push_back(generator->getGeneratorName());
        }
        return names;
    }

  private:
    std::vector<CUdidGenerator*> m_list = udid::createGenerators();
};

/// A new family may stand between these, as far as it leaves their order as it is.
TEST(GeneratorOrder, OfTheFirstThirteenIsPublished) {
    const Names published = {"HP:MSA",
                             "HP:HSV",
                             "HP:XP",
                             "IBM:TOTALSTORAGE",
                             "IBM:DISKSYSTEM",
                             "DGC:",
                             "EMC:SYMMETRIX",
                             "HITACHI:HDS",
                             "ENGENIO:UNIVERSAL",
                             "NETAPP:LUN",
                             "HP:3PAR",
                             "FUJITSU:ETERNUS",
                             ":"};
    Names found;
    for (const std::string& name : Generators().names()) {
        if (std::find(published.begin(), published.end(), name) != published.end()) {
            found.push_back(name);
        }
    }
    EXPECT_EQ(found, published);
    EXPECT_EQ(Generators().names().back(), ":") << "behind it nobody is asked";
}

/// The words of every claim about one text of the record; a condition without words asks for the
/// key.
void addWords(const udid::Family& family, udid::Asked asked, Names& words) {
    for (const udid::Condition& condition : family.claim.conditions) {
        if (condition.asked != asked) {
            continue;
        }
        if (condition.words[0].empty()) {
            words.emplace_back(asked == udid::Asked::kVendor ? family.vendor : family.product);
        }
        for (const std::string_view word : condition.words) {
            if (!word.empty()) {
                words.emplace_back(word);
            }
        }
    }
}

/// Every word of every claim rule, alone and joined, for every vendor that a rule knows and those
/// that more than one rule takes.
std::set<std::string> pairsThatShareARecord(const Generators& generators) {
    Names vendors = {"IBM HP", "ENGENIO", "ACME"};
    // What the tests of the IBM generators know is not in their rows.
    Names words = {"2105", "2107", "1750", "2145", "3552", "3542",
                   "1722", "1724", "1742", "1815", "1814"};
    for (const udid::Family& family : udid::kFamilies) {
        addWords(family, udid::Asked::kVendor, vendors);
        addWords(family, udid::Asked::kProduct, words);
    }
    std::set<std::string> pairs;
    for (const std::string& vendor : vendors) {
        for (const std::string& first : words) {
            for (const std::string& second : words) {
                const Names names = generators.claiming(vendor, first + " " + second);
                for (std::size_t i = 0; i < names.size(); ++i) {
                    for (std::size_t j = i + 1; j < names.size(); ++j) {
                        pairs.insert(names[i] + " before " + names[j]);
                    }
                }
            }
            for (const std::string& name : generators.claiming(vendor, first)) {
                if (name != ":") {
                    pairs.insert(name + " before :");
                }
            }
        }
    }
    return pairs;
}

TEST(GeneratorOrder, FourPairsAndTheDefaultMayClaimOneRecord) {
    std::set<std::string> expected = {
        "HP:MSA before HP:HSV", "HP:MSA before HP:XP", "HP:MSA before IBM:TOTALSTORAGE",
        "HP:MSA before IBM:DISKSYSTEM", "IBM:TOTALSTORAGE before IBM:DISKSYSTEM"};
    const Generators generators;
    for (const std::string& name : generators.names()) {
        if (name != ":") {
            expected.insert(name + " before :");
        }
    }
    EXPECT_EQ(pairsThatShareARecord(generators), expected);
}

/// A record that several families claim, with every page that either would read.
CScsiDeviceData sharedRecord(const std::string& vendor, const std::string& product) {
    CScsiDeviceData record = test::recordOf(vendor, product);
    test::Page inquiry = test::Page::inquiry(vendor, product, 140);
    inquiry.text(36, "500123450010").text(96, "MSASERIAL").bytes(130, test::counting(8));
    test::Page names = test::unitNames();
    names.designator(2, 0, 1, test::Bytes(40, 'N'));
    test::store(record, 0, inquiry);
    test::store(record, 0x80, test::Page::serial("SERIAL80"));
    test::store(record, 0x83, names);
    test::store(record, 0xC8, test::Page::vpd(0xC8, 120));
    test::store(record, 0xD0, test::Page::vpd(0xD0, 40));
    return record;
}

struct SharedRecord {
    const char* vendor;
    const char* product;
    const char* claiming;  // the two keys that claim it, besides the default's
    const char* udidBegin;
};

TEST(GeneratorOrder, TheFirstThatClaimsARecordWins) {
    const SharedRecord records[] = {
        {"HP", "HSV MSA", "HP:MSA HP:HSV", "UDID##HP##MSA##MSASERIAL##NNNN"},
        {"COMPAQ", "HSV MSA", "HP:MSA HP:HSV", "UDID##HP##MSA##MSASERIAL##NNNN"},
        {"HP", "OPEN-V MSA", "HP:MSA HP:XP", "UDID##HP##MSA##MSASERIAL##NNNN"},
        {"IBM HP", "2105 MSA", "HP:MSA IBM:TOTALSTORAGE", "UDID##HP##MSA##MSASERIAL##NNNN"},
        {"IBM HP", "1742 MSA", "HP:MSA IBM:DISKSYSTEM", "UDID##HP##MSA##MSASERIAL##NNNN"},
        {"IBM", "2105 1742", "IBM:TOTALSTORAGE IBM:DISKSYSTEM",
         "UDID##IBM##TOTALSTORAGE##IBM.2105-SERIAL8##"},
        {"IBM", "1742 2105", "IBM:TOTALSTORAGE IBM:DISKSYSTEM",
         "UDID##IBM##TOTALSTORAGE##IBM.1742-SERIAL8##"}};
    const Generators generators;
    CUDIDFactory factory;
    for (const SharedRecord& shared : records) {
        SCOPED_TRACE(std::string(shared.vendor) + "|" + shared.product);
        std::string claiming;
        for (const std::string& name : generators.claiming(shared.vendor, shared.product)) {
            claiming += name + " ";
        }
        EXPECT_EQ(claiming, std::string(shared.claiming) + " : ");
        CScsiDeviceData record = sharedRecord(shared.vendor, shared.product);
        const std::string udid = factory.getUniqueDeviceID(&record);
        EXPECT_EQ(udid.substr(0, std::string(shared.udidBegin).size()), shared.udidBegin);
    }
}

TEST(GeneratorOrder, TheNextThatClaimsARecordTakesOverFromOneThatFails) {
    CUDIDFactory factory;
    CScsiDeviceData record = sharedRecord("HP", "HSV MSA");
    // Too short for the text of an MSA, long enough for the name of an EVA.
    test::store(record, 0x83, test::unitNames());
    EXPECT_EQ(factory.getUniqueDeviceID(&record),
              "UDID##HP##HSV##0102-0304-0506-0708##6006-0160-A1B2-C3D4-1122-3344-5566-7788");
}

TEST(GeneratorOrder, EveryFamilyWinsOverTheDefault) {
    CUDIDFactory factory;
    for (const test::FamilySample& sample : test::familySamples()) {
        const test::FamilyHost host(sample);
        CScsiDeviceData record = test::recordOf(sample);
        const Names claiming = Generators().claiming(sample.vendor, sample.product);
        ASSERT_EQ(claiming.size(), 2U) << sample.name;
        EXPECT_EQ(claiming.back(), ":") << sample.name;
        EXPECT_EQ(factory.getUniqueDeviceID(&record), sample.udid) << sample.name;
    }
}

}  // namespace
