#ifndef SCSITOOL_TESTS_SICK_HOST_H
#define SCSITOOL_TESTS_SICK_HOST_H

#include <string>
#include <vector>

#include "device_host.h"
#include "recording/replay/recorded_host_data.h"

namespace test {

/// A host that is put together disk by disk, with everything that the kernel shows of each: sysfs,
/// the pages that it keeps, /proc/partitions.
class SickHost {
  public:
    SickHost() {
        data.hostName = "guest";
        for (const char* folder :
             {"/sys/class/scsi_device/", "/sys/class/block/", "/dev/", "/dev/mapper/", "/proc/"}) {
            data.directories[folder] = {".", ".."};
        }
        data.files["/proc/partitions"] = "major minor  #blocks  name\n\n";
    }

    /// A disk as the kernel found it, the same as it is now: what is changed later is the disk
    /// alone.
    recording::RecordedDevice& addDisk(const std::string& name, const std::string& address,
                                       const recording::RecordedDevice& device,
                                       std::uint64_t sizeKb = 1048576) {
        const std::string scsi = "/sys/class/scsi_device/" + address + "/device/";
        data.directories["/sys/class/scsi_device/"].push_back(address);
        data.directories[scsi] = {".", "..", "state"};
        data.files[scsi + "state"] = "running\n";
        keep(scsi + "inquiry", device.standardInquiry->bytes);
        for (const auto& [code, file] : {std::pair<std::uint8_t, const char*>{0x00, "vpd_pg0"},
                                         {0x80, "vpd_pg80"},
                                         {0x83, "vpd_pg83"}}) {
            const auto page = device.pages.find(code);
            if (page != device.pages.end()) {
                keep(scsi + file, page->second.bytes);
            }
        }
        addBlock(name, sizeKb);
        data.links["/sys/class/block/" + name + "/device"] = "../../../" + address;
        data.files["/proc/partitions"].content +=
            "   8        0 " + std::to_string(sizeKb) + " " + name + "\n";
        return data.devices["/dev/" + name] = device;
    }

    /// A map over disks; a UUID that is not multipath's makes it another map.
    recording::RecordedDevice& addMap(const std::string& kernelName, const std::string& name,
                                      const std::vector<std::string>& paths,
                                      const recording::RecordedDevice& device,
                                      const std::string& uuid = "mpath-3600") {
        addBlock(kernelName, 1048576);
        const std::string block = "/sys/class/block/" + kernelName + "/";
        data.files[block + "dm/name"] = name + "\n";
        data.files[block + "dm/uuid"] = uuid + "\n";
        for (const std::string& path : paths) {
            data.directories[block + "slaves/"].push_back(path);
        }
        data.directories["/dev/mapper/"].push_back(name);
        return data.devices["/dev/mapper/" + name] = device;
    }

    void setAttribute(const std::string& address, const std::string& name,
                      const std::string& value) {
        data.files["/sys/class/scsi_device/" + address + "/device/" + name] = value;
    }

    recording::RecordedHostData data;

  private:
    void keep(const std::string& path, const Bytes& bytes) {
        data.files[path] = std::string(bytes.begin(), bytes.end());
    }
    void addBlock(const std::string& name, std::uint64_t sizeKb) {
        const std::string block = "/sys/class/block/" + name + "/";
        data.directories["/sys/class/block/"].push_back(name);
        data.directories["/dev/"].push_back(name);
        data.directories[block] = {".", "..", "size", "slaves"};
        data.directories[block + "slaves/"] = {".", ".."};
        data.files[block + "size"] = std::to_string(sizeKb * 2) + "\n";
    }
};

/// The device opens and every INQUIRY to it fails.
inline void silence(recording::RecordedDevice& device, int error) {
    device.standardInquiry->error = error;
    for (auto& [code, page] : device.pages) {
        page.error = error;
    }
}

}  // namespace test

#endif
