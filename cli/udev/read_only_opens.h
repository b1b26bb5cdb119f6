#ifndef SCSITOOL_CLI_UDEV_READ_ONLY_OPENS_H
#define SCSITOOL_CLI_UDEV_READ_ONLY_OPENS_H

#include <string>

#include "scsitool/host/forwarding_host.h"

namespace cli::udev {

/// Opens for reading alone what an operation would open for writing as well. udev watches disks and
/// takes the close of a descriptor that could write for a change of what is on them: it would ask
/// for the same again, and again. INQUIRY needs no right to write.
class ReadOnlyOpens : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const bool writes = mode == host::OpenMode::kReadWriteNonBlocking;
        return ForwardingHost::openDevice(path,
                                          writes ? host::OpenMode::kReadOnlyNonBlocking : mode);
    }
};

}  // namespace cli::udev

#endif
