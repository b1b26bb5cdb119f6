#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "scsitool/host/own_files.h"
#include "temporary_directory.h"

namespace {

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::size_t entriesOf(const std::string& path) {
    const std::filesystem::directory_iterator entries(path);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST(FileReplacement, WritesANewFileForItsOwnerAlone) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.path() + "/new";
    EXPECT_EQ(host::checkReplaceable(path), 0);
    EXPECT_EQ(host::replaceFile(path, std::string("a\0b", 3)), 0);
    EXPECT_EQ(contentOf(path), std::string("a\0b", 3));
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(entriesOf(directory.path()), 1U);
}

TEST(FileReplacement, TakesThePlaceOfARegularFileAndItsMode) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("old", "old and longer");
    ::chmod(path.c_str(), 0644);
    EXPECT_EQ(host::replaceFile(path, "new"), 0);
    EXPECT_EQ(contentOf(path), "new");
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(FileReplacement, RefusesWhatIsNoRegularFile) {
    const test::TemporaryDirectory directory;
    const std::string target = directory.file("target", "kept");
    const std::string link = directory.path() + "/link";
    std::filesystem::create_symlink(target, link);
    std::filesystem::create_symlink("/nonexistent", directory.path() + "/dangling");
    for (const std::string& path :
         {link, directory.path() + "/dangling", directory.path(), std::string("/dev/null"),
          std::string(), std::string("a\0b", 3)}) {
        EXPECT_EQ(host::checkReplaceable(path), -EINVAL) << path;
        EXPECT_EQ(host::replaceFile(path, "x"), -EINVAL) << path;
    }
    EXPECT_EQ(contentOf(target), "kept");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(FileReplacement, TellsOfADirectoryThatIsNotThere) {
    const test::TemporaryDirectory directory;
    EXPECT_EQ(host::replaceFile(directory.path() + "/no/file", "x"), -ENOENT);
    EXPECT_EQ(host::replaceFile(directory.file("plain", "") + "/file", "x"), -ENOTDIR);
}

// A limit on the size of files is as a disk that is full: the write fails in the middle.
TEST(FileReplacement, LeavesTheOldFileWhenThereIsNoRoom) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("old", "old");
    rlimit former;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit small = {4096, former.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const int result = host::replaceFile(path, std::string(100000, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_EQ(result, -EFBIG);
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(entriesOf(directory.path()), 1U);
}

TEST(FileReplacement, LeavesNoSignalBlocked) {
    const test::TemporaryDirectory directory;
    host::replaceFile(directory.path() + "/file", "x");
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(::sigismember(&blocked, SIGTERM), 0);
    EXPECT_EQ(::sigismember(&blocked, SIGINT), 0);
}

}  // namespace
