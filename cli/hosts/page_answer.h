#ifndef SCSITOOL_CLI_HOSTS_PAGE_ANSWER_H
#define SCSITOOL_CLI_HOSTS_PAGE_ANSWER_H

#include <cstdint>
#include <optional>
#include <string>

#include "scsitool/host/host.h"

namespace cli {

/// The code of the VPD page that a request asks for; none for every other command.
std::optional<std::uint8_t> pageAskedFor(const host::CommandBuffer& request);

/// A page's code as documents have it, "80", and as a person is told of it, "page 0x80".
std::string pageCode(std::uint8_t page);
std::string pageName(std::uint8_t page);

/// Why a VPD page did not come, to stand behind its name; empty for one that came and for one that
/// the device refuses for good (ILLEGAL REQUEST, SPC-4), which it does on every path and every day.
/// A recording that does not hold the list of pages (0x00) is one of a disk that has none. `result`
/// is what the host gave for the request, `answer` what it left in the buffer.
std::string whyNotCome(std::uint8_t page, int result, const host::CommandBuffer& answer);

}  // namespace cli

#endif
