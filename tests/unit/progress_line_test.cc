#include "cli/output/progress_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <sstream>
#include <streambuf>
#include <utility>

namespace {

using cli::ProgressLine;
using std::chrono::milliseconds;

constexpr const char* kClear = "\r\x1b[K";

// A clock that stands still until the test moves it: the painter has nothing to paint meanwhile.
std::atomic<long> milliseconds_{0};

ProgressLine::Clock::time_point now() {
    constexpr long kStart = 3'600'000;
    return ProgressLine::Clock::time_point(milliseconds(kStart + milliseconds_));
}

class ProgressLineTest : public testing::Test {
  protected:
    ProgressLineTest() { milliseconds_ = 0; }

    std::string taken() {
        std::string text = m_stream.str();
        m_stream.str("");
        return text;
    }

    std::ostringstream m_stream;
    ProgressLine m_line{m_stream, 40, &now};
};

TEST_F(ProgressLineTest, NamesAtOnceWhatIsInHand) {
    m_line.show("/dev/sda");
    m_line.clear();
    EXPECT_EQ(taken(), std::string(kClear) + "/dev/sda" + kClear);
}

TEST_F(ProgressLineTest, IsNotPaintedMoreOftenThanTenTimesASecond) {
    m_line.show("/dev/sda");
    m_line.show("/dev/sdb");
    milliseconds_ = 99;
    m_line.show("/dev/sdc");
    m_line.clear();
    EXPECT_EQ(taken(), std::string(kClear) + "/dev/sda" + kClear);
    m_line.show("/dev/sdd");
    m_line.clear();
    EXPECT_EQ(taken(), "");
    milliseconds_ = 100;
    m_line.show("/dev/sde");
    m_line.clear();
    EXPECT_EQ(taken(), std::string(kClear) + "/dev/sde" + kClear);
}

TEST_F(ProgressLineTest, SaysSinceWhen) {
    m_line.show("/dev/sda");
    milliseconds_ = 999;
    m_line.show("/dev/sda");
    milliseconds_ = 3000;
    m_line.show("/dev/sda");
    m_line.clear();
    EXPECT_THAT(taken(), testing::EndsWith(std::string(kClear) + "/dev/sda (3 s)" + kClear));
    milliseconds_ = 4000;
    m_line.show("/dev/sdb");
    m_line.clear();
    EXPECT_EQ(taken(), std::string(kClear) + "/dev/sdb" + kClear) << "another is new in hand";
}

TEST_F(ProgressLineTest, AMessageStandsAboveIt) {
    m_line.show("waiting");
    milliseconds_ = 3000;
    m_line.print("a message");
    m_line.clear();
    EXPECT_THAT(taken(), testing::EndsWith(std::string(kClear) + "a message\n" + kClear +
                                           "waiting (3 s)" + kClear));
}

TEST_F(ProgressLineTest, AMessageAloneHasNoLineBelowIt) {
    m_line.print("a message");
    EXPECT_EQ(taken(), "a message\n");
}

TEST_F(ProgressLineTest, FitsTheTerminalAndShowsNoControlCharacter) {
    m_line.show("/dev/" + std::string(60, 'x'));
    m_line.clear();
    EXPECT_EQ(taken(), kClear + ("/dev/" + std::string(34, 'x')) + kClear);
    milliseconds_ = 100;
    m_line.show("/dev/\x1b[2J");
    m_line.clear();
    EXPECT_EQ(taken(), std::string(kClear) + "/dev/\\x1b[2J" + kClear);
}

// Tells when a text has been written to it.
class Listener : public std::streambuf {
  public:
    explicit Listener(std::string awaited) : m_awaited(std::move(awaited)) {}

    std::promise<void> heard;

  private:
    int overflow(int c) override {
        m_text += static_cast<char>(c);
        if (m_text.find(m_awaited) != std::string::npos) {
            heard.set_value();
            m_text.clear();
        }
        return c;
    }

    const std::string m_awaited;
    std::string m_text;
};

TEST(ProgressLine, NamesWhatHangsWithoutBeingAskedAgain) {
    Listener listener("/dev/sdb");
    std::ostream stream(&listener);
    ProgressLine line(stream, 40);
    line.show("/dev/sda");
    line.show("/dev/sdb");  // too soon after the one before
    listener.heard.get_future().wait();
}

}  // namespace
