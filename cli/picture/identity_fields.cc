#include "cli/picture/identity_fields.h"

#include <cerrno>
#include <vector>

#include "cli/picture/unit_name.h"
#include "recording/pages/designators.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli::picture {
namespace {

using recording::Association;
using recording::Designator;

// Answers for the host, and opens no device on it.
class ClosedDevices : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;
    int openDevice(const std::string& /*path*/, host::OpenMode /*mode*/) override {
        m_isAsked = true;
        return -ENXIO;
    }
    bool isAsked() const { return m_isAsked; }

  private:
    bool m_isAsked = false;
};

scsi::PageView pageOf(const CScsiDeviceData& record, unsigned code) {
    const auto page = record.m_pages.find(code);
    return page != record.m_pages.end() ? scsi::PageView(page->second) : scsi::PageView();
}

std::string serialOf(const scsi::PageView& page) {
    return CStringTool::trim(page.text(scsi::kPageHeader, page.word(scsi::kPageLength)));
}

void takeNames(const scsi::PageView& page, bool isOnePath, IdentityFields& fields) {
    const std::vector<std::uint8_t> bytes(page.data(), page.data() + page.length());
    const std::vector<Designator> designators = recording::designatorsOfPage(bytes);
    fields.logicalUnitName = shownName(namesOf(designators, Association::kLogicalUnit));
    if (isOnePath) {
        fields.targetPort = shownName(namesOf(designators, Association::kTargetPort));
        const auto relative = portNumber(designators, recording::kRelativeTargetPort);
        if (fields.targetPort.empty() && relative) {
            fields.targetPort = "relative port " + std::to_string(*relative);
        }
        fields.portGroup = portNumber(designators, recording::kTargetPortGroup);
    }
}

// In the case in which the UDID has it: TAQ mode alone leaves it as the generator wrote it.
std::string inUdid(const std::string& text, const std::string& generator) {
    const std::string trimmed = CStringTool::trim(text);
    return generator == "TAQ:TAQ" ? trimmed : CStringTool::tostrupper(trimmed);
}

// What everything else is named by when it names itself by nothing is its path: of no family.
bool isOfAFamily(const udid::Identity& identity) {
    return !identity.generator.empty() && !(identity.generator == ":" && identity.volumeId.empty());
}

void fillFrom(std::string& text, const std::string& other) {
    if (text.empty()) {
        text = other;
    }
}

}  // namespace

IdentityFields fieldsOf(const CScsiDeviceData& record, const udid::Identity* identity) {
    IdentityFields fields;
    if (identity != nullptr && isOfAFamily(*identity)) {
        fields.family = udid::familyName(identity->generator);
        fields.arraySerial = inUdid(identity->arraySerial, identity->generator);
        fields.volumeId = inUdid(identity->volumeId, identity->generator);
    }
    fields.serial = serialOf(pageOf(record, scsi::kUnitSerialNumber));
    const scsi::PageView names = pageOf(record, scsi::kDeviceIdentification);
    if (names.hasBuffer()) {
        takeNames(names, record.m_dmpClaimLevel == 0, fields);
    }
    return fields;
}

IdentityFields fieldsOf(const CScsiDeviceData& record, host::Host& host) {
    ClosedDevices closed(host);
    const host::Scope scope(closed);
    CUDIDFactory factory;
    const udid::Account account = udid::account(factory, record);
    return fieldsOf(record, closed.isAsked() ? nullptr : &account.identity);
}

void complete(IdentityFields& fields, const IdentityFields& other) {
    fillFrom(fields.family, other.family);
    fillFrom(fields.arraySerial, other.arraySerial);
    fillFrom(fields.volumeId, other.volumeId);
    fillFrom(fields.logicalUnitName, other.logicalUnitName);
    fillFrom(fields.serial, other.serial);
}

}  // namespace cli::picture
