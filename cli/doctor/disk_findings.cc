#include <algorithm>
#include <cerrno>

#include "cli/base/text.h"
#include "cli/doctor/device_findings.h"

namespace cli::doctor {
namespace {

using picture::Condition;
using picture::ScsiAddress;

constexpr std::uint64_t kHighest = 255;  // eight bits of the address word

bool isDenied(int error) {
    return error == EACCES || error == EPERM;
}

// A node that the recording does not have is no node that does not open.
bool isUntold(const HostView& view, const DiskSeen& disk) {
    return disk.openError() == ENOENT && view.isUntold(disk.node());
}

// Rights, the ioctl and write protection have findings of their own.
bool isSaidOtherwise(const HostView& view, const DiskSeen& disk) {
    return isDenied(disk.openError()) || disk.openError() == EROFS || disk.answersSgIoOnly ||
           isUntold(view, disk);
}

std::string heldBackText(const DiskSeen& disk) {
    return "its state is " + (disk.state.empty() ? "not told" : disk.state) + "; it was not asked";
}

std::string goneText(const DiskSeen& disk) {
    const std::string& text = disk.device->state.text;
    const std::string why =
        disk.openError() != 0 ? errorText(disk.openError()) : disk.seen.answer.why;
    return why.empty() ? text : text + ": " + why;
}

void addState(const HostView& view, const DiskSeen& disk, std::vector<Finding>& findings) {
    const picture::State& state = disk.device->state;
    const std::vector<std::string> devices = {disk.node()};
    if (isSaidOtherwise(view, disk)) {
        return;
    }
    switch (state.condition) {
        case Condition::kNoAnswer:
            findings.push_back(
                {disk.seen.answer.qualifier != 0 ? Kind::kNotServing : Kind::kNoAnswer, devices,
                 state.text});
            break;
        case Condition::kNotOpened:
            findings.push_back({Kind::kNotOpened, devices, state.text});
            break;
        case Condition::kOffline:
        case Condition::kGone:
            findings.push_back({Kind::kGone, devices, goneText(disk)});
            break;
        case Condition::kBlocked:
            findings.push_back({Kind::kNotServing, devices, state.text});
            break;
        case Condition::kInPart:
            findings.push_back({Kind::kInPart, devices, state.text});
            break;
        case Condition::kNotAsked:
            if (!disk.state.empty() && disk.state != "running") {
                findings.push_back({Kind::kNotServing, devices, heldBackText(disk)});
            }
            break;
        default:
            break;
    }
}

void addOtherDisk(const DiskSeen& disk, std::vector<Finding>& findings) {
    if (disk.verdict && disk.verdict->finding == prune::Finding::kAnotherDisk) {
        findings.push_back({Kind::kAnotherDisk, {disk.node()}, disk.verdict->reason});
    }
}

void addWriteProtection(const DiskSeen& disk, std::vector<Finding>& findings) {
    if (disk.openError() == EROFS) {
        findings.push_back({Kind::kWriteProtected, {disk.node()}, disk.device->state.text});
    } else if (disk.isWriteProtected) {
        findings.push_back({Kind::kWriteProtected, {disk.node()}, "the kernel has it read-only"});
    }
}

bool isWide(const ScsiAddress& at) {
    return at.host > kHighest || at.channel > kHighest || at.target > kHighest || at.lun > kHighest;
}

void addAddress(const DiskSeen& disk, std::vector<Finding>& findings) {
    if (!disk.device->address) {
        return;
    }
    const ScsiAddress& at = *disk.device->address;
    if (isWide(at) || (disk.word && !(*disk.word == at))) {
        findings.push_back(
            {Kind::kWideAddress,
             {disk.node()},
             "its address is " + addressText(at) +
                 (disk.word ? ", the address word says " + addressText(*disk.word) : "")});
    }
}

}  // namespace

void addDiskFindings(const HostView& view, const Survey& seen, std::vector<Finding>& findings) {
    for (const DiskSeen& disk : seen.disks) {
        addState(view, disk, findings);
        addOtherDisk(disk, findings);
        addWriteProtection(disk, findings);
        addAddress(disk, findings);
    }
}

}  // namespace cli::doctor
