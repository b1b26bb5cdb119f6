#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "host/descriptor.h"
#include "scsitool/host/own_files.h"

namespace host {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr int kMostAttempts = 100;

// Keeps the signals that would end the process, and the new file with it, until the end of the
// scope. A size limit that was hit is the write's EFBIG and no reason to end anything.
class SignalsHeld {
  public:
    SignalsHeld() {
        ::sigemptyset(&m_signals);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGXFSZ, SIGXCPU}) {
            ::sigaddset(&m_signals, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &m_signals, &m_former);
    }
    ~SignalsHeld() {
        if (::sigismember(&m_former, SIGXFSZ) == 0) {
            sigset_t sizeLimit;
            ::sigemptyset(&sizeLimit);
            ::sigaddset(&sizeLimit, SIGXFSZ);
            const timespec atOnce = {0, 0};
            ::sigtimedwait(&sizeLimit, nullptr, &atOnce);
        }
        ::pthread_sigmask(SIG_SETMASK, &m_former, nullptr);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

  private:
    sigset_t m_signals;
    sigset_t m_former;
};

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Creates a file that was not there; `path` is then its path.
int createBeside(const std::string& target, std::string& path) {
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        path = directoryOf(target) + "/.scsitool-" + std::to_string(::getpid()) + "-" +
               std::to_string(attempt);
        const int file =
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
        if (file >= 0) {
            return file;
        }
        if (errno != EEXIST && errno != EINTR) {
            return -errno;
        }
    }
    return -EEXIST;
}

int writeWhole(int file, const std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t written = ::write(file, content.data() + done, content.size() - done);
        if (written < 0 && errno != EINTR) {
            return -errno;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    // A mask of the caller's may have taken more away than others' rights.
    if (::fchmod(file, kOwnerOnly) != 0 || ::fsync(file) != 0) {
        return -errno;
    }
    return 0;
}

// The name is on the disk once its directory is. Some file systems have no such notion.
void syncDirectory(const std::string& path) {
    const Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.isOpen()) {
        static_cast<void>(::fsync(directory.get()));
    }
}

}  // namespace

int checkReplaceable(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        return -EINVAL;
    }
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            return -EINVAL;
        }
    } else if (errno != ENOENT) {
        return -errno;
    }
    return ::access(directoryOf(path).c_str(), W_OK | X_OK) == 0 ? 0 : -errno;
}

int replaceFile(const std::string& path, const std::string& content) {
    const int refused = checkReplaceable(path);
    if (refused != 0) {
        return refused;
    }
    const SignalsHeld held;
    std::string beside;
    Descriptor file(createBeside(path, beside));
    if (!file.isOpen()) {
        return file.get();
    }
    int result = writeWhole(file.get(), content);
    if (::close(file.release()) != 0 && errno != EINTR && result == 0) {
        result = -errno;
    }
    if (result == 0 && ::rename(beside.c_str(), path.c_str()) != 0) {
        result = -errno;
    }
    if (result != 0) {
        ::unlink(beside.c_str());
        return result;
    }
    syncDirectory(directoryOf(path));
    return 0;
}

}  // namespace host
