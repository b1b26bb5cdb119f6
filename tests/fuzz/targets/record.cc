// A device record through every generator, the factory and its explanation.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "cli/output/explain_text.h"
#include "cli/picture/identity_fields.h"
#include "cli/picture/identity_text.h"
#include "invariants.h"
#include "pages.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/udid/account.h"
#include "scsitool/udid/device_udid_factory.h"
#include "udid/families.h"

namespace {

// The factory leaves its generators to whoever took them: one of each is enough for all inputs.
CUDIDFactory& factory() {
    static CUDIDFactory instance;
    return instance;
}

std::string claimedBy(CUdidGenerator& generator, CScsiDeviceData record) {
    try {
        const bool claims = generator.claimDevice(&record);
        return (claims ? "claims " : "declines ") + generator.getUniqueDeviceIDPrefix(&record) +
               generator.getUniqueDeviceID(&record);
    } catch (const CUdidGeneratorException& error) {
        return "fails: " + error.getMessageId();
    }
}

// Each generator, also on records that it would never be asked about.
void askEach(const CScsiDeviceData& record) {
    static const auto* const generators =
        new std::vector<CUdidGenerator*>(udid::createGenerators());
    for (CUdidGenerator* const generator : *generators) {
        const std::string once = claimedBy(*generator, record);
        fuzz::demand(once == claimedBy(*generator, record), "a generator says the same twice",
                     once);
    }
}

void compare(const CScsiDeviceData& record) {
    CScsiDeviceData copy = record;
    const std::string udid = factory().getUniqueDeviceID(&copy);
    fuzz::demand(udid == factory().getUniqueDeviceID(&copy), "a UDID is the same twice", udid);
    const udid::Account account = udid::account(factory(), record);
    fuzz::demand(account.explanation.udid == udid, "the explained UDID is the factory's",
                 account.explanation.udid + "\n" + udid);
    for (const udid::ExplainedPage& page : account.explanation.pages) {
        std::size_t end = 0;
        for (const udid::ByteRange& range : page.used) {
            fuzz::demand(range.offset >= end, "what is used is told once and in order", udid);
            end = range.offset + range.length;
        }
        fuzz::demand(end <= page.bytes.size(), "what is used lies in the page", udid);
    }
    const cli::Layout layout = {80, false};
    const auto fields =
        cli::picture::shownFields(cli::picture::fieldsOf(record, &account.identity));
    fuzz::demandTerminalText(cli::explanationText(account, record, fields, layout));
    fuzz::demandTerminalText(cli::shortExplanationText(account, fields, layout));
    cli::Json json = cli::explanationJson(account, record);
    cli::picture::addFields(json, cli::picture::fieldsOf(record, &account.identity));
    json.dump();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Pages pages = fuzz::readPages(data, size);
    recording::Journal journal;
    recording::RecordedHost host(fuzz::hostOf(pages), journal);
    const host::Scope scope(host);
    const CScsiDeviceData record = fuzz::recordOf(pages);
    askEach(record);
    compare(record);
    factory().m_taqMode = true;
    try {
        compare(record);
    } catch (const CUdidGeneratorException&) {
        // TAQ mode hands the failure of its generator on.
    }
    factory().m_taqMode = false;
    fuzz::demand(host.openDescriptors() == 0, "no descriptor is left open");
    return 0;
}
