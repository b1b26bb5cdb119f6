#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <memory>

#include "host/descriptor.h"
#include "host/machine.h"
#include "host/machine_paths.h"
#include "host/retrying.h"

namespace host::machine {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

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

}  // namespace

int openRetrying(const std::string& path, int flags) {
    if (!isPath(path)) {
        return -EINVAL;
    }
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    } while (mayRetry(descriptor));
    return negatedErrno(descriptor);
}

// The descriptor is gone whatever close(2) says; after EINTR it may already be another file's.
int closeOnce(int descriptor) {
    return ::close(descriptor) != 0 && errno != EINTR ? -errno : 0;
}

ReadResult readFile(const std::string& path) {
    const Descriptor file(openRegular(path, O_RDONLY));
    if (!file.isOpen()) {
        ReadResult result;
        result.openError = -file.get();
        return result;
    }
    return readToTheEnd(file.get());
}

ReadResult readToTheEnd(int descriptor) {
    ReadResult result;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(descriptor, buffer, sizeof buffer);
        if (mayRetry(got)) {
            continue;
        }
        if (got <= 0) {
            result.readError = got < 0 ? errno : 0;
            return result;
        }
        result.content.append(buffer, static_cast<std::size_t>(got));
        if (result.content.size() > kLargestFile) {
            result.readError = EFBIG;
            return result;
        }
    }
}

AppendResult appendFile(const std::string& path, const std::string& text,
                        const BeforeWrite& beforeWrite) {
    AppendResult result;
    Descriptor file(openRegular(path, O_WRONLY | O_APPEND));
    if (!file.isOpen()) {
        result.openError = -file.get();
        return result;
    }
    if (beforeWrite) {
        beforeWrite();
    }
    ssize_t written = 0;
    do {
        written = ::write(file.get(), text.data(), text.size());
    } while (mayRetry(written));
    if (written < 0) {
        result.writeError = errno;
    } else if (static_cast<std::size_t>(written) < text.size()) {
        result.writeError = EIO;
    }
    const int closeError = -closeOnce(file.release());
    if (result.writeError == 0) {
        result.writeError = closeError;
    }
    return result;
}

bool pathExists(const std::string& path) {
    return isPath(path) && ::access(path.c_str(), F_OK) == 0;
}

bool isDirectory(const std::string& path) {
    struct stat status;
    return isPath(path) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

DirectoryListing listDirectory(const std::string& path) {
    DirectoryListing listing;
    struct Closer {
        void operator()(DIR* directory) const { ::closedir(directory); }
    };
    const std::unique_ptr<DIR, Closer> directory(isPath(path) ? ::opendir(path.c_str()) : nullptr);
    if (directory == nullptr) {
        listing.openError = isPath(path) ? errno : EINVAL;
        return listing;
    }
    for (;;) {
        errno = 0;
        const dirent* const entry = ::readdir(directory.get());
        if (entry == nullptr) {
            listing.readError = errno;
            return listing;
        }
        listing.names.emplace_back(entry->d_name);
    }
}

int readLink(const std::string& path, std::string& target) {
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

int deviceNumber(const std::string& path, DeviceNumber& number) {
    struct stat status;
    if (!isPath(path)) {
        return -EINVAL;
    }
    if (::stat(path.c_str(), &status) != 0) {
        return -errno;
    }
    const bool isBlock = S_ISBLK(status.st_mode);
    number = {};
    if (isBlock || S_ISCHR(status.st_mode)) {
        number.kind = isBlock ? DeviceNumber::Kind::kBlock : DeviceNumber::Kind::kCharacter;
        number.major = major(status.st_rdev);
        number.minor = minor(status.st_rdev);
    }
    return 0;
}

int writeAccess(const std::string& path) {
    if (!isPath(path)) {
        return -EINVAL;
    }
    return negatedErrno(::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS));
}

}  // namespace host::machine
