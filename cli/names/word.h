#ifndef SCSITOOL_CLI_NAMES_WORD_H
#define SCSITOOL_CLI_NAMES_WORD_H

#include <optional>
#include <string>

#include "recording/guard/effect/scsi_address.h"

namespace cli::names {

/// An address as people and lsscsi write it: "2:0:0:1", "[2:0:0:1]".
std::optional<recording::guard::ScsiAddress> addressIn(const std::string& word);

/// The identifier of a logical unit in digits, however it is written: an NAA or EUI-64 with or
/// without "0x", "naa." or "eui." in front, as udev writes it ("wwn-0x6...", "scsi-36..."), as
/// multipathd does (the digit of its kind in front: "36..."), with colons. In small letters; empty
/// for what is none.
std::string identifierIn(const std::string& word);

/// Text without regard to case, to compare UDIDs.
std::string lowered(const std::string& text);

}  // namespace cli::names

#endif
