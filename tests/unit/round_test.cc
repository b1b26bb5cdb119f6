#include "recording/asking/round.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "cheap_forks.h"

namespace {

using recording::AskingLimits;
using recording::AskingProgress;
using recording::Board;
using recording::Round;
using test::kForksAreCheap;
using End = Round::End;

std::vector<std::string> names(std::size_t count) {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back("disk" + std::to_string(i));
    }
    return all;
}

std::string echo(const std::string& name) {
    return "said " + name;
}

std::string work(const std::string& name, const Round::Draft& /*draft*/) {
    return echo(name);
}

[[noreturn]] void hang() {
    for (;;) {
        ::pause();
    }
}

std::uint64_t now() {
    return host::monotonicMilliseconds();
}

std::size_t count(Round& round, End end) {
    std::size_t found = 0;
    for (std::size_t item = 0; item < round.names().size(); ++item) {
        found += round.settle(item) == end ? 1U : 0U;
    }
    return found;
}

void expectAllSaid(Round& round) {
    for (std::size_t item = 0; item < round.names().size(); ++item) {
        ASSERT_EQ(round.settle(item), End::kAnswered) << item;
        std::string text;
        ASSERT_TRUE(round.answer(item, text));
        ASSERT_EQ(text, echo(round.names()[item]));
    }
}

/// Words that processes have in common, one an item and one for all.
class Counters {
  public:
    explicit Counters(std::size_t items) : m_memory((items + 2) * sizeof(Word)) {}
    using Word = std::atomic<std::uint32_t>;
    Word& operator[](std::size_t index) { return reinterpret_cast<Word*>(m_memory.data())[index]; }

  private:
    host::SharedMemory m_memory;
};

std::size_t indexOf(const std::string& name) {
    return std::stoul(name.substr(4));
}

TEST(Round, AsksEachOnce) {
    for (const std::size_t items : {1U, 2U, 15U, 16U, 17U, 1000U}) {
        Counters asked(items);
        Round round(names(items),
                    [&](const std::string& name, const Round::Draft&) {
                        ++asked[indexOf(name)];
                        return echo(name);
                    },
                    {}, {});
        round.settle();
        expectAllSaid(round);
        for (std::size_t item = 0; item < items; ++item) {
            EXPECT_EQ(asked[item], 1U);
        }
        EXPECT_EQ(round.forkError(), 0);
    }
}

TEST(Round, OfNothingIsOver) {
    Round round({}, work, {}, {});
    round.settle();
    EXPECT_EQ(round.forkError(), 0);
}

