#ifndef SCSITOOL_RECORDING_REDACTION_FILE_KIND_H
#define SCSITOOL_RECORDING_REDACTION_FILE_KIND_H

#include <string>
#include <string_view>

#include "recording/redaction/page_redaction.h"

namespace recording {

/// What a file of a host holds, as far as a redaction has to know.
enum class FileKind {
    kPlain,       ///< numbers of the kernel, and vendor, product and firmware
    kMounts,      ///< a table of mounts
    kInquiry,     ///< the kernel's copy of INQUIRY data
    kPage,        ///< the kernel's copy of a VPD page
    kName,        ///< a name that somebody gave
    kIdentifier,  ///< made of a device's identifier
    kText,        ///< anything else
};

FileKind kindOf(const std::string& path);
/// Of a file of kind `kInquiry` or `kPage`.
PageCode pageCodeOf(FileKind kind, const std::string& path);

/// The last component of a path.
std::string baseName(const std::string& path);
bool startsWith(std::string_view text, std::string_view start);

}  // namespace recording

#endif
