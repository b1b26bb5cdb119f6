#include "scsitool/kit/context_singleton.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "trace_capture.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;
using qzfi_pdk_4_4::CFiTraceSink;
using Context = qzfi_pdk_4_4::CFiContextSingleton<CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

class ContextSingleton : public testing::Test {
  protected:
    ContextSingleton() { Context::registerInstance({}); }
    ~ContextSingleton() override { Context::registerInstance({}); }
};

TEST_F(ContextSingleton, IsNullUntilAnObjectIsRegistered) {
    EXPECT_TRUE(Context::instance(false).isNull());
    test::TraceCapture capture;
    Context::registerInstance(capture.log());
    EXPECT_EQ(Context::instance(false).get(), capture.log().get());
    EXPECT_EQ(Context::instance(true).get(), capture.log().get());
    Context::registerInstance({});
    EXPECT_TRUE(Context::instance(false).isNull());
}

TEST_F(ContextSingleton, IsCreatedOnDemandOnce) {
    const CFiSmartPtr<CFiTraceLog> created = Context::instance(true);
    ASSERT_FALSE(created.isNull());
    EXPECT_EQ(Context::instance(true).get(), created.get());
    EXPECT_EQ(Context::instance(false).get(), created.get());
}

TEST_F(ContextSingleton, IsOneForAllThreads) {
    std::vector<CFiSmartPtr<CFiTraceLog>> seen(8);
    std::vector<std::thread> threads;
    for (CFiSmartPtr<CFiTraceLog>& place : seen) {
        threads.emplace_back([&place] { place = Context::instance(true); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const CFiSmartPtr<CFiTraceLog>& place : seen) {
        EXPECT_EQ(place.get(), seen.front().get());
    }
}

TEST_F(ContextSingleton, FormerObjectMayAskForTheInstanceAtItsEnd) {
    struct AsksAtItsEnd : CFiTraceSink {
        ~AsksAtItsEnd() override { Context::instance(false); }
        void write(int, const std::string&) override {}
    };
    CFiSmartPtr<CFiTraceLog> log(new CFiTraceLog);
    log->setSink(std::make_shared<AsksAtItsEnd>(), 1);
    Context::registerInstance(log);
    log = CFiSmartPtr<CFiTraceLog>();
    Context::registerInstance({});
    EXPECT_TRUE(Context::instance(false).isNull());
}

}  // namespace