TEST(Round, AsksNoMoreAtATimeThanItMay) {
    for (const unsigned jobs : {1U, 3U, 16U}) {
        Counters at(2);
        Round round(names(3 * jobs),
                    [&](const std::string& name, const Round::Draft&) {
                        const std::uint32_t together = ++at[0];
                        std::uint32_t most = at[1];
                        while (most < together && !at[1].compare_exchange_weak(most, together)) {
                        }
                        ::usleep(50'000);
                        --at[0];
                        return echo(name);
                    },
                    {jobs, 10}, {});
        round.settle();
        expectAllSaid(round);
        EXPECT_LE(at[1], jobs);
        EXPECT_GE(at[1], std::min(jobs, kForksAreCheap ? 8U : 2U));
    }
}

TEST(Round, GivesUpWhatDoesNotEndInTimeAndNoOther) {
    const std::uint64_t begun = now();
    Round round(names(64),
                [](const std::string& name, const Round::Draft&) {
                    if (name == "disk5") {
                        hang();
                    }
                    return echo(name);
                },
                {16, 1}, {});
    round.settle();
    const std::uint64_t took = now() - begun;
    EXPECT_GE(took, 1000U);
    EXPECT_LT(took, 15000U);
    EXPECT_EQ(round.settle(5), End::kGivenUp);
    EXPECT_EQ(count(round, End::kAnswered), 63U);
    EXPECT_EQ(count(round, End::kGivenUp), 1U);
}

// Who is stopped on a terminal and goes on later has not waited meanwhile, nor was anything asked.
TEST(Round, DoesNotCountTheTimeInWhichItsProcessIsStopped) {
    Round round(names(2),
                [](const std::string& name, const Round::Draft&) {
                    ::usleep(300'000);
                    if (name == "disk1") {
                        ::kill(::getppid(), SIGSTOP);
                        ::usleep(1'300'000);
                        ::kill(::getppid(), SIGCONT);
                    } else {
                        ::usleep(1'500'000);
                    }
                    return echo(name);
                },
                {2, 1}, {});
    round.settle();
    expectAllSaid(round);
}

TEST(Round, WaitsOnWithoutADeadline) {
    Round round(names(2),
                [](const std::string& name, const Round::Draft&) {
                    ::usleep(1'500'000);
                    return echo(name);
                },
                {2, 0}, {});
    round.settle();
    expectAllSaid(round);
}

// How long it takes until as many devices that never answer are given up.
std::uint64_t millisecondsOfSilence(std::size_t items) {
    const std::uint64_t begun = now();
    Round round(names(items),
                [](const std::string&, const Round::Draft&) -> std::string { hang(); }, {16, 1},
                {});
    round.settle();
    const std::uint64_t taken = now() - begun;
    EXPECT_EQ(count(round, End::kGivenUp), items);
    return taken;
}

TEST(Round, GivesUpManySilentOnesTogether) {
    const std::pair<std::size_t, std::uint64_t> kCases[] = {{64, 2000}, {200, 5000}};
    for (const auto& [items, most] : kCases) {
        const std::uint64_t limit = 1000 + (kForksAreCheap ? most : 20 * most);
        std::uint64_t taken = millisecondsOfSilence(items);
        // Another try where something else on this machine may have held it up.
        for (int more = 0; more < 2 && taken >= limit; ++more) {
            taken = millisecondsOfSilence(items);
        }
        EXPECT_LT(taken, limit) << items;
    }
}

TEST(Round, HasTheDraftOfWhatItGaveUp) {
    Round round(names(3),
                [](const std::string& name, const Round::Draft& draft) {
                    draft("half of " + name);
                    if (name != "disk1") {
                        return echo(name);
                    }
                    hang();
                },
                {4, 1}, {});
    EXPECT_EQ(round.settle(1), End::kGivenUp);
    std::string text;
    EXPECT_TRUE(round.draft(1, text));
    EXPECT_EQ(text, "half of disk1");
    EXPECT_FALSE(round.answer(1, text));
    EXPECT_EQ(round.settle(2), End::kAnswered);
    EXPECT_TRUE(round.answer(2, text));
    EXPECT_EQ(text, "said disk2");
}

TEST(Round, IsNotWaitedForAtItsEnd) {
    const std::uint64_t begun = now();
    {
        const Round round(names(8),
                          [](const std::string&, const Round::Draft&) -> std::string { hang(); },
                          {}, {});
    }
    EXPECT_LT(now() - begun, 8000U) << "its deadline is 10 s";
}

TEST(Round, GivesWhatAKilledWorkerHadToAnother) {
    Counters asked(300);
    Round round(names(300),
                [&](const std::string& name, const Round::Draft&) {
                    if (++asked[indexOf(name)] == 1 && indexOf(name) % 7 == 3) {
                        ::kill(::getpid(), SIGKILL);
                    }
                    return echo(name);
                },
                {4, 10}, {});
    round.settle();
    expectAllSaid(round);
    EXPECT_EQ(asked[3], 2U);
    EXPECT_EQ(asked[4], 1U);
}

TEST(Round, GivesUpWhatEndsItsWorkerTwice) {
    Counters asked(30);
    Round round(names(30),
                [&](const std::string& name, const Round::Draft&) -> std::string {
                    ++asked[indexOf(name)];
                    if (name == "disk7" || name == "disk29") {
                        std::abort();
                    }
                    if (name == "disk8") {
                        throw 6;
                    }
                    return echo(name);
                },
                {4, 10}, {});
    round.settle();
    EXPECT_EQ(count(round, End::kAnswered), 27U);
    for (const std::size_t item : {7U, 8U, 29U}) {
        EXPECT_EQ(round.settle(item), End::kGivenUp);
        EXPECT_EQ(asked[item], 2U);
    }
}

// The processes are this one's children: each is told when it may be killed.
TEST(Round, StandsWorkersKilledAtAnyPoint) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Counters pids(64);
        Round round(names(400),
                    [&](const std::string& name, const Round::Draft&) {
                        pids[indexOf(name) % 64] = static_cast<std::uint32_t>(::getpid());
                        volatile unsigned work = 0;
                        for (unsigned i = 0; i < 20000; ++i) {
                            work = work + i;
                        }
                        return echo(name);
                    },
                    {8, 5}, {});
        unsigned state = seed;
        for (int kill = 0; kill < 12; ++kill) {
            state = state * 1103515245U + 12345U;
            ::usleep(state >> 16 & 0x3ff);
            const std::uint32_t pid = pids[state >> 20 & 63];
            if (pid != 0) {
                ::kill(static_cast<pid_t>(pid), SIGKILL);
            }
        }
        round.settle();
        const std::size_t answered = count(round, End::kAnswered);
        EXPECT_EQ(answered + count(round, End::kGivenUp), 400U);
        EXPECT_GE(answered, 380U);
    }
}

