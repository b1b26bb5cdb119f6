#include "recording/guard/kernel/block_devices.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "recording/guard/kernel/kernel_tables.h"

namespace recording::guard {
namespace {

using Kind = host::DeviceNumber::Kind;

constexpr const char* kClass = "/sys/class/block/";
constexpr const char* kBlock = "/sys/block/";
constexpr const char* kDigits = "0123456789";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// sda1 is a partition of sda, nvme0n1p1 of nvme0n1.
std::string parentOf(const std::string& partition) {
    std::string parent = partition.substr(0, partition.find_last_not_of(kDigits) + 1);
    if (parent.size() > 1 && parent.back() == 'p' &&
        std::string(kDigits).find(parent[parent.size() - 2]) != std::string::npos) {
        parent.pop_back();
    }
    return parent;
}

// sysfs writes a slash in a name as an exclamation mark.
std::string nodeName(std::string name) {
    std::replace(name.begin(), name.end(), '!', '/');
    return name;
}

}  // namespace

bool isMultipath(const std::string& mapUuid) {
    return beginsWith(mapUuid, "mpath-");
}

std::string BlockDevices::line(const std::string& path, Need need) {
    return trimmed(firstLine(m_evidence.file(path, need).value_or("")));
}

// Empty when the kernel has no such device.
std::string BlockDevices::folder(const std::string& name) {
    const auto known = m_folders.find(name);
    if (known != m_folders.end()) {
        return known->second;
    }
    const std::array<std::string, 3> places = {kClass + name + "/", kBlock + name + "/",
                                               kBlock + parentOf(name) + "/" + name + "/"};
    const auto place = std::find_if(places.begin(), places.end(), [&](const std::string& one) {
        return m_evidence.list(one) || m_evidence.file(one + "dev");
    });
    return m_folders[name] = place == places.end() ? std::string() : *place;
}

bool BlockDevices::exists(const std::string& name) {
    return !folder(name).empty();
}

std::optional<ScsiAddress> BlockDevices::addressOf(const std::string& name) {
    const std::string place = folder(name);
    const auto target = place.empty() ? std::nullopt : m_evidence.link(place + "device");
    return target ? parseAddress(target->substr(target->rfind('/') + 1)) : std::nullopt;
}

BlockDevices::Names BlockDevices::partitions(const std::string& name) {
    return toldPartitions(name).value_or(Names());
}

std::optional<BlockDevices::Names> BlockDevices::toldPartitions(const std::string& name) {
    const std::string place = folder(name);
    const Need need = place.empty() ? Need::kMayBeMissing : Need::kMustExist;
    const auto entries = m_evidence.list(place, need);
    if (!entries) {
        return std::nullopt;
    }
    Names names;
    for (const std::string& entry : *entries) {
        if (entry.size() > name.size() && beginsWith(entry, name)) {
            names.push_back(entry);
        }
    }
    return names;
}

BlockDevices::Names BlockDevices::holders(const std::string& name) {
    return toldHolders(name).value_or(Names());
}

std::optional<BlockDevices::Names> BlockDevices::toldHolders(const std::string& name) {
    const std::string place = folder(name);
    return place.empty() ? std::nullopt : m_evidence.list(place + "holders/", Need::kMustExist);
}

BlockDevices::Names BlockDevices::slaves(const std::string& name) {
    return toldSlaves(name).value_or(Names());
}

std::optional<BlockDevices::Names> BlockDevices::toldSlaves(const std::string& name) {
    const std::string place = folder(name);
    return place.empty() ? std::nullopt : m_evidence.list(place + "slaves/", Need::kMustExist);
}

host::DeviceNumber BlockDevices::number(const std::string& name) {
    const std::string place = folder(name);
    const std::string text = place.empty() ? place : line(place + "dev", Need::kMustExist);
    const auto number = parseNumber(text, Kind::kBlock);
    if (!number && !place.empty() && !m_evidence.isRecorded()) {
        m_evidence.fail(place + "dev: no device number");
    }
    return number.value_or(host::DeviceNumber());
}

std::string BlockDevices::mapName(const std::string& name) {
    const std::string place = folder(name);
    return place.empty() ? place : line(place + "dm/name");
}

std::string BlockDevices::mapUuid(const std::string& name) {
    const std::string place = folder(name);
    return place.empty() ? place : line(place + "dm/uuid");
}

std::string BlockDevices::nameBehind(const std::string& path) {
    if (const auto target = linkOf(path)) {
        return target->substr(target->rfind('/') + 1);
    }
    const auto wanted = m_evidence.number(path);
    for (const std::string& name : wanted ? beginningWith("") : Names()) {
        if (isSame(number(name), *wanted)) {
            return name;
        }
    }
    return {};
}

// What is no link is no failure: udev makes links of maps, dmsetup itself makes nodes.
std::optional<std::string> BlockDevices::linkOf(const std::string& path) {
    std::string target;
    const int error = m_evidence.host().readLink(path, target);
    if (error < 0 && error != -EINVAL) {
        m_evidence.fail(path, error, Need::kMayBeMissing);
    }
    return error < 0 ? std::nullopt : std::optional<std::string>(target);
}

BlockDevices::Names BlockDevices::beginningWith(const std::string& start) {
    auto all = m_evidence.list(kClass);
    if (!all) {
        all = m_evidence.list(kBlock, Need::kMustExist);
    }
    Names names;
    for (const std::string& name : all.value_or(Names())) {
        if (beginsWith(name, start)) {
            names.push_back(name);
        }
    }
    return names;
}

std::optional<std::uint64_t> BlockDevices::sizeKb(const std::string& name) {
    constexpr std::uint64_t kSectorsAKb = 2;  // sysfs counts in 512 bytes, whatever the disk does
    const std::string place = folder(name);
    const auto sectors = parseDecimal(place.empty() ? place : line(place + "size"));
    return sectors ? std::optional<std::uint64_t>(*sectors / kSectorsAKb) : std::nullopt;
}

std::optional<bool> BlockDevices::isReadOnly(const std::string& name) {
    const std::string place = folder(name);
    const auto flag = parseDecimal(place.empty() ? place : line(place + "ro"));
    return flag ? std::optional<bool>(*flag != 0) : std::nullopt;
}

BlockDevices::Names BlockDevices::disks() {
    Names names = beginningWith("sd");
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) {
                                   return std::string(kDigits).find(name.back()) !=
                                          std::string::npos;
                               }),
                names.end());
    return names;
}

