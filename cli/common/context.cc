#include "cli/common/context.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

namespace cli {
namespace {

bool isDenied(int error) {
    return error == EACCES || error == EPERM;
}

// What an open of the node says, 0 when it opens.
int openError(host::Host& host, const std::string& name) {
    const int descriptor = host.openDevice(name, host::OpenMode::kReadOnlyNonBlocking);
    if (descriptor < 0) {
        return -descriptor;
    }
    host.closeDevice(descriptor);
    return 0;
}

}  // namespace

std::vector<std::string> Context::givenUp() const {
    const recording::AnsweringHost* const answering = hosts.answering();
    if (answering == nullptr) {
        return {};
    }
    const std::set<std::string> names = answering->givenUp();
    return {names.begin(), names.end()};
}

std::string hintWithoutDisks(const Context& context) {
    if (!context.isLive()) {
        return "the recorded host " + context.options.hostFile + " has none that opens";
    }
    const std::size_t silent = context.givenUp().size();
    if (silent != 0) {
        return std::to_string(silent) + " did not answer in " +
               std::to_string(context.options.deadline) + " s";
    }
    if (!context.isRoot) {
        return "device nodes open to root only, run it as root";
    }
    return "look at 'lsscsi' or /proc/partitions for sd disks, then try 'scsitool rescan'";
}

std::string whyNotFound(const Context& context, const std::string& name) {
    const std::vector<std::string> givenUp = context.givenUp();
    if (std::find(givenUp.begin(), givenUp.end(), name) != givenUp.end()) {
        return name + ": no answer in " + std::to_string(context.options.deadline) + " s";
    }
    const int error = openError(context.hosts.aside(), name);
    if (error != 0) {
        return name + ": cannot open the device: " + std::strerror(error) +
               (isDenied(error) && !context.isRoot ? "; run it as root" : "");
    }
    return name +
           ": it is neither a whole sd disk of /proc/partitions nor a multipath device; "
           "'scsitool devices' lists the names";
}

}  // namespace cli
