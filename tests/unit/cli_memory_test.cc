#include <new>

#include "cli/base/memory_watch.h"
#include "cli_harness.h"
#include "guard_machine.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using test::CliMachine;
using test::CliResult;

// What operator new does when there is no memory.
[[noreturn]] void runOutOfMemory() {
    if (const std::new_handler handler = std::get_new_handler()) {
        handler();
    }
    throw std::bad_alloc();
}

TEST(MemoryWatch, KnowsThatMemoryRanOutThoughItWasCaught) {
    const cli::MemoryWatch memory;
    EXPECT_FALSE(memory.hasRunOut());
    try {
        runOutOfMemory();
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(memory.hasRunOut());
    }
    EXPECT_TRUE(memory.hasRunOut());
}

TEST(MemoryWatch, KnowsNothingOfWhatWasBefore) {
    {
        const cli::MemoryWatch memory;
        EXPECT_THROW(runOutOfMemory(), std::bad_alloc);
    }
    const cli::MemoryWatch memory;
    EXPECT_FALSE(memory.hasRunOut());
}

TEST(MemoryWatch, PutsTheFormerHandlerBack) {
    const std::new_handler former = std::get_new_handler();
    { const cli::MemoryWatch memory; }
    EXPECT_EQ(std::get_new_handler(), former);
}

/// A host on which memory runs out while the guard looks at the mounts.
class FullHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    host::ReadResult readFile(const std::string& path) override {
        if (path == "/proc/self/mountinfo") {
            runOutOfMemory();
        }
        return ForwardingHost::readFile(path);
    }
};

// The library takes the exception for a map that is in use, and tells nobody.
TEST(CliMemory, ARemovalThatMemoryRanOutInIsNotDone) {
    CliMachine machine(test::guardedMachine());
    FullHost host(machine.host());
    const CliResult result =
        test::runCli({"--jobs", "1", "--deadline", "0", "remove", "/dev/mapper/mpatha"}, host);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: memory ran out on the way: what is shown and what was done may not be "
              "all\n");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

}  // namespace
