#ifndef SCSITOOL_SCSI_OPENED_ON_H
#define SCSITOOL_SCSI_OPENED_ON_H

#include "scsitool/host/host.h"
#include "scsitool/scsi/scsi_device_handle.h"

namespace scsi {

/// The host that a handle's descriptor belongs to, where every request through it goes: the one it
/// was opened on, whatever scope is current by now. Throws int 6 when that host is gone.
host::Host& openedOn(const CScsiDeviceHandle& handle);

/// CScsiDeviceHandle::open on the host in hand. A handle that is open stays with its own.
int openOn(host::Host& host, CScsiDeviceHandle& handle, CScsiDeviceData& device, bool noThrow);

}  // namespace scsi

#endif
