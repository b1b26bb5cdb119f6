#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/scsi.h>
#include <scsi/scsi_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "host/descriptor.h"
#include "host/machine.h"
#include "host/machine_paths.h"
#include "host/retrying.h"
#include "scsitool/host/request_limits.h"

namespace host::machine {
namespace {

int openFlags(OpenMode mode) {
    switch (mode) {
        case OpenMode::kReadWriteNonBlocking:
            return O_RDWR | O_NONBLOCK;
        case OpenMode::kReadOnly:
            return O_RDONLY;
        case OpenMode::kReadOnlyNonBlocking:
            return O_RDONLY | O_NONBLOCK;
        case OpenMode::kReadOnlyExclusive:
            return O_RDONLY | O_NONBLOCK | O_EXCL;
    }
    return O_RDONLY;
}

bool isRegularFile(int descriptor) {
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Remembers which descriptors are no regular files, so that a disk's commands cost no check each.
/// What is not remembered is checked; a descriptor beyond the table always.
class KnownDevices {
  public:
    void remember(int descriptor, bool isDevice) {
        if (isInside(descriptor)) {
            m_isDevice[static_cast<std::size_t>(descriptor)] = isDevice;
        }
    }
    bool has(int descriptor) const {
        return isInside(descriptor) && m_isDevice[static_cast<std::size_t>(descriptor)];
    }

  private:
    static constexpr int kMost = 1024;

    static bool isInside(int descriptor) { return descriptor >= 0 && descriptor < kMost; }

    std::array<std::atomic<bool>, kMost> m_isDevice = {};
};

KnownDevices& knownDevices() {
    static KnownDevices known;
    return known;
}

template <class Argument>
int control(int descriptor, unsigned long request, Argument argument) {
    int result = 0;
    do {
        result = ::ioctl(descriptor, request, argument);
    } while (mayRetry(result));
    return negatedErrno(result);
}

}  // namespace

int openDevice(const std::string& path, OpenMode mode) {
    Descriptor device(openRetrying(path, openFlags(mode)));
    if (!device.isOpen() || device.get() > STDERR_FILENO) {
        knownDevices().remember(device.get(), device.isOpen() && !isRegularFile(device.get()));
        return device.release();
    }
    // A process that closed its standard descriptors gets them here. A device handle takes 0 for
    // closed and would never close it, and what prints would write to the device.
    return negatedErrno(::fcntl(device.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

int closeDevice(int descriptor) {
    knownDevices().remember(descriptor, false);
    return closeOnce(descriptor);
}

int sendCommand(int descriptor, CommandBuffer& buffer) {
    const int refused = checkRequest(buffer);
    if (refused != 0) {
        return refused;
    }
    // The same number is FIBMAP to a regular file (which a copy to a device that was not there
    // leaves under /dev): it would answer 0 and hand back no response at all.
    if (!knownDevices().has(descriptor) && isRegularFile(descriptor)) {
        return -ENOTTY;
    }
    return control(descriptor, SCSI_IOCTL_SEND_COMMAND, buffer.data());
}

int addressWords(int descriptor, AddressWords& words) {
    std::uint32_t raw[2] = {0, 0};
    const int result = control(descriptor, SCSI_IOCTL_GET_IDLUN, raw);
    if (result >= 0) {
        words = {raw[0], raw[1]};
    }
    return result;
}

int sgIo(int descriptor, SgIoRequest& request) {
    const int refused = checkRequest(request);
    if (refused != 0) {
        return refused;
    }
    std::fill(request.data.begin(), request.data.end(), std::uint8_t{0});
    sg_io_hdr_t header;
    std::memset(&header, 0, sizeof header);
    header.interface_id = 'S';
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.cmd_len = static_cast<unsigned char>(request.cdb.size());
    header.cmdp = request.cdb.data();
    header.dxfer_len = static_cast<unsigned>(request.data.size());
    header.dxferp = request.data.data();
    header.mx_sb_len = static_cast<unsigned char>(request.sense.size());
    header.sbp = request.sense.data();
    header.timeout = request.timeout;
    const int result = control(descriptor, SG_IO, &header);
    request.status = header.status;
    request.hostStatus = header.host_status;
    return result;
}

int deviceSize(int descriptor, std::uint64_t& bytes) {
    return control(descriptor, BLKGETSIZE64, &bytes);
}

}  // namespace host::machine
