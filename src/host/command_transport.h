#ifndef SCSITOOL_SRC_HOST_COMMAND_TRANSPORT_H
#define SCSITOOL_SRC_HOST_COMMAND_TRANSPORT_H

#include <atomic>

#include "scsitool/host/command_by_sg_io.h"
#include "scsitool/host/host.h"

namespace host {

/// Which of its two ways a kernel takes commands by. SCSI_IOCTL_SEND_COMMAND is deprecated, and one
/// day a kernel will not know it any more; SG_IO carries the same command block. Safe for any
/// number of threads.
class CommandTransport {
  public:
    /// Sends by the ioctl and, where that is refused as unknown, by SG_IO. Whatever a device
    /// answered, and every other error, is the ioctl's and stays. Once SG_IO was taken where the
    /// ioctl was not, the ioctl is not tried again.
    template <class ByIoctl, class BySgIo>
    int send(CommandBuffer& buffer, ByIoctl byIoctl, BySgIo bySgIo) {
        if (m_isRefused.load(std::memory_order_relaxed)) {
            return bySgIo(buffer);
        }
        const int result = byIoctl(buffer);
        if (!isUnknownRequest(result)) {
            return result;
        }
        const int second = bySgIo(buffer);
        if (isUnknownRequest(second)) {
            return result;  // a node that takes no SCSI commands
        }
        // An errno may have come from a node that is about to go: only an answer is proof.
        if (second >= 0) {
            m_isRefused.store(true, std::memory_order_relaxed);
        }
        return second;
    }

  private:
    std::atomic<bool> m_isRefused{false};
};

}  // namespace host

#endif
