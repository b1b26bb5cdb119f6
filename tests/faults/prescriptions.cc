#include "prescriptions.h"

#include <algorithm>
#include <vector>

namespace faults {
namespace {

using Thrown = CallResult::Thrown;

constexpr const char* kAny = "";
constexpr const char* kUdid = "UDID##";  // all begin with it
constexpr int kNoMemory = -1;
constexpr int kAnyWay = -2;

// What a call gives when something in it fails, as its header says it. What is in no row changes
// nothing: the call gives what it gives without the fault.
struct Prescription {
    const char* call;
    const char* fault;
    const char* of;  // what the path or the command begins with
    int way;
    std::vector<long> codes;
    bool isBehind = false;   // the fault was in a call before
    bool mayBeLess = false;  // it counts, and what it counts may not all be there
};

const std::vector<Prescription>& prescriptions() {
    static const std::vector<Prescription> kRows = {
        {"getDiskSize", "open", kAny, kAnyWay, {26}},
        {"getDiskSize", "BLKGETSIZE64", kAny, kAnyWay, {27}},
        {"getDiskSize", "close", kAny, kAnyWay, {25}},
        {"enumerateNativeDevicePathsExt", "gethostname", kAny, kAnyWay, {6}},
        {"enumerateNativeDevicePathsExt", "read", "/proc/partitions", 0, {6}},
        {"enumerateNativeDevicePathsExt", "read", "/proc/partitions", 1, {0, 6}},
        {"enumerateNativeDevicePathsExt", kAny, kAny, kNoMemory, {0, 6}},
        {"scanForAdapterMaximums", "read", "/proc/scsi/scsi", 0, {-1}},
        {"getDeviceCount", "read", "/proc/scsi/scsi", 0, {0}},
        {"getDeviceCount", "read", "/proc/scsi/scsi", 1, {}, false, true},
        {"getDeviceCount", kAny, kAny, kNoMemory, {}, false, true},
        {"removeStaleDevices", "run", kAny, kAnyWay, {6}},
        {"removeStaleDevices", "stat", kAny, kAnyWay, {6}},
        {"FlushMultipathStaleDevices", "run", "/sbin/pidof", kAnyWay, {5, 11}},
        {"FlushMultipathStaleDevices", kAny, kAny, kNoMemory, {6}},
        {"RemoveDevice of a record", kAny, kAny, kAnyWay, {6}, true},
        {"RemoveDevice of a record", kAny, kAny, kNoMemory, {6}, true},
        {"GetHostIQN", "stat", "/sbin/iscsiadm", kAnyWay, {6}},
        {"GetHostIQN", "read", "/etc/iscsi/initiatorname.iscsi", 0, {26}},
    };
    return kRows;
}

bool isOf(const Prescription& row, const CallResult& result, const Fault& fault) {
    const int way = fault.isOutOfMemory ? kNoMemory : static_cast<int>(fault.way);
    return result.call == row.call && (row.fault == std::string(kAny) || fault.call == row.fault) &&
           fault.of.find(row.of) == 0 &&
           (row.way == way || (row.way == kAnyWay && way != kNoMemory));
}

std::string wrongInCode(const CallResult& result, const CallResult& sound, const Fault& fault) {
    std::vector<long> codes = {sound.code};
    for (const Prescription& row : prescriptions()) {
        if (isOf(row, result, fault) && result.isStruck && row.mayBeLess) {
            codes = {std::max(0L, std::min(result.code, sound.code))};
        } else if (isOf(row, result, fault) && result.isStruck && !row.isBehind) {
            codes = row.codes;
        } else if (isOf(row, result, fault) && !result.isStruck && row.isBehind) {
            codes.insert(codes.end(), row.codes.begin(), row.codes.end());
        }
    }
    return std::find(codes.begin(), codes.end(), result.code) != codes.end()
               ? ""
               : "; " + result.call + " gave " + std::to_string(result.code);
}

std::string wrongInThrown(const CallResult& result, const Fault& fault) {
    static const std::vector<std::string> kThrowsNothing = {"rescan", "validateDevice", "getWWPN",
                                                            kCommand};
    if (result.thrown == Thrown::kNumber && result.code == 6 && result.isStruck &&
        result.call == "enumerateNativeDevicePaths") {
        return "";
    }
    const bool handsOn = std::find(kThrowsNothing.begin(), kThrowsNothing.end(), result.call) ==
                         kThrowsNothing.end();
    if (result.thrown == Thrown::kNoMemory && result.isStruck && fault.isOutOfMemory && handsOn) {
        return "";
    }
    return "; " + result.call + " threw";
}

bool isCommand(const Answer& answer) {
    return !answer.calls.empty() && answer.calls.front().call == kCommand;
}

// What is found may be lost: by what stops the whole operation, and what is not listed is not
// asked.
bool mayLose(const Fault& fault, const std::string& name) {
    static const std::set<std::string> kLists = {"read", "list", "run", "stat"};
    return fault.isOutOfMemory || fault.of == name || kLists.count(fault.call) != 0;
}

// Says by its number that it has failed: whoever called knows.
bool saysSo(const Answer& answer, const Answer& sound) {
    for (std::size_t i = 0; i < answer.calls.size() && i < sound.calls.size(); ++i) {
        if (answer.calls[i].isStruck && answer.calls[i].code != sound.calls[i].code) {
            return true;
        }
    }
    return false;
}

// A request that fails costs the device that it was made of something, and no other one. The UDID
// of a device that has no name of its own is made of the host's. An allocation of the library's
// fails in whatever device is in hand, and may end the asking of those behind it.
bool mayChange(const Fault& fault, const std::string& name, const std::string& now) {
    return fault.of == name || fault.call == "gethostname" || fault.call == kAllocation ||
           (now.empty() && mayLose(fault, name));
}

// Nothing is found that is not there. The lines before the end of a read that failed count, and the
// last of them may be half a line: half a number is one as well.
bool mayInvent(const Fault& fault) {
    return fault.call == "read" && fault.way == 1 && !fault.isOutOfMemory;
}

std::string wrongInFound(const Answer& answer, const Answer& sound, const Fault& fault) {
    std::string wrong;
    for (const auto& [name, what] : answer.found) {
        const auto known = sound.found.find(name);
        if (known == sound.found.end()) {
            wrong += mayInvent(fault) ? "" : "; it found " + name;
        } else if (known->second != what && !mayChange(fault, name, what)) {
            wrong += "; " + name + " became " + what;
        }
    }
    for (const auto& [name, what] : sound.found) {
        if (answer.found.count(name) == 0 && !mayLose(fault, name) && !saysSo(answer, sound)) {
            wrong += "; it lost " + name;
        }
    }
    return wrong;
}

// The device nodes in a line; a row of numbers is one name.
std::set<std::string> namesIn(const std::string& line) {
    std::set<std::string> names;
    for (std::size_t at = line.find("/dev/"); at != std::string::npos;
         at = line.find("/dev/", at + 1)) {
        names.insert(line.substr(at, line.find_first_of(" ,;:()\"", at) - at));
    }
    if (!line.empty() && line.front() >= '0' && line.front() <= '9') {
        names.insert(line);
    }
    return names;
}

std::set<std::string> namesIn(const Answer& answer) {
    std::set<std::string> names;
    for (const auto& [line, what] : answer.found) {
        names.merge(namesIn(line));
    }
    return names;
}

// What is written beside a UDID that is no identity: in a row, in a finding with its reason, in a
// contradiction.
bool isMarked(const std::string& line) {
    static const std::vector<std::string> kMarks = {"(this path at this host only)", "(last known)",
                                                    "its UDID is ",
                                                    " UDIDs: ", "(answered in part: "};
    return std::any_of(kMarks.begin(), kMarks.end(), [&](const std::string& mark) {
        return line.find(mark) != std::string::npos;
    });
}

// Has a UDID that no device of the host has without the fault, and no mark.
bool hasStrangeUdid(std::string line, const std::set<std::string>& udids) {
    for (auto udid = udids.rbegin(); udid != udids.rend(); ++udid) {  // a longer one first
        for (std::size_t at = line.find(*udid); at != std::string::npos && !udid->empty();
             at = line.find(*udid)) {
            line.erase(at, udid->size());
        }
    }
    return line.find(kUdid) != std::string::npos && !isMarked(line);
}

// A UDID is another one where a page did not come, or the host's name, and nothing in it says so.
// The command then names the device, or that memory ran out, in a line that it does not write
// without the fault.
bool isTold(const Answer& answer, const Answer& sound, const Fault& fault,
            const std::string& line) {
    std::set<std::string> names = namesIn(line);
    names.insert(fault.of);
    names.erase("");
    names.insert("memory ran out");
    return std::any_of(answer.said.begin(), answer.said.end(), [&](const std::string& one) {
        return sound.said.count(one) == 0 &&
               std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                   return one.find(name) != std::string::npos;
               });
    });
}

