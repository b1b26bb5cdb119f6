#ifndef SCSITOOL_HOST_FILE_REPLACEMENT_H
#define SCSITOOL_HOST_FILE_REPLACEMENT_H

#include <string>

#include "scsitool/host/export.h"

/// Files that the command writes for whoever called it: no matter of the host under examination.
namespace host {

/// Tells whether `replaceFile` could write there as things stand: 0, or a negated errno. EINVAL is
/// a path that is there and is no regular file (a link, a directory, a device) or holds a NUL.
SCSITOOL_EXPORT int checkReplaceable(const std::string& path);

/// Writes a file whole or not at all: a new file beside it (mode 0600, created exclusively) is
/// written, brought to the disk and renamed to the path, where it takes the place of a regular file
/// that is there. Gives 0, or a negated errno as above; the path is then as it was and nothing is
/// left beside it. Signals that end the process wait until this is done.
SCSITOOL_EXPORT int replaceFile(const std::string& path, const std::string& content);

}  // namespace host

#endif
