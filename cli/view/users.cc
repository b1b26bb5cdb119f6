#include "cli/view/users.h"

#include <sstream>
#include <tuple>

#include "cli/base/text.h"

namespace cli::view {
namespace {

namespace guard = recording::guard;
using Names = guard::Evidence::Names;
using Kind = User::Kind;

constexpr const char* kDev = "/dev/";
constexpr const char* kMapper = "/dev/mapper/";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

Names listOf(guard::Evidence& evidence, const std::string& path) {
    return evidence.list(path).value_or(Names());
}

std::string lineOf(guard::Evidence& evidence, const std::string& path) {
    return guard::trimmed(guard::firstLine(evidence.file(path).value_or("")));
}

// LVM joins group and volume with a hyphen and doubles those within a name.
std::string groupOf(const std::string& mapName) {
    std::string group;
    for (std::size_t i = 0; i < mapName.size(); ++i) {
        if (mapName[i] == '-') {
            if (i + 1 == mapName.size() || mapName[i + 1] != '-') {
                break;
            }
            ++i;
        }
        group += mapName[i];
    }
    return group;
}

// A partition of a map, as kpartx makes it, is part of the map and no user of it.
bool isPartition(const std::string& uuid) {
    return beginsWith(uuid, "part") && uuid.find("-mpath-") != std::string::npos;
}

// Kernels before 2.6.26 and recordings of old have no mountinfo: "/dev/sda1 /boot ext4 ...".
std::vector<guard::Mount> parseMountTable(const std::string& text) {
    std::vector<guard::Mount> mounts;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // The same fields as mountinfo has them, in its places.
        std::istringstream words(line);
        std::string source;
        std::string point;
        if (words >> source >> point) {
            const auto read = guard::parseMountInfo(std::string("0 0 0:0 / ")
                                                        .append(point)
                                                        .append(" rw - any ")
                                                        .append(source)
                                                        .append(" rw"));
            mounts.insert(mounts.end(), read.begin(), read.end());
        }
    }
    return mounts;
}

}  // namespace

bool operator<(const User& left, const User& right) {
    return std::tie(left.kind, left.name) < std::tie(right.kind, right.name);
}

const char* nameOf(User::Kind kind) {
    switch (kind) {
        case Kind::kMap:
            return "map";
        case Kind::kLvm:
            return "lvm";
        case Kind::kCrypt:
            return "crypt";
        case Kind::kMapper:
            return "mapper";
        case Kind::kMd:
            return "md";
        case Kind::kHolder:
            return "holder";
        case Kind::kMount:
            return "mount";
        case Kind::kBtrfs:
            return "btrfs";
        case Kind::kSwap:
            return "swap";
        case Kind::kLoop:
            return "loop";
        case Kind::kExport:
            return "export";
        case Kind::kProcess:
            break;
    }
    return "process";
}

std::string userText(const User& user) {
    switch (user.kind) {
        case Kind::kMap:
            return "map " + user.name;
        case Kind::kLvm:
            return "LVM " + user.name;
        case Kind::kCrypt:
            return "dm-crypt " + user.name;
        case Kind::kBtrfs:
            return "btrfs";
        case Kind::kSwap:
            return "swap";
        case Kind::kExport:
            return "target " + user.name;
        case Kind::kProcess:
            return "process " + user.name;
        default:
            return user.name;
    }
}

UserBook::UserBook(host::Host& host, bool isRecorded)
    : m_evidence(host, isRecorded), m_blocks(m_evidence), m_processes(m_evidence) {
    readTables();
}

void UserBook::readTables() {
    readMounts();
    readSwaps();
    readExports();
    readLoops();
    readBtrfs();
    readProcesses();
}

void UserBook::add(const std::string& node, const User& user) {
    if (node.empty() || node[0] != '/') {
        return;
    }
    const auto number = m_evidence.number(node);
    const bool isNumbered = number && number->kind == host::DeviceNumber::Kind::kBlock;
    m_byPlace[isNumbered ? guard::numberText(*number) : node].insert(user);
    m_byPlace[node].insert(user);
}

void UserBook::readMounts() {
    std::vector<guard::Mount> mounts = m_processes.mounts();
    if (mounts.empty()) {
        const auto table = m_evidence.file("/proc/mounts");
        m_areTablesTold = table.has_value();
        mounts = parseMountTable(table.value_or(""));
    }
    for (const guard::Mount& mount : mounts) {
        const User user = {Kind::kMount, mount.point};
        // File systems on several devices have a number of their own, with major 0.
        if (beginsWith(mount.number, "0:")) {
            if (beginsWith(mount.source, kDev)) {
                add(mount.source, user);
            }
        } else {
            m_byPlace[mount.number].insert(user);
            // A recording need not tell the numbers of its devices.
            if (m_evidence.isRecorded()) {
                m_byPlace[mount.source].insert(user);
            }
        }
    }
}

void UserBook::readSwaps() {
    for (const std::string& swap : guard::parseSwaps(m_evidence.file("/proc/swaps").value_or(""))) {
        add(swap, {Kind::kSwap, ""});
    }
}

void UserBook::readExports() {
    const std::string cores = "/sys/kernel/config/target/core/";
    for (const std::string& adapter : listOf(m_evidence, cores)) {
        // Files lie in the folder beside the devices.
        const bool isAdapter = adapter.find('_') != std::string::npos;
        const std::string folder = cores + adapter + "/";
        for (const std::string& name : isAdapter ? listOf(m_evidence, folder) : Names()) {
            add(lineOf(m_evidence, folder + name + "/udev_path"),
                {Kind::kExport, std::string(adapter).append("/").append(name)});
        }
    }
}

