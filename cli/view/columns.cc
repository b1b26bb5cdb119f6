#include <algorithm>
#include <set>

#include "cli/base/text.h"
#include "cli/view/cells.h"
#include "cli/view/column.h"
#include "cli/view/condition.h"
#include "cli/view/natural_order.h"

namespace cli::view {
namespace {

using picture::Device;
using picture::Kind;

const picture::Volume* volumeOf(const Row& row) {
    return row.volume == kNoVolume ? nullptr : &row.scene->picture.volumes[row.volume];
}

Cell volumeCell(const Row& row) {
    const picture::Volume* const volume = volumeOf(row);
    if (row.isVolume || volume == nullptr) {
        return {row.isVolume ? leader(row).name : std::string(), {}};
    }
    return {deviceAt(row, leaderOf(*row.scene, volume->devices)).name, {}};
}

Cell deviceCell(const Row& row) {
    return {leader(row).name, {}};
}

Cell devicesCell(const Row& row) {
    return ofEach(row, [](const Device& device, const DeviceFacts&) { return device.name; });
}

Cell kernelCell(const Row& row) {
    return {leader(row).kernelName, {}};
}

Cell addressCell(const Row& row) {
    return ofEach(row, [](const Device& device, const DeviceFacts&) {
        return device.address ? addressText(*device.address) : std::string();
    });
}

std::optional<std::uint64_t> sizeOf(const Row& row) {
    const picture::Volume* const volume = row.isVolume ? volumeOf(row) : nullptr;
    return volume != nullptr ? volume->sizeKb : leader(row).sizeKb;
}

Cell sizeCell(const Row& row) {
    const auto size = sizeOf(row);
    return {size ? sizeText(*size) : std::string(), size};
}

Cell kibCell(const Row& row) {
    const auto size = sizeOf(row);
    return {size ? std::to_string(*size) : std::string(), size};
}

// A device's are those of its volume that it stands for: a disk is one path, a map has all.
Cell pathsCell(const Row& row) {
    const bool isPath = !row.isVolume && leader(row).kind == Kind::kDisk;
    const picture::Volume* const volume = volumeOf(row);
    const std::vector<std::size_t>& devices =
        isPath || volume == nullptr ? row.devices : volume->devices;
    const auto living = livingOf(*row.scene, devices);
    const std::size_t all = disksOf(*row.scene, devices).size();
    return {(living ? std::to_string(*living) : "-") + "/" + std::to_string(all),
            living.value_or(0)};
}

Cell vendorCell(const Row& row) {
    return ofFirst(row, [](const Device&, const DeviceFacts& facts) { return facts.vendor; });
}

Cell productCell(const Row& row) {
    return ofFirst(row, [](const Device&, const DeviceFacts& facts) { return facts.product; });
}

Cell revisionCell(const Row& row) {
    return ofFirst(row, [](const Device&, const DeviceFacts& facts) { return facts.revision; });
}

Cell familyCell(const Row& row) {
    return ofFirst(row,
                   [](const Device& device, const DeviceFacts&) { return device.fields.family; });
}

Cell arrayCell(const Row& row) {
    return ofFirst(
        row, [](const Device& device, const DeviceFacts&) { return device.fields.arraySerial; });
}

Cell volumeIdCell(const Row& row) {
    return ofFirst(row,
                   [](const Device& device, const DeviceFacts&) { return device.fields.volumeId; });
}

Cell serialCell(const Row& row) {
    return ofFirst(row,
                   [](const Device& device, const DeviceFacts&) { return device.fields.serial; });
}

Cell lunCell(const Row& row) {
    std::set<std::uint64_t> luns;
    std::vector<std::string> texts;
    for (const std::size_t place : row.devices) {
        const auto& address = deviceAt(row, place).address;
        if (address && luns.insert(address->lun).second) {
            texts.push_back(std::to_string(address->lun));
        }
    }
    Cell cell = together(std::move(texts));
    if (!luns.empty()) {
        cell.number = *luns.begin();
    }
    return cell;
}

Cell usersCell(const Row& row) {
    const auto users = usersOf(*row.scene, row.devices);
    std::vector<std::string> texts;
    for (const User& user : users.value_or(Users())) {
        texts.push_back(userText(user));
    }
    return {users && users->empty() ? "unused" : joined(texts, ", "), {}};
}

Cell unitNameCell(const Row& row) {
    return ofFirst(row, [](const Device& device, const DeviceFacts&) {
        return picture::shownName(picture::namesOf(device));
    });
}

Cell stateCell(const Row& row) {
    return {conditionOf(row), {}};
}

Cell kernelStateCell(const Row& row) {
    return ofEach(
        row, [](const Device& device, const DeviceFacts&) { return device.kernelState.state; });
}

Cell accessCell(const Row& row) {
    return ofEach(row, [](const Device& device, const DeviceFacts&) {
        return device.kernelState.accessState;
    });
}

Cell mapperStateCell(const Row& row) {
    return ofEach(row, [](const Device&, const DeviceFacts& facts) { return facts.mapperState; });
}

Cell initiatorCell(const Row& row) {
    return ofEach(row,
                  [](const Device&, const DeviceFacts& facts) { return facts.ports.initiator; });
}

Cell targetCell(const Row& row) {
    return ofEach(row, [](const Device& device, const DeviceFacts& facts) {
        return facts.ports.target.empty() ? device.fields.targetPort : facts.ports.target;
    });
}

Cell groupCell(const Row& row) {
    return ofEach(row, [](const Device& device, const DeviceFacts&) {
        return device.fields.portGroup ? std::to_string(*device.fields.portGroup) : std::string();
    });
}

Cell driverCell(const Row& row) {
    return ofEach(row, [](const Device&, const DeviceFacts& facts) { return facts.ports.driver; });
}

Cell genericCell(const Row& row) {
    return ofEach(row, [](const Device&, const DeviceFacts& facts) { return facts.genericNode; });
}

Cell claimCell(const Row& row) {
    const int level = leader(row).claimLevel;
    return {std::to_string(level), static_cast<std::uint64_t>(level)};
}

Cell udidCell(const Row& row) {
    return {identityText(row), {}};
}

bool hasName(const Column& column, const std::string& name) {
    const std::string known = column.name;
    return known.size() == name.size() &&
           std::equal(known.begin(), known.end(), name.begin(), [](char a, char b) {
               return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b);
           });
}

}  // namespace

