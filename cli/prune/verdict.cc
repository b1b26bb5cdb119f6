#include "cli/prune/verdict.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "recording/pages/designators.h"
#include "recording/text/hex.h"

namespace cli::prune {
namespace {

using Bytes = std::vector<std::uint8_t>;
using recording::guard::Answer;
using recording::guard::logicalUnitNames;

enum class Comparison { kSame, kAnother, kImpossible };

// The strongest first.
constexpr std::array<unsigned, 5> kTypes = {recording::kNaaName, recording::kEui64Name,
                                            recording::kScsiNameString, recording::kT10VendorName,
                                            recording::kVendorSpecificName};

std::vector<Bytes> ofType(const std::vector<Bytes>& names, unsigned type) {
    std::vector<Bytes> found;
    std::copy_if(names.begin(), names.end(), std::back_inserter(found),
                 [type](const Bytes& name) { return (name[1] & 0x0FU) == type; });
    return found;
}

std::string text(const Bytes& name) {
    const Bytes content(name.begin() + recording::kDesignatorHeader, name.end());
    return (name[0] & 0x0FU) == recording::kBinaryCodes
               ? recording::toHex(content)
               : std::string(content.begin(), content.end());
}

// Compares the logical unit's names, and says in `reason` which are not the same.
Comparison compareNames(const DiskSighting& disk, std::string& reason) {
    const auto kernelNames = logicalUnitNames(disk.kernel.designators);
    const auto liveNames = logicalUnitNames(disk.live.designators);
    for (const unsigned type : kTypes) {
        const auto kernel = ofType(kernelNames, type);
        const auto live = ofType(liveNames, type);
        if (kernel.empty() || live.empty()) {
            continue;
        }
        if (std::find_first_of(kernel.begin(), kernel.end(), live.begin(), live.end()) !=
            kernel.end()) {
            return Comparison::kSame;
        }
        reason = "answers as " + text(live.front()) + " (page 0x83), the kernel took it for " +
                 text(kernel.front());
        return Comparison::kAnother;
    }
    return Comparison::kImpossible;
}

std::string productText(const Identity& identity) {
    return identity.vendor + " " + identity.product +
           (identity.deviceType == "0" ? "" : " (device type " + identity.deviceType + ")");
}

// What the kernel does not tell is not compared.
bool differs(const std::string& kernel, const std::string& live) {
    return !kernel.empty() && kernel != live;
}

bool isAnotherProduct(const DiskSighting& disk) {
    return differs(disk.kernel.vendor, disk.live.vendor) ||
           differs(disk.kernel.product, disk.live.product) ||
           differs(disk.kernel.deviceType, disk.live.deviceType);
}

std::string serialText(const Bytes& page) {
    const std::string serial(page.begin(), page.end());
    const std::string blanks(" \0", 2);
    const std::size_t start = serial.find_first_not_of(blanks);
    return start == std::string::npos
               ? std::string()
               : serial.substr(start, serial.find_last_not_of(blanks) + 1 - start);
}

Verdict judgeAnswering(const DiskSighting& disk) {
    std::string reason;
    const Comparison names = compareNames(disk, reason);
    if (names == Comparison::kAnother) {
        return {Finding::kAnotherDisk, reason};
    }
    if (names == Comparison::kSame) {
        return {Finding::kLives, ""};
    }
    if (isAnotherProduct(disk)) {
        return {Finding::kAnotherDisk, "answers as " + productText(disk.live) +
                                           ", the kernel took it for " + productText(disk.kernel)};
    }
    const std::string kernelSerial = serialText(disk.kernel.serialNumber);
    const std::string liveSerial = serialText(disk.live.serialNumber);
    if (!kernelSerial.empty() && !liveSerial.empty() && kernelSerial != liveSerial) {
        return {Finding::kAnotherDisk, "answers with serial number " + liveSerial +
                                           " (page 0x80), the kernel took it for " + kernelSerial};
    }
    const bool isKnown =
        !logicalUnitNames(disk.kernel.designators).empty() || !kernelSerial.empty();
    if (isKnown && (kernelSerial.empty() || liveSerial.empty())) {
        return {Finding::kUntold,
                "it answers, and does not tell (pages 0x83 and 0x80) whether it is still the disk "
                "that the kernel took it for"};
    }
    return {Finding::kLives, ""};
}

bool isOffline(const DiskSighting& disk) {
    return disk.state == "offline" || disk.state == "transport-offline";
}

Verdict judgeSilent(const DiskSighting& disk) {
    const Answer& answer = disk.answer;
    if (isOffline(disk)) {
        return {Finding::kOffline, "its state is " + disk.state};
    }
    if (answer.isUnspoken) {
        return {Finding::kLives, ""};
    }
    if (answer.isNotSupported) {
        return {Finding::kNotSupported, "no such logical unit: " + answer.why};
    }
    // A qualifier of 1 may be a port that does not serve the unit right now.
    if (answer.qualifier != 0) {
        return {Finding::kUntold, answer.why};
    }
    return {Finding::kNoDevice, "no device behind its node: " + answer.why};
}

Verdict judgeAnswer(const DiskSighting& disk) {
    switch (disk.answer.kind) {
        case Answer::Kind::kConnected:
            return judgeAnswering(disk);
        case Answer::Kind::kGone:
            return judgeSilent(disk);
        default:
            return {Finding::kUntold, disk.answer.why};
    }
}

}  // namespace

bool isGone(Finding finding) {
    return finding == Finding::kOffline || finding == Finding::kNotSupported ||
           finding == Finding::kNoDevice;
}

bool isRemovable(Finding finding) {
    return isGone(finding) || finding == Finding::kAnotherDisk || finding == Finding::kNoPath;
}

const char* nameOf(Finding finding) {
    switch (finding) {
        case Finding::kLives:
            return "lives";
        case Finding::kOffline:
            return "offline";
        case Finding::kNotSupported:
            return "not_supported";
        case Finding::kNoDevice:
            return "no_device";
        case Finding::kAnotherDisk:
            return "another_disk";
        case Finding::kNoPath:
            return "no_path";
        default:
            return "untold";
    }
}

Verdict judgeDisk(const DiskSighting& disk) {
    const Verdict verdict = judgeAnswer(disk);
    if (isRemovable(verdict.finding) && !disk.failures.empty()) {
        return {Finding::kUntold, disk.failures.front()};
    }
    return verdict;
}

Verdict judgeMap(const MapSighting& map) {
    std::string gone;
    for (const PathSighting& path : map.paths) {
        if (!path.isRemoved && !(path.finding && isGone(*path.finding))) {
            return {Finding::kLives, ""};
        }
        gone += (gone.empty() ? "" : " ") + path.name;
    }
    if (!map.failures.empty()) {
        return {Finding::kUntold, map.failures.front()};
    }
    if (!map.isThere) {
        return {Finding::kLives, ""};
    }
    return {Finding::kNoPath, gone.empty() ? "no path: nothing is below it"
                                           : "no path: every disk below it is gone (" + gone + ")"};
}

}  // namespace cli::prune
