#ifndef SCSITOOL_CLI_OUTPUT_DESIGNATOR_TEXT_H
#define SCSITOOL_CLI_OUTPUT_DESIGNATOR_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

#include "cli/output/report.h"
#include "cli/output/table.h"
#include "recording/pages/designators.h"
#include "scsitool/udid/account.h"

namespace cli {

/// A designator of page 0x83 in words.
struct ShownDesignator {
    std::size_t offset = 0;   ///< of its header in the page
    std::string association;  ///< "logical unit", "target port (SAS)"
    std::string type;         ///< "NAA 6", "T10 vendor ID"
    std::string codeSet;      ///< "binary"
    std::size_t length = 0;   ///< as its header says
    std::vector<std::uint8_t> value;
    std::string text;      ///< the value for people: characters, a number, hexadecimal digits
    bool isTaken = false;  ///< bytes of its value stand in the UDID
    std::string why;       ///< what of it is taken, or why nothing is
};

/// The designators of a page 0x83, its header included, and what the account's UDID takes of them.
/// None for a page older than SPC-3, which holds one identifier without a header.
std::vector<ShownDesignator> shownDesignators(const std::vector<std::uint8_t>& page,
                                              const udid::Account& account);

/// A table of them with its title; empty without any.
std::string designatorsText(const std::vector<ShownDesignator>& designators, const Layout& layout);
Json designatorsJson(const std::vector<ShownDesignator>& designators);

}  // namespace cli

#endif
