#include "scsitool/host/linux_host.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/scsi.h>
#include <scsi/scsi_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <limits>

#include "host/command_runner.h"
#include "host/descriptor.h"
#include "host/request_limits.h"

namespace host {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

int negatedErrno(int result) {
    return result < 0 ? -errno : result;
}

int openFlags(OpenMode mode) {
    switch (mode) {
        case OpenMode::kReadWriteNonBlocking:
            return O_RDWR | O_NONBLOCK;
        case OpenMode::kReadOnly:
            return O_RDONLY;
        case OpenMode::kReadOnlyNonBlocking:
            return O_RDONLY | O_NONBLOCK;
    }
    return O_RDONLY;
}

// A NUL would cut the path silently: another file than the named one would be meant.
bool isPath(const std::string& path) {
    return path.find('\0') == std::string::npos;
}

int openRetrying(const std::string& path, int flags) {
    if (!isPath(path)) {
        return -EINVAL;
    }
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    return negatedErrno(descriptor);
}

// Opens a file as procfs, sysfs and disk file systems have them. A FIFO would block, and a device
// node has effects of its own.
int openRegular(const std::string& path, int flags) {
    Descriptor file(openRetrying(path, flags | O_NOCTTY | O_NONBLOCK));
    struct stat status;
    if (!file.isOpen()) {
        return file.get();
    }
    if (::fstat(file.get(), &status) != 0) {
        return -errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? -EISDIR : -EINVAL;
    }
    return file.release();
}

bool isRegularFile(int descriptor) {
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// The descriptor is gone whatever close(2) says; after EINTR it may already be another file's.
int closeOnce(int descriptor) {
    return ::close(descriptor) != 0 && errno != EINTR ? -errno : 0;
}

template <class Argument>
int control(int descriptor, unsigned long request, Argument argument) {
    int result = 0;
    do {
        result = ::ioctl(descriptor, request, argument);
    } while (result < 0 && errno == EINTR);
    return negatedErrno(result);
}

}  // namespace

Host& linuxHost() {
    // Never destroyed: handles with static storage may still be closed while the process ends.
    static LinuxHost* const only = new LinuxHost;
    return *only;
}

int LinuxHost::openDevice(const std::string& path, OpenMode mode) {
    Descriptor device(openRetrying(path, openFlags(mode)));
    if (!device.isOpen() || device.get() > STDERR_FILENO) {
        return device.release();
    }
    // A process that closed its standard descriptors gets them here. A device handle takes 0 for
    // closed and would never close it, and what prints would write to the device.
    return negatedErrno(::fcntl(device.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

int LinuxHost::closeDevice(int descriptor) {
    return closeOnce(descriptor);
}

int LinuxHost::sendCommand(int descriptor, CommandBuffer& buffer) {
    const int refused = checkRequest(buffer);
    if (refused != 0) {
        return refused;
    }
    // The same number is FIBMAP to a regular file (which a copy to a device that was not there
    // leaves under /dev): it would answer 0 and hand back no response at all.
    if (isRegularFile(descriptor)) {
        return -ENOTTY;
    }
    return control(descriptor, SCSI_IOCTL_SEND_COMMAND, buffer.data());
}

int LinuxHost::addressWords(int descriptor, AddressWords& words) {
    std::uint32_t raw[2] = {0, 0};
    const int result = control(descriptor, SCSI_IOCTL_GET_IDLUN, raw);
    if (result >= 0) {
        words = {raw[0], raw[1]};
    }
    return result;
}

int LinuxHost::sgIo(int descriptor, SgIoRequest& request) {
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
    return result;
}

int LinuxHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return control(descriptor, BLKGETSIZE64, &bytes);
}

int LinuxHost::readFile(const std::string& path, std::string& content) {
    content.clear();
    const Descriptor file(openRegular(path, O_RDONLY));
    if (!file.isOpen()) {
        return file.get();
    }
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got < 0 ? -errno : 0;
        }
        content.append(buffer, static_cast<std::size_t>(got));
        if (content.size() > kLargestFile) {
            return -EFBIG;
        }
    }
}

AppendResult LinuxHost::appendFile(const std::string& path, const std::string& text) {
    AppendResult result;
    const int descriptor = openRegular(path, O_WRONLY | O_APPEND);
    if (descriptor < 0) {
        result.openError = -descriptor;
        return result;
    }
    ssize_t written = 0;
    do {
        written = ::write(descriptor, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        result.writeError = errno;
    } else if (static_cast<std::size_t>(written) < text.size()) {
        result.writeError = EIO;
    }
    const int closeError = -closeOnce(descriptor);
    if (result.writeError == 0) {
        result.writeError = closeError;
    }
    return result;
}

bool LinuxHost::pathExists(const std::string& path) {
    return isPath(path) && ::access(path.c_str(), F_OK) == 0;
}

bool LinuxHost::isDirectory(const std::string& path) {
    struct stat status;
    return isPath(path) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

DirectoryListing LinuxHost::listDirectory(const std::string& path) {
    DirectoryListing listing;
    DIR* const directory = isPath(path) ? ::opendir(path.c_str()) : nullptr;
    if (directory == nullptr) {
        listing.openError = isPath(path) ? errno : EINVAL;
        return listing;
    }
    for (;;) {
        errno = 0;
        const dirent* const entry = ::readdir(directory);
        if (entry == nullptr) {
            listing.readError = errno;
            break;
        }
        listing.names.emplace_back(entry->d_name);
    }
    ::closedir(directory);
    return listing;
}

int LinuxHost::readLink(const std::string& path, std::string& target) {
    if (!isPath(path)) {
        return -EINVAL;
    }
    char buffer[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), buffer, sizeof buffer);
    if (length < 0) {
        return -errno;
    }
    target.assign(buffer, static_cast<std::size_t>(length));
    return 0;
}

CommandResult LinuxHost::runCommand(const std::string& command, int timeoutSeconds) {
    return runProgram(splitCommand(command), timeoutSeconds);
}

int LinuxHost::runShell(const std::string& line) {
    // Not system(3), which ignores SIGINT and SIGQUIT for the whole process meanwhile, hands the
    // caller's descriptors and environment on and needs SIGCHLD not to be ignored.
    return runProgram({"/bin/sh", "-c", line}, std::numeric_limits<int>::max()).waitStatus;
}

int LinuxHost::openSemaphore(int key, int count, int flags) {
    return negatedErrno(::semget(key, count, flags));
}

int LinuxHost::operateSemaphore(int identifier, const std::vector<SemaphoreOperation>& operations) {
    std::vector<sembuf> raw;
    for (const SemaphoreOperation& operation : operations) {
        const int flags = (operation.undo ? SEM_UNDO : 0) | (operation.noWait ? IPC_NOWAIT : 0);
        raw.push_back({0, operation.operation, static_cast<short>(flags)});
    }
    int result = 0;
    do {
        result = ::semop(identifier, raw.data(), raw.size());
    } while (result < 0 && errno == EINTR);
    return negatedErrno(result);
}

std::string LinuxHost::kernelRelease() {
    utsname names;
    return ::uname(&names) == 0 ? names.release : "";
}

int LinuxHost::hostName(std::string& name) {
    char buffer[HOST_NAME_MAX + 1] = {};
    if (::gethostname(buffer, sizeof buffer) != 0) {
        return -errno;
    }
    name = buffer;
    return 0;
}

void LinuxHost::sleepSeconds(unsigned seconds) {
    timespec left = {static_cast<time_t>(seconds), 0};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace host
