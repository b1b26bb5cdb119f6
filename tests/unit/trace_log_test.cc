#include "scsitool/kit/trace_log.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "trace_capture.h"
#include "unreadable_text.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using qzfi_pdk_4_4::CFiTraceSink;
using test::TraceCapture;
using Lines = std::vector<std::string>;

struct CountingSink : CFiTraceSink {
    void write(int, const std::string& message) override {
        ++lines;
        bytes += message.size();
    }
    // Not atomic on purpose: the log lets in one thread at a time.
    std::size_t lines = 0;
    std::size_t bytes = 0;
};

struct ThrowingSink : CFiTraceSink {
    void write(int, const std::string&) override { throw std::runtime_error("full"); }
};

TEST(TraceLog, WritesNothingWithoutASink) {
    qzfi_pdk_4_4::CFiTraceLog log;
    EXPECT_FALSE(log.isEnabled(0));
    EXPECT_FALSE(log.isEnabled(1));
    log.trace(1, "nobody listens");
}

TEST(TraceLog, WritesLevelsUpToItsOwn) {
    TraceCapture capture(3);
    capture.log()->trace(3, "number %d, text %s", 7, "abc");
    capture.log()->trace(4, "too detailed");
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"[3] number 7, text abc"});
}

TEST(TraceLogFunction, TracesEntryAndExitAtLevelSix) {
    TraceCapture capture;
    { const qzfi_pdk_4_4::CFiTraceLogFunction function(capture.log(), "rescan", "source", 12); }
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"[6] Entering Function rescan [12, source]",
                                        "[6] Exiting Function rescan [12, source]"}));
}

TEST(Traceable, IsSilentUntilALogIsRegistered) {
    TraceCapture capture;
    qzfi_pdk_4_4::CFiTraceable traceable;
    EXPECT_TRUE(traceable.m_traceLog.isNull());
    { const qzfi_pdk_4_4::CFiTraceLogFunction function(traceable.m_traceLog, "rescan", "source"); }
    traceable.registerTraceLog(capture.log());
    traceable.m_traceLog->trace(1, "kept");
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"[1] kept"});
}

TEST(TraceLog, FormatsNothingThatNobodyListensTo) {
    const test::UnreadableText text;
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->trace(1, "%s", text.get());
    log->trace(INT_MIN + 1, "%s", text.get());
    log->setSink(std::make_shared<CountingSink>(), 3);
    log->trace(4, "%s", text.get());
    log->setSink(nullptr, 9);
    log->trace(1, "%s", text.get());
}

TEST(TraceLog, KeepsMessagesOfAnyLength) {
    TraceCapture capture;
    for (const int length : {0, 1, 510, 511, 512, 513, 100000}) {
        capture.clear();
        const std::string message(static_cast<std::size_t>(length), 'x');
        capture.log()->trace(1, "%s", message.c_str());
        EXPECT_EQ(capture.lines(), Lines{"[1] " + message}) << length;
    }
}

TEST(TraceLog, TakesAMessageAsItWasFormatted) {
    TraceCapture capture;
    capture.log()->trace(3, "INFO: reading %s\n", "100%s");
    EXPECT_EQ(capture.lines(), Lines{"[3] INFO: reading 100%s\n"});
}

TEST(TraceLog, SinkCanBeExchanged) {
    CFiTraceLog log;
    const auto first = std::make_shared<CountingSink>();
    const auto second = std::make_shared<CountingSink>();
    log.setSink(first, 9);
    log.trace(1, "one");
    log.setSink(second, 2);
    log.trace(2, "two");
    log.trace(3, "too detailed");
    EXPECT_EQ(first->lines, 1U);
    EXPECT_EQ(second->lines, 1U);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_TRUE(log.isEnabled(2));
    EXPECT_FALSE(log.isEnabled(3));
}

// A sink may be the last owner of what traces: its end must find the log unlocked.
TEST(TraceLog, FormerSinkMayTraceAtItsEnd) {
    struct LastWords : CFiTraceSink {
        explicit LastWords(CFiTraceLog& to) : log(to) {}
        ~LastWords() override { log.trace(1, "last words"); }
        void write(int, const std::string&) override {}
        CFiTraceLog& log;
    };
    CFiTraceLog log;
    const auto next = std::make_shared<CountingSink>();
    log.setSink(std::make_shared<LastWords>(log), 9);
    log.setSink(next, 9);
    EXPECT_EQ(next->lines, 1U);
}

TEST(TraceLog, SinkThatFailsLosesItsLineAlone) {
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(std::make_shared<ThrowingSink>(), 9);
    EXPECT_NO_THROW(log->trace(1, "lost"));
    { const qzfi_pdk_4_4::CFiTraceLogFunction function(log, "rescan", "source"); }
    const auto next = std::make_shared<CountingSink>();
    log->setSink(next, 9);
    log->trace(1, "kept");
    EXPECT_EQ(next->lines, 1U);
}

TEST(TraceLog, LetsOneThreadWriteAtATime) {
    CFiTraceLog log;
    const auto sink = std::make_shared<CountingSink>();
    log.setSink(sink, 9);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&log] {
            for (int line = 0; line < 1000; ++line) {
                log.trace(1, "%04d", line);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sink->lines, 8000U);
    EXPECT_EQ(sink->bytes, 32000U);
}

TEST(TraceLogFunction, NamesTheLineOfItsCaller) {
    TraceCapture capture;
    const int line = __LINE__ + 1;
    { const qzfi_pdk_4_4::CFiTraceLogFunction function(capture.log(), "rescan", "source"); }
    const std::string position = "rescan [" + std::to_string(line) + ", source]";
    EXPECT_EQ(capture.lines(),
              (Lines{"[6] Entering Function " + position, "[6] Exiting Function " + position}));
}

TEST(TraceLogFunction, KeepsTheLogOfItsBeginning) {
    TraceCapture first;
    TraceCapture second;
    qzfi_pdk_4_4::CFiTraceable traceable;
    traceable.registerTraceLog(first.log());
    {
        const qzfi_pdk_4_4::CFiTraceLogFunction function(traceable.m_traceLog, "rescan", "s");
        traceable.registerTraceLog(second.log());
    }
    EXPECT_EQ(first.lines().size(), 2U);
    EXPECT_TRUE(second.lines().empty());
}

}  // namespace