BlockDevices::Names BlockDevices::maps() {
    return beginningWith("dm-");
}

BlockDevices::Names BlockDevices::loops() {
    return beginningWith("loop");
}

std::string BlockDevices::backingFile(const std::string& name) {
    return firstLine(m_evidence.file(folder(name) + "loop/backing_file").value_or(""));
}

std::optional<std::string> BlockDevices::node(const std::string& name) {
    const host::DeviceNumber wanted = number(name);
    const std::string map = mapName(name);
    Names candidates = {"/dev/" + nodeName(name)};
    if (wanted.kind != Kind::kNone) {
        candidates.push_back("/dev/block/" + numberText(wanted));
    }
    if (!map.empty()) {
        candidates.push_back("/dev/mapper/" + map);
    }
    for (const std::string& candidate : candidates) {
        const auto found = m_evidence.number(candidate);
        const bool isUnrecorded =
            m_evidence.isRecorded() &&
            (wanted.kind == Kind::kNone || (found && found->kind == Kind::kNone));
        if (found && (isSame(*found, wanted) || isUnrecorded)) {
            return candidate;
        }
    }
    if (!m_evidence.isRecorded()) {
        m_evidence.fail("/dev has no node of " + name + " (" + numberText(wanted) + ")");
    }
    return std::nullopt;
}

}  // namespace recording::guard