// Whatever the exit status: an unmarked UDID that no device has is one that the command doubts.
std::string wrongInUdids(const Answer& answer, const Answer& sound, const Fault& fault) {
    std::string wrong;
    for (const auto& [line, what] : answer.found) {
        if (hasStrangeUdid(line, sound.udids) && !isTold(answer, sound, fault, line)) {
            wrong += "; a UDID without a mark in: " + line;
        }
    }
    return wrong;
}

// A disk that had a row of its own and was used there.
bool isSaidUsed(const Answer& answer, const std::string& line) {
    const std::string device = line.substr(0, line.find(' ') + 1);
    return std::any_of(answer.found.begin(), answer.found.end(), [&](const auto& one) {
        return one.first.find(device) == 0 && one.first.find(" unused") == std::string::npos;
    });
}

// A map whose name cannot be read goes by the kernel's.
bool goesByAnotherName(const Fault& fault, const std::string& name) {
    return fault.of.find("/dm/name") != std::string::npos && name.find("/dev/mapper/") == 0;
}

// Without that folder there are no maps to flush.
bool hasNoMaps(const Fault& fault) {
    return fault.call == "stat" && fault.of == "/dev/mapper/";
}

// What is in no recording is as if it could not be started. A flush that ends with 1 has run: some
// map is in use, which is no failure.
bool hasRunNow(const Fault& fault) {
    return fault.call == "run" && fault.of == "/sbin/multipath -F" && fault.way == 1;
}

