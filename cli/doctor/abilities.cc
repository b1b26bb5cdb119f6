// What the tool can do with disks and buses.
#include "cli/doctor/abilities.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cli/base/text.h"
#include "cli/common/packages.h"
#include "cli/hosts/watched_host.h"
#include "recording/guard/rules/script_check.h"

namespace cli::doctor {
namespace {

namespace guard = recording::guard;

constexpr const char* kScsiTable = "/proc/scsi/scsi";
constexpr const char* kScsiDevices = "/sys/class/scsi_device/";
constexpr const char* kInq = "/usr/bin/sg_inq";
constexpr const char* kScripts[] = {"/bin/rescan-scsi-bus.sh", "/usr/bin/rescan-scsi-bus.sh"};
constexpr int kTimeLimit = 60;
constexpr const char* kNoScript = "rescan-scsi-bus.sh is neither in /bin nor in /usr/bin";

bool isDenied(int error) {
    return error == EACCES || error == EPERM;
}

template <class Condition>
std::vector<std::string> nodesOf(const std::vector<DiskSeen>& disks, Condition isMeant) {
    std::vector<std::string> nodes;
    for (const DiskSeen& disk : disks) {
        if (isMeant(disk)) {
            nodes.push_back(disk.node());
        }
    }
    return nodes;
}

// It came to the device, whatever that said.
bool tookCommand(const DiskSeen& disk) {
    return disk.seen.inquiryResult.value_or(-1) >= 0;
}

std::string openText(const DiskSeen& disk) {
    return disk.node() + ": " + std::strerror(disk.openError());
}

}  // namespace

void Abilities::tryAll() {
    tryDisks();
    tryCommands();
    tryTable();
    tryRescan();
    tryStaleRemoval();
    tryPrune();
    tryMaps();
    tryFlush();
    tryPowerPath();
    tryIscsi();
    tryInitiatorName();
    tryPortNames();
}

Abilities::Path Abilities::look(const std::string& path) const {
    if (m_view.host.pathExists(path)) {
        return Path::kThere;
    }
    return m_view.isUntold(path) ? Path::kUntold : Path::kAbsent;
}

bool Abilities::needs(Ability& ability, const std::string& path, const std::string& remedy) const {
    switch (look(path)) {
        case Path::kThere:
            return true;
        case Path::kUntold:
            ability.leaveUntold(noAnswerFor(path));
            return false;
        default:
            ability.lack("there is no " + path, remedy);
            return false;
    }
}

void Abilities::find(Kind kind, const std::vector<std::string>& devices, const std::string& seen) {
    m_findings.push_back({kind, devices, seen});
}

void Abilities::tryDisks() {
    Ability ability = {"open disks", {}, {}, {}};
    const auto& disks = m_seen.disks;
    const auto denied = nodesOf(disks, [](const auto& disk) { return isDenied(disk.openError()); });
    const auto opened = nodesOf(disks, [](const auto& disk) { return disk.seen.openResult == 0; });
    if (!denied.empty()) {
        const auto first = std::find_if(disks.begin(), disks.end(), [](const auto& disk) {
            return isDenied(disk.openError());
        });
        const bool isUser = !m_view.isRecorded() && !m_isRoot;
        ability.lack(openText(*first),
                     isUser ? "run it as root" : "give it the device nodes of the disks");
        find(Kind::kClosedToUser, denied, openText(*first));
    } else if (opened.empty()) {
        const auto failed = std::find_if(disks.begin(), disks.end(),
                                         [](const auto& disk) { return disk.openError() != 0; });
        ability.leaveUntold(disks.empty()           ? "there is no SCSI disk to try it on"
                            : failed == disks.end() ? "no disk was asked"
                                                    : "no disk opens: " + openText(*failed));
    }
    add(std::move(ability));
}

void Abilities::tryCommands() {
    Ability ability = {"send SCSI commands", {}, {}, {}};
    const auto& disks = m_seen.disks;
    const auto refused = nodesOf(disks, [](const auto& disk) { return disk.answersSgIoOnly; });
    if (!refused.empty()) {
        const auto first = std::find_if(disks.begin(), disks.end(),
                                        [](const auto& disk) { return disk.answersSgIoOnly; });
        const std::string seen =
            "SCSI_IOCTL_SEND_COMMAND: " + errorText(*first->seen.inquiryResult) + ", where SG_IO " +
            "is answered";
        ability.lack(seen, "capture the host again with this version, which asks by SG_IO then");
        find(Kind::kNoSendCommand, refused, seen);
    } else if (std::none_of(disks.begin(), disks.end(), tookCommand)) {
        ability.leaveUntold(disks.empty() ? "there is no SCSI disk to try it on"
                                          : "no disk answers");
    }
    add(std::move(ability));
}

void Abilities::tryTable() {
    Ability ability = {"read the SCSI inventory", {}, {}, {}};
    const int error = m_view.host.readFile(kScsiTable).error();
    // To look for it tells a recording of the file from one that nobody asked.
    if (error == ENOENT && look(kScsiTable) == Path::kUntold) {
        ability.leaveUntold(noAnswerFor(kScsiTable));
    } else if (error != 0) {
        const std::string seen = std::string(kScsiTable) + ": " + std::strerror(error);
        ability.lack(seen, error == ENOENT ? "boot a kernel built with CONFIG_SCSI_PROC_FS" : "");
        if (!m_seen.disks.empty()) {
            find(Kind::kNoScsiTable, {kScsiTable}, seen);
        }
    }
    add(std::move(ability));
}

bool Abilities::isOldKernel() const {
    return m_view.host.kernelRelease().compare(0, 4, "2.4.") == 0;
}

std::string Abilities::script() const {
    const auto* const there =
        std::find_if(std::begin(kScripts), std::end(kScripts),
                     [this](const char* path) { return look(path) == Path::kThere; });
    return there == std::end(kScripts) ? std::string() : *there;
}

void Abilities::tryRescan() {
    Ability ability = {"rescan", {}, {}, {}};
    if (isOldKernel()) {
        needs(ability, "/bin/ls", howToInstall("/bin/ls"));
    } else if (script().empty()) {
        const auto* const untold =
            std::find_if(std::begin(kScripts), std::end(kScripts),
                         [this](const char* path) { return look(path) == Path::kUntold; });
        if (untold != std::end(kScripts)) {
            ability.leaveUntold(noAnswerFor(*untold));
        } else {
            ability.lack(kNoScript, howToInstall(kInq));
            find(Kind::kNoRescanScript, {std::begin(kScripts), std::end(kScripts)}, kNoScript);
        }
    }
    add(std::move(ability));
}

void Abilities::tryStaleRemoval() {
    Ability ability = {"remove-stale", {}, {}, {}};
    const std::string path = script();
    const auto answering = std::find_if(
        m_seen.disks.begin(), m_seen.disks.end(),
        [](const DiskSeen& disk) { return disk.isConnected() && !disk.genericNode.empty(); });
    if (path.empty()) {
        const Ability& rescan = m_list.back();
        ability.state = Ability::State::kDoesNot;
        ability.missing = isOldKernel() ? kNoScript : rescan.missing;
        ability.remedy = howToInstall(kInq);
        if (rescan.state == Ability::State::kUntold) {
            ability.leaveUntold(rescan.missing);
            ability.remedy.clear();
        }
    } else if (answering == m_seen.disks.end()) {
        ability.leaveUntold("no disk with a generic node (sg) answers, to try it on");
    } else {
        tryScript(ability, path, answering->genericNode);
    }
    add(std::move(ability));
}

void Abilities::tryScript(Ability& ability, const std::string& path,
                          const std::string& genericNode) {
    const std::string command = std::string(kInq) + " --len=36 " + genericNode;
    if (m_view.isUntoldCommand(command)) {
        ability.leaveUntold(noAnswerFor(command));
        return;
    }
    if (couldNotStart(effectOf(command, m_view.host.runCommand(command, kTimeLimit)))) {
        ability.lack(std::string("there is no ") + kInq, howToInstall(kInq));
        return;
    }
    guard::Evidence evidence(m_view.host, m_view.isRecorded());
    const auto misfit = guard::misfitOf(evidence, path, genericNode);
    if (misfit) {
        const std::string seen = "version " + misfit->scriptVersion +
                                 " of the script cannot read what sg_inq " + misfit->inqVersion +
                                 " prints: it looks for '" + misfit->missed + "'";
        ability.lack(seen, "install a script and an sg_inq that belong together");
        find(Kind::kScriptMisfit, {path, kInq}, seen);
    }
}

void Abilities::tryPrune() {
    Ability ability = {"prune", {}, {}, {}};
    const bool hasSysfs = m_view.host.isDirectory("/sys/class/");
    needs(
        ability, kScsiDevices,
        hasSysfs ? "load the kernel's SCSI layer and the adapter's driver" : "mount sysfs on /sys");
    add(std::move(ability));
}

}  // namespace cli::doctor
