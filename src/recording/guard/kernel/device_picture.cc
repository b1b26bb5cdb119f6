#include "recording/guard/kernel/device_picture.h"

#include <algorithm>

#include "recording/guard/kernel/kernel_tables.h"
#include "recording/guard/kernel/scsi_devices.h"

namespace recording::guard {
namespace {

constexpr const char* kMapper = "/dev/mapper/";

void addOnce(std::vector<std::string>& list, const std::string& text) {
    if (std::find(list.begin(), list.end(), text) == list.end()) {
        list.push_back(text);
    }
}

void addWithPartitions(BlockDevices& devices, std::vector<std::string>& list,
                       const std::string& name) {
    addOnce(list, name);
    for (const std::string& partition : devices.partitions(name)) {
        addOnce(list, partition);
    }
}

void addNames(BlockDevices& devices, DevicePicture& picture) {
    for (const std::string& name : picture.all) {
        addOnce(picture.nodes, "/dev/" + name);
        const std::string map = devices.mapName(name);
        if (!map.empty()) {
            addOnce(picture.nodes, kMapper + map);
        }
        picture.numbers.push_back(devices.number(name));
    }
}

void drawAll(BlockDevices& devices, DevicePicture& picture) {
    picture.all = picture.own;
    for (std::size_t next = 0; next < picture.all.size(); ++next) {
        for (const std::string& holder : devices.holders(picture.all[next])) {
            addWithPartitions(devices, picture.all, holder);
        }
    }
    addNames(devices, picture);
}

std::string kernelNameOfMap(BlockDevices& devices, const std::string& mapName) {
    for (const std::string& name : devices.maps()) {
        if (name == mapName || devices.mapName(name) == mapName) {
            return name;
        }
    }
    return {};
}

}  // namespace

bool DevicePicture::isNamedBy(const std::string& path, const host::DeviceNumber& number) const {
    return std::find(nodes.begin(), nodes.end(), path) != nodes.end() ||
           std::any_of(numbers.begin(), numbers.end(),
                       [&](const host::DeviceNumber& one) { return isSame(one, number); });
}

DevicePicture pictureOfDisk(BlockDevices& devices, const std::string& name,
                            const std::optional<ScsiAddress>& address) {
    DevicePicture picture;
    picture.shown = name.empty() ? addressText(*address) : "/dev/" + name;
    picture.disk = name;
    picture.address = address;
    if (address) {
        picture.numbers = ScsiDevices(devices.evidence()).charactersAt(*address);
    }
    if (!name.empty()) {
        addWithPartitions(devices, picture.own, name);
        drawAll(devices, picture);
    }
    return picture;
}

DevicePicture pictureAlone(BlockDevices& devices, const DevicePicture& picture) {
    DevicePicture alone = picture;
    alone.all = alone.own;
    alone.nodes.clear();
    alone.numbers = alone.address ? ScsiDevices(devices.evidence()).charactersAt(*alone.address)
                                  : std::vector<host::DeviceNumber>();
    addNames(devices, alone);
    return alone;
}

DevicePicture pictureOfMap(BlockDevices& devices, const std::string& name) {
    const std::string mapName = name.substr(name.rfind('/') + 1);
    DevicePicture picture;
    picture.shown = kMapper + mapName;
    picture.nodes = {picture.shown};
    picture.disk = kernelNameOfMap(devices, mapName);
    if (picture.disk.empty()) {
        picture.disk = devices.nameBehind(picture.shown);
    }
    if (!picture.disk.empty()) {
        const std::string known = devices.mapName(picture.disk);
        picture.shown = kMapper + (known.empty() ? mapName : known);
        addWithPartitions(devices, picture.own, picture.disk);
        drawAll(devices, picture);
    }
    return picture;
}

}  // namespace recording::guard