Cell together(std::vector<std::string> texts) {
    texts.erase(std::remove(texts.begin(), texts.end(), std::string()), texts.end());
    std::sort(texts.begin(), texts.end(), goesBefore);
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return {joined(texts, " "), {}};
}

namespace {

const std::vector<Column>& usualColumns() {
    constexpr bool kRight = true;
    constexpr bool kLeft = false;
    constexpr bool kWraps = true;
    constexpr bool kOneLine = false;
    static const std::vector<Column> kColumns = {
        {"volume", "VOLUME", "the volume's map, or its first path", kLeft, kOneLine, volumeCell},
        {"device", "DEVICE", "the device's node", kLeft, kOneLine, deviceCell},
        {"devices", "DEVICES", "all nodes of a volume", kLeft, kWraps, devicesCell},
        {"kernel", "KERNEL", "the kernel's name: sdb, dm-3", kLeft, kOneLine, kernelCell},
        {"generic", "GENERIC", "the SCSI generic node", kLeft, kWraps, genericCell},
        {"address", "ADDRESS", "host:channel:target:LUN", kLeft, kWraps, addressCell},
        {"size", "SIZE", "the size, for people", kRight, kOneLine, sizeCell},
        {"kib", "KIB", "the size in units of 1,024 bytes", kRight, kOneLine, kibCell},
        {"paths", "PATHS", "living paths of all", kRight, kOneLine, pathsCell},
        {"vendor", "VENDOR", "the vendor in the INQUIRY data", kLeft, kOneLine, vendorCell},
        {"product", "PRODUCT", "the product in the INQUIRY data", kLeft, kWraps, productCell},
        {"revision", "REVISION", "the product's revision (firmware)", kLeft, kOneLine,
         revisionCell},
        {"family", "FAMILY", "the family of arrays whose rules made the UDID", kLeft, kWraps,
         familyCell},
        {"array", "ARRAY", "the array's serial number, as the UDID has it", kLeft, kOneLine,
         arrayCell},
        {"id", "VOLUME ID", "the volume's identifier, as the UDID has it", kLeft, kOneLine,
         volumeIdCell},
        {"serial", "SERIAL", "the serial number of page 0x80", kLeft, kOneLine, serialCell},
        {"lun", "LUN", "the logical unit number", kRight, kWraps, lunCell},
        {"used", "USED BY", "who uses it: mount point, swap, LVM, md, map", kLeft, kWraps,
         usersCell},
        {"unit", "UNIT NAME", "the logical unit's name in page 0x83", kLeft, kWraps, unitNameCell},
        {"state", "STATE", "how it is, and what contradicts itself", kLeft, kWraps, stateCell},
        {"sysfs", "SYSFS", "its state in sysfs", kLeft, kWraps, kernelStateCell},
        {"alua", "ALUA", "its port's access state in sysfs", kLeft, kWraps, accessCell},
        {"dm", "DM", "its state in device-mapper: active or failed", kLeft, kWraps,
         mapperStateCell},
        {"initiator", "INITIATOR PORT", "the host's port", kLeft, kWraps, initiatorCell},
        {"target", "TARGET PORT", "the array's port", kLeft, kWraps, targetCell},
        {"group", "GROUP", "the array's target port group", kRight, kWraps, groupCell},
        {"driver", "DRIVER", "the adapter's driver", kLeft, kWraps, driverCell},
        {"claim", "CLAIM", "claim level: 16 for a pseudo-device, else 0", kRight, kOneLine,
         claimCell},
        {"udid", "UDID", "the Unique Device ID", kLeft, kOneLine, udidCell},
    };
    return kColumns;
}

}  // namespace

// The UDID is the last.
const std::vector<Column>& allColumns() {
    static const std::vector<Column> kColumns = [] {
        std::vector<Column> columns = usualColumns();
        columns.insert(columns.end() - 1, detailColumns().begin(), detailColumns().end());
        return columns;
    }();
    return kColumns;
}

const Column* findColumn(const std::string& name) {
    const auto& columns = allColumns();
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const Column& column) { return hasName(column, name); });
    return found == columns.end() ? nullptr : &*found;
}

std::vector<Row> pathsOf(const Row& volume) {
    std::vector<Row> rows;
    for (const std::size_t place : disksOf(*volume.scene, volume.devices)) {
        rows.push_back({volume.scene, {place}, place, volume.volume, false});
    }
    return rows;
}

}  // namespace cli::view
