#include "cli/common/udev.h"

#include <string>

namespace cli {
namespace {

constexpr const char* kPrograms[] = {"/usr/bin/udevadm", "/bin/udevadm", "/sbin/udevadm"};
constexpr int kMostSeconds = 30;
constexpr int kGrace = 5;  // udevadm keeps its own limit; this is for one that does not

}  // namespace

void settleUdev(const Context& context) {
    if (!context.isLive() || context.options.dryRun) {
        return;
    }
    // It changes nothing, so it is no line of the journal.
    host::Host& host = context.hosts.aside();
    for (const char* const program : kPrograms) {
        if (host.pathExists(program)) {
            host.runCommand(
                std::string(program) + " settle --timeout=" + std::to_string(kMostSeconds),
                kMostSeconds + kGrace);
            return;
        }
    }
}

}  // namespace cli
