#include <gtest/gtest.h>

#include <new>

#include "allocation_failure.h"
#include "cli/hosts/answer_watch.h"
#include "cli/hosts/enumeration_watch.h"
#include "cli/hosts/missing_pages.h"
#include "cli_harness.h"
#include "sick_host.h"
#include "spared_host.h"

// Who looks on and has no memory for what was seen leaves no device open.

namespace {

using test::CliMachine;

const std::string kNode = "/dev/sda";

// What opens is closed by who opened it, or, where the open threw, by nobody else.
void openAndClose(host::Host& watch) {
    try {
        const int descriptor = watch.openDevice(kNode, host::OpenMode::kReadWriteNonBlocking);
        const test::AllocationPause pause;
        ASSERT_GE(descriptor, 0);
        watch.closeDevice(descriptor);
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(test::AllocationFailure::happened());
    }
}

template <class MakeWatch>
void expectNothingLeftOpen(MakeWatch makeWatch) {
    test::SickHost sick;
    sick.addDisk("sda", "2:0:0:1", test::namedDisk("A1", 1));
    CliMachine machine(sick.data);
    test::SparedHost spared(machine.host());
    const std::size_t failures = test::failEachAllocation([&] {
        {
            auto watch = [&] {
                const test::AllocationPause pause;
                return makeWatch(spared);
            }();
            openAndClose(watch);
        }
        const test::AllocationPause pause;
        EXPECT_EQ(machine.openDescriptors(), 0U);
    });
    EXPECT_TRUE(failures > 0 || !test::allocationsCanFail());
}

TEST(NotedOpen, NoWatchLeavesADeviceOpenThatItCouldNotNote) {
    expectNothingLeftOpen([](host::Host& host) { return cli::AnswerWatch(host); });
    expectNothingLeftOpen([](host::Host& host) { return cli::MissingPages(host); });
    expectNothingLeftOpen([](host::Host& host) { return cli::EnumerationWatch(host, true); });
}

}  // namespace
