#include "cli/prune/pruning.h"

#include <cstring>
#include <utility>

#include "cli/base/failure.h"
#include "cli/common/acting.h"
#include "cli/common/asking.h"
#include "cli/common/script_arguments.h"
#include "scsitool/host/interruption.h"

namespace cli::prune {
namespace {

namespace guard = recording::guard;

constexpr const char* kScsiDevices = "/sys/class/scsi_device/";
constexpr const char* kMapper = "/dev/mapper/";
constexpr const char* kMultipath = "/sbin/multipath";
constexpr const char* kDmsetup = "/usr/sbin/dmsetup";
constexpr int kTimeLimit = 600;  // seconds, as for every command with an effect

std::string mapNameOf(const Row& row) {
    return row.device.substr(std::strlen(kMapper));
}

// Why a map's name cannot be a word of a command; empty when it can.
std::string whyNoWord(const std::string& mapName) {
    try {
        requirePlainWord("map", mapName);
    } catch (const UsageError& error) {
        return std::string(error.what()) + "; it is not handed to a command";
    }
    return {};
}

std::string flushCommand(host::Host& host, const std::string& mapName) {
    return host.pathExists(kMultipath) ? std::string(kMultipath) + " -f " + mapName
                                       : std::string(kDmsetup) + " remove " + mapName;
}

}  // namespace

void Pruning::look() {
    askTheseAhead(
        m_context, [this] { return nodesToAsk(m_view); }, askDiskBehind);
    lookAtMaps();
    lookAtDisks();
}

void Pruning::enter(Row row) {
    if (isRemovable(row.verdict.finding)) {
        m_rows.push_back(std::move(row));
    } else if (row.verdict.finding == Finding::kUntold) {
        m_untold.push_back({row.device, row.verdict.reason});
    }
}

void Pruning::lookAtMaps() {
    const Found<std::string> maps = findMaps(m_view);
    for (const std::string& failure : maps.failures) {
        m_untold.push_back({"the list of maps", failure});
    }
    for (const std::string& name : maps.list) {
        if (host::interruption() != 0) {
            return;
        }
        Row row;
        row.device = kMapper + name;
        row.verdict = judgeMap(lookAtMap(m_view, name));
        enter(std::move(row));
    }
}

void Pruning::lookAtDisks() {
    const Found<guard::ScsiAddress> disks = findDisks(m_view);
    for (const std::string& failure : disks.failures) {
        m_untold.push_back({"the list of disks", failure});
    }
    m_disks = disks.list.size();
    for (const guard::ScsiAddress& address : disks.list) {
        if (host::interruption() != 0) {
            return;
        }
        const DiskSighting disk = lookAtDisk(m_view, address);
        if (disk.isThere) {
            Row row;
            row.device = disk.shown;
            row.address = address;
            row.verdict = judgeDisk(disk);
            enter(std::move(row));
        }
    }
}

void Pruning::remove() {
    m_context.hosts.guard().setPurpose(guard::Purpose::kDeadPath);
    for (Row& row : m_rows) {
        if (host::interruption() != 0) {
            return;
        }
        if (row.address) {
            removeDisk(row);
        } else {
            flushMap(row);
        }
    }
}

bool Pruning::staysByNow(Row& row, const Verdict& verdict) {
    if (isRemovable(verdict.finding)) {
        return false;
    }
    row.outcome = Outcome::kStays;
    if (verdict.finding == Finding::kLives) {
        row.message = "it lives by now";
    } else {
        row.message = verdict.reason;
        m_untold.push_back({row.device, verdict.reason});
    }
    return true;
}

bool Pruning::isRefused(Row& row, std::size_t refusalsBefore) const {
    if (m_context.hosts.guard().refusals().size() == refusalsBefore) {
        return false;
    }
    row.outcome = Outcome::kRefused;
    return true;
}

void Pruning::removeDisk(Row& row) {
    // Anew: it may have come back since it was looked at.
    askTheseAhead(
        m_context, [this, address = *row.address] { return nodesAround(m_view, address); },
        askDiskBehind);
    row.users = usersOfDisk(m_view, *row.address);
    const std::size_t refusals = m_context.hosts.guard().refusals().size();
    const std::string folder = kScsiDevices + addressText(*row.address) + "/device/";
    const DiskSighting disk = lookAtDisk(m_view, *row.address);
    const bool isSame = disk.shown == row.device;
    if (!disk.isThere || (!isSame && disk.failures.empty())) {
        row.outcome = Outcome::kStays;
        row.message = disk.isThere ? "the address is that of " + disk.shown + " by now"
                                   : "the kernel has dropped it meanwhile";
        return;
    }
    // Where the list of its names broke off, it may be the same and may be another.
    if (staysByNow(row,
                   isSame ? judgeDisk(disk) : Verdict{Finding::kUntold, disk.failures.front()})) {
        return;
    }
    const host::AppendResult result = m_context.host().appendFile(folder + "delete", "1", {});
    const int error = result.openError != 0 ? result.openError : result.writeError;
    if (error != 0 && !isRefused(row, refusals)) {
        row.outcome = Outcome::kFailed;
        row.message = folder + "delete: " + std::strerror(error);
    }
}

void Pruning::flushMap(Row& row) {
    const std::string name = mapNameOf(row);
    askTheseAhead(
        m_context, [this, name] { return nodesOfMap(m_view, name); }, askDiskBehind);
    row.users = usersOfMap(m_view, name);
    const std::size_t refusals = m_context.hosts.guard().refusals().size();
    const std::string noWord = whyNoWord(name);
    if (!noWord.empty()) {
        row.outcome = Outcome::kFailed;
        row.message = noWord;
        return;
    }
    if (staysByNow(row, judgeMap(lookAtMap(m_view, name)))) {
        return;
    }
    m_context.host().runCommand(flushCommand(m_context.host(), name), kTimeLimit);
    const CommandEffect& effect = m_context.host().commands().back();
    // The daemon may have flushed it between the look and the command.
    if (!succeeded(effect) && !isRefused(row, refusals) && lookAtMap(m_view, name).isThere) {
        row.outcome = Outcome::kFailed;
        row.message = failureText(m_context, effect);
    }
}

}  // namespace cli::prune
