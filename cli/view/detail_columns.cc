#include "cli/base/text.h"
#include "cli/view/cells.h"

namespace cli::view {
namespace {

using picture::Device;

const Details& detailsOf(const Row& row, const Device& device) {
    return row.scene->details->of(device);
}

// A detail of the device that stands for the row, or else of the first that has it.
Cell detailCell(const Row& row, std::string Details::*detail) {
    return ofFirst(row, [&](const Device& device, const DeviceFacts&) {
        return detailsOf(row, device).*detail;
    });
}

Cell typeCell(const Row& row) {
    return detailCell(row, &Details::type);
}

Cell numberCell(const Row& row) {
    return detailCell(row, &Details::number);
}

Cell wwidCell(const Row& row) {
    return detailCell(row, &Details::wwid);
}

Cell featuresCell(const Row& row) {
    return detailCell(row, &Details::features);
}

Cell handlerCell(const Row& row) {
    return detailCell(row, &Details::handler);
}

// The kernel's word on the leading device: a map may be writable below which a path is not.
Cell protectionCell(const Row& row) {
    const auto isReadOnly = detailsOf(row, leader(row)).isReadOnly;
    return {!isReadOnly ? "" : *isReadOnly ? "ro" : "rw", {}};
}

Cell partitionsCell(const Row& row) {
    return ofFirst(row, [&](const Device& device, const DeviceFacts&) {
        std::vector<std::string> names;
        const auto& partitions = detailsOf(row, device).partitions;
        for (const Partition& partition : partitions.value_or(std::vector<Partition>())) {
            names.push_back(partition.name);
        }
        return joined(names, " ");
    });
}

Cell portalCell(const Row& row) {
    return ofEach(row, [](const Device&, const DeviceFacts& facts) {
        return facts.ports.portalGroup ? std::to_string(*facts.ports.portalGroup) : std::string();
    });
}

Cell mapGroupCell(const Row& row) {
    return ofEach(row, [](const Device&, const DeviceFacts& facts) {
        return facts.mapGroup == 0 ? std::string()
                                   : std::to_string(facts.mapGroup) + " " + facts.mapGroupState;
    });
}

Cell policyCell(const Row& row) {
    return ofEach(row, [&](const Device& device, const DeviceFacts& facts) {
        return facts.mapGroup == 0 ? std::string() : row.scene->details->policyOf(device);
    });
}

}  // namespace

const std::vector<Column>& detailColumns() {
    constexpr bool kLeft = false;
    constexpr bool kRight = true;
    constexpr bool kWraps = true;
    constexpr bool kOneLine = false;
    static const std::vector<Column> kColumns = {
        {"type", "TYPE", "the kind of SCSI device: disk, optical, rbc, zbc", kLeft, kOneLine,
         typeCell},
        {"number", "NUMBER", "the kernel's number, major:minor", kLeft, kOneLine, numberCell},
        {"wwid", "WWID", "multipathd's name of a map's volume, or the kernel's of a disk's", kLeft,
         kOneLine, wwidCell},
        {"wp", "WP", "write protection in the kernel: ro or rw", kLeft, kOneLine, protectionCell},
        {"partitions", "PARTITIONS", "the nodes of its partitions", kLeft, kWraps, partitionsCell},
        {"portal", "PORTAL GROUP", "the tag of the iSCSI target portal group", kRight, kWraps,
         portalCell},
        {"pathgroup", "PATH GROUP", "the path's group in its map: number and state", kLeft, kWraps,
         mapGroupCell},
        {"policy", "POLICY", "how the map chooses a path in that group", kLeft, kWraps, policyCell},
        {"features", "FEATURES", "the map's features, as device-mapper has them", kLeft, kWraps,
         featuresCell},
        {"handler", "HANDLER", "the map's hardware handler, as device-mapper has it", kLeft, kWraps,
         handlerCell},
    };
    return kColumns;
}

}  // namespace cli::view
