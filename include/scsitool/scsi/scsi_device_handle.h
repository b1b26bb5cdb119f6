#ifndef SCSITOOL_SCSI_SCSI_DEVICE_HANDLE_H
#define SCSITOOL_SCSI_SCSI_DEVICE_HANDLE_H

#include <cstdint>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"

namespace host {
class Host;
}

namespace scsi {
struct HostOfHandle;
}

/// Owner of one open descriptor on a SCSI device node, closed at its end. It opens on the host that
/// is current then and closes on that same host, whatever scope is current by then; where that host
/// is gone nothing is closed. Used by one thread at a time.
class SCSITOOL_EXPORT CScsiDeviceHandle : public virtual qzfi_pdk_4_4::CFiTraceable {
  public:
    /// A closed handle.
    CScsiDeviceHandle();
    /// Opens the record's device name; throws int 6 when it cannot be opened. Nothing is traced: a
    /// handle that is only being made has no trace log yet. Who wants the lines makes a closed
    /// handle, registers the log and calls `open`.
    explicit CScsiDeviceHandle(CScsiDeviceData& device);
    ~CScsiDeviceHandle() override;
    CScsiDeviceHandle(const CScsiDeviceHandle&) = delete;
    CScsiDeviceHandle& operator=(const CScsiDeviceHandle&) = delete;

    /// Gives the descriptor that is held already, whatever the record, or opens the record's
    /// device name. -1 when that fails and `noThrow` is set, else a failure throws int 6.
    int open(CScsiDeviceData& device, bool noThrow);

    /// Opens the record's device name (O_RDWR | O_NONBLOCK), once: the retry settings are read
    /// and not used. Gives the descriptor, which the handle does not keep; -1 or int 6 as in
    /// `open`.
    int openDevice(CScsiDeviceData& device, bool noThrow);

    /// Closes a descriptor and marks the handle closed; a negative one does nothing. A descriptor
    /// that the handle does not hold is closed on the current host.
    void closeDevice(int fd);

    std::string m_devicePath;  ///< the node that is or was opened; empty after the end
    int m_descriptor;          ///< -1 when nothing is open

  private:
    friend struct scsi::HostOfHandle;

    // 0 counts as closed: it is neither closed at the end nor kept by `open`.
    bool holdsDescriptor() const { return m_descriptor != -1 && m_descriptor != 0; }
    void keepOpened(host::Host& host, CScsiDeviceData& device, bool noThrow);
    int openNode(host::Host& host, CScsiDeviceData& device, bool noThrow);
    host::Host* opener() const;

    // host::Host::instance of the host that gave the descriptor, 0 for one that was put in by hand.
    // A number and not a pointer: it fits where the object had no bytes in use, and a host that is
    // gone is noticed.
    std::uint32_t m_openedOn;
};

#endif