// What the kernel keeps of a disk is a witness: where it cannot be read nothing contradicts it.
bool losesWitness(const Fault& fault) {
    const std::string kept = "/vpd_pg83";
    const bool isKept = fault.of.size() > kept.size() &&
                        fault.of.compare(fault.of.size() - kept.size(), kept.size(), kept) == 0;
    return (fault.call == "read" && isKept) ||
           (fault.call == "readlink" && fault.of.find("/sys/class/block/") == 0);
}

// A kernel that does not tell its release is taken for a later one than 2.4, whose adapters are not
// written to.
bool isOfLaterKernel(const Fault& fault) {
    return fault.call == "uname";
}

// The script takes what is silent for gone. Whether it can read what a disk says is seen by a disk
// that answers; where the only one is silent it may go as the others do, unless it is used.
bool mayRunScript(const Fault& fault, const std::string& effect) {
    return (fault.call == "open" || fault.call == "SCSI_IOCTL_SEND_COMMAND") &&
           effect == "command /bin/rescan-scsi-bus.sh --remove --flush -d";
}

// What exit status 0 promises: all that is there is shown, nothing is shown that is not, nobody is
// said to be unused who is not, and all that was to be done is done.
std::string wrongInSuccess(const Answer& answer, const Answer& sound, const Fault& fault) {
    if (hasNoMaps(fault)) {
        return "";
    }
    std::string wrong;
    const std::set<std::string> names = namesIn(answer);
    for (const std::string& name : namesIn(sound)) {
        const bool isThere = names.count(name) != 0 || goesByAnotherName(fault, name);
        wrong += isThere ? "" : "; it lost " + name;
    }
    for (const auto& [line, what] : answer.found) {
        if (line.find(" unused") != std::string::npos && isSaidUsed(sound, line)) {
            wrong += "; it is in use: " + line;
        }
    }
    for (const std::string& effect : sound.effects) {
        const bool isDone = answer.effects.count(effect) != 0 || isOfLaterKernel(fault);
        wrong += isDone ? "" : "; it did not " + effect;
    }
    return wrong;
}

std::string wrongInCommand(const Answer& answer, const Answer& sound, const Fault& fault) {
    const long status = answer.calls.front().code;
    const long soundStatus = sound.calls.front().code;
    if (status != 0 && status != 1 && status != 3) {
        return "; exit status " + std::to_string(status);
    }
    std::string wrong = wrongInUdids(answer, sound, fault);
    const bool mayBeBetter = hasRunNow(fault) || hasNoMaps(fault) || losesWitness(fault);
    if (status == 0 && soundStatus != 0 && !mayBeBetter) {
        wrong += "; exit status 0 in place of " + std::to_string(soundStatus);
    }
    return status == 0 ? wrong + wrongInSuccess(answer, sound, fault) : wrong;
}

}  // namespace

std::string wrongIn(const Answer& answer, const Answer& sound, const Fault& fault,
                    const Operation& operation) {
    std::string wrong;
    for (std::size_t i = 0; i < answer.calls.size(); ++i) {
        const CallResult& result = answer.calls[i];
        if (result.thrown != Thrown::kNothing) {
            wrong += wrongInThrown(result, fault);
        } else if (result.call != kCommand && i < sound.calls.size()) {
            wrong += wrongInCode(result, sound.calls[i], fault);
        }
    }
    for (const std::string& effect : answer.effects) {
        const bool isAllowed = operation.takesSilenceForGone || mayRunScript(fault, effect);
        if (sound.effects.count(effect) == 0 && !isAllowed) {
            wrong += "; it did " + effect;
        }
    }
    return wrong + (isCommand(answer) ? wrongInCommand(answer, sound, fault)
                                      : wrongInFound(answer, sound, fault));
}

void tellUdids(Answer& answer, std::set<std::string>& udids) {
    const std::string lastKnown = " (last known)";
    for (const auto& [device, udid] : answer.found) {
        if (udid.find(kUdid) == 0) {
            udids.insert(udid);
        }
        const std::size_t mark = device.find(lastKnown);
        const std::size_t begin = device.rfind(kUdid, mark);
        if (mark != std::string::npos && begin != std::string::npos) {
            udids.insert(device.substr(begin, mark - begin));
        }
    }
    answer.udids = udids;
}

}  // namespace faults
