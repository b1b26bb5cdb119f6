#include "scsitool/host/own_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "scsitool/host/linux_host.h"
#include "temporary_directory.h"

namespace {

using test::TemporaryDirectory;

TEST(InputFile, IsReadAlsoWhileTheMachineIsRefused) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("input", "content");
    const host::LiveHostRefusal refusal;
    const host::ReadResult read = host::readInputFile(path);
    EXPECT_EQ(read.error(), 0);
    EXPECT_EQ(read.content, "content");
    EXPECT_EQ(host::readInputFile(path + ".missing").openError, ENOENT);
    EXPECT_EQ(host::readInputFile(directory.path()).openError, EISDIR);
    EXPECT_EQ(host::readInputFile("/dev/null").openError, EINVAL);
}

// Gives the process another standard input.
class StandardInput {
  public:
    explicit StandardInput(int descriptor) : m_former(::dup(STDIN_FILENO)) {
        ::dup2(descriptor, STDIN_FILENO);
    }
    ~StandardInput() {
        ::dup2(m_former, STDIN_FILENO);
        ::close(m_former);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

  private:
    int m_former;
};

TEST(InputFile, ADashIsStandardInputWhateverThatIs) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const StandardInput input(ends[0]);
    ASSERT_EQ(::write(ends[1], "from a pipe", 11), 11);
    ::close(ends[1]);
    ::close(ends[0]);
    const host::ReadResult read = host::readInputFile("-");
    EXPECT_EQ(read.error(), 0);
    EXPECT_EQ(read.content, "from a pipe");
    EXPECT_EQ(host::readInputFile("-").content, "");
}

TEST(InputFile, ADirectoryAsStandardInputIsAnError) {
    const int directory = ::open("/", O_RDONLY | O_CLOEXEC);
    const StandardInput input(directory);
    ::close(directory);
    EXPECT_EQ(host::readInputFile("-").readError, EISDIR);
}

class OneFile : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return m_directory.path() + "/" + name; }
    void link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, path(name));
    }
    bool isOne(const std::string& left, const std::string& right) const {
        return host::isOneFile(path(left), path(right)) && host::isOneFile(path(right), path(left));
    }
    const TemporaryDirectory& directory() const { return m_directory; }

  private:
    TemporaryDirectory m_directory;
};

TEST_F(OneFile, IsFoundUnderEveryNameAndLink) {
    directory().file("a", "");
    directory().file("b", "");
    std::filesystem::create_directory(path("d"));
    std::filesystem::create_hard_link(path("a"), path("hard"));
    link("a", "soft");
    link("../a", "d/up");
    link(".", "here");
    for (const char* const other : {"a", "./a", "hard", "soft", "d/up", "d/../a", "here/a"}) {
        EXPECT_TRUE(isOne("a", other)) << other;
    }
    for (const char* const other : {"b", "missing", "d", "missing/a"}) {
        EXPECT_FALSE(isOne("a", other)) << other;
    }
}

TEST_F(OneFile, IsForetoldOfFilesThatAreNotThereYet) {
    std::filesystem::create_directory(path("d"));
    link("new", "soft");
    link("soft", "softer");
    link("../new", "d/up");
    link(path("new"), "absolute");
    link("loop", "loop");
    for (const char* const other :
         {"new", "./new", "d/../new", "soft", "softer", "d/up", "absolute"}) {
        EXPECT_TRUE(isOne("new", other)) << other;
        EXPECT_FALSE(std::filesystem::exists(path("new"))) << other;
    }
    for (const char* const other : {"newer", "d/new", "missing/new", "d", "loop"}) {
        EXPECT_FALSE(isOne("new", other)) << other;
    }
    EXPECT_FALSE(isOne("missing/new", "missing/new"));
    EXPECT_FALSE(isOne("loop", "loop"));
    EXPECT_TRUE(host::isOneFile("not-there-7", "./not-there-7"));
}

TEST_F(OneFile, IsNeitherADirectoryNorADevice) {
    EXPECT_FALSE(host::isOneFile("/dev/null", "/dev/null"));
    EXPECT_FALSE(host::isOneFile(directory().path(), directory().path()));
}

/// What a child process with some standard descriptors closed ends with.
template <class Child>
int statusOf(const std::string& closed, Child child) {
    const pid_t process = ::fork();
    if (process == 0) {
        for (const char digit : closed) {
            ::close(digit - '0');
        }
        ::_exit(child());
    }
    int status = -1;
    return ::waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status)
                                                                          : -1;
}

TEST(StandardDescriptors, AreOpenWhicheverWereClosed) {
    for (const char* const closed : {"", "0", "1", "2", "01", "02", "12", "012"}) {
        EXPECT_EQ(statusOf(closed,
                           [] {
                               if (host::openStandardDescriptors() != 0) {
                                   return 10;
                               }
                               for (int descriptor = 0; descriptor <= 2; ++descriptor) {
                                   if (::fcntl(descriptor, F_GETFD) != 0) {
                                       return 20 + descriptor;
                                   }
                               }
                               return ::open("/dev/null", O_RDONLY) > 2 ? 0 : 30;
                           }),
                  0)
            << closed;
    }
}

TEST(StandardDescriptors, GoNowhereAndSaySo) {
    EXPECT_EQ(statusOf("012",
                       [] {
                           char byte = 0;
                           host::openStandardDescriptors();
                           const bool isRefused = ::read(0, &byte, 1) < 0 && errno == EBADF &&
                                                  ::write(1, &byte, 1) < 0 && errno == EBADF &&
                                                  ::write(2, &byte, 1) < 0 && errno == EBADF;
                           return isRefused ? 0 : 1;
                       }),
              0);
}

TEST(StandardDescriptors, StayAsTheyAreWhenTheyAreOpen) {
    EXPECT_EQ(statusOf("",
                       [] {
                           int ends[2];
                           if (::pipe(ends) != 0 || ::dup2(ends[1], 1) != 1) {
                               return 1;
                           }
                           host::openStandardDescriptors();
                           char byte = 0;
                           return ::write(1, "x", 1) == 1 && ::read(ends[0], &byte, 1) == 1 &&
                                          byte == 'x'
                                      ? 0
                                      : 2;
                       }),
              0);
}

}  // namespace
