#include "effects.h"

#include <nlohmann/json.hpp>

namespace faults {
namespace {

constexpr int kLockKey = 1001;

// What takes nothing away: a pause, a read, what was not in the recording, and whatever has the
// kernel look at addresses; a disk that is there stays.
bool isHarmless(const std::string& kind, const std::string& command, const std::string& data) {
    const bool looks = data.find("scsi add-single-device") == 0 ||
                       command == "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d" ||
                       command.find("/bin/sg_inq ") == 0;
    return kind == "sleep" || kind == "unanswered" || looks;
}

// The same for commands that do the same: a tool that is not seen in one folder is taken from the
// other, and where there is no multipath a map is taken by dmsetup. Either takes that one map, and
// only when nobody has it open.
std::string deedOf(std::string command) {
    const std::string usr = "/usr";
    const std::string flush = "/sbin/multipath -f ";
    if (command.compare(0, usr.size() + 1, usr + "/") == 0) {
        command.erase(0, usr.size());
    }
    return command.compare(0, flush.size(), flush) == 0
               ? "/sbin/dmsetup remove " + command.substr(flush.size())
               : command;
}

// What an effect does; empty for what is harmless.
std::string effectIn(const std::string& line) {
    const nlohmann::json entry = nlohmann::json::parse(line);
    const std::string kind = entry.value("effect", "");
    const std::string data = entry.value("data", "");
    const std::string asRun = entry.value("command", "");
    const std::string command = deedOf(asRun);
    const bool isRead = host::isReadCommand(asRun) || isHarmless(kind, command, data);
    return isRead ? "" : kind + " " + command + entry.value("path", "") + data;
}

}  // namespace

std::set<std::string> effectsOf(const recording::Journal& journal) {
    std::set<std::string> effects;
    for (const std::string& line : journal.lines()) {
        effects.insert(effectIn(line));
    }
    effects.erase("");
    return effects;
}

bool isLockFree(host::Host& host) {
    const int set = host.openSemaphore(kLockKey, 1, 0666 | 01000);
    return set >= 0 && host.operateSemaphore(set, {{0, false, true}}) == 0;
}

}  // namespace faults
