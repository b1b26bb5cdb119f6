#include "cli/common/context.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "recording/guard/kernel/answering.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli {
namespace {

constexpr const char* kDiskList = "/proc/partitions";

bool isDenied(int error) {
    return error == EACCES || error == EPERM;
}

// What the open says that discovery makes, 0 when it opens.
int openError(host::Host& host, const std::string& name) {
    const int descriptor = host.openDevice(name, host::OpenMode::kReadWriteNonBlocking);
    if (descriptor < 0) {
        return -descriptor;
    }
    host.closeDevice(descriptor);
    return 0;
}

// The reason with the device in front and, where it helps, what to do.
std::string openFailure(const Context& context, const std::string& name, int error) {
    if (error == ENOENT && context.view().isUntold(name)) {
        return noAnswerFor(name);
    }
    const bool isUser = isDenied(error) && context.isLive() && !context.isRoot;
    return name + ": cannot open the device: " + std::strerror(error) +
           (isUser ? "; run it as root" : "");
}

std::vector<std::string> nativeDisks(host::Host& host) {
    const host::Scope scope(host);
    try {
        return CLinuxDeviceDiscovery().enumerateNativeDevicePaths();
    } catch (int) {
        return {};
    }
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
    const HostView view = context.view();
    const int error = view.host.readFile(kDiskList).error();
    if (error != 0) {
        return whyNotThere(view, kDiskList, error);
    }
    const std::size_t silent = context.givenUp().size();
    if (silent != 0) {
        return std::to_string(silent) + " did not answer in " +
               std::to_string(context.options.deadline) + " s";
    }
    return std::string(kDiskList) + " names no sd disk" +
           (context.isLive() ? "; where one is connected, try 'scsitool rescan'" : "");
}

std::string whyNotFound(const Context& context, const std::string& name) {
    const std::vector<std::string> givenUp = context.givenUp();
    if (std::find(givenUp.begin(), givenUp.end(), name) != givenUp.end()) {
        return name + ": no answer in " + std::to_string(context.options.deadline) + " s";
    }
    const int error = openError(context.hosts.aside(), name);
    if (error != 0) {
        return openFailure(context, name, error);
    }
    const std::vector<std::string> disks = nativeDisks(context.hosts.aside());
    if (std::find(disks.begin(), disks.end(), name) != disks.end()) {
        return name + ": it did not open, and does now; try again";
    }
    return name +
           ": it is neither a whole sd disk of /proc/partitions nor a multipath device; "
           "'scsitool devices' lists the names";
}

std::string whyNoAnswer(const Context& context, const std::string& name) {
    const HostView view = context.view();
    recording::guard::Evidence evidence(view.host, view.isRecorded());
    const recording::guard::Answer answer = recording::guard::askDisk(evidence, name);
    const std::string text = "the device opens and did not answer INQUIRY";
    return answer.kind == recording::guard::Answer::Kind::kConnected
               ? text + "; it does now, try again"
               : text + ": " + answer.why;
}

}  // namespace cli
