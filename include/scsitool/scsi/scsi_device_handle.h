#ifndef SCSITOOL_SCSI_SCSI_DEVICE_HANDLE_H
#define SCSITOOL_SCSI_SCSI_DEVICE_HANDLE_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"

/// Owner of one open descriptor on a SCSI device node, closed at its end. Open it and let it end
/// under the same host. Used by one thread at a time.
class SCSITOOL_EXPORT CScsiDeviceHandle : public virtual qzfi_pdk_4_4::CFiTraceable {
  public:
    /// A closed handle.
    CScsiDeviceHandle();
    /// Opens the record's device name; throws int 6 when it cannot be opened.
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

    /// Closes a descriptor and marks the handle closed; a negative one does nothing.
    void closeDevice(int fd);

    std::string m_devicePath;  ///< the node that is or was opened; empty after the end
    int m_descriptor;          ///< -1 when nothing is open

  private:
    // 0 counts as closed: it is neither closed at the end nor kept by `open`.
    bool holdsDescriptor() const { return m_descriptor != -1 && m_descriptor != 0; }
};

#endif
