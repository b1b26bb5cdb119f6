#ifndef SCSITOOL_CLI_OUTPUT_EXPLAIN_TEXT_H
#define SCSITOOL_CLI_OUTPUT_EXPLAIN_TEXT_H

#include <string>

#include "cli/output/inquiry_text.h"
#include "cli/output/report.h"
#include "cli/output/table.h"
#include "scsitool/udid/account.h"

namespace cli {

/// An explanation as JSON; the record is the one that was explained.
Json explanationJson(const udid::Account& account, const CScsiDeviceData& record);

/// An explanation for people, `more` behind what the device is. Its last line is the UDID.
std::string explanationText(const udid::Account& account, const CScsiDeviceData& record,
                            const NamedTexts& more, const Layout& layout);

/// The same without the designators, the bytes of the pages and the generators that declined.
std::string shortExplanationText(const udid::Account& account, const NamedTexts& more,
                                 const Layout& layout);

}  // namespace cli

#endif
