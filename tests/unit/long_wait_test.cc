#include "cli/hosts/long_wait.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>

#include "cli/hosts/watched_host.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"

namespace {

using namespace std::chrono_literals;
using cli::LongWait;
using cli::WatchedHost;

TEST(LongWait, SpeaksOnceWhenItsOwnerWaitsForLong) {
    std::promise<void> spoken;
    int count = 0;
    {
        const LongWait wait(0ms, [&] {
            ++count;
            spoken.set_value();
        });
        spoken.get_future().wait();
    }
    EXPECT_EQ(count, 1);
}

TEST(LongWait, IsSilentWhenItEndsInTime) {
    bool hasSpoken = false;
    {
        const LongWait wait(1h, [&] { hasSpoken = true; });
    }
    EXPECT_FALSE(hasSpoken);
}

// The lock comes free when the wait for it has been told.
class BusyLock : public host::ForwardingHost {
  public:
    BusyLock(host::Host& inner, int holder) : ForwardingHost(inner), m_holder(holder) {}

    int operateSemaphore(int, const std::vector<host::SemaphoreOperation>&) override {
        told.get_future().wait();
        return 0;
    }
    int semaphoreUser(int identifier) override {
        EXPECT_EQ(identifier, 7);
        return m_holder;
    }

    std::promise<void> told;

  private:
    int m_holder;
};

std::string toldOf(int holder) {
    recording::RecordedHostData data;
    data.files["/proc/4711/comm"] = "rescan-\x1b\n";
    recording::Journal journal;
    recording::RecordedHost recorded(data, journal);
    BusyLock host(recorded, holder);
    WatchedHost watch(host, {});
    std::string message;
    watch.tellOfLongWaits(
        [&](const std::string& told) {
            message = told;
            host.told.set_value();
        },
        0ms);
    EXPECT_EQ(watch.operateSemaphore(7, {{0, true, false}, {1, true, true}}), 0);
    return message;
}

TEST(LongWait, NamesTheProcessThatHoldsTheLock) {
    EXPECT_EQ(toldOf(4711), "waiting for the rescan lock, which process 4711 (rescan-\x1b) holds");
    EXPECT_EQ(toldOf(4712), "waiting for the rescan lock, which process 4712 holds");
    EXPECT_EQ(toldOf(0), "waiting for the rescan lock, which another process holds");
    EXPECT_EQ(toldOf(-EINVAL), "waiting for the rescan lock, which another process holds");
}

TEST(LongWait, GivingTheLockBackIsNoWait) {
    recording::Journal journal;
    recording::RecordedHost recorded({}, journal);
    WatchedHost watch(recorded, {});
    bool isTold = false;
    watch.tellOfLongWaits([&](const std::string&) { isTold = true; }, 0ms);
    watch.operateSemaphore(7, {{-1, true, true}});
    EXPECT_FALSE(isTold);
}

TEST(LongWait, IsOneOfThreeSeconds) {
    EXPECT_EQ(WatchedHost::kPatience, 3s);
}

}  // namespace