void UserBook::readLoops() {
    for (const std::string& loop : m_blocks.loops()) {
        const std::string file = m_blocks.backingFile(loop);
        if (beginsWith(file, kDev)) {
            add(file, {Kind::kLoop, loop});
        }
    }
}

void UserBook::readBtrfs() {
    const std::string pools = "/sys/fs/btrfs/";
    for (const std::string& pool : listOf(m_evidence, pools)) {
        for (const std::string& name : listOf(m_evidence, pools + pool + "/devices/")) {
            m_byName[name].insert({Kind::kBtrfs, pool});
        }
    }
}

// Who may not look at other processes does not know that nobody has it open.
void UserBook::readProcesses() {
    const std::size_t failures = m_evidence.failures().size();
    for (const guard::Writer& writer : m_processes.writers(guard::Processes::Look::kDevOnly)) {
        // Maps are made by it; a recording need not tell that it is no block device.
        if (writer.node == std::string(kMapper) + "control") {
            continue;
        }
        const std::string name =
            writer.process + (writer.command.empty() ? "" : " (" + writer.command + ")");
        if (writer.number.kind == host::DeviceNumber::Kind::kBlock) {
            m_byPlace[guard::numberText(writer.number)].insert({Kind::kProcess, name});
        }
        if (writer.number.kind == host::DeviceNumber::Kind::kNone || m_evidence.isRecorded()) {
            m_byPlace[writer.node].insert({Kind::kProcess, name});
        }
    }
    const bool isWhole = m_evidence.failures().size() == failures;
    m_areTablesTold = m_areTablesTold && (isWhole || m_evidence.isRecorded());
}

// What the tables say of a device at a place, its node or its number, and under its names.
void UserBook::addNamed(const std::string& kernelName, const std::string& place, Users& users) {
    const std::string mapName = kernelName.empty() ? "" : m_blocks.mapName(kernelName);
    Names places = {place};
    if (!kernelName.empty()) {
        places.push_back(kDev + kernelName);
    }
    if (!mapName.empty()) {
        places.push_back(kMapper + mapName);
    }
    for (const std::string& one : places) {
        const auto found = m_byPlace.find(one);
        if (found != m_byPlace.end()) {
            users.insert(found->second.begin(), found->second.end());
        }
    }
    const auto named = m_byName.find(kernelName);
    if (named != m_byName.end()) {
        users.insert(named->second.begin(), named->second.end());
    }
}

User UserBook::userFor(const std::string& holder) {
    const std::string uuid = m_blocks.mapUuid(holder);
    const std::string mapName = m_blocks.mapName(holder);
    if (beginsWith(uuid, "LVM-")) {
        return {Kind::kLvm, groupOf(mapName)};
    }
    const Kind kind = guard::isMultipath(uuid)     ? Kind::kMap
                      : beginsWith(uuid, "CRYPT-") ? Kind::kCrypt
                      : beginsWith(holder, "dm-")  ? Kind::kMapper
                      : beginsWith(holder, "md")   ? Kind::kMd
                                                   : Kind::kHolder;
    return {kind, mapName.empty() ? holder : mapName};
}

void UserBook::addHolder(const std::string& holder, Found& found) {
    if (!isPartition(m_blocks.mapUuid(holder))) {
        found.users.insert(userFor(holder));
    }
    const Found& more = above(holder);
    found.users.insert(more.users.begin(), more.users.end());
    found.isTold = found.isTold && more.isTold;
}

UserBook::Found UserBook::look(const std::string& kernelName) {
    Found found;
    // Mounts, swaps and processes have it by its number alone, which is read once: what was not
    // looked for is not told.
    const host::DeviceNumber number = m_blocks.number(kernelName);
    const bool isNumbered = number.kind == host::DeviceNumber::Kind::kBlock;
    addNamed(kernelName, isNumbered ? guard::numberText(number) : "", found.users);
    const auto holders = m_blocks.toldHolders(kernelName);
    found.isTold = holders && (isNumbered || m_evidence.isRecorded());
    for (const std::string& holder : holders.value_or(Names())) {
        addHolder(holder, found);
    }
    const auto partitions = m_blocks.toldPartitions(kernelName);
    // A recording of old has the holders of a disk alone.
    found.isTold = found.isTold && (partitions || m_evidence.isRecorded());
    for (const std::string& partition : partitions.value_or(Names())) {
        const Found& more = above(partition);
        found.users.insert(more.users.begin(), more.users.end());
        found.isTold = found.isTold && more.isTold;
    }
    return found;
}

// A ring of holders, which no kernel makes, ends where it began.
const UserBook::Found& UserBook::above(const std::string& kernelName) {
    const auto known = m_above.find(kernelName);
    if (known != m_above.end()) {
        return known->second;
    }
    m_above[kernelName] = {};
    return m_above[kernelName] = look(kernelName);
}

std::optional<Users> UserBook::usersOf(const std::string& kernelName, const std::string& node) {
    Found found;
    if (kernelName.empty()) {
        found.isTold = false;
    } else {
        found = above(kernelName);
    }
    addNamed("", node, found.users);
    if (found.users.empty() && !(found.isTold && m_areTablesTold)) {
        return std::nullopt;
    }
    return std::move(found.users);
}

std::vector<std::string> UserBook::partitionsOf(const std::string& kernelName) {
    Names names = m_blocks.partitions(kernelName);
    for (const std::string& holder : m_blocks.holders(kernelName)) {
        if (isPartition(m_blocks.mapUuid(holder))) {
            names.push_back(holder);
        }
    }
    return names;
}

std::vector<std::string> UserBook::mountedAt(const std::string& point) {
    std::vector<std::string> places;
    for (const auto& [place, users] : m_byPlace) {
        if (users.count({Kind::kMount, point}) != 0) {
            places.push_back(place);
        }
    }
    return places;
}

}  // namespace cli::view
