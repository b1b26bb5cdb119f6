#include "cli/guard/guard.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "cli/base/text.h"

namespace cli {
namespace {

constexpr int kHighestTrusted = 255;  // the address word has eight bits of host number and of LUN
constexpr std::size_t kScannedDigits = 2;
constexpr const char* kDev = "/dev/";

bool contains(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// A number of any length against a small limit.
bool isAbove(const std::string& digits, int limit) {
    const std::size_t start = digits.find_first_not_of('0');
    const std::string significant = start == std::string::npos ? "" : digits.substr(start);
    return significant.size() > 9 || (!significant.empty() && std::stoi(significant) > limit);
}

std::string addressText(const SLinuxScsiDevice& at) {
    return fmt::format("{}:{}:{}:{}", at.host, at.channel, at.id, at.lun);
}

std::string untrusted(const char* what) {
    return fmt::format(
        "not safely told from another one: the kernel's address word has eight bits of the {}",
        what);
}

}  // namespace

void Guard::refuse(const std::string& device, const std::string& reason) {
    m_refusals.push_back({device, reason});
}

std::string Guard::fileText(const std::string& path) {
    std::string content;
    return m_host.readFile(path, content) < 0 ? std::string() : content;
}

std::vector<std::string> Guard::processes() {
    std::vector<std::string> names = m_host.listDirectory("/proc/").names;
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return !isNumber(name); }),
                names.end());
    return names;
}

// A file system may be mounted in another mount namespace only, a container's for instance.
const std::vector<Mount>& Guard::mounts() {
    if (m_mounts) {
        return *m_mounts;
    }
    m_mounts = parseMountInfo(fileText("/proc/self/mountinfo"));
    std::set<std::string> seen;
    std::string space;
    if (m_host.readLink("/proc/self/ns/mnt", space) >= 0) {
        seen.insert(space);
        for (const std::string& process : processes()) {
            const std::string folder = "/proc/" + process;
            if (m_host.readLink(folder + "/ns/mnt", space) >= 0 && seen.insert(space).second) {
                const auto more = parseMountInfo(fileText(folder + "/mountinfo"));
                m_mounts->insert(m_mounts->end(), more.begin(), more.end());
            }
        }
    }
    return *m_mounts;
}

const std::vector<Guard::OpenNode>& Guard::opens() {
    if (m_opens) {
        return *m_opens;
    }
    m_opens.emplace();
    std::string self;
    m_host.readLink("/proc/self", self);
    for (const std::string& process : processes()) {
        if (process == self) {
            continue;
        }
        const std::string folder = "/proc/" + process + "/fd/";
        for (const std::string& descriptor : m_host.listDirectory(folder).names) {
            std::string node;
            if (isNumber(descriptor) && m_host.readLink(folder + descriptor, node) >= 0 &&
                node.compare(0, 5, kDev) == 0) {
                m_opens->push_back({process, descriptor, node});
            }
        }
    }
    return *m_opens;
}

void Guard::checkMounts(const std::string& shown, const std::vector<std::string>& names,
                        const std::vector<std::string>& nodes) {
    std::vector<std::string> numbers;
    for (const std::string& name : names) {
        numbers.push_back(m_devices.number(name));
    }
    for (const Mount& mount : mounts()) {
        if (contains(numbers, mount.number) || contains(nodes, mount.source)) {
            refuse(shown, "mounted at " + mount.point);
            return;  // a bind mount more says nothing more
        }
    }
    for (const std::string& device : m_devices.btrfsDevices()) {
        if (contains(names, device)) {
            refuse(shown, "part of a mounted btrfs file system (" + device + ")");
            return;
        }
    }
}

void Guard::checkSwaps(const std::string& shown, const std::vector<std::string>& nodes) {
    for (const std::string& swap : parseSwaps(fileText("/proc/swaps"))) {
        if (contains(nodes, swap)) {
            refuse(shown, "used as swap (" + swap + ")");
        }
    }
}

void Guard::checkOpens(const std::string& shown, const std::vector<std::string>& nodes) {
    for (const OpenNode& open : opens()) {
        const std::string folder = "/proc/" + open.process;
        if (contains(nodes, open.node) &&
            isOpenForWriting(fileText(folder + "/fdinfo/" + open.descriptor))) {
            std::string name = fileText(folder + "/comm");
            name = name.substr(0, name.find('\n'));
            refuse(shown, "open for writing in process " + open.process +
                              (name.empty() ? "" : " (" + name + ")"));
        }
    }
}

void Guard::checkDevice(const std::string& shown, const std::string& name,
                        const std::vector<std::string>& extraNodes) {
    const std::vector<std::string> own =
        name.empty() ? std::vector<std::string>() : m_devices.withPartitions(name);
    const std::vector<std::string> all = m_devices.withHolders(own);
    std::vector<std::string> nodes = extraNodes;
    for (const std::string& device : all) {
        const std::vector<std::string> more = m_devices.nodes(device);
        nodes.insert(nodes.end(), more.begin(), more.end());
    }
    checkMounts(shown, all, nodes);
    checkSwaps(shown, nodes);
    for (const std::string& device : own) {
        for (const std::string& holder : m_devices.holders(device)) {
            refuse(shown, "held by " + m_devices.describe(holder));
        }
    }
    checkOpens(shown, nodes);
}

void Guard::checkDisk(const std::string& node) {
    checkDevice(node, node.substr(node.rfind('/') + 1), {node});
}

void Guard::checkAddress(const SLinuxScsiDevice& address) {
    const std::string shown = addressText(address);
    if (address.host > kHighestTrusted) {
        refuse(shown, untrusted("host number"));
    }
    if (address.lun > kHighestTrusted) {
        refuse(shown, untrusted("LUN"));
    }
    for (const std::string& name : m_devices.disksAt(shown)) {
        checkDevice(kDev + name, name, {});
    }
}

void Guard::checkMap(const std::string& mapName) {
    const std::string path = "/dev/mapper/" + mapName;
    checkDevice(path, m_devices.map(mapName), {path});
}

void Guard::checkInventory() {
    for (const TableAddress& address : parseScsiTable(fileText("/proc/scsi/scsi"))) {
        const std::string shown = "host " + address.host + " LUN " + address.lun;
        if (address.lun.size() > kScannedDigits) {
            refuse(shown,
                   "not safely told from another one: the inventory takes two characters of a LUN");
        } else if (isAbove(address.host, kHighestTrusted)) {
            refuse(shown, untrusted("host number"));
        }
    }
}

Report Guard::report() const {
    Report report;
    report.data["refused"] = Json::array();
    for (const Refusal& refusal : m_refusals) {
        report.data["refused"].push_back(
            {{"device", jsonText(refusal.device)}, {"reason", jsonText(refusal.reason)}});
    }
    const Refusal& first = m_refusals.front();
    const std::size_t more = m_refusals.size() - 1;
    report.failure = first.device + " is " + first.reason +
                     (more == 0 ? "" : fmt::format(" (and {} more, see --json)", more)) +
                     "; nothing was done, --force does it all the same";
    return report;
}

}  // namespace cli
