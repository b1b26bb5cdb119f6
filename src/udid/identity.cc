#include "scsitool/udid/identity.h"

#include <string_view>

#include "udid/families.h"

namespace udid {
namespace {

// TAQ mode asks no generator for its claim, so that none has a name in the reports.
constexpr char kTaqGenerator[] = "TAQ:TAQ";
constexpr char kTaqFamily[] = "TAQ";

// "VENDOR:PRODUCT".
bool names(std::string_view generator, const Family& family) {
    const std::string_view vendor = family.vendor;
    return generator.substr(0, vendor.size()) == vendor &&
           generator.substr(vendor.size(), 1) == ":" &&
           generator.substr(vendor.size() + 1) == family.product;
}

}  // namespace

IdentityReporter::~IdentityReporter() = default;

IdentityReporter* identityReporter() {
    return dynamic_cast<IdentityReporter*>(reporter());
}

IdentityCollector::IdentityCollector() = default;
IdentityCollector::~IdentityCollector() = default;

const Identity* IdentityCollector::of(const std::string& deviceName) const {
    const auto known = m_identities.find(deviceName);
    return known != m_identities.end() ? &known->second : nullptr;
}

void IdentityCollector::began(const CScsiDeviceData& record) {
    m_current = &m_identities[record.m_deviceName];
    *m_current = Identity();
    m_asked.clear();
}

void IdentityCollector::told(Fact fact, const std::string& text) {
    if (m_current != nullptr) {
        (fact == Fact::kArraySerial ? m_current->arraySerial : m_current->volumeId) = text;
    }
}

void IdentityCollector::stepped(Step step, const std::string& text) {
    if (step == Step::kAsked) {
        m_asked = text;
    } else if (step == Step::kPrefix && m_current != nullptr) {
        m_current->generator = m_asked.empty() ? kTaqGenerator : m_asked;
    } else if (step == Step::kBody || step == Step::kFailed) {
        forgetFacts();
    }
}

void IdentityCollector::cleared() {
    forgetFacts();
}

void IdentityCollector::forgetFacts() {
    if (m_current != nullptr) {
        m_current->arraySerial.clear();
        m_current->volumeId.clear();
    }
}

// What a UDID says does not depend on the rest.
void IdentityCollector::decided(unsigned /*page*/, std::size_t /*offset*/, std::size_t /*length*/) {
}
void IdentityCollector::compared(const Comparison& /*comparison*/) {}
void IdentityCollector::readPage(unsigned /*page*/, const scsi::PageView& /*view*/) {}
void IdentityCollector::found(const std::string& /*field*/, const Piece& /*piece*/) {}
void IdentityCollector::added(const Piece& /*piece*/) {}
void IdentityCollector::addedField(const std::string& /*field*/, const std::string& /*text*/) {}
void IdentityCollector::remarked(const std::string& /*text*/) {}

std::string familyName(const std::string& generator) {
    for (const Family& family : kFamilies) {
        if (names(generator, family)) {
            return family.name;
        }
    }
    return generator == kTaqGenerator ? kTaqFamily : generator;
}

}  // namespace udid
