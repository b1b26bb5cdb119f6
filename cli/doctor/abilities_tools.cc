// What the tool can do with multipath maps, iSCSI and Fibre Channel.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cli/common/packages.h"
#include "cli/doctor/abilities.h"
#include "cli/hosts/watched_host.h"
#include "recording/guard/kernel/sessions.h"
#include "recording/guard/rules/stacks.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"

namespace cli::doctor {
namespace {

namespace guard = recording::guard;

constexpr const char* kMultipath = "/sbin/multipath";
constexpr const char* kDmsetup = "/usr/sbin/dmsetup";
constexpr const char* kPidof = "/sbin/pidof";
constexpr const char* kPowermt = "/sbin/powermt";
constexpr const char* kIscsiadm = "/sbin/iscsiadm";
constexpr const char* kNameFile = "/etc/iscsi/initiatorname.iscsi";
constexpr const char* kSessions = "/sys/class/iscsi_session/";
constexpr const char* kDaemonQuestion = "/sbin/pidof -x multipathd";
constexpr const char* kPortQuestion = "/bin/ls /sys/class/fc_host/";
constexpr int kTimeLimit = 600;
constexpr int kNoProcess = 1 << 8;  // pidof found none

}  // namespace

void Abilities::tryMaps() {
    constexpr std::pair<const char*, const char*> kTools[] = {
        {"refresh multipath maps", kMultipath}, {"remove multipath maps", kDmsetup}};
    for (const auto& [name, tool] : kTools) {
        Ability ability = {name, {}, {}, {}};
        needs(ability, tool, howToInstall(tool));
        if (ability.state == Ability::State::kDoesNot && !m_seen.maps().empty()) {
            find(Kind::kNoMultipathTool, m_seen.maps(), ability.missing);
        }
        add(std::move(ability));
    }
}

void Abilities::tryFlush() {
    Ability ability = {"flush-multipath", {}, {}, {}};
    if (m_view.isUntoldCommand(kDaemonQuestion)) {
        ability.leaveUntold(noAnswerFor(kDaemonQuestion));
        add(std::move(ability));
        return;
    }
    const CommandEffect asked =
        effectOf(kDaemonQuestion, m_view.host.runCommand(kDaemonQuestion, kTimeLimit));
    const bool isIdle =
        asked.result.waitStatus == kNoProcess || (succeeded(asked) && asked.result.lines.empty());
    std::optional<Kind> kind;
    if (couldNotStart(asked)) {
        kind = Kind::kNoPidof;
        ability.lack(m_view.host.pathExists(kPidof) ? std::string(kPidof) + " cannot be started"
                                                    : std::string("there is no ") + kPidof,
                     howToInstall(kPidof));
    } else if (isIdle) {
        kind = Kind::kNoMultipathDaemon;
        ability.lack("multipathd does not run", "systemctl enable --now multipathd");
    } else if (!succeeded(asked)) {
        ability.leaveUntold(endingText(asked));
    } else {
        needs(ability, kMultipath, howToInstall(kMultipath));
    }
    if (kind && !m_seen.maps().empty()) {
        find(*kind, m_seen.maps(), ability.missing);
    }
    add(std::move(ability));
}

void Abilities::tryPowerPath() {
    guard::Evidence evidence(m_view.host, m_view.isRecorded());
    Ability ability = {"refresh PowerPath devices", {}, {}, {}};
    needs(ability, kPowermt, howToInstall(kPowermt));
    std::vector<std::string> nodes;
    for (const std::string& name : guard::powerPathDevices(evidence)) {
        nodes.push_back("/dev/" + name);
    }
    if (ability.state == Ability::State::kDoesNot && !nodes.empty()) {
        find(Kind::kNoPowerPathTool, nodes, ability.missing);
    }
    add(std::move(ability));
}

// What the kernel has sessions with.
std::vector<std::string> Abilities::sessions() const {
    guard::Evidence evidence(m_view.host, m_view.isRecorded());
    return evidence.list(kSessions).value_or(std::vector<std::string>());
}

void Abilities::tryIscsi() {
    Ability ability = {"iscsi", {}, {}, {}};
    needs(ability, kIscsiadm, howToInstall(kIscsiadm));
    if (ability.state == Ability::State::kDoesNot && !sessions().empty()) {
        find(Kind::kNoIscsiTool, sessions(), ability.missing);
    }
    add(std::move(ability));
}

void Abilities::tryInitiatorName() {
    Ability ability = {"iscsi iqn", {}, {}, {}};
    if (needs(ability, kIscsiadm, howToInstall(kIscsiadm))) {
        needName(ability);
        if (ability.state == Ability::State::kDoesNot && !sessions().empty()) {
            find(Kind::kNoInitiatorName, sessions(), ability.missing);
        }
    }
    add(std::move(ability));
}

void Abilities::needName(Ability& ability) const {
    if (!needs(ability, kNameFile, howToInstall(kIscsiadm))) {
        return;
    }
    const int error = m_view.host.readFile(kNameFile).error();
    if (error != 0) {
        ability.lack(std::string(kNameFile) + ": " + std::strerror(error), "");
        return;
    }
    const host::Scope scope(m_view.host);
    std::string name;
    CScsiTool().GetHostIQN(name);
    if (name.empty()) {
        ability.lack(std::string(kNameFile) + " has no InitiatorName",
                     "write a line InitiatorName=NAME to it; iscsi-iname makes a name");
    }
}

void Abilities::tryPortNames() {
    Ability ability = {"wwpn", {}, {}, {}};
    const host::Scope scope(m_view.host);
    if (WWPN().getWWPN().empty()) {
        const CommandEffect listed =
            effectOf(kPortQuestion, m_view.host.runCommand(kPortQuestion, kTimeLimit));
        if (m_view.isUntoldCommand(kPortQuestion)) {
            ability.leaveUntold(noAnswerFor(kPortQuestion));
        } else if (couldNotStart(listed)) {
            ability.lack("there is no /bin/ls", howToInstall("/bin/ls"));
        } else {
            ability.lack("no Fibre Channel port is named in /proc/scsi or /sys/class/fc_host",
                         "where there is such an adapter, load its driver");
        }
    }
    add(std::move(ability));
}

}  // namespace cli::doctor
