#ifndef SCSITOOL_SCSI_SCSITOOL_H
#define SCSITOOL_SCSI_SCSITOOL_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/scsi/scsitoolbase.h"

/// The SCSI tool of Linux: INQUIRY and address requests through the kernel's SCSI ioctls, and the
/// control of the host's iSCSI initiator. It has no state; one tool is used by one thread at a
/// time.
class SCSITOOL_EXPORT CScsiTool : public CScsiToolBase {
  public:
    CScsiTool();
    ~CScsiTool() override;

    /// Asks the kernel to forget the device: runs the shell line that writes
    /// "scsi remove-single-device" with host, channel, id and LUN into /proc/scsi/scsi. Gives 0
    /// whatever came of it, 6 (and runs nothing) for a null record or an unknown adapter.
    unsigned RemoveDevice(CScsiDeviceData* device) override;
    /// Measures nothing: gives 0 and leaves the record alone.
    unsigned GetScsiDeviceCapacity(CScsiDeviceHandle& handle, CScsiDeviceData& device) override;
    /// Sets port, bus, LUN and target from the device word of SCSI_IOCTL_GET_IDLUN. Opens a closed
    /// handle. Gives 0; throws int 6 when the device cannot be opened or does not tell.
    unsigned GetTargetLunPortInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device) override;
    /// Sends one INQUIRY (SPC-4) of allocation length 252 by SCSI_IOCTL_SEND_COMMAND, the record's
    /// LUN in bits 5-7 of byte 1 as SCSI-2 has it. The length comes from the response: byte 3 + 4
    /// of a VPD page, byte 4 + 5 of the standard data; what the device did not send reads as 0.
    /// Opens a closed handle. Gives 0, or 6 with `length` 0 and no data; never throws.
    unsigned GetModePageInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device,
                             const unsigned int& page, unsigned int& length, unsigned int evpd,
                             PageBytes<>& data) override;

    /// Reads the host's iSCSI name (RFC 7143) from /etc/iscsi/initiatorname.iscsi into `iqn`.
    /// Gives 0 (also when the file names none: `iqn` is then unchanged), 6 without
    /// /sbin/iscsiadm, 26 when the file cannot be opened; of a file whose read fails the lines read
    /// by then count.
    unsigned GetHostIQN(std::string& iqn);
    /// Discovers the targets behind a portal ("address" or "address:port"). Runs /sbin/iscsiadm
    /// once, for at most 600 seconds, and pauses 5 seconds when it failed. Always gives 0: the
    /// caller retries by calling again.
    unsigned DiscoverIscsiTargets(std::string& portal);
    /// Logs in to a target that was discovered. Runs, pauses and gives as DiscoverIscsiTargets.
    unsigned LoginToIscsiIQN(std::string& targetIqn);
    /// Logs out of a target. Runs, pauses and gives as DiscoverIscsiTargets.
    unsigned LogoutFromIscsiIQN(std::string& targetIqn);
    /// Rescans the open sessions, so that new logical units appear. Runs, pauses and gives as
    /// DiscoverIscsiTargets.
    unsigned RescanIscsiSessions();
    /// Decodes a wait status (waitpid(2)): the exit code, the signal that killed or stopped the
    /// child, or the status itself for a continued child and anything else.
    long GetExecPipeWaitPidStatus(long status);
};

#endif
