#include <gtest/gtest.h>

#include <thread>

#include "cli/hosts/host_stack.h"
#include "cli_harness.h"
#include "scsitool/host/linux_host.h"

namespace {

using cli::HostStack;
using cli::Options;

constexpr const char* kEmptyHost = R"({"format":"scsitool-host/1"})";

bool reachesTheMachine() {
    bool reached = false;
    std::thread([&reached] { reached = host::current().pathExists("/"); }).join();
    return reached;
}

TEST(HostStack, LetsNoThreadReachTheMachineWhileARecordingStandsIn) {
    const test::TempFolder folder;
    Options options;
    options.hostFile = folder.write("host.json", kEmptyHost);
    {
        HostStack stack(options, host::linuxHost(), nullptr, {});
        EXPECT_FALSE(reachesTheMachine());
        EXPECT_FALSE(stack.top().pathExists("/"));
    }
    EXPECT_TRUE(reachesTheMachine());
}

TEST(HostStack, LeavesTheMachineToAllWithoutARecording) {
    HostStack stack({}, host::linuxHost(), nullptr, {});
    EXPECT_TRUE(reachesTheMachine());
}

}  // namespace
