#ifndef SCSITOOL_CLI_HOSTS_PAGE_ANSWER_H
#define SCSITOOL_CLI_HOSTS_PAGE_ANSWER_H

#include <cstdint>
#include <optional>
#include <string>

#include "scsitool/host/host.h"

namespace cli {

/// The code of the VPD page that a request asks for; none for every other command.
std::optional<std::uint8_t> pageAskedFor(const host::CommandBuffer& request);

/// Tells whether a request is a command of a vendor's own (C0h to FFh, SPC-4), as the one that a
/// NetApp controller tells its identifier to: udid::kControllerReply stands for its reply where
/// pages are told.
bool isVendorSpecific(const host::SgIoRequest& request);

/// A page's code as documents have it, "80"; the command block for the controller's reply.
std::string pageCode(unsigned page);

/// Why a VPD page did not come, to stand behind its name; empty for one that came and for one that
/// the device refuses for good (ILLEGAL REQUEST, SPC-4), which it does on every path and every day.
/// `result` is what the host gave for the request, `answer` what it left in the buffer.
std::string whyNotCome(int result, const host::CommandBuffer& answer);
/// The same of a request by SG_IO. What the node does not take (ENOTTY) it takes on no day.
std::string whyNotCome(int result, const host::SgIoRequest& answer);

/// "page 0x80: SCSI status 8", "the controller's reply: SCSI status 8".
std::string missingText(unsigned page, const std::string& why);
/// Tells whether this is the text of a list of pages (0x00) that a recording does not hold: such a
/// one is of a disk that has none. On a live host a map without a path that works gives the same,
/// and its disk has a list.
bool mayBeUnrecordedList(const std::string& missing);

}  // namespace cli

#endif