TEST(Round, ThatCannotForkLeavesAllToItsCaller) {
    // Not even the rights of root count for a process of another user.
    const auto withoutProcesses = [] {
        const rlimit none = {0, 0};
        if (::setuid(65534) != 0 || ::setrlimit(RLIMIT_NPROC, &none) != 0) {
            return ::geteuid() != 0;
        }
        Round round(names(5), work, {}, {});
        round.settle();
        return count(round, End::kNotAsked) == 5 && round.forkError() == EAGAIN;
    };
    EXPECT_EXIT(std::_Exit(withoutProcesses() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(Round, LeavesWhatIsTooLongToItsCaller) {
    Round round(names(3),
                [](const std::string& name, const Round::Draft&) {
                    return name == "disk1"
                               ? echo(name)
                               : std::string(Board::kLargestResult + indexOf(name) / 2, 'x');
                },
                {}, {});
    round.settle();
    std::string text;
    EXPECT_EQ(round.settle(0), End::kAnswered);
    EXPECT_TRUE(round.answer(0, text));
    EXPECT_EQ(text.size(), Board::kLargestResult);
    EXPECT_EQ(round.settle(1), End::kAnswered);
    EXPECT_EQ(round.settle(2), End::kNotAsked);
    EXPECT_FALSE(round.answer(2, text));
}

TEST(Round, TellsHowFarItIsAtMostTenTimesASecond) {
    if (!kForksAreCheap) {
        GTEST_SKIP() << "with slow forks there is more than one in hand";
    }
    std::vector<AskingProgress> told;
    const std::uint64_t begun = now();
    Round round(
        names(20),
        [](const std::string& name, const Round::Draft&) {
            if (name == "disk3") {
                hang();
            }
            return echo(name);
        },
        {4, 2}, [&](const AskingProgress& progress) { told.push_back(progress); });
    round.settle();
    ASSERT_GE(told.size(), 5U);
    EXPECT_LE(told.size(), (now() - begun) / 100 + 1);
    EXPECT_EQ(told.front().all, 20U);
    EXPECT_EQ(told.front().slowSeconds, 0U);
    // A busy machine may have others in hand for a while.
    const auto isAllButIt = [](const AskingProgress& progress) {
        return progress.left == 1 && progress.slowest == "disk3" && progress.slowSeconds == 1;
    };
    EXPECT_NE(std::find_if(told.begin(), told.end(), isAllButIt), told.end());
}

TEST(Board, GivesNoResultThatLiesElsewhere) {
    Board board(2);
    ASSERT_TRUE(board.isThere());
    std::string text = "before";
    EXPECT_FALSE(board.result(0, text)) << "there is none yet";
    board.put(0, 0, "first");
    EXPECT_TRUE(board.result(0, text));
    EXPECT_EQ(text, "first");
    EXPECT_EQ(board.state(0), Board::State::kDone);
    EXPECT_EQ(board.state(1), Board::State::kOpen);
    EXPECT_EQ(board.ended(), 1U);
}

TEST(Board, KeepsTheLastDraftOfEachItem) {
    Board board(2);
    ASSERT_TRUE(board.isThere());
    std::string text = "before";
    EXPECT_FALSE(board.draft(0, text)) << "there is none yet";
    board.putDraft(0, "");
    EXPECT_TRUE(board.draft(0, text));
    EXPECT_EQ(text, "");
    board.putDraft(0, "first");
    board.putDraft(1, "another's");
    board.putDraft(0, "first and second");
    EXPECT_TRUE(board.draft(0, text));
    EXPECT_EQ(text, "first and second");
    EXPECT_EQ(board.state(0), Board::State::kOpen) << "it has not ended";
    board.putDraft(0, std::string(Board::kLargestResult + 1, 'x'));
    EXPECT_TRUE(board.draft(0, text));
    EXPECT_EQ(text, "first and second") << "what there is no room for is let go";
    board.put(0, 0, "all");
    EXPECT_TRUE(board.result(0, text));
    EXPECT_EQ(text, "all");
}

// What a worker may do to the memory that it shares: whatever stands there, nothing is read past
// it.
TEST(Board, StandsAnythingThatAWorkerWritesThere) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        Board board(4);
        ASSERT_TRUE(board.isThere());
        board.seat(0);
        board.put(0, 1, "result");
        unsigned state = seed * 2654435761U + 1;
        unsigned char* const bytes = board.shared();
        // The queue's head, all seats and the slots; the results behind them are bytes anyway.
        const std::size_t control = 64 + Board::kSeats * 16 + 128;
        for (std::size_t i = 0; i < control; ++i) {
            state = state * 1103515245U + 12345U;
            bytes[i] = seed == 0 ? 0xff : static_cast<unsigned char>(state >> 16);
        }
        std::string text;
        for (std::size_t item = 0; item < 4; ++item) {
            board.state(item);
            if (board.result(item, text) || board.draft(item, text)) {
                EXPECT_LE(text.size(), Board::kLargestResult);
            }
        }
        EXPECT_LE(board.taken(), 4U);
        for (std::size_t seat = 0; seat < Board::kSeats; ++seat) {
            EXPECT_LT(board.at(seat).item, 4U);
        }
    }
}

TEST(Board, HandsOutItsQueueOnce) {
    Board board(2);
    board.seat(0);
    EXPECT_FALSE(board.at(0).hasItem);
    std::size_t item = 9;
    EXPECT_TRUE(board.take(0, item));
    EXPECT_EQ(item, 0U);
    EXPECT_TRUE(board.at(0).hasItem);
    EXPECT_EQ(board.taken(), 1U);
    EXPECT_TRUE(board.take(1, item));
    EXPECT_EQ(item, 1U);
    EXPECT_FALSE(board.take(1, item));
    EXPECT_TRUE(board.at(1).hasLeft);
    EXPECT_FALSE(board.at(1).hasItem);
    EXPECT_FALSE(board.at(0).hasLeft);
    EXPECT_EQ(board.taken(), 2U);
}

}  // namespace
