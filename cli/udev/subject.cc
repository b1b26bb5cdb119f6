#include "cli/udev/subject.h"

#include <charconv>

namespace cli::udev {
namespace {

using picture::Kind;
using recording::guard::BlockDevices;

constexpr const char* kDev = "/dev/";

bool beginsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

bool endsInDigit(const std::string& name) {
    return !name.empty() && name.back() >= '0' && name.back() <= '9';
}

// "part2-mpath-3600..." is what kpartx calls the second partition of a multipath map.
unsigned partitionIn(const std::string& mapUuid) {
    const std::string kPart = "part";
    if (!beginsWith(mapUuid, kPart)) {
        return 0;
    }
    unsigned number = 0;
    const char* const end = mapUuid.data() + mapUuid.size();
    const auto [stop, error] = std::from_chars(mapUuid.data() + kPart.size(), end, number);
    const std::string rest(stop, end);
    const bool isOfMap = error == std::errc() && beginsWith(rest, "-") &&
                         recording::guard::isMultipath(rest.substr(1));
    return isOfMap ? number : 0;
}

// Without a look at every block device of the host, which `nameBehind` takes at a node.
std::string kernelNameOf(BlockDevices& blocks, const std::string& name) {
    const std::string last = name.substr(name.rfind('/') + 1);
    const bool isKernelName = name == kDev + last && (blocks.exists(last) || kindOf(blocks, last));
    return isKernelName ? last : blocks.nameBehind(name);
}

Subject subject(BlockDevices& blocks, const std::string& kernelName, Kind kind,
                unsigned partition) {
    const std::string plain = kDev + kernelName;
    return {kernelName, kind == Kind::kMap ? blocks.node(kernelName).value_or(plain) : plain, kind,
            partition};
}

}  // namespace

std::optional<Kind> kindOf(BlockDevices& blocks, const std::string& kernelName) {
    if (beginsWith(kernelName, "dm-")) {
        return recording::guard::isMultipath(blocks.mapUuid(kernelName))
                   ? std::optional<Kind>(Kind::kMap)
                   : std::nullopt;
    }
    if (endsInDigit(kernelName)) {
        return std::nullopt;
    }
    if (beginsWith(kernelName, "sd")) {
        return Kind::kDisk;
    }
    return beginsWith(kernelName, "emcpower") ? std::optional<Kind>(Kind::kPseudoDevice)
                                              : std::nullopt;
}

std::optional<Subject> subjectOf(BlockDevices& blocks, const std::string& name) {
    const std::string kernelName = kernelNameOf(blocks, name);
    if (const auto kind = kindOf(blocks, kernelName)) {
        return subject(blocks, kernelName, *kind, 0);
    }
    const unsigned partition = partitionIn(blocks.mapUuid(kernelName));
    const BlockDevices::Names below =
        partition != 0 ? blocks.slaves(kernelName) : BlockDevices::Names();
    if (below.size() != 1 || !kindOf(blocks, below.front())) {
        return std::nullopt;
    }
    return subject(blocks, below.front(), Kind::kMap, partition);
}

}  // namespace cli::udev
