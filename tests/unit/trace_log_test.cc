#include "kit/trace_log.h"

#include <gtest/gtest.h>

#include "trace_capture.h"

namespace {

using test::TraceCapture;

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
    qzfi_pdk_4_4::traceTo(traceable.m_traceLog, 1, "lost");
    traceable.registerTraceLog(capture.log());
    qzfi_pdk_4_4::traceTo(traceable.m_traceLog, 1, "kept");
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"[1] kept"});
}

}  // namespace
