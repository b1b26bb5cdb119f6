#include "fault_host.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>

namespace faults {
namespace {

constexpr int kCheckCondition = 2;  // a SCSI status (SAM)

}  // namespace

void FaultHost::failAt(std::size_t call, std::size_t way) {
    m_at = call;
    m_way = way;
    m_ways.clear();
    m_failed = {};
    m_hasFailedRelease = false;
}

std::size_t FaultHost::fault(const char* call, const std::string& of, std::size_t ways) {
    m_ways.push_back(ways + 1);
    if (m_ways.size() != m_at) {
        return kNone;
    }
    m_failed = {call, of, m_way, m_way >= ways};
    if (m_failed.isOutOfMemory) {
        // As operator new does it.
        if (const std::new_handler handler = std::get_new_handler()) {
            handler();
        }
        throw std::bad_alloc();
    }
    return m_way;
}

int FaultHost::errorOf(const char* call, const std::string& of, const std::vector<int>& errors) {
    const std::size_t way = fault(call, of, errors.size());
    return way == kNone ? 0 : errors[way];
}

int FaultHost::requestError(const char* call, int descriptor, const std::vector<int>& errors) {
    const auto open = m_open.find(descriptor);
    return errorOf(call, open == m_open.end() ? std::string() : open->second, errors);
}

int FaultHost::openDevice(const std::string& path, host::OpenMode mode) {
    if (const int error = errorOf("open", path, {-ENXIO, -EMFILE}); error != 0) {
        return error;
    }
    const int opened = m_inner.openDevice(path, mode);
    if (opened >= 0) {
        m_open.emplace(opened, path);
    }
    return opened;
}

// The kernel has closed it whatever it gives.
int FaultHost::closeDevice(int descriptor) {
    const int closed = m_inner.closeDevice(descriptor);
    const auto open = m_open.extract(descriptor);
    const std::string path = open.empty() ? std::string() : open.mapped();
    const int error = errorOf("close", path, {-EIO});
    return error != 0 ? error : closed;
}

int FaultHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const int error = requestError("SCSI_IOCTL_SEND_COMMAND", descriptor, {-EIO, kCheckCondition});
    if (error > 0) {
        // Sense data stand where the response would.
        std::fill(buffer.begin() + 8, buffer.begin() + 26, std::uint8_t{0x70});
    }
    return error != 0 ? error : m_inner.sendCommand(descriptor, buffer);
}

int FaultHost::addressWords(int descriptor, host::AddressWords& words) {
    const int error = requestError("SCSI_IOCTL_GET_IDLUN", descriptor, {-ENODEV});
    return error != 0 ? error : m_inner.addressWords(descriptor, words);
}

int FaultHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const int error = requestError("SG_IO", descriptor, {-EIO, kCheckCondition});
    if (error > 0) {
        request.status = kCheckCondition;
        return 0;
    }
    return error != 0 ? error : m_inner.sgIo(descriptor, request);
}

int FaultHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    const int error = requestError("BLKGETSIZE64", descriptor, {-ENODEV});
    return error != 0 ? error : m_inner.deviceSize(descriptor, bytes);
}

host::ReadResult FaultHost::readFile(const std::string& path) {
    const std::size_t way = fault("read", path, 2);
    if (way == 0) {
        return {EMFILE, 0, {}};
    }
    host::ReadResult result = m_inner.readFile(path);
    if (way == 1) {
        result.content.resize(result.content.size() / 2);
        result.readError = EIO;
    }
    return result;
}

host::AppendResult FaultHost::appendFile(const std::string& path, const std::string& text,
                                         const host::BeforeWrite& beforeWrite) {
    const std::size_t way = fault("append", path, 2);
    if (way == 0) {
        return {EACCES, 0};
    }
    host::AppendResult result = m_inner.appendFile(path, text, beforeWrite);
    if (way == 1) {
        result.writeError = EIO;
    }
    return result;
}

bool FaultHost::pathExists(const std::string& path) {
    return fault("stat", path, 1) == kNone && m_inner.pathExists(path);
}

bool FaultHost::isDirectory(const std::string& path) {
    return fault("stat", path, 1) == kNone && m_inner.isDirectory(path);
}

host::DirectoryListing FaultHost::listDirectory(const std::string& path) {
    const std::size_t way = fault("list", path, 2);
    if (way == 0) {
        return {EMFILE, 0, {}};
    }
    host::DirectoryListing listing = m_inner.listDirectory(path);
    if (way == 1) {
        listing.names.resize(listing.names.size() / 2);
        listing.readError = EIO;
    }
    return listing;
}

int FaultHost::readLink(const std::string& path, std::string& target) {
    const int error = errorOf("readlink", path, {-EIO});
    return error != 0 ? error : m_inner.readLink(path, target);
}

int FaultHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    const int error = errorOf("stat", path, {-EIO});
    return error != 0 ? error : m_inner.deviceNumber(path, number);
}

int FaultHost::writeAccess(const std::string& path) {
    const int error = errorOf("access", path, {-EROFS});
    return error != 0 ? error : m_inner.writeAccess(path);
}

host::CommandResult FaultHost::runCommand(const std::string& command, int timeoutSeconds) {
    const std::size_t way = fault("run", command, 3);
    if (way == 0) {
        return {{}, 127 << 8, false};
    }
    host::CommandResult result = m_inner.runCommand(command, timeoutSeconds);
    if (way == 1) {
        result.waitStatus = 1 << 8;
    } else if (way == 2) {
        result.lines.resize(result.lines.size() / 2);
        result.waitStatus = SIGKILL;
        result.timedOut = true;
    }
    return result;
}

int FaultHost::runShell(const std::string& line) {
    const std::size_t way = fault("shell", line, 1);
    return way == kNone ? m_inner.runShell(line) : 1 << 8;
}

int FaultHost::openSemaphore(int key, int count, int flags) {
    const int error = errorOf("semget", "", {-EACCES, -ENOSPC});
    return error != 0 ? error : m_inner.openSemaphore(key, count, flags);
}

int FaultHost::operateSemaphore(int identifier,
                                const std::vector<host::SemaphoreOperation>& operations) {
    const bool isRelease =
        std::any_of(operations.begin(), operations.end(),
                    [](const host::SemaphoreOperation& one) { return one.operation < 0; });
    // Known before it is thrown.
    m_hasFailedRelease = m_hasFailedRelease || (isRelease && m_ways.size() + 1 == m_at);
    const int error = errorOf("semop", "", {-EIDRM, -EINTR});
    return error != 0 ? error : m_inner.operateSemaphore(identifier, operations);
}

int FaultHost::semaphoreUser(int identifier) {
    const int error = errorOf("semctl", "", {-EIDRM});
    return error != 0 ? error : m_inner.semaphoreUser(identifier);
}

std::string FaultHost::kernelRelease() {
    return fault("uname", "", 1) == kNone ? m_inner.kernelRelease() : std::string();
}

int FaultHost::hostName(std::string& name) {
    const int error = errorOf("gethostname", "", {-ENAMETOOLONG});
    return error != 0 ? error : m_inner.hostName(name);
}

void FaultHost::sleepSeconds(unsigned seconds) {
    fault("sleep", "", 0);
    m_inner.sleepSeconds(seconds);
}

}  // namespace faults
