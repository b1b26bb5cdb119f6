#include "cli/common/removed_addresses.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace cli {
namespace {

constexpr const char* kScsiTable = "/proc/scsi/scsi";
constexpr const char* kRequest = "scsi remove-single-device %d %d %d %d";

bool readRequest(const AppendEffect& write, SLinuxScsiDevice& address) {
    return write.path == kScsiTable &&
           std::sscanf(write.data.c_str(), kRequest, &address.host, &address.channel, &address.id,
                       &address.lun) == 4;
}

bool isDelete(const AppendEffect& write) {
    const std::size_t slash = write.path.rfind('/');
    return slash != std::string::npos && write.path.substr(slash) == "/delete";
}

int errorOf(const AppendEffect& write) {
    return write.result.openError != 0 ? write.result.openError : write.result.writeError;
}

}  // namespace

std::vector<RemovedAddress> removedAddresses(const std::vector<AppendEffect>& writes) {
    std::vector<RemovedAddress> removed;
    for (const AppendEffect& write : writes) {
        RemovedAddress one;
        if (write.result.openError == EBUSY) {
            continue;  // nothing but the guard answers so
        }
        if (readRequest(write, one.address)) {
            one.error = errorOf(write);
            removed.push_back(one);
        } else if (isDelete(write) && errorOf(write) == 0 && !removed.empty()) {
            removed.back().error = 0;
        }
    }
    return removed;
}

std::string removalFailure(const HostView& view, const std::vector<RemovedAddress>& removed) {
    for (const RemovedAddress& one : removed) {
        if (one.error != 0) {
            const bool isMissing = one.error == ENOENT && !view.isUntold(kScsiTable);
            return fmt::format(
                "{} was not removed: {}{}", addressText(one.address),
                whyNotThere(view, kScsiTable, one.error),
                isMissing ? " (a kernel without CONFIG_SCSI_PROC_FS has no such file)" : "");
        }
    }
    return {};
}

std::string addressText(const SLinuxScsiDevice& address) {
    return fmt::format("{}:{}:{}:{}", address.host, address.channel, address.id, address.lun);
}

Json addressJson(const SLinuxScsiDevice& address) {
    return Json::array({address.host, address.channel, address.id, address.lun});
}

}  // namespace cli
