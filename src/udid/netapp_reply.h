#ifndef SCSITOOL_UDID_NETAPP_REPLY_H
#define SCSITOOL_UDID_NETAPP_REPLY_H

#include <cstddef>
#include <string>

#include "scsitool/scsi/page_view.h"

namespace udid {

/// The controller's identifier in its reply; an empty text stands for none.
struct ControllerIdentifier {
    std::size_t offset = 0;  ///< of its first byte in the reply
    std::string text;
};

/// The most bytes that an identifier has.
inline constexpr std::size_t kControllerIdentifierBytes = 23;

/// Looks the controller's identifier up in the reply to the vendor-specific command. The reply is a
/// list of records from byte 8 on, each with its type in byte 0 and its whole length in bytes 2 and
/// 3; the identifier is the text from byte 28 of the first record of type 0x22, up to its first
/// NUL. A record that starts behind byte 256, or follows one of length 0, is not looked at.
ControllerIdentifier findControllerIdentifier(const scsi::PageView& reply);

}  // namespace udid

#endif
