#ifndef SCSITOOL_CLI_HOSTS_SG_IO_HOST_H
#define SCSITOOL_CLI_HOSTS_SG_IO_HOST_H

#include "scsitool/host/command_by_sg_io.h"
#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Sends by SG_IO what is to be sent by SCSI_IOCTL_SEND_COMMAND, which the kernel warns of in its
/// log; everything else passes on.
class SgIoHost : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one.
    explicit SgIoHost(host::Host& inner) : ForwardingHost(inner) {}

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        return host::sendBySgIo(inner(), descriptor, buffer);
    }
};

}  // namespace cli

#endif
