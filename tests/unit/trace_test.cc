#include "tools/trace.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "trace_capture.h"
#include "unreadable_text.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using qzfi_pdk_4_4::CFiTraceSink;
using test::TraceCapture;
using tools::traceTo;
using Lines = std::vector<std::string>;

TEST(Trace, IsSilentWithoutALog) {
    const test::UnreadableText text;
    traceTo(CFiSmartPtr<CFiTraceLog>(), 1, "%s", text.get());
}

TEST(Trace, FormatsNothingThatNobodyListensTo) {
    const test::UnreadableText text;
    traceTo(CFiSmartPtr<CFiTraceLog>(new CFiTraceLog), 1, "%s", text.get());
    TraceCapture capture(3);
    traceTo(capture.log(), 4, "%s", text.get());
    EXPECT_EQ(capture.lines(), Lines{});
}

TEST(Trace, WritesTheMessageAsItWasFormatted) {
    TraceCapture capture(3);
    traceTo(capture.log(), 3, "number %d, text %s\n", 7, "100%s");
    EXPECT_EQ(capture.lines(), Lines{"[3] number 7, text 100%s\n"});
}

// A page's byte may be shown as a character.
TEST(Trace, KeepsACharacterOfZero) {
    TraceCapture capture;
    traceTo(capture.log(), 6, "page83[1]:[%c]", 0);
    EXPECT_EQ(capture.lines(), Lines{std::string("[6] page83[1]:[\0]", 17)});
}

TEST(Trace, LosesTheLineAloneWhenTheSinkFails) {
    struct ThrowingSink : CFiTraceSink {
        void write(int, const std::string&) override { throw std::runtime_error("full"); }
    };
    const CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(std::make_shared<ThrowingSink>(), 9);
    EXPECT_NO_THROW(traceTo(log, 1, "lost"));
}

}  // namespace
