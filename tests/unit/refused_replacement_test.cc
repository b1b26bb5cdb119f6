#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "refusing_kernel.h"
#include "scsitool/host/own_files.h"
#include "temporary_directory.h"

namespace {

#ifdef SYS_rename
constexpr long kRename = SYS_rename;
#else
constexpr long kRename = SYS_renameat;
#endif

class RefusedReplacement : public testing::Test {
  protected:
    // The errno that replacing the file ends with while the kernel refuses a call; 255 for a kernel
    // that filters none.
    int errorWithout(long number, int error) const {
        return test::inAProcess(
            [&] { return test::refuse(number, error) ? -host::replaceFile(m_path, "new") : 255; });
    }
    std::string content() const {
        std::string text;
        std::getline(std::ifstream(m_path), text);
        return text;
    }
    std::ptrdiff_t entries() const {
        const std::filesystem::directory_iterator all(m_directory.path());
        return std::distance(begin(all), end(all));
    }
    std::string beside(int attempt) const {
        return ".scsitool-" + std::to_string(::getpid()) + "-" + std::to_string(attempt);
    }
    const test::TemporaryDirectory& directory() const { return m_directory; }
    const std::string& path() const { return m_path; }

  private:
    const test::TemporaryDirectory m_directory;
    const std::string m_path = m_directory.file("file", "old");
};

TEST_F(RefusedReplacement, WhatDoesNotReachTheDiskTakesNoPlace) {
    for (const long number : {long{SYS_fsync}, long{SYS_fchmod}, kRename, long{SYS_write}}) {
        EXPECT_EQ(errorWithout(number, EIO), EIO) << number;
        EXPECT_EQ(content(), "old") << number;
        EXPECT_EQ(entries(), 1) << number;
    }
}

TEST_F(RefusedReplacement, AFileSystemMayTellOfItsFailureWhenTheFileIsClosed) {
    EXPECT_EQ(errorWithout(SYS_close, EDQUOT), EDQUOT);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(entries(), 1);
    EXPECT_EQ(errorWithout(SYS_close, EINTR), 0) << "the descriptor is gone all the same";
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(entries(), 1);
}

TEST_F(RefusedReplacement, AFormerErrorIsNoneOfThis) {
    errno = EIO;
    EXPECT_EQ(host::checkReplaceable(path()), 0);
    errno = EIO;
    EXPECT_EQ(host::replaceFile(path(), "new"), 0);
    EXPECT_EQ(content(), "new");
}

TEST_F(RefusedReplacement, NoMaskTakesTheOwnersRightsAway) {
    EXPECT_EQ(test::inAProcess([&] {
                  ::umask(0777);
                  return -host::replaceFile(path(), "new");
              }),
              0);
    struct stat status;
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(RefusedReplacement, AnotherFilesNameIsLeftToIt) {
    for (int attempt = 0; attempt < 99; ++attempt) {
        directory().file(beside(attempt), "another's");
    }
    EXPECT_EQ(host::replaceFile(path(), "new"), 0);
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(entries(), 100);
    directory().file(beside(99), "another's");
    EXPECT_EQ(host::replaceFile(path(), "newer"), -EEXIST);
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(entries(), 101);
}

TEST_F(RefusedReplacement, ANameAloneLiesWhereTheProcessStands) {
    EXPECT_EQ(test::inAProcess([&] {
                  return ::chdir(directory().path().c_str()) == 0
                             ? -host::replaceFile("file", "new")
                             : 255;
              }),
              0);
    EXPECT_EQ(content(), "new");
    const int root = ::access("/", W_OK | X_OK) == 0 ? 0 : -errno;
    EXPECT_EQ(host::checkReplaceable("/not-there-7"), root);
}

TEST_F(RefusedReplacement, ASizeLimitLeavesItsSignalOnlyToWhoHoldsIt) {
    const auto pendingAfterwards = [&](bool isHeld) {
        return test::inAProcess([&] {
            sigset_t signals;
            ::sigemptyset(&signals);
            ::sigaddset(&signals, SIGXFSZ);
            ::pthread_sigmask(isHeld ? SIG_BLOCK : SIG_UNBLOCK, &signals, nullptr);
            const rlimit small = {16, 16};
            ::setrlimit(RLIMIT_FSIZE, &small);
            if (host::replaceFile(path(), std::string(100, 'x')) != -EFBIG) {
                return 255;
            }
            ::sigpending(&signals);
            return ::sigismember(&signals, SIGXFSZ);
        });
    };
    EXPECT_EQ(pendingAfterwards(false), 0);
    EXPECT_EQ(pendingAfterwards(true), 1);
    EXPECT_EQ(entries(), 1);
}

TEST(StandardDescriptorsOpen, TakeNoneMoreThanWasClosed) {
    for (const int closed : {-1, 0, 1, 2}) {
        EXPECT_EQ(test::inAProcess([closed] {
                      const int free = ::dup(STDIN_FILENO);
                      ::close(free);
                      ::close(closed);
                      host::openStandardDescriptors();
                      return ::dup(STDIN_FILENO) == free ? 0 : 1;
                  }),
                  0)
            << closed;
    }
}

}  // namespace
