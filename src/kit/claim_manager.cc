#include "scsitool/kit/claim_manager.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace qzfi_pdk_4_4 {
namespace {

constexpr int kClaimTraceLevel = 6;
constexpr std::string_view kMapDirectory = "/dev/mapper/";
constexpr std::string_view kFriendlyMap = "mpath";
constexpr std::string_view kLinkSuffix = "-part";

// Disks that the kernel (and PowerPath) name with letters: the partition number follows at once.
constexpr std::string_view kLetteredDisks[] = {"sd", "hd", "vd", "xvd", "dasd", "emcpower"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLowerCase(char c) {
    return c >= 'a' && c <= 'z';
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// "sda" for "sd": the stem and at least one letter, nothing else.
bool isLettered(std::string_view name, std::string_view stem) {
    const std::string_view letters = name.substr(std::min(stem.size(), name.size()));
    return startsWith(name, stem) && !letters.empty() &&
           std::all_of(letters.begin(), letters.end(), isLowerCase);
}

std::string_view baseName(std::string_view name) {
    // Without a '/' the position is npos, and one more is the name's begin.
    return name.substr(name.rfind('/') + 1);
}

bool isMap(std::string_view name) {
    return startsWith(name, kMapDirectory) || startsWith(baseName(name), kFriendlyMap);
}

bool takesNumberAtOnce(std::string_view disk) {
    if (isLettered(disk, kFriendlyMap)) {
        return true;
    }
    return std::any_of(std::begin(kLetteredDisks), std::end(kLetteredDisks),
                       [disk](std::string_view stem) { return isLettered(disk, stem); });
}

// A map's own name may end in "p": the 16th friendly name is mpathp, and mpathp1 is its partition.
bool takesNumberBehindP(std::string_view name, std::string_view disk) {
    return !disk.empty() && (isDigit(disk.back()) || (isMap(name) && disk != kFriendlyMap));
}

// The length of the whole disk's name, 0 when what stands before the number is no such name.
std::size_t wholeDiskLength(std::string_view stem) {
    const std::string_view disk = baseName(stem);
    if (endsWith(disk, kLinkSuffix) && disk.size() > kLinkSuffix.size()) {
        return stem.size() - kLinkSuffix.size();
    }
    if (endsWith(disk, "p") && takesNumberBehindP(stem, disk.substr(0, disk.size() - 1))) {
        return stem.size() - 1;
    }
    return takesNumberAtOnce(disk) ? stem.size() : 0;
}

}  // namespace

CDmpDeviceClaimBase::CDmpDeviceClaimBase() = default;
CDmpDeviceClaimBase::~CDmpDeviceClaimBase() = default;

CDmpClaimManager::CDmpClaimManager() = default;
CDmpClaimManager::~CDmpClaimManager() = default;

void CDmpClaimManager::registerClaimModule(CDmpDeviceClaimBase* module) {
    if (module == nullptr) {
        return;
    }
    module->registerTraceLog(m_claimTraceLog);
    m_modules.push_back(module);
}

void CDmpClaimManager::registerTraceLog(CFiSmartPtr<CFiTraceLog>& log) {
    m_claimTraceLog = log;
    for (CDmpDeviceClaimBase* const module : m_modules) {
        module->registerTraceLog(log);
    }
}

std::vector<std::string> CDmpClaimManager::getDeviceClaimStrings() {
    std::vector<std::string> texts;
    texts.reserve(m_modules.size());
    for (const CDmpDeviceClaimBase* const module : m_modules) {
        texts.push_back(module->claimString());
    }
    return texts;
}

bool CDmpClaimManager::claim(const std::string& deviceName) {
    for (CDmpDeviceClaimBase* const module : m_modules) {
        if (module->claim(deviceName)) {
            if (m_claimTraceLog) {
                m_claimTraceLog->trace(kClaimTraceLevel, "INFO: device %s is claimed by %s",
                                       deviceName.c_str(), module->claimString().c_str());
            }
            return true;
        }
    }
    return false;
}

bool CDmpClaimManager::isPartition(const std::string& deviceName) {
    unsigned int partition = 0;
    removePartitionSuffix(deviceName, partition);
    return partition != 0;
}

std::string CDmpClaimManager::appendPartitionSuffix(const std::string& deviceName,
                                                    unsigned int partition) {
    if (partition == 0 || deviceName.empty()) {
        return deviceName;
    }
    const bool behindP = isDigit(deviceName.back()) || isMap(deviceName);
    return deviceName + (behindP ? "p" : "") + std::to_string(partition);
}

std::string CDmpClaimManager::removePartitionSuffix(const std::string& deviceName,
                                                    unsigned int& partition) {
    partition = 0;
    const std::string_view name(deviceName);
    std::size_t digits = name.size();
    while (digits > 0 && isDigit(name[digits - 1])) {
        --digits;
    }
    const std::size_t length = wholeDiskLength(name.substr(0, digits));
    const std::string_view number = name.substr(digits);
    if (length == 0 || number.empty() || number.front() == '0') {
        return deviceName;
    }
    unsigned int value = 0;
    const auto parsed = std::from_chars(number.data(), number.data() + number.size(), value);
    if (parsed.ec != std::errc()) {
        return deviceName;
    }
    partition = value;
    return deviceName.substr(0, length);
}

void CDmpClaimManager::clearLvmDeviceNameList() {}

}  // namespace qzfi_pdk_4_4
