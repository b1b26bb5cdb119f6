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
#include <cerrno>

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

/// What of a request tells afterwards whether it was answered: the lengths and the command
/// descriptor block.
using RequestHead = std::array<std::uint8_t, 24>;

RequestHead headOf(const CommandBuffer& buffer) {
    RequestHead head = {};
    std::copy_n(buffer.begin(), head.size(), head.begin());
    return head;
}

// Tells whether a request went to a file's FIBMAP, which has the number of SCSI_IOCTL_SEND_COMMAND
// (a copy to a device that was not there leaves a file under /dev). It hands back a block number in
// the first word and leaves the command descriptor block where a response would stand. A file is
// only looked for where there is no response: that costs a disk nothing.
bool wasFileRequest(int descriptor, int result, const RequestHead& sent,
                    const CommandBuffer& answer) {
    constexpr std::size_t kBlockNumber = 4;
    const bool isAnswered =
        !std::equal(sent.begin() + kBlockNumber, sent.end(), answer.begin() + kBlockNumber);
    return (result < 0 || !isAnswered) && isRegularFile(descriptor);
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
        return device.release();
    }
    // A process that closed its standard descriptors gets them here. A device handle takes 0 for
    // closed and would never close it, and what prints would write to the device.
    return negatedErrno(::fcntl(device.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

int closeDevice(int descriptor) {
    return closeOnce(descriptor);
}

int sendCommand(int descriptor, CommandBuffer& buffer) {
    const int refused = checkRequest(buffer);
    if (refused != 0) {
        return refused;
    }
    const RequestHead sent = headOf(buffer);
    const int result = control(descriptor, SCSI_IOCTL_SEND_COMMAND, buffer.data());
    if (!wasFileRequest(descriptor, result, sent, buffer)) {
        return result;
    }
    std::copy(sent.begin(), sent.end(), buffer.begin());
    return -ENOTTY;
}

int addressWords(int descriptor, AddressWords& words) {
    std::uint32_t raw[2] = {};
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
    sg_io_hdr_t header = {};
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
