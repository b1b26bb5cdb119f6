#include "cli/common/context.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

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
    // Discovery opens for reading and writing, which a write-protected disk refuses.
    const std::string what = error == EROFS ? "the device for writing: " : "the device: ";
    return name + ": cannot open " + what + std::strerror(error) +
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

recording::GivenUp Context::givenUp() const {
    if (const recording::RecordedAsking* const recorded = hosts.recordedAsking()) {
        return recorded->givenUp();
    }
    recording::GivenUp found;
    if (const recording::AnsweringHost* const answering = hosts.answering()) {
        for (const std::string& name : answering->givenUp()) {
            found[name] = options.deadline;
        }
    }
    return found;
}

std::size_t Context::asked() const {
    if (const recording::RecordedAsking* const recorded = hosts.recordedAsking()) {
        return recorded->asked();
    }
    return hosts.answering() != nullptr ? hosts.answering()->asked() : 0;
}

std::string hintWithoutDisks(const Context& context) {
    const HostView view = context.view();
    const int error = view.host.readFile(kDiskList).error();
    if (error != 0) {
        return whyNotThere(view, kDiskList, error);
    }
    const recording::GivenUp silent = context.givenUp();
    if (!silent.empty()) {
        return std::to_string(silent.size()) + " did not answer in " +
               std::to_string(silent.begin()->second) + " s";
    }
    return std::string(kDiskList) + " names no sd disk" +
           (context.isLive() ? "; where one is connected, try 'scsitool rescan'" : "");
}

std::string whyNotFound(const Context& context, const std::string& name) {
    const recording::GivenUp givenUp = context.givenUp();
    const auto silent = givenUp.find(name);
    if (silent != givenUp.end()) {
        return name + ": no answer in " + std::to_string(silent->second) + " s";
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
