#ifndef SCSITOOL_SCSI_OPENED_ON_H
#define SCSITOOL_SCSI_OPENED_ON_H

#include "scsitool/host/host.h"
#include "scsitool/scsi/scsi_device_handle.h"

namespace scsi {

/// What the library does with a handle and a host in hand.
struct HostOfHandle {
    /// The host that a handle's descriptor belongs to, where every request through it goes: the one
    /// it was opened on, whatever scope is current by now. Throws int 6 when that host is gone.
    static host::Host& openedOn(const CScsiDeviceHandle& handle);

    /// CScsiDeviceHandle::open on the host in hand. A handle that is open stays with its own.
    static int openOn(host::Host& host, CScsiDeviceHandle& handle, CScsiDeviceData& device,
                      bool noThrow);
};

}  // namespace scsi

#endif
