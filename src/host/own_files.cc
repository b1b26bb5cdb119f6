#include "scsitool/host/own_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "host/machine.h"

namespace host {
namespace {

constexpr int kMostLinks = 40;  // MAXSYMLINKS of the kernel

/// The directory of a path, with its last "/", and the name in it.
std::string directoryOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

/// Where a file that is not there yet would be made, as the kernel follows links to nowhere; empty
/// when it could not be made.
std::string placeOf(std::string path) {
    std::string target;
    for (int links = 0; machine::readLink(path, target) == 0; ++links) {
        if (links == kMostLinks) {
            return {};
        }
        const bool absolute = target.compare(0, 1, "/") == 0;
        path = absolute ? target : directoryOf(path).append(target);
    }
    const std::string directory = directoryOf(path);
    char resolved[PATH_MAX];
    if (::realpath(directory.empty() ? "." : directory.c_str(), resolved) == nullptr) {
        return {};
    }
    return std::string(resolved) + "/" + path.substr(directory.size());
}

bool isMissing(const std::string& path, struct stat& status) {
    return ::stat(path.c_str(), &status) != 0 && errno == ENOENT;
}

}  // namespace

ReadResult readInputFile(const std::string& path) {
    return path == "-" ? machine::readToTheEnd(STDIN_FILENO) : machine::readFile(path);
}

bool isOneFile(const std::string& left, const std::string& right) {
    struct stat ofLeft = {};
    struct stat ofRight = {};
    const bool leftIsMissing = isMissing(left, ofLeft);
    if (leftIsMissing != isMissing(right, ofRight)) {
        return false;
    }
    if (leftIsMissing) {
        const std::string place = placeOf(left);
        return !place.empty() && place == placeOf(right);
    }
    return S_ISREG(ofLeft.st_mode) && ofLeft.st_dev == ofRight.st_dev &&
           ofLeft.st_ino == ofRight.st_ino;
}

int openStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) {
            continue;
        }
        // The lowest free descriptor is given, and those below are open.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (::open("/dev/null", flags) < 0) {
            return -errno;
        }
    }
    return 0;
}

}  // namespace host
