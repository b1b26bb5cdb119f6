#ifndef SCSITOOL_HOST_COMMAND_BY_SG_IO_H
#define SCSITOOL_HOST_COMMAND_BY_SG_IO_H

#include "scsitool/host/host.h"

namespace host {

/// Tells whether a kernel or a driver has refused an ioctl as one that it does not know (ENOTTY,
/// EINVAL, ENOSYS, EOPNOTSUPP): nothing was sent to a device then. `result` is 0 or positive, or a
/// negated errno. Pure.
SCSITOOL_EXPORT bool isUnknownRequest(int result);

/// Sends the command of `Host::sendCommand` by the host's `sgIo`, with the same result: 0 and the
/// response from byte 8 on, with zeros behind it, also for a command that did not reach the device;
/// a positive SCSI status and the first 16 bytes of sense data there; or a negated errno and the
/// buffer as it was. The time-out is the one that the kernel has for SCSI_IOCTL_SEND_COMMAND.
/// Data to the device are not sent so: an input length is EINVAL.
SCSITOOL_EXPORT int sendBySgIo(Host& host, int descriptor, CommandBuffer& buffer);

}  // namespace host

#endif
