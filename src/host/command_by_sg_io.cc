#include "scsitool/host/command_by_sg_io.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "scsitool/host/request_limits.h"

namespace host {
namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kSenseOfCommand = 16;        // the kernel's OMAX_SB_LEN
constexpr unsigned kCommandMilliseconds = 60'000;  // its BLK_DEFAULT_SG_TIMEOUT

// The length of a command descriptor block by the group in its operation code, as the kernel's
// COMMAND_SIZE has it; SCSI_IOCTL_SEND_COMMAND is not told any.
std::size_t blockLength(std::uint8_t operationCode) {
    constexpr std::size_t kLengths[] = {6, 10, 10, 12, 16, 12, 10, 10};
    return kLengths[operationCode >> 5];
}

}  // namespace

bool isUnknownRequest(int result) {
    return result == -ENOTTY || result == -EINVAL || result == -ENOSYS || result == -EOPNOTSUPP;
}

int sendBySgIo(Host& host, int descriptor, CommandBuffer& buffer) {
    std::uint32_t lengths[2] = {0, 0};
    std::memcpy(lengths, buffer.data(), sizeof lengths);
    const int refused = checkRequest(buffer);
    if (refused != 0 || lengths[0] != 0) {
        return -EINVAL;
    }
    const auto content = buffer.begin() + kHeader;
    SgIoRequest request;
    request.cdb.assign(content, content + static_cast<std::ptrdiff_t>(blockLength(*content)));
    request.data.resize(lengths[1]);
    request.sense.resize(kSenseOfCommand);
    request.timeout = kCommandMilliseconds;
    const int result = host.sgIo(descriptor, request);
    if (result < 0) {
        return result;
    }
    if (request.status == 0) {
        std::copy(request.data.begin(), request.data.end(), content);
    } else if (request.sense.front() != 0) {  // which no sense data begin with
        std::copy(request.sense.begin(), request.sense.end(), content);
    }
    return request.status;
}

}  // namespace host
